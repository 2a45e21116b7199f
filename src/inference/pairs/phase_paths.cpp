#include "inference/pairs/phase_paths.h"

double chance_of_order(const diploid_gap& gap, const state_pair& left, const state_pair& right) {
    if (left[0] == left[1] || right[0] == right[1]) return 0.5;
    const double kept = gap.hap(right[0] != left[0]) * gap.hap(right[1] != left[1]);
    const double turned = gap.hap(right[1] != left[0]) * gap.hap(right[0] != left[1]);
    return kept / (kept + turned);
}

double first_is_one(const pair_problem& problem, std::size_t v, const state_pair& states) {
    const std::size_t x = problem.allele(v, states[0]), y = problem.allele(v, states[1]);
    const double one_zero = problem.pr_10[x][y], zero_one = problem.pr_01[x][y];
    return (one_zero - zero_one) / (one_zero + zero_one);
}

void add_phase_agreement(std::span<const pair_request> requests, const pair_results& walk, phase_sums& sums) {
    ++sums.n_paths;
    std::size_t n = 0;
    // Of the last heterozygote and of the one before it, with the states in the order of the site in hand: the chance
    // that the allele 1 was on the haplotype of the first state, less the chance that it was on the other.
    double previous = 0.0, second = 0.0;
    for (std::size_t v = 0; v < requests.size(); ++v) {
        if (requests[v].heterozygous) {
            const double here = walk.first_is_one[v];
            sums.with_previous[n] += previous * here;
            sums.with_second[n] += second * here;
            ++n;
            second = previous;
            previous = here;
        }
        previous *= walk.order_kept[v];
        second *= walk.order_kept[v];
    }
}
