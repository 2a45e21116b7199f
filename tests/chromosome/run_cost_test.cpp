#include "chromosome/run_cost.h"

#include <gtest/gtest.h>

namespace {

TEST(run_cost, a_run_costs_more_with_more_of_everything) {
    const run_size size{5000, 10000, 900, 100};
    for (const auto& cost : {phasing_cost, imputation_cost}) {
        for (std::size_t run_size::*part : {&run_size::haplotypes, &run_size::people}) {
            run_size larger = size;
            larger.*part *= 2;
            EXPECT_GT(cost(larger).seconds, cost(size).seconds);
            EXPECT_GT(cost(larger).megabytes, cost(size).megabytes);
        }
    }
}

TEST(run_cost, memory_is_at_least_what_was_measured) {
    // Peak MB of runs on simulated data: haplotypes, sites, typed sites, people.
    EXPECT_GT(imputation_cost({5000, 10000, 900, 100}).megabytes, 51.8);
    EXPECT_GT(imputation_cost({1000, 10000, 900, 200}).megabytes, 58.7);
    EXPECT_GT(imputation_cost({2000, 30000, 1800, 100}).megabytes, 115.6);
    EXPECT_GT(imputation_cost({5000, 23500, 1990, 200}).megabytes, 204.4);  // VCF
    EXPECT_GT(imputation_cost({50000, 10000, 900, 100}).megabytes, 169);
    EXPECT_GT(phasing_cost({5000, 10000, 900, 100}).megabytes, 15.9);
    EXPECT_GT(phasing_cost({1000, 10000, 900, 200}).megabytes, 17.9);
}

}  // namespace
