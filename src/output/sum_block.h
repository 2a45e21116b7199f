#pragma once

// Sums over the stored iterations, fetched for a block of sites.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "output/result_inputs.h"

// The genotype of a study individual; missing where the run keeps no genotypes.
inline std::uint8_t study_genotype(const snp& site, std::size_t individual) {
    return site.gtypes[2].empty() ? missing_genotype : site.gtypes[2][individual];
}

// The entry of an individual in the sample tallies of a site: the individual, or, where only missing genotypes are
// counted, its rank among the individuals that miss theirs; none for one that does not.
std::optional<std::size_t> tally_entry(const run_plan& plan, const snp& site, std::size_t individual);

// Sums of genotypes 1 and 2 of one individual at one site: gtype_acc, or the tallies under -mc_impute.
class genotype_sums {
  public:
    genotype_sums(const result_inputs& run, sum_reader::order by);
    std::array<double, 2> get(std::size_t site, std::size_t individual);

  private:
    const result_inputs& run_;
    sum_reader reader_;
};

// Individuals (rows) first to first + n - 1.
struct row_range {
    std::size_t first = 0;
    std::size_t n = 0;
};

// A pair of sums for all rows at a block of sites. The tables run along the sites of a row, so that reading them site
// by site would miss the cache at every value; a block takes whole cache lines.
class sum_block {
  public:
    static constexpr std::size_t max_sites = 16;
    // From given tables; zeros where they have no column.
    void gather(const std::array<sum_table, 2>& tables, row_range rows, std::span<const std::size_t> sites);
    // Sums of genotypes 1 and 2 from gtype_acc or the tallies, by study individual.
    void gather(const result_inputs& run, row_range rows, std::span<const std::size_t> sites);
    // j counts the sites of the block, row the rows of the range.
    double one(std::size_t j, std::size_t row) const { return values_[0][j * n_rows_ + row]; }
    double two(std::size_t j, std::size_t row) const { return values_[1][j * n_rows_ + row]; }

  private:
    struct wanted_column {
        std::size_t j;  // of the block
        std::size_t column;
    };
    void gather_columns(std::size_t g, const sum_view& view, std::size_t first_row,
                        std::span<const wanted_column> columns);
    void gather_tallies(const result_inputs& run, row_range rows, std::span<const std::size_t> sites);

    std::size_t n_rows_ = 0;
    std::array<std::vector<double>, 2> values_;  // [genotype 1, 2][site of the block * n_rows + row]
    std::vector<wanted_column> columns_;
    std::array<sum_view, 2> views_;  // kept, since the next block stands beside this one
};

// Calls visit(block) for the sites in order, block by block.
template <typename Visit>
void visit_blocks(std::span<const std::size_t> sites, Visit visit) {
    for (std::size_t i = 0; i < sites.size(); i += sum_block::max_sites) {
        visit(sites.subspan(i, std::min(sum_block::max_sites, sites.size() - i)));
    }
}
