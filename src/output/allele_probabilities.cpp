#include "output/allele_probabilities.h"

#include <array>

#include "output/site_columns.h"
#include "output/sum_block.h"

namespace {

// By the highest panel of a site; 4 is the mark of a site without part in the models when there is no reference.
std::array<bool, 5> wanted_panels(const result_inputs& run) {
    std::array<bool, 5> wanted{};
    const auto is_output = [&run](std::size_t type) {
        return type < run.plan.output_types.size() && run.plan.output_types[type];
    };
    const std::size_t n_panels = run.plan.n_panels;
    wanted[n_panels - 1] = is_output(n_panels - 1);
    wanted[n_panels] = is_output(n_panels) && run.params.include_unphased_sites_in_output_haps;
    for (std::size_t type = 0; type < 2; ++type) {
        if (run.params.phase && is_output(type)) wanted[type] = true;
    }
    return wanted;
}

class allele_prob_writer {
  public:
    allele_prob_writer(const result_inputs& run, result_file& file)
        : run_(run), file_(file), haploid_(run.haploid_study()), low_(smallest_printed(run.params.outdp)) {}

    void write(std::span<const std::size_t> block) {
        sums_.gather(run_.acc.gtype_acc2, {0, run_.n_with_known_haps()}, block);
        for (std::size_t j = 0; j < block.size(); ++j) write_line(j, block[j]);
    }

  private:
    void write_line(std::size_t j, std::size_t s) {
        const snp& site = *run_.sites.in_order[s];
        write_site_columns(file_, site, run_.sites.positions[s], output_labels(run_.params, site, site.top_panel));
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

    const result_inputs& run_;
    result_file& file_;
    std::vector<char> haploid_;
    double low_;
    sum_block sums_;  // of the first and the second haplotype
};

}  // namespace

void write_allele_probabilities(const result_inputs& run) {
    if (run.params.mc_impute || !run.any_has_known_haps()) return;
    result_file file(run.log, run.name("_allele_probs"), run.params.o_gz);
    allele_prob_writer writer(run, file);
    const std::array<bool, 5> wanted = wanted_panels(run);
    const auto selected =
        select_sites(run.sites, run.haps_interval(), [&wanted](const snp& site) { return wanted[site.top_panel]; });
    visit_blocks(selected, [&writer](std::span<const std::size_t> block) { writer.write(block); });
}
