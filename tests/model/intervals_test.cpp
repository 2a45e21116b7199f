#include "model/intervals.h"

#include <gtest/gtest.h>

namespace {

using interval = std::pair<long, long>;

class intervals : public ::testing::Test {
  protected:
    void SetUp() override {
        plan.buffer_lower = 50;
        plan.int_lower_bp = 100;
        plan.int_upper_bp = 200;
        plan.buffer_upper = 250;
    }
    void expect(const interval& output, const interval& haps) const {
        EXPECT_EQ(output, output_interval(params, plan));
        EXPECT_EQ(haps, haps_interval(params, plan));
    }
    parameters params;
    run_plan plan;
};

TEST_F(intervals, leave_the_buffer_out) {
    expect({100, 200}, {100, 200});
}

TEST_F(intervals, hold_the_buffer_that_is_asked_for) {
    params.include_buffer_in_output = true;
    expect({50, 250}, {50, 250});
}

TEST_F(intervals, hold_the_buffer_for_haplotypes_alone) {
    params.include_buffer_in_output = params.include_buffer_in_output_haps_only = true;
    expect({100, 200}, {50, 250});
}

}  // namespace
