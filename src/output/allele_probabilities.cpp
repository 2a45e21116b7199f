// Posterior chances of allele 1 on the haplotypes of the study individuals whose haplotypes are known.

#include "output/output_common.h"
#include "output/results.h"

namespace {

// By the highest panel of a site; 4 is the mark of a site without part in the models when there is no reference.
std::array<bool, 5> wanted_panels(const data& run) {
    std::array<bool, 5> wanted{};
    const auto is_output = [&run](int type) {
        const auto t = static_cast<std::size_t>(type);
        return t < run.plan.output_types.size() && run.plan.output_types[t];
    };
    const auto n_panels = static_cast<std::size_t>(run.plan.n_panels);
    wanted[n_panels - 1] = is_output(run.plan.n_panels - 1);
    wanted[n_panels] = is_output(run.plan.n_panels) && run.params.include_unphased_sites_in_output_haps;
    for (int type = 0; type < 2; ++type) {
        if (run.params.phase && is_output(type)) wanted[static_cast<std::size_t>(type)] = true;
    }
    return wanted;
}

class allele_prob_writer {
  public:
    allele_prob_writer(const data& run, result_file& file)
        : run_(run), file_(file), haploid_(haploid_individuals(run, 2)), low_(smallest_printed(run.params.outdp)) {
        for (const bool known : run.panels[2].ordered) n_known_ += known ? 1 : 0;
    }

    void write(std::span<const std::size_t> block) {
        sums_.gather(run_.acc.gtype_acc2, n_known_, block);
        for (std::size_t j = 0; j < block.size(); ++j) write_line(j, block[j]);
    }

  private:
    void write_line(std::size_t j, std::size_t s) {
        const snp& site = *run_.sites.in_order[s];
        write_site_columns(file_, site, run_.sites.positions[s], output_labels(run_, site, site.top_panel));
        std::size_t slot = 0;
        for (std::size_t i = 0; i < haploid_.size(); ++i) {
            if (!run_.panels[2].ordered[i]) {
                file_.text(" - -");
                continue;
            }
            write_individual(j, slot++, site.top_panel == run_.plan.n_panels, haploid_[i] != 0);
        }
        file_.end_line();
    }

    void write_individual(std::size_t j, std::size_t slot, bool unphased, bool haploid) {
        const auto n = static_cast<double>(run_.plan.stored_iters.size());
        for (int h = 0; h < (haploid ? 1 : 2); ++h) {
            if (unphased) {
                file_.text(" -");
                continue;
            }
            file_.character(' ');
            file_.probability((h == 0 ? sums_.one(j, slot) : sums_.two(j, slot)) / n, run_.params.outdp, low_);
        }
        if (haploid && !run_.params.haploid_g) file_.text(" -");
    }

    const data& run_;
    result_file& file_;
    std::vector<char> haploid_;
    double low_;
    std::size_t n_known_ = 0;
    sum_block sums_;  // of the first and the second haplotype
};

}  // namespace

void output_allele_probs(data& run) {
    if (run.params.mc_impute || !any_has_known_haps(run)) return;
    result_file file(run.log, output_name(run, "_allele_probs"), run.params.o_gz);
    allele_prob_writer writer(run, file);
    const std::array<bool, 5> wanted = wanted_panels(run);
    const auto selected = select_sites(run, run.haps_interval(), [&wanted](const snp& site) {
        return wanted[static_cast<std::size_t>(site.top_panel)];
    });
    visit_blocks(selected, [&writer](std::span<const std::size_t> block) { writer.write(block); });
}
