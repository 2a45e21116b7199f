#pragma once

// Draws of a path of states from forward values, from right to left. value(k) is the forward value of state k at the
// site in hand. Each takes one draw.

#include "inference/haploid/haploid_types.h"
#include "random/random.h"

// The state where none qualified, by rounding or without states.
inline std::size_t last_state(const haploid_problem& problem) {
    return problem.n_states > 0 ? problem.n_states - 1 : no_state;
}

// The state at the last visited site: by its share of the forward values.
template <typename Value>
std::size_t draw_first_state(const haploid_problem& problem, Value value) {
    const double u = Random::RNG->Next();
    double z = 0.0;
    for (std::size_t k = 0; k < problem.n_states; ++k) z += value(k);
    double sum = 0.0;
    for (std::size_t k = 0; k < problem.n_states; ++k) {
        sum += value(k) / z;
        if (u <= sum) return k;
    }
    return last_state(problem);
}

// The state at site v, given the sampled state right at the site to the right with its forward value and by what the
// values there were divided. Counts in results whether the path stays.
template <typename Value>
std::size_t draw_next_state(const haploid_problem& problem, std::size_t v, std::size_t right, double right_value,
                            double right_scale, Value value, haploid_results& results) {
    const double u = Random::RNG->Next();
    if (right == no_state) {
        ++results.switch_count;
        return no_state;
    }
    const double den =
        right_scale * right_value / problem.emission[problem.allele(v + 1, right)][problem.observed[v + 1]];
    double sum = value(right) * problem.gap[v + 1].stay / den;
    if (sum >= u) {
        ++results.stay_count;
        return right;
    }
    ++results.switch_count;
    for (std::size_t k = 0; k < problem.n_states; ++k) {
        if (k == right) continue;
        sum += value(k) * problem.gap[v + 1].move / den;
        if (u <= sum) return k;
    }
    return last_state(problem);
}
