#include "inference/update/sweep_choice.h"

#include <algorithm>

namespace {

bool all_of_panel0(const conditioning_states& states, std::size_t n_states) {
    return states.size() == n_states &&
           std::all_of(states.panel.begin(), states.panel.end(), [](std::size_t panel) { return panel == 0; });
}

// Whether the walk reads what is left of the leftmost checkpoint.
bool reads_stale(const haploid_update& update, const hmm_model& model, std::size_t checkpoint_interval,
                 std::span<const haploid_request> requests) {
    haploid_problem sizes;
    sizes.n_sites = model.n_sites();
    sizes.checkpoint_interval = checkpoint_interval;
    return reads_stale_values(sizes, {update.sample, update.backward, false}, requests);
}

}  // namespace

haploid_choice choose_sweep(const parameters& params, const haploid_update& update, const hmm_model& model,
                            const conditioning_states& states, std::size_t n_states,
                            std::span<const haploid_request> requests) {
    haploid_choice choice;
    choice.states_first = params.use_old_code;
    choice.copying =
        params.show_ref_copy_probs && !params.mc_impute && update.panel == 2 && update.cond_panel == 0 && update.stored;
    if (params.mem_save_1 && !params.use_old_code && !params.show_ref_copy_probs) {
        choice.checkpoint_interval = model.interval;
    }
    if (update.backward && !update.sample && update.cond_panel == 0 && !choice.copying &&
        !reads_stale(update, model, choice.checkpoint_interval, requests) && all_of_panel0(states, n_states)) {
        choice.sweep = haploid_sweep::classes;
    }
    return choice;
}

pair_choice choose_sweep(const parameters& params, const run_plan& plan, const pair_update& update,
                         const hmm_model& model) {
    pair_choice choice;
    choice.states_first = params.use_old_code || update.ordered;
    choice.copying = params.show_all_copy_probs && params.use_old_code && update.backward && !update.ordered &&
                     update.panel == 2 && !plan.chrx_haploid;
    // The older routines read every table again where a backward sweep follows.
    const bool every_table = params.use_old_code && (update.weighted || update.backward || plan.chrx_haploid);
    if (params.mem_save_1 && !update.ordered && !every_table) choice.checkpoint_interval = model.interval;
    if (update.backward) choice.keep_every = choice.copying ? 1 : 16;
    return choice;
}
