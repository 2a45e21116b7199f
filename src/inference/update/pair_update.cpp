// Updates of an individual's two haplotypes.

#include "inference/pairs/pair_paths.h"
#include "inference/states/state_alleles.h"
#include "inference/update/recording.h"
#include "inference/update/site_rules.h"
#include "inference/update/sweep_choice.h"
#include "inference/update/update.h"

namespace {

pair_problem make_problem(const inference_inputs& in, const pair_update& update, const conditioning_states& states,
                          sweep_workspace& work, pair_result& result) {
    const hmm_model& model = model_of(in, update);
    pair_problem problem;
    problem.ordered = update.ordered;
    problem.n_states = in.n_states(1, update.panel, update.panel);
    problem.n_sites = model.n_sites();
    problem.gap = model.dip_gap.data();
    gather_state_alleles(haplotypes_of(in.panels), states, model.site, problem.n_states, work.state_alleles);
    problem.alleles = work.state_alleles.data();
    problem.words = bits::words_for(problem.n_states);
    result.emissions.resize(model.n_sites());
    for (std::size_t v = 0; v < model.n_sites(); ++v) result.emissions[v] = emission_at(in, update, model.site[v]);
    problem.emission = result.emissions.data();
    problem.pr_00 = in.models.pr_alleles_00[update.panel];
    problem.pr_01 = in.models.pr_alleles_01[update.panel];
    problem.pr_10 = in.models.pr_alleles_10[update.panel];
    return problem;
}

void list_pair_requests(const inference_inputs& in, const pair_update& update, pair_result& result) {
    const hmm_model& model = model_of(in, update);
    result.requests.resize(model.n_sites());
    for (std::size_t v = 0; v < model.n_sites(); ++v) result.requests[v] = request_at(in, update, model.site[v]);
}

// From tables of products that are all kept: a pair counts for both its states.
void list_state_posteriors(const pair_problem& problem, const pair_tables& tables, std::vector<double>& posteriors) {
    posteriors.assign(problem.n_sites * problem.n_states, 0.0);
    for (std::size_t v = 0; v < problem.n_sites; ++v) {
        const double* table = tables.kept.data() + *tables.kept_row[v] * tables.table_size;
        double* posterior = posteriors.data() + v * problem.n_states;
        for (std::size_t a = 0; a < problem.n_states; ++a) {
            for (std::size_t b = 0; b <= a; ++b) {
                const double value = table[pair_place(problem, a, b)];
                posterior[a] += value;
                posterior[b] += value;
            }
        }
    }
}

}  // namespace

void update_pair(const inference_inputs& in, const pair_update& update, const conditioning_states& states,
                 sweep_workspace& work, pair_result& result) {
    const hmm_model& model = model_of(in, update);
    const pair_choice choice = choose_sweep(in.params, in.plan, update, model);
    pair_problem problem = make_problem(in, update, states, work, result);
    problem.keep_every = choice.keep_every;
    problem.checkpoint_interval = choice.checkpoint_interval;
    result.log10_likelihood = pair_forward(problem, work.pairs);
    list_pair_requests(in, update, result);
    const pair_walk_options options{true, update.backward, choice.states_first, choice.copying};
    pair_walk(problem, work.pairs, options, result.requests, result.walk);
    result.copying.clear();
    if (choice.copying) list_state_posteriors(problem, work.pairs, result.copying);
}

void sum_phase(const inference_inputs& in, const pair_update& update, const conditioning_states& states,
               std::size_t n_paths, Random& draws, sweep_workspace& work, pair_result& result, phase_sums& sums) {
    const pair_problem problem = make_problem(in, update, states, work, result);
    pair_forward(problem, work.pairs);
    list_pair_requests(in, update, result);
    for (std::size_t path = 0; path < n_paths; ++path) {
        draw_pair_path(problem, work.pairs, result.requests, draws, result.walk);
        record_phase(model_of(in, update), result, sums);
    }
}
