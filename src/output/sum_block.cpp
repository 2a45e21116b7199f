#include "output/sum_block.h"

namespace {

// Whether the tallies of a site run over its missing genotypes.
bool tallies_by_missing(const run_plan& plan, const snp& site) {
    return plan.count_missing_only && site.type == plan.n_panels - 1;
}

double tally_count(const std::vector<int>& counts, std::size_t entry) {
    return entry < counts.size() ? counts[entry] : 0.0;
}

}  // namespace

std::optional<std::size_t> tally_entry(const run_plan& plan, const snp& site, std::size_t individual) {
    if (!tallies_by_missing(plan, site)) return individual;
    if (study_genotype(site, individual) != missing_genotype) return std::nullopt;
    std::size_t n_before = 0;
    for (std::size_t i = 0; i < individual; ++i) n_before += study_genotype(site, i) == missing_genotype ? 1 : 0;
    return n_before;
}

std::array<double, 2> genotype_sums(const result_inputs& run, std::size_t site, std::size_t individual) {
    if (!run.params.mc_impute) {
        return {run.acc.gtype_acc[0].get(individual, site), run.acc.gtype_acc[1].get(individual, site)};
    }
    if (site >= run.acc.tallies.size()) return {0.0, 0.0};
    const auto entry = tally_entry(run.plan, *run.sites.in_order[site], individual);
    if (!entry) return {0.0, 0.0};
    const auto& counts = run.acc.tallies[site].miss_counts;
    return {tally_count(counts[0], *entry), tally_count(counts[1], *entry)};
}

void sum_block::gather(const std::array<sum_table, 2>& tables, row_range rows, std::span<const std::size_t> sites) {
    n_rows_ = rows.n;
    for (std::size_t g = 0; g < 2; ++g) {
        values_[g].resize(max_sites * n_rows_);
        std::array<int, max_sites> column{};
        bool all_held = true;
        for (std::size_t j = 0; j < sites.size(); ++j) {
            column[j] = tables[g].column(sites[j]);
            all_held = all_held && column[j] >= 0;
        }
        if (!all_held) std::fill(values_[g].begin(), values_[g].end(), 0.0);
        double* const to = values_[g].data();
        const int first_column = std::max(0, column[0]);
        constexpr std::size_t look_ahead = 16;  // rows lie far apart, where no hardware fetches ahead
        for (std::size_t row = 0; row < n_rows_; ++row) {
            const double* const from = tables[g].row(rows.first + row);
            if (row + look_ahead < n_rows_) {
                __builtin_prefetch(tables[g].row(rows.first + row + look_ahead) + first_column);
            }
            for (std::size_t j = 0; j < sites.size(); ++j) {
                if (column[j] >= 0) to[j * n_rows_ + row] = from[column[j]];
            }
        }
    }
}

void sum_block::gather(const result_inputs& run, row_range rows, std::span<const std::size_t> sites) {
    if (run.params.mc_impute) {
        gather_tallies(run, rows, sites);
    } else {
        gather(run.acc.gtype_acc, rows, sites);
    }
}

void sum_block::gather_tallies(const result_inputs& run, row_range rows, std::span<const std::size_t> sites) {
    n_rows_ = rows.n;
    for (auto& values : values_) values.assign(max_sites * n_rows_, 0.0);
    for (std::size_t j = 0; j < sites.size(); ++j) {
        if (sites[j] >= run.acc.tallies.size()) continue;
        const auto& counts = run.acc.tallies[sites[j]].miss_counts;
        const snp& site = *run.sites.in_order[sites[j]];
        const bool by_missing = tallies_by_missing(run.plan, site);
        std::size_t next_entry = 0;
        for (std::size_t i = 0; i < rows.first + n_rows_; ++i) {
            if (by_missing && study_genotype(site, i) != missing_genotype) continue;
            const std::size_t entry = next_entry++;
            if (i < rows.first) continue;
            for (std::size_t g = 0; g < 2; ++g) {
                values_[g][j * n_rows_ + i - rows.first] = tally_count(counts[g], entry);
            }
        }
    }
}
