#include "inference/pairs/phase_paths.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "inference/inference_tools.h"

namespace {

class phase_of_a_path : public ::testing::Test {
  protected:
    // A walk of n sites, heterozygotes at some.
    void make(std::size_t n, const std::vector<std::size_t>& hets) {
        requests.assign(n, {});
        walk.order_kept.resize(n);
        walk.first_is_one.assign(n, 0.0);
        for (double& kept : walk.order_kept) kept = source.uniform(-1.0, 1.0);
        for (const std::size_t v : hets) {
            requests[v].heterozygous = true;
            walk.first_is_one[v] = source.uniform(-1.0, 1.0);
        }
        sums.with_previous.assign(hets.size(), 0.0);
        sums.with_second.assign(hets.size(), 0.0);
    }
    // Chance that two heterozygotes have the same phase, less that of the other: a sum over all orders at the
    // sites from one to the other and over the alleles at both.
    double slow_agreement(std::size_t from, std::size_t to) const {
        double sum = 0.0;
        const std::size_t n_gaps = to - from;
        for (std::size_t turned = 0; turned < (std::size_t{1} << n_gaps); ++turned) {
            double chance = 1.0, sign = 1.0;
            for (std::size_t i = 0; i < n_gaps; ++i) {
                const bool turns = ((turned >> i) & 1U) != 0;
                chance *= 0.5 * (1.0 + (turns ? -1.0 : 1.0) * walk.order_kept[from + i]);
                if (turns) sign = -sign;
            }
            for (const double a : {-1.0, 1.0}) {
                for (const double b : {-1.0, 1.0}) {
                    sum += chance * 0.5 * (1.0 + a * walk.first_is_one[from]) * 0.5 *
                           (1.0 + b * walk.first_is_one[to]) * sign * a * b;
                }
            }
        }
        return sum;
    }
    input_source source{1};
    std::vector<pair_request> requests;
    pair_results walk;
    phase_sums sums;
};

TEST_F(phase_of_a_path, is_the_sum_over_all_orders_of_the_states) {
    const std::vector<std::size_t> hets{1, 4, 5, 9};
    make(11, hets);
    add_phase_agreement(requests, walk, sums);
    EXPECT_EQ(1U, sums.n_paths);
    EXPECT_EQ(0.0, sums.with_previous[0]);
    EXPECT_EQ(0.0, sums.with_second[0]);
    EXPECT_EQ(0.0, sums.with_second[1]);
    for (std::size_t i = 1; i < hets.size(); ++i) {
        EXPECT_NEAR(slow_agreement(hets[i - 1], hets[i]), sums.with_previous[i], 1e-14);
        if (i > 1) {
            EXPECT_NEAR(slow_agreement(hets[i - 2], hets[i]), sums.with_second[i], 1e-14);
        }
    }
}

TEST_F(phase_of_a_path, is_added_to_that_of_the_paths_before) {
    make(6, {0, 5});
    add_phase_agreement(requests, walk, sums);
    const double once = sums.with_previous[1];
    add_phase_agreement(requests, walk, sums);
    EXPECT_EQ(2U, sums.n_paths);
    EXPECT_EQ(once + once, sums.with_previous[1]);
}

}  // namespace
