#include "run/memory_check.h"

#include <algorithm>

#include "io/run_log.h"
#include "io/text.h"
#include "model/data.h"
#include "model/intervals.h"
#include "reconcile/iteration_plan.h"
#include "reconcile/result_sums.h"

namespace {

// Fitted to runs of 25 to 158 MB on simulated data, of which docs/performance.md tells the peaks.
constexpr double classes_a_panel_bit = 1.0;  // haplotypes by classes, and what sorts them, take as much as the panels
constexpr double tables_a_typed_site = 1.0 / 14.0;
constexpr double bytes_a_sorted_allele = 1.0;  // rows, and the orders and ranks of both sides
constexpr double bytes_a_phase_sum = 24.0;     // its site, and two sums
constexpr double bytes_of_program = 2e6;

constexpr double least_share = 0.8, largest_share = 1.2;  // of what is to come, if the estimate is wrong

double panel_bytes(const panel_array& panels, std::size_t n_sites) {
    constexpr double bits = 8.0;
    double n_hap = 0.0;
    for (const panel_data& panel : panels) n_hap += static_cast<double>(panel.haps.n_hap());
    return n_hap * static_cast<double>(n_sites) / bits;
}

double typed_sites(const data& run) {
    double n = 0.0;
    for (const snp* site : run.sites.in_order) n += site->in_panel(2) ? 1.0 : 0.0;
    return n;
}

// Under -local_states: the haplotypes in their orders, and what is summed at each heterozygote; by rounds of the final
// pass those of the latest one, too.
double local_match_bytes(const data& run, bool phases_once_more) {
    if (run.params.local_states == 0 || !run.panels[2].needs_update) return 0.0;
    double n_hap = 0.0, n_het = 0.0;
    for (const panel_data& panel : run.panels) n_hap += static_cast<double>(panel.n_hap);
    if (run.params.phase) {
        for (const snp* site : run.sites.in_order) {
            n_het += static_cast<double>(std::count(site->gtypes[2].begin(), site->gtypes[2].end(), 1));
        }
    }
    const double n_sums = phases_once_more && run.params.final_rounds > 1 ? 2.0 * n_het : n_het;
    return bytes_a_sorted_allele * n_hap * typed_sites(run) + bytes_a_phase_sum * n_sums;
}

// The tables of pairs of states that a sweep keeps; all of them where -use_old_code tells what was copied. In the final
// pass each thread that has somebody to phase has its own.
double table_bytes(const data& run, bool phases_once_more) {
    if (!run.panels[2].needs_update && !run.panels[1].needs_update) return 0.0;
    const auto of_table = [](double k) { return k * (k + 1) / 2.0 * sizeof(double); };
    const double n = typed_sites(run);
    const bool keeps_all = run.params.show_all_copy_probs && run.params.use_old_code;
    const double k = std::max(run.models.k_states[1][2][2], run.models.k_states[1][1][1]);
    const double in_turns = (keeps_all ? n : tables_a_typed_site * n) * of_table(k);
    if (!phases_once_more) return in_turns;
    const auto n_beside = static_cast<double>(std::min(run.workers.size(), run.panels[2].n_ind));
    return std::max(in_turns, n_beside * tables_a_typed_site * n * of_table(run.models.k_final));
}

// What a sweep of one haplotype says of all its states under -show_ref_copy_probs.
double copying_bytes(const data& run) {
    if (!run.params.show_ref_copy_probs || run.params.mc_impute) return 0.0;
    const auto [first, last] = run.sites.range(output_interval(run.params, run.plan));
    return static_cast<double>(last - first) * run.models.k_states[0][2][0] * sizeof(double);
}

}  // namespace

memory_need memory_to_come(const data& run) {
    run_plan plan = run.plan;
    plan_iterations(run.params, plan);
    const double other = classes_a_panel_bit * panel_bytes(run.panels, run.sites.size()) +
                         table_bytes(run, plan.phases_once_more) + copying_bytes(run) +
                         local_match_bytes(run, plan.phases_once_more) + bytes_of_program;
    return {bytes_of_results(run.params, plan, run.panels, run.sites, haps_interval(run.params, plan)).memory,
            static_cast<std::size_t>(other)};
}

void compare_memory(run_log& log, const memory_need& need, const std::vector<memory_limit>& limits,
                    const std::string& content) {
    const auto to_come = static_cast<double>(need.sums + need.other);
    for (const memory_limit& limit : limits) {
        const auto used = static_cast<double>(limit.used), bytes = static_cast<double>(limit.bytes);
        if (used + largest_share * to_come <= bytes) continue;
        const std::string text = concat(
            "his run needs about ", megabytes(used + to_come), " of memory, ",
            megabytes(static_cast<double>(need.sums)), " of them for the results of ", content, "; ", limit.what,
            " is ", megabytes(bytes), ". A shorter -int or fewer people a run need less, with -phase also -mem_save.");
        if (used + least_share * to_come > bytes) log.fatal("ERROR: T" + text);
        log.note("note: T" + text);
    }
}

void require_memory(data& run) {
    const std::string content = concat(run.plan.n_study, " people at ", run.sites.size(), " SNPs");
    compare_memory(run.log, memory_to_come(run), memory_limits(), content);
}
