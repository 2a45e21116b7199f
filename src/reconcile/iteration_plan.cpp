#include "reconcile/iteration_plan.h"

#include <algorithm>
#include <cmath>

namespace {

std::vector<int> list_stored(const run_plan& plan, int thin) {
    std::vector<int> stored;
    if (plan.burnin >= plan.n_iterations - 1) return {plan.burnin};
    for (long it = plan.burnin; it <= plan.n_iterations - 2; it += thin) stored.push_back(static_cast<int>(it));
    stored.push_back(plan.n_iterations - 1);
    return stored;
}

// The share of the stored iterations that -selfcheck asks for, the first and the last one among them.
std::vector<int> list_selfchecks(const std::vector<int>& stored, double share) {
    if (!(share > 0.0)) return {};
    const double step = std::floor(1.0 / share + 0.5);
    std::vector<int> selfchecks{stored.front()};
    double count = 0.0;
    for (std::size_t i = 1; i < stored.size(); ++i) {
        count += 1.0;
        if (count == step) {
            selfchecks.push_back(stored[i]);
            count = 0.0;
        }
    }
    if (selfchecks.back() != stored.back()) selfchecks.push_back(stored.back());
    return selfchecks;
}

std::optional<int> first_informed(const parameters& params, const run_plan& plan) {
    if (params.random_cond) return std::nullopt;
    int informed = std::min(params.informed_burnin, plan.burnin);
    if (informed == -1 && params.local_states > 0) informed = plan.burnin;
    if (informed == -1) informed = static_cast<int>(std::floor(plan.burnin * 0.6666666666666666 + 0.5));
    return plan.burnin - informed;
}

}  // namespace

void plan_iterations(const parameters& params, run_plan& plan) {
    plan.stored_iters = list_stored(plan, params.thin);
    plan.selfcheck_iters = list_selfchecks(plan.stored_iters, params.selfcheck);
    plan.informed_start_iter = first_informed(params, plan);
    plan.phases_once_more = params.final_states > 0 && params.sums_phase() && !params.suppress_imputation_output;
}
