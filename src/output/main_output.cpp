// The main result: three genotype probabilities per study individual, in the layout of a genotype file.

#include <cmath>

#include "io/text.h"
#include "output/output_common.h"
#include "output/results.h"

namespace {

// Where the triples of a site come from.
enum class triple_source {
    imputed,             // sums of a site without study data
    posterior,           // sums of a study site
    prephased,           // leave-one-out sums of a study site
    input_or_posterior,  // sums for a missing genotype, else as read
    input,               // as read
    none                 // zeros
};

triple_source source_of(const data& run, const snp& site) {
    const parameters& params = run.params;
    if (site.type < 2) return triple_source::imputed;
    if (!keeps_input_probs(run, site) || (params.pgs_prob && site.type != run.plan.n_panels)) {
        if (!params.pgs && !params.pgs_prob) return triple_source::none;
        const bool prephased = params.use_prephased_g && params.weight_panel >= 0 && !params.mc_impute;
        return prephased ? triple_source::prephased : triple_source::posterior;
    }
    const bool study_site = site.type == run.plan.n_panels - 1;
    if (!params.prob_g && params.pgs_miss && study_site) return triple_source::input_or_posterior;
    return triple_source::input;
}

bool needs_sums(triple_source source) {
    return source != triple_source::input && source != triple_source::none;
}

// Whether a triple sums to 1 as it is printed, give or take what the digit 0 may hide.
bool prints_as_one(const genotype_triple& probs, double low, double high) {
    double sum = 0.0;
    double n_zero = 0.0;
    for (const double p : probs) {
        n_zero += p < low ? 1.0 : 0.0;
        sum += p < low ? 0.0 : p > high ? 1.0 : p;
    }
    return !(std::abs(1.0 - sum) > n_zero * low + 1e-10);
}

// Writes the lines of a block of sites.
class line_writer {
  public:
    line_writer(data& run, result_file& file)
        : run_(run),
          file_(file),
          haploid_(haploid_individuals(run, 2)),
          low_(smallest_printed(run.params.outdp)),
          high_(1.0 - low_),
          line_(haploid_.size() * 3) {}

    void write(std::span<const std::size_t> block) {
        with_sums_.clear();
        for (const std::size_t s : block) {
            if (needs_sums(source_of(run_, *run_.sites.in_order[s]))) with_sums_.push_back(s);
        }
        sums_.gather(run_, with_sums_);
        if (run_.params.use_prephased_g && run_.params.weight_panel >= 0) {
            const auto& tables = run_.acc.gtype_acc3[static_cast<std::size_t>(run_.params.weight_panel)];
            prephased_sums_.gather(tables, haploid_.size(), with_sums_);
        }
        std::size_t j = 0;
        for (const std::size_t s : block) {
            const triple_source source = source_of(run_, *run_.sites.in_order[s]);
            write_line(j, s, source);
            if (needs_sums(source)) ++j;
        }
    }

  private:
    // j: place of the site among those of the block that need sums.
    void write_line(std::size_t j, std::size_t s, triple_source source) {
        const snp& site = *run_.sites.in_order[s];
        write_site_columns(file_, site, run_.sites.positions[s], output_labels(run_, site, site.type));
        const bool from_sums = source == triple_source::imputed || source == triple_source::posterior ||
                               source == triple_source::prephased;
        const sum_block& sums = source == triple_source::prephased ? prephased_sums_ : sums_;
        const sum_divisor divisor(run_, site, source == triple_source::imputed);
        double* to = line_.data();
        for (std::size_t i = 0; i < haploid_.size(); ++i) {
            genotype_triple probs{};
            if (from_sums ||
                (source == triple_source::input_or_posterior && study_genotype(site, i) == missing_genotype)) {
                const double d = divisor[i];
                probs = triple_of(sums.one(j, i) / d, sums.two(j, i) / d, haploid_[i] != 0);
                if (!prints_as_one(probs, low_, high_))
                    check_genotype_probs(run_, probs, run_.sites.positions[s], low_, high_);
            } else if (source != triple_source::none) {
                probs = input_triple(site, i);
            }
            to = std::copy(probs.begin(), probs.end(), to);
        }
        file_.probabilities(line_, run_.params.outdp, low_);
        file_.end_line();
    }

    data& run_;
    result_file& file_;
    std::vector<char> haploid_;
    double low_, high_;
    std::vector<std::size_t> with_sums_;
    sum_block sums_, prephased_sums_;
    std::vector<double> line_;  // the values of a line
};

}  // namespace

void output_mcmc(data& run) {
    if (run.plan.sporadic_haploid_imputation) return;
    result_file file(run.log, output_name(run, ""), run.params.o_gz);
    line_writer writer(run, file);
    const auto selected =
        select_sites(run, run.output_interval(), [&run](const snp& site) { return type_is_output(run, site); });
    visit_blocks(selected, [&writer](std::span<const std::size_t> block) { writer.write(block); });
}

void check_genotype_probs(data& run, const std::array<double, 3>& probs, long position, double low, double high) {
    if (prints_as_one(probs, low, high)) return;
    run.log.fatal(
        concat("ERROR: The imputed genotype probabilities for the SNP at position ", position,
               " do not sum to 1.0; this implies that there was a problem with the imputation. Please contact the "
               "authors for assistance."));
}
