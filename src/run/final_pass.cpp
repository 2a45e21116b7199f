// The last pass of phasing.

#include <algorithm>
#include <utility>
#include <vector>

#include "io/text.h"
#include "model/data.h"
#include "params/population.h"
#include "random/random.h"
#include "run/passes.h"
#include "threads/ordered_jobs.h"

namespace {

// Paths of each individual. Chances of a phase are averaged along each of them, so that few are enough.
constexpr std::size_t n_final_paths = 32;

// Of alleles that differ from those copied: real genotypes, and haplotypes whose phase is an estimate, do so more often
// than mutation tells (docs/recipes.md).
constexpr double final_mutation = 0.002;

void swap_alleles(packed_haplotypes& haps, std::size_t first_hap, std::size_t s) {
    const int first = haps.allele(first_hap, s), second = haps.allele(first_hap + 1, s);
    if (first == second) return;
    haps.set(first_hap, s, second);
    haps.set(first_hap + 1, s, first);
}

// Gives two haplotypes the phase that sums tell. What stands between two of the heterozygotes goes with the left one.
void take_phase(const phase_sums& sums, std::size_t n_sites, packed_haplotypes& haps, std::size_t first_hap) {
    double last = 0.0, before = 0.0;
    for (std::size_t i = 0; i < sums.site.size(); ++i) {
        const bool one = lead_of(sums, i, last, before).first_is_one();
        before = std::exchange(last, one ? 1.0 : -1.0);
        if ((haps.allele(first_hap, sums.site[i]) == 1) == one) continue;
        const std::size_t first = i == 0 ? 0 : sums.site[i];
        const std::size_t end = i + 1 < sums.site.size() ? sums.site[i + 1] : n_sites;
        for (std::size_t s = first; s < end; ++s) {
            if (haps.holds(s)) swap_alleles(haps, first_hap, s);
        }
    }
}

// One individual. The study's haplotypes stay as they are in this pass, so that people are phased beside each other.
struct phasing {
    pair_update update;
    conditioning_states states;
    SplitMix draws;
};

struct phasing_workspace {
    sweep_workspace sweeps;
    pair_result result;
};

}  // namespace

void update_passes::phase_once_more() {
    std::vector<phase_sums>& sums = run_.acc.phase;
    panel_data& study = run_.panels[2];
    const bool anybody =
        std::any_of(sums.begin(), sums.end(), [](const phase_sums& of_one) { return !of_one.site.empty(); });
    if (run_.models.k_final < 1 || !anybody) return;
    for (std::size_t i = 0; i < run_.plan.n_study; ++i) {
        if (!sums[i].site.empty()) take_phase(sums[i], run_.sites.size(), study.haps, study.first_hap(i));
    }
    run_.models.k_states[1][2][2] = run_.models.k_final;
    set_pair_mutation(2, final_mutation, run_.models);
    run_.acc.phase_is_final = true;
    run_.log.stage(concat("-phasing once more with ", run_.models.k_final,
                          " states, each individual beside the consensus of all others"));
    chooser_.start_iteration(true, false);
    progress_.start_final_pass();
    work_ = {};
    std::vector<phasing_workspace> work(run_.workers.size());
    ordered_jobs jobs(run_.workers);
    for (std::size_t i = 0; i < run_.plan.n_study; ++i) {
        say_member({"indiv", "individual"}, i, run_.plan.n_study);
        if (sums[i].site.empty()) continue;
        if (jobs.full()) jobs.take_first();
        phasing job{{}, {}, SplitMix::from_installed()};
        job.update.ind = i;
        job.update.hap = study.first_hap(i);
        job.update.panel = 2;
        chooser_.for_individual(2, i, job.states, nullptr);
        jobs.add([this, job = std::move(job), &work, &sums](std::size_t worker) mutable {
            phase_sums& of_one = sums[job.update.ind];
            of_one = {};
            sum_phase(in_, job.update, job.states, n_final_paths, job.draws, work[worker].sweeps, work[worker].result,
                      of_one);
        });
    }
    jobs.take_all();
    say_last_member();
    progress_.finish();
}
