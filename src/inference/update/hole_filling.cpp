// Completes the holes of a panel: sites at which all its alleles are missing are copied from another panel.

#include "inference/haploid/haploid_model.h"
#include "inference/states/state_alleles.h"
#include "inference/update/updates.h"
#include "inference/update/workspace.h"
#include "model/data.h"

void fill_holes_of_haplotype(data& run, int hap, int panel, int from_panel) {
    const auto to = static_cast<std::size_t>(panel);
    const auto from = static_cast<std::size_t>(from_panel);
    const auto own = static_cast<std::size_t>(hap);
    const hmm_model& model = run.models.hole_chains[0][to][from];
    sweep_workspace& w = *run.work;
    packed_haplotypes& haps = run.panels[to].haps;

    w.observed.resize(model.n_sites());
    w.haploid_requests.assign(model.n_sites(), {});
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        const auto s = static_cast<std::size_t>(model.site[v]);
        const bool hole = run.sites.in_order[s]->ref_alleles_missing;
        w.observed[v] = hole ? unobserved : static_cast<std::uint8_t>(haps.allele(own, s));
        w.haploid_requests[v].draw_allele = hole && run.sites.in_order[s]->type <= 2;
    }
    haploid_problem problem;
    problem.n_states = static_cast<std::size_t>(run.models.k_states[0][to][from]);
    problem.n_sites = model.n_sites();
    problem.gap = model.hap_gap.data();
    problem.observed = w.observed.data();
    gather_state_alleles(haplotypes_of(run.panels), run.cond_states, model.site, problem.n_states, w.state_alleles);
    problem.alleles = w.state_alleles.data();
    problem.words = bits::words_for(problem.n_states);
    const emission_table& M = run.models.mutation[0][to][from];
    for (std::size_t copied = 0; copied < 2; ++copied) {
        for (std::size_t o = 0; o < 3; ++o) problem.emission[copied][o] = M[copied][o];
    }

    haploid_forward(problem, w.haploid);
    // All states are drawn before the first allele.
    const haploid_walk_options options{true, false, true};
    haploid_walk(problem, w.haploid, options, w.haploid_requests, w.haploid_out);
    run.hap_stay_count += w.haploid_out.stay_count;
    run.hap_switch_count += w.haploid_out.switch_count;
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        if (!w.haploid_requests[v].draw_allele) continue;
        haps.set(own, static_cast<std::size_t>(model.site[v]), w.haploid_out.allele[v]);
    }
}
