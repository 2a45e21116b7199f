// Updates of one haplotype.

#include <algorithm>

#include "inference/states/state_alleles.h"
#include "inference/update/site_rules.h"
#include "inference/update/sweep_choice.h"
#include "inference/update/update.h"

namespace {

void set_emission(const emission_table& M, haploid_problem& problem) {
    for (std::size_t copied = 0; copied < 2; ++copied) {
        for (std::size_t o = 0; o < 3; ++o) problem.emission[copied][o] = M[copied][o];
    }
}

void set_alleles(const inference_inputs& in, const conditioning_states& states, const hmm_model& model,
                 sweep_workspace& work, haploid_problem& problem) {
    gather_state_alleles(haplotypes_of(in.panels), states, model.site, problem.n_states, work.state_alleles);
    problem.alleles = work.state_alleles.data();
    problem.words = bits::words_for(problem.n_states);
}

haploid_problem make_problem(const inference_inputs& in, const haploid_update& update, const hmm_model& model,
                             sweep_workspace& work) {
    haploid_problem problem;
    problem.n_states = in.n_states(0, update.panel, update.cond_panel);
    problem.n_sites = model.n_sites();
    problem.gap = model.hap_gap.data();
    problem.gap_version = in.models.switch_rates_version;
    list_observed(in, update, work.observed);
    problem.observed = work.observed.data();
    set_emission(in.models.mutation[0][update.panel][update.cond_panel], problem);
    return problem;
}

// The posteriors, from classes of equal haplotypes. Returns false where single states must be looked at.
bool impute_by_classes(const haploid_update& update, const conditioning_states& states, const haploid_problem& problem,
                       sweep_workspace& work, haploid_result& result) {
    const haplotype_classes& classes = *update.classes;
    const auto likelihood = haploid_forward_by_classes(problem, classes, states.hap, work.haploid, work.by_class);
    if (!likelihood) return false;
    result.log10_likelihood = *likelihood;
    return haploid_posteriors_by_classes(problem, classes, work.haploid, work.by_class, result.requests, result.walk);
}

void find_kept_sites(const inference_inputs& in, const hmm_model& model, haploid_result& result) {
    const auto place = [&](std::size_t s) {
        return static_cast<std::size_t>(std::lower_bound(model.site.begin(), model.site.end(), s) - model.site.begin());
    };
    result.first_kept = place(in.first_kept);
    result.end_kept = std::max(result.first_kept, place(in.end_kept));
}

}  // namespace

const haplotype_classes* serving_classes(const inference_inputs& in, const haploid_update& update,
                                         const conditioning_states& states, haplotype_classes& classes) {
    const hmm_model& model = model_of(in, update);
    haploid_result asked;
    if (in.params.mem_save_1) {  // else the choice reads no requests
        find_kept_sites(in, model, asked);
        list_requests(in, update, asked);
    }
    const std::size_t n_states = in.n_states(0, update.panel, update.cond_panel);
    const haploid_choice choice = choose_sweep(in.params, update, model, states, n_states, asked.requests);
    const bool wanted = choice.sweep == haploid_sweep::classes;
    return wanted && classes.serve(in.panels[0].haps, model.site) ? &classes : nullptr;
}

void update_haploid(const inference_inputs& in, const haploid_update& update, const conditioning_states& states,
                    sweep_workspace& work, haploid_result& result) {
    const hmm_model& model = model_of(in, update);
    haploid_problem problem = make_problem(in, update, model, work);
    result.walk.stay_count = result.walk.switch_count = 0;
    result.copying.clear();
    find_kept_sites(in, model, result);
    if (update.sample || update.backward) list_requests(in, update, result);
    const haploid_choice choice = choose_sweep(in.params, update, model, states, problem.n_states, result.requests);
    problem.checkpoint_interval = choice.checkpoint_interval;
    if (update.classes != nullptr && impute_by_classes(update, states, problem, work, result)) return;

    set_alleles(in, states, model, work, problem);
    result.log10_likelihood = haploid_forward(problem, work.haploid);
    if (update.sample || update.backward) {
        const haploid_walk_options options{update.sample, update.backward, choice.states_first};
        haploid_walk(problem, work.haploid, options, result.requests, result.walk);
    }
    if (choice.copying) haploid_state_posteriors(problem, work.haploid, update.backward, result.copying);
}

void update_holes(const inference_inputs& in, const hole_update& update, const conditioning_states& states,
                  sweep_workspace& work, haploid_result& result) {
    const hmm_model& model = model_of(in, update);
    const packed_haplotypes& haps = in.panels[update.panel].haps;
    work.observed.resize(model.n_sites());
    result.requests.assign(model.n_sites(), {});
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        const site_traits& traits = in.traits(model.site[v]);
        const bool hole = traits.ref_alleles_missing;
        work.observed[v] = hole ? unobserved : static_cast<std::uint8_t>(haps.allele(update.hap, model.site[v]));
        result.requests[v].draw_allele = hole && traits.type <= 2;
    }
    haploid_problem problem;
    problem.n_states = in.n_states(0, update.panel, update.from_panel);
    problem.n_sites = model.n_sites();
    problem.gap = model.hap_gap.data();
    problem.observed = work.observed.data();
    set_emission(in.models.mutation[0][update.panel][update.from_panel], problem);
    set_alleles(in, states, model, work, problem);
    result.log10_likelihood = haploid_forward(problem, work.haploid);
    haploid_walk(problem, work.haploid, {true, false, true}, result.requests, result.walk);
}
