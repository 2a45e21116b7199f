#pragma once

// Draws of a path of states from forward values, from right to left. value(k) is the forward value of state k at the
// site in hand. Each takes one draw. -1 stands for no state.

#include "inference/haploid/haploid_model.h"
#include "random/random.h"

// The state at the last visited site: by its share of the forward values.
template <typename Value>
int draw_first_state(const haploid_problem& problem, Value value) {
    const double u = Random::RNG->Next();
    double z = 0.0;
    for (std::size_t k = 0; k < problem.n_states; ++k) z += value(k);
    double sum = 0.0;
    for (std::size_t k = 0; k < problem.n_states; ++k) {
        sum += value(k) / z;
        if (u <= sum) return static_cast<int>(k);
    }
    return static_cast<int>(problem.n_states) - 1;
}

// The state at site v, given the sampled state right at the site to the right with its forward value and by what the
// values there were divided. Counts in results whether the path stays.
template <typename Value>
int draw_next_state(const haploid_problem& problem, std::size_t v, int right, double right_value, double right_scale,
                    Value value, haploid_results& results) {
    const double u = Random::RNG->Next();
    if (right < 0) {
        ++results.switch_count;
        return -1;
    }
    const auto right_state = static_cast<std::size_t>(right);
    const auto copied = static_cast<std::size_t>(problem.allele(v + 1, right_state));
    const double den = right_scale * right_value / problem.emission[copied][problem.observed[v + 1]];
    double sum = value(right_state) * problem.gap[v + 1].stay / den;
    if (sum >= u) {
        ++results.stay_count;
        return right;
    }
    ++results.switch_count;
    for (std::size_t k = 0; k < problem.n_states; ++k) {
        if (k == right_state) continue;
        sum += value(k) * problem.gap[v + 1].move / den;
        if (u <= sum) return static_cast<int>(k);
    }
    return static_cast<int>(problem.n_states) - 1;
}
