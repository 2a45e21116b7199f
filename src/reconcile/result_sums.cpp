#include "reconcile/result_sums.h"

#include <algorithm>
#include <string>

#include "io/temporary_file.h"

namespace {

// What all sums are sized by.
struct sized_run {
    const parameters& params;
    const run_plan& plan;
    const panel_array& panels;
    const site_table& sites;
    std::pair<long, long> interval;  // of accumulation

    // Those who are analysed: sums of others would never be touched.
    std::size_t n_study() const { return plan.n_study; }
    std::size_t n_known() const {
        const std::vector<bool>& ordered = panels[2].ordered;
        return static_cast<std::size_t>(std::count(ordered.begin(), ordered.end(), true));
    }
    bool is_imputed(const snp& s) const { return s.top_panel < 2 && plan.output_types[s.type]; }
    bool is_study_site(const snp& s) const { return s.type == plan.n_panels - 1; }
};

// Gives a column to every site of the accumulation interval that a rule wants.
struct columns {
    std::vector<int> column;
    std::size_t n = 0;
    template <typename Wanted>
    columns(const sized_run& run, Wanted wanted) : column(run.sites.size(), -1) {
        const auto [first, last] = run.sites.range(run.interval);
        for (std::size_t s = first; s < last; ++s) {
            const snp& site = *run.sites.in_order[s];
            if (site.type != run.plan.n_panels && wanted(site)) column[s] = static_cast<int>(n++);
        }
    }
};

// Calls give(table, rows, columns) for each table of sums that the run needs.
template <typename Give>
void give_sums(const sized_run& run, accumulators& acc, Give give) {
    const parameters& p = run.params;
    const std::size_t n_known = run.n_known();
    const bool posterior_genotypes = p.pgs || p.pgs_miss || p.pgs_prob;
    if (!p.mc_impute || posterior_genotypes) {
        const columns cols(run, [&](const snp& s) {
            return (run.is_imputed(s) && !p.mc_impute) || (run.is_study_site(s) && posterior_genotypes);
        });
        for (sum_table& table : acc.gtype_acc) give(table, run.n_study(), cols);
    }
    const bool known_typed = p.print_allele_probs || p.phase, known_imputed = p.phase || run.plan.known_hap_dosages;
    if (n_known > 0 && (known_typed || known_imputed)) {
        const columns cols(run, [&](const snp& s) {
            return (known_typed && run.is_study_site(s)) || (known_imputed && run.is_imputed(s));
        });
        for (sum_table& table : acc.gtype_acc2) give(table, n_known, cols);
    }
    if (!run.plan.selfcheck_iters.empty()) {
        const columns cols(run, [&](const snp& s) { return s.type == 2; });
        for (std::size_t cond = 0; cond < 2; ++cond) {
            if (!run.plan.output_types[cond] && p.weight_panel != static_cast<int>(cond)) continue;
            for (sum_table& table : acc.gtype_acc3[cond]) give(table, run.n_study(), cols);
        }
    }
}

std::size_t count_missing(const sized_run& run, const snp& site) {
    if (run.plan.sporadic_haploid_imputation) {
        const packed_haplotypes& missing = run.panels[0].missing;
        std::size_t n = 0;
        for (std::size_t h = 0; h < missing.n_hap(); ++h) n += missing.allele(h, site.index) == 1 ? 1 : 0;
        return n;
    }
    const auto& gtypes = site.gtypes[2];
    const std::size_t n = std::min(run.plan.n_study, gtypes.size());
    const auto end = gtypes.begin() + static_cast<std::ptrdiff_t>(n);
    return static_cast<std::size_t>(std::count(gtypes.begin(), end, missing_genotype));
}

void allocate_tallies(const sized_run& run, accumulators& acc) {
    const run_plan& plan = run.plan;
    if (!run.params.mc_impute && !plan.sporadic_haploid_imputation) return;
    acc.last_sampled_gtype.assign(run.sites.size(), 0);
    acc.tallies.resize(run.sites.size());
    if (!run.params.mc_impute) return;
    for (const snp* site : run.sites.in_order) {
        if (site->type == plan.n_panels) continue;
        const bool by_missing =
            plan.sporadic_haploid_imputation || (plan.count_missing_only && run.is_study_site(*site));
        const std::size_t n = by_missing ? count_missing(run, *site) : run.panels[2].n_ind;
        for (auto& counts : acc.tallies[site->index].miss_counts) counts.assign(n, 0);
    }
}

// Without results there are still the count files, which hold what phasing sums.
bool has_sums(const parameters& params) {
    return !params.suppress_imputation_output || params.counts_wt_per_iter;
}

void allocate_samples(const sized_run& run, accumulators& acc) {
    const parameters& p = run.params;
    const std::size_t n_ind = run.panels[2].n_ind;
    if (p.phase && !run.plan.tmp_haps) {
        const columns cols(run, [&](const snp& s) { return s.top_panel >= 2 || p.mc_impute; });
        acc.mcmc_bits.allocate(p.mc_impute ? n_ind : n_ind - run.n_known(), cols.column, cols.n,
                               run.plan.stored_iters.size());
    }
    if (p.sums_phase()) acc.phase.resize(n_ind);
    if (p.weight_imputed_gt != -1) {
        for (std::size_t cond = 0; cond < 2; ++cond) {
            acc.weight_base[cond].assign(n_ind, 0.0);
            acc.weight_sum[cond].assign(n_ind, 0.0);
        }
        acc.dip_like.assign(n_ind, 0.0);
    }
}

}  // namespace

void allocate_results(const parameters& params, const run_plan& plan, const panel_array& panels,
                      const site_table& sites, std::pair<long, long> interval, accumulators& acc) {
    const sized_run run{params, plan, panels, sites, interval};
    if (has_sums(params)) {
        const std::string directory = temporary_directory();
        give_sums(run, acc, [&](sum_table& table, std::size_t n_rows, const columns& cols) {
            table.allocate(n_rows, cols.column, cols.n, params.mem_save_3 ? &directory : nullptr);
        });
    }
    allocate_tallies(run, acc);
    allocate_samples(run, acc);
}

result_bytes bytes_of_results(const parameters& params, const run_plan& plan, const panel_array& panels,
                              const site_table& sites, std::pair<long, long> interval) {
    const sized_run run{params, plan, panels, sites, interval};
    const std::size_t n_ind = panels[2].n_ind;
    result_bytes bytes;
    accumulators unused;
    if (has_sums(params)) {
        give_sums(run, unused, [&](sum_table& /*table*/, std::size_t n_rows, const columns& cols) {
            const std::size_t all = n_rows * cols.n * sizeof(double);
            bytes.memory += cols.column.size() * sizeof(int);
            bytes.memory += params.mem_save_3 ? row_file::window_bytes(n_rows, cols.n) : all;
            bytes.files += params.mem_save_3 ? all : 0;
        });
    }
    if (params.mc_impute) bytes.memory += 2 * n_ind * sites.size() * sizeof(int);
    if (params.phase && !plan.tmp_haps) {
        const columns cols(run, [&](const snp& s) { return s.top_panel >= 2 || params.mc_impute; });
        bytes.memory += 2 * n_ind * plan.stored_iters.size() * bits::words_for(cols.n) * sizeof(std::uint64_t);
    }
    return bytes;
}
