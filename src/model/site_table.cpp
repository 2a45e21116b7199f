#include "model/site_table.h"

#include <algorithm>

std::pair<std::size_t, std::size_t> site_table::range(std::pair<long, long> interval) const {
    const auto first = std::lower_bound(positions.begin(), positions.end(), interval.first);
    const auto last = std::upper_bound(positions.begin(), positions.end(), interval.second);
    const auto begin = static_cast<std::size_t>(first - positions.begin());
    return {begin, std::max(begin, static_cast<std::size_t>(last - positions.begin()))};
}
