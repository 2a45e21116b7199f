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

genotype_sums::genotype_sums(const result_inputs& run, sum_reader::order by)
    : run_(run), reader_(run.acc.gtype_acc, run.n_study(), by) {}

std::array<double, 2> genotype_sums::get(std::size_t site, std::size_t individual) {
    if (!run_.params.mc_impute) return reader_.get(individual, site);
    if (site >= run_.acc.tallies.size()) return {0.0, 0.0};
    const auto entry = tally_entry(run_.plan, *run_.sites.in_order[site], individual);
    if (!entry) return {0.0, 0.0};
    const auto& counts = run_.acc.tallies[site].miss_counts;
    return {tally_count(counts[0], *entry), tally_count(counts[1], *entry)};
}

void sum_block::gather(const std::array<sum_table, 2>& tables, row_range rows, std::span<const std::size_t> sites) {
    n_rows_ = rows.n;
    for (std::size_t g = 0; g < 2; ++g) {
        values_[g].resize(max_sites * n_rows_);
        columns_.clear();
        for (std::size_t j = 0; j < sites.size(); ++j) {
            const int column = tables[g].column(sites[j]);
            if (column >= 0) columns_.push_back({j, static_cast<std::size_t>(column)});
        }
        if (columns_.size() < sites.size()) std::fill(values_[g].begin(), values_[g].end(), 0.0);
        // What a table gives to read at once has some of the columns, or all of them.
        for (std::span<const wanted_column> rest = columns_; !rest.empty();) {
            sum_view& view = views_[g];
            tables[g].show(rows.first, rows.n, rest.front().column, view);
            const auto end = std::find_if(rest.begin(), rest.end(), [&view](const wanted_column& one) {
                return one.column < view.first_column || one.column >= view.end_column;
            });
            const auto n = static_cast<std::size_t>(end - rest.begin());
            gather_columns(g, view, rows.first, rest.first(n));
            rest = rest.subspan(n);
        }
    }
}

void sum_block::gather_columns(std::size_t g, const sum_view& view, std::size_t first_row,
                               std::span<const wanted_column> columns) {
    double* const to = values_[g].data();
    constexpr std::size_t look_ahead = 16;  // rows lie far apart, where no hardware fetches ahead
    const std::size_t first_column = columns.front().column - view.first_column;
    for (std::size_t row = 0; row < n_rows_; ++row) {
        const double* const from = view.row(first_row + row);
        if (row + look_ahead < n_rows_) __builtin_prefetch(view.row(first_row + row + look_ahead) + first_column);
        for (const wanted_column& one : columns) to[one.j * n_rows_ + row] = from[one.column - view.first_column];
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
