#include "inference/pairs/phase_paths.h"

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
