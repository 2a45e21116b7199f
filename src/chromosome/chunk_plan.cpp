#include "chromosome/chunk_plan.h"

#include <algorithm>
#include <cstdint>
#include <tuple>

namespace {

constexpr long cells_of_longest = 50;

// A stretch without a gap, to be parted.
struct arm {
    long lower, upper;
    std::span<const long> typed;
};

// The two sides of a gap do not meet beyond its middle.
std::vector<arm> find_arms(std::span<const long> typed, const plan_limits& limits) {
    std::vector<arm> arms;
    std::size_t first = 0;
    for (std::size_t i = 0; i < typed.size(); ++i) {
        if (i + 1 < typed.size() && typed[i + 1] - typed[i] <= limits.gap) continue;
        const long to_left = first == 0 ? typed[0] - 1 : (typed[first] - typed[first - 1]) / 2;
        const long to_right = i + 1 == typed.size() ? limits.edge : (typed[i + 1] - typed[i] - 1) / 2;
        arms.push_back({typed[first] - std::min(limits.edge, to_left), typed[i] + std::min(limits.edge, to_right),
                        typed.subspan(first, i + 1 - first)});
        first = i + 1;
    }
    return arms;
}

// What a partition up to some border costs, compared from the left: chunks with few typed sites, chunks, squares of
// their lengths in cells.
using partition_cost = std::tuple<std::size_t, std::size_t, std::int64_t>;

class arm_partition {
  public:
    arm_partition(const arm& whole, const plan_limits& limits)
        : arm_(whole), limits_(limits), cell_(std::max(1L, limits.longest / cells_of_longest)) {
        const long length = arm_.upper - arm_.lower + 1;
        n_cells_ = static_cast<std::size_t>((length + cell_ - 1) / cell_);
    }

    void append_to(std::vector<chunk>& chunks, std::size_t arm_number) {
        find_borders();
        std::vector<std::size_t> borders;
        for (std::size_t end = n_cells_; end > 0; end = begin_of_last_[end]) borders.push_back(end);
        std::ranges::reverse(borders);
        std::size_t begin = 0;
        for (const std::size_t end : borders) {
            chunks.push_back(
                {position(begin), std::min(position(end) - 1, arm_.upper), n_typed(begin, end), arm_number});
            begin = end;
        }
    }

  private:
    long position(std::size_t border) const { return arm_.lower + static_cast<long>(border) * cell_; }

    std::size_t n_typed(std::size_t begin, std::size_t end) const {
        const auto below = [this](std::size_t border) {
            return std::ranges::lower_bound(arm_.typed, position(border)) - arm_.typed.begin();
        };
        return static_cast<std::size_t>(below(end) - below(begin));
    }

    // The best partition up to each border, from those up to the borders before.
    void find_borders() {
        std::vector<partition_cost> best(n_cells_ + 1);
        begin_of_last_.assign(n_cells_ + 1, 0);
        const auto most = static_cast<std::size_t>(std::max(1L, limits_.longest / cell_));
        for (std::size_t end = 1; end <= n_cells_; ++end) {
            bool is_first = true;
            for (std::size_t begin = end > most ? end - most : 0; begin < end; ++begin) {
                auto [n_short, n_chunks, squares] = best[begin];
                const auto cells = static_cast<std::int64_t>(end - begin);
                const partition_cost cost{n_short + (n_typed(begin, end) < limits_.min_typed ? 1 : 0), n_chunks + 1,
                                          squares + cells * cells};
                if (!is_first && !(cost < best[end])) continue;
                is_first = false;
                best[end] = cost;
                begin_of_last_[end] = begin;
            }
        }
    }

    const arm& arm_;
    const plan_limits& limits_;
    long cell_;
    std::size_t n_cells_ = 0;
    std::vector<std::size_t> begin_of_last_;
};

}  // namespace

std::vector<chunk> plan_chunks(std::span<const long> typed, const plan_limits& limits) {
    std::vector<chunk> chunks;
    const std::vector<arm> arms = find_arms(typed, limits);
    for (std::size_t i = 0; i < arms.size(); ++i) arm_partition(arms[i], limits).append_to(chunks, i);
    return chunks;
}
