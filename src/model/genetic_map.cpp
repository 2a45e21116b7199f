#include "model/genetic_map.h"

#include <cstddef>

double genetic_map::at(long position) const {
    if (positions.empty()) return 0.0;
    // A plain search: the points inside the region may be out of order.
    std::size_t right = 0;
    while (right < positions.size() && positions[right] <= position) ++right;
    if (right == 0) return scaled[0] - rate_outside * static_cast<double>(positions[0] - position);
    const std::size_t left = right - 1;
    const auto beyond = static_cast<double>(position - positions[left]);
    if (right == positions.size()) return scaled[left] + rate_outside * beyond;
    return scaled[left] +
           (scaled[right] - scaled[left]) * beyond / static_cast<double>(positions[right] - positions[left]);
}
