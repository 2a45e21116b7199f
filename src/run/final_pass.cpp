// The last pass of phasing.

#include <algorithm>
#include <string>
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

// Whether the first haplotype has allele 1 at a heterozygote, those before it being settled.
using phase_choice = bool (*)(const phase_sums& sums, std::size_t het, double last, double before);

bool consensus(const phase_sums& sums, std::size_t het, double last, double before) {
    return lead_of(sums, het, last, before).first_is_one();
}

// By its chances given the heterozygote before.
bool drawn(const phase_sums& sums, std::size_t het, double last, double before) {
    if (het == 0) return consensus(sums, het, last, before);
    const bool same = Random::RNG->Next() < 0.5 * (1.0 + lead_of(sums, het, 1.0, 0.0).with_previous);
    return (last > 0.0) == same;
}

// Gives two haplotypes a phase of those that sums tell. What stands between two of the heterozygotes goes with the left
// one.
void take_phase(const phase_sums& sums, phase_choice first_is_one, std::size_t n_sites, packed_haplotypes& haps,
                std::size_t first_hap) {
    double last = 0.0, before = 0.0;
    for (std::size_t i = 0; i < sums.site.size(); ++i) {
        const bool one = first_is_one(sums, i, last, before);
        before = std::exchange(last, one ? 1.0 : -1.0);
        if ((haps.allele(first_hap, sums.site[i]) == 1) == one) continue;
        const std::size_t first = i == 0 ? 0 : sums.site[i];
        const std::size_t end = i + 1 < sums.site.size() ? sums.site[i + 1] : n_sites;
        for (std::size_t s = first; s < end; ++s) {
            if (haps.holds(s)) swap_alleles(haps, first_hap, s);
        }
    }
}

// One individual. The study's haplotypes stay as they are in a round, so that people are phased beside each other.
struct phasing {
    pair_update update;
    conditioning_states states;
    SplitMix draws;
};

}  // namespace

struct update_passes::phasing_workspace {
    sweep_workspace sweeps;
    pair_result result;
};

void update_passes::phase_once_more() {
    std::vector<phase_sums>& sums = run_.acc.phase;
    const auto told = [](const phase_sums& of_one) { return !of_one.site.empty(); };
    if (run_.models.k_final < 1 || std::none_of(sums.begin(), sums.end(), told)) return;
    std::vector<phase_sums> latest = std::exchange(sums, std::vector<phase_sums>(sums.size()));
    const int n_rounds = run_.params.final_rounds;
    run_.models.k_states[1][2][2] = run_.models.k_final;
    set_pair_mutation(2, final_mutation, run_.models);
    run_.acc.final_rounds = n_rounds;
    std::string what = concat("-phasing once more with ", run_.models.k_final,
                              " states, each individual beside the consensus of all others");
    if (n_rounds > 1)
        what += concat("; ", n_rounds, " rounds, from the second on beside phases drawn by their chances");
    run_.log.stage(what);
    work_ = {};
    std::vector<phasing_workspace> work(run_.workers.size());
    for (int round = 0; round < n_rounds; ++round) {
        progress_.start_final_round(round, n_rounds);
        for (std::size_t i = 0; i < latest.size(); ++i) {
            take_phase(latest[i], round == 0 ? consensus : drawn, run_.sites.size(), run_.panels[2].haps,
                       run_.panels[2].first_hap(i));
        }
        phase_everybody(work, latest);
        if (n_rounds == 1) {
            sums.swap(latest);
        } else {
            for (std::size_t i = 0; i < latest.size(); ++i) add_sums(latest[i], sums[i]);
        }
    }
    progress_.finish();
}

// One round: replaces the sums of those who have some.
void update_passes::phase_everybody(std::vector<phasing_workspace>& work, std::vector<phase_sums>& sums) {
    chooser_.start_iteration(true, false);
    ordered_jobs jobs(run_.workers);
    for (std::size_t i = 0; i < sums.size(); ++i) {
        say_member({"indiv", "individual"}, i, sums.size());
        if (sums[i].site.empty()) continue;
        if (jobs.full()) jobs.take_first();
        phasing job{{}, {}, SplitMix::from_installed()};
        job.update.ind = i;
        job.update.hap = run_.panels[2].first_hap(i);
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
}
