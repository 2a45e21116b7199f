#include "model/data.h"

#include <algorithm>

std::pair<long, long> data::output_interval() const {
    if (params.include_buffer_in_output && !params.include_buffer_in_output_haps_only) {
        return {buffer_lower, buffer_upper};
    }
    return {int_lower_bp, int_upper_bp};
}

std::pair<long, long> data::haps_interval() const {
    if (params.include_buffer_in_output) return {buffer_lower, buffer_upper};
    return {int_lower_bp, int_upper_bp};
}

std::pair<std::size_t, std::size_t> data::site_range(std::pair<long, long> interval) const {
    const auto first = std::lower_bound(positions.begin(), positions.end(), interval.first);
    const auto last = std::upper_bound(positions.begin(), positions.end(), interval.second);
    const auto begin = static_cast<std::size_t>(first - positions.begin());
    return {begin, std::max(begin, static_cast<std::size_t>(last - positions.begin()))};
}
