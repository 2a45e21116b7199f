#pragma once

// How well a site is imputed: expected allele frequency, information measure, certainty, and the agreement with the
// genotypes of the study.

#include <array>
#include <optional>
#include <span>
#include <vector>

#include "output/comparison.h"
#include "output/posterior_genotypes.h"

// Expected allele frequency and information measure of one site.
class info_measure {
  public:
    void add(const genotype_triple& p, bool haploid);
    // Not a number without individuals, as is the measure.
    double frequency() const { return dosages_ / alleles_; }
    // 1 - the variance of the allele count over that of a draw from the frequency; 1 at a monomorphic site.
    double info() const;

  private:
    double dosages_ = 0.0, variances_ = 0.0, alleles_ = 0.0;
};

struct site_quality {
    double frequency = 0.0;  // not a number, as info, where nobody counts
    double info = 0.0;
    double certainty = 0.0;  // mean of the largest probability
    // At sites of type 2: the posteriors of typed genotypes, and by reference set (0, 1) what stands in for a genotype
    // as if it were missing. Undefined at other sites and where they were not asked for.
    accuracy posterior;
    std::array<accuracy, 2> masked;
    std::array<std::optional<double>, 2> masked_info;
};

// Whether typed genotypes are imputed as if missing from a reference set (0: Panel 0, 1: the panels up to Panel 1).
inline bool is_selfchecked(const result_inputs& run, std::size_t set) {
    return !run.plan.selfcheck_iters.empty() && run.plan.output_types[set];
}

// Measures the sites of a block.
class quality_block {
  public:
    // compared: with the figures of typed sites (-no_snp_qc_info clears).
    quality_block(const result_inputs& run, bool compared);
    void load(std::span<const std::size_t> sites);
    // j counts the sites of the block. Throws a run_fault if a haploid has no homozygous chance and the site no sound
    // frequency.
    site_quality measure(std::size_t j);

  private:
    void measure_genotypes(std::size_t j, const snp& site, long position, site_quality& quality);
    void compare(genotype_block& genotypes, std::size_t j, const snp& site, accuracy& result,
                 std::optional<double>* info);
    static void make_haploid(genotype_triple& p, const snp& site, long position);

    const result_inputs& run_;
    genotype_block genotypes_;
    std::vector<std::size_t> sets_;  // the reference sets that are checked
    std::array<genotype_block, 2> masked_;
    bool compares_posteriors_;
    std::vector<std::size_t> sites_;
    comparison comparison_;
};
