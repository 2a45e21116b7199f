#include "output/main_output.h"

#include <cmath>

#include "io/text.h"
#include "output/block_writing.h"
#include "output/site_columns.h"

bool prints_as_one(const genotype_triple& probs, double low, double high) {
    double sum = 0.0;
    double n_zero = 0.0;
    for (const double p : probs) {
        n_zero += p < low ? 1.0 : 0.0;
        sum += p < low ? 0.0 : p > high ? 1.0 : p;
    }
    return !(std::abs(1.0 - sum) > n_zero * low + 1e-10);
}

void check_sums(const result_inputs& run, std::size_t s, triple_source source, std::span<const genotype_triple> triples,
                double low) {
    const snp& site = *run.sites.in_order[s];
    for (std::size_t i = 0; i < triples.size(); ++i) {
        if (!is_computed(source, site, i) || prints_as_one(triples[i], low, 1.0 - low)) continue;
        throw run_fault(
            concat("ERROR: The imputed genotype probabilities for the SNP at position ", run.sites.positions[s],
                   " do not sum to 1.0; this implies that there was a problem with the imputation. Please contact the "
                   "authors for assistance."));
    }
}

namespace {

class main_formatter {
  public:
    explicit main_formatter(const result_inputs& run)
        : run_(run), genotypes_(main_genotypes(run)), low_(smallest_printed(run.params.outdp)) {}

    void write(std::span<const std::size_t> block, result_text& lines) {
        genotypes_.load(block);
        for (std::size_t j = 0; j < block.size(); ++j) write_line(j, block[j], lines);
    }

  private:
    void write_line(std::size_t j, std::size_t s, result_text& lines) {
        const std::span<const genotype_triple> triples = genotypes_.triples(j);
        check_sums(run_, s, genotypes_.source(j), triples, low_);
        values_.clear();
        for (const genotype_triple& p : triples) values_.insert(values_.end(), p.begin(), p.end());
        write_site_columns(lines, run_, s);
        lines.probabilities(values_, run_.params.outdp, low_);
        lines.end_line();
    }

    const result_inputs& run_;
    genotype_block genotypes_;
    double low_;
    std::vector<double> values_;  // of a line
};

}  // namespace

void write_main_output(const result_inputs& run) {
    if (run.plan.sporadic_haploid_imputation) return;
    result_file file(run.log, run.name(""), run.params.o_gz);
    const auto selected =
        select_sites(run.sites, run.output_interval(), [&run](const snp& site) { return type_is_output(run, site); });
    write_blocks<main_formatter>(run, file, selected);
}
