#include "model/data.h"

std::pair<long, long> data::output_interval() const {
    if (params.include_buffer_in_output && !params.include_buffer_in_output_haps_only) {
        return {plan.buffer_lower, plan.buffer_upper};
    }
    return {plan.int_lower_bp, plan.int_upper_bp};
}

std::pair<long, long> data::haps_interval() const {
    if (params.include_buffer_in_output) return {plan.buffer_lower, plan.buffer_upper};
    return {plan.int_lower_bp, plan.int_upper_bp};
}
