#pragma once

// Sums over the stored iterations, from which the results are made.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/allele_row.h"
#include "model/phase_sums.h"
#include "model/sum_table.h"

// One bit per stored iteration for the sampled allele of each haplotype of a slot (mcmc_bits).
class sample_bits {
  public:
    void allocate(std::size_t n_slots, const std::vector<int>& column, std::size_t n_columns, std::size_t n_iterations);
    bool has(std::size_t site) const { return site < column_.size() && column_[site] >= 0; }
    // h is 0 or 1. Reads 0, and sets nothing, at a site without a column.
    bool get(std::size_t slot, int h, std::size_t site, std::size_t iteration) const {
        return has(site) && bits::get(rows_.data(), place(slot, h, site, iteration));
    }
    void set(std::size_t slot, int h, std::size_t site, std::size_t iteration, bool value);

  private:
    std::size_t place(std::size_t slot, int h, std::size_t site, std::size_t iteration) const {
        return ((slot * 2 + static_cast<std::size_t>(h)) * n_iterations_ + iteration) * n_bits_ +
               static_cast<std::size_t>(column_[site]);
    }
    std::size_t n_iterations_ = 0;
    std::size_t n_bits_ = 0;  // of a row: the columns, and what fills its last word
    std::vector<int> column_;
    std::vector<std::uint64_t> rows_;  // [slot][haplotype][iteration], a bit a column
};

// Tallies of sampled genotypes at one site under -mc_impute: by individual, or, at a study site of a run that imputes
// missing genotypes only, by missing entry. miss_idx is the running entry.
struct sample_tally {
    std::array<std::vector<int>, 2> miss_counts;  // [genotype 1, genotype 2][entry]
    std::size_t miss_idx = 0;
    // Counts genotype 1 or 2 (row 0, 1) at the running entry.
    void count(std::size_t row, int n) { miss_counts[row][miss_idx] += n; }
    // Moves on, back to 0 at the end.
    void advance() {
        if (++miss_idx >= miss_counts[0].size()) miss_idx = 0;
    }
};

struct accumulators {
    // Posterior sums. gtype_acc[0]: genotype 1, gtype_acc[1]: genotype 2; rows are Panel 2 individuals.
    std::array<sum_table, 2> gtype_acc;
    // Allele sums of the first and second haplotype; rows are the individuals with known haplotypes in order.
    std::array<sum_table, 2> gtype_acc2;
    // Leave-one-out genotype sums at typed sites: [cond_panel 0, 1][genotype 1, 2]; rows are Panel 2 individuals.
    std::array<std::array<sum_table, 2>, 2> gtype_acc3;
    // Under -mc_impute, by site of the store; empty otherwise.
    std::vector<sample_tally> tallies;
    // Sampled genotype of the entry being visited, by site (last_sampled_gtype); empty without -mc_impute.
    std::vector<int> last_sampled_gtype;
    // Rows: the individuals without known haplotypes in order, or all individuals under -mc_impute.
    sample_bits mcmc_bits;
    // By study individual, where the consensus of phases is made from them; else empty.
    std::vector<phase_sums> phase;
    int final_rounds = 0;  // rounds of the final pass that these are of; 0 for those of the iterations
    // [cond_panel][individual] under -weight_imputed_gt.
    std::array<std::vector<double>, 2> weight_base;
    std::array<std::vector<double>, 2> weight_sum;
    std::vector<double> dip_like;  // log10 likelihood by individual, -weight_imputed_gt 3
};
