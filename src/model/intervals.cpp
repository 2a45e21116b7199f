#include "model/intervals.h"

std::pair<long, long> output_interval(const parameters& params, const run_plan& plan) {
    const bool with_buffer = params.include_buffer_in_output && !params.include_buffer_in_output_haps_only;
    return with_buffer ? std::pair{plan.buffer_lower, plan.buffer_upper}
                       : std::pair{plan.int_lower_bp, plan.int_upper_bp};
}

std::pair<long, long> haps_interval(const parameters& params, const run_plan& plan) {
    return params.include_buffer_in_output ? std::pair{plan.buffer_lower, plan.buffer_upper}
                                           : std::pair{plan.int_lower_bp, plan.int_upper_bp};
}
