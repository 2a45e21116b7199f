#include "inference/states/state_selection.h"

#include <algorithm>

#include "random/random.h"

namespace {

template <typename Figure>
void keep_up_to(const std::vector<Figure>& figures, Figure threshold, std::size_t K, std::vector<std::uint8_t>& keep) {
    const std::size_t n = figures.size();
    std::size_t n_below = 0, n_tied = 0;
    for (const Figure figure : figures) {
        n_below += figure < threshold ? 1U : 0U;
        n_tied += figure == threshold ? 1U : 0U;
    }
    keep.resize(n);
    for (std::size_t i = 0; i < n; ++i) keep[i] = figures[i] <= threshold ? 1 : 0;
    const std::size_t n_needed = K - n_below;
    if (n_needed >= n_tied) return;
    std::vector<int> drawn(n_needed);
    RandomPermutation2::Next(static_cast<int>(n_tied), static_cast<int>(n_needed), drawn.data(), 0, -1, -1);
    std::vector<std::uint8_t> mark(n_tied, 0);
    for (const int m : drawn) mark[static_cast<std::size_t>(m)] = 1;
    std::size_t next_mark = 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (figures[i] == threshold) keep[i] = mark[next_mark++];
    }
}

}  // namespace

void select_nearest(const std::vector<int>& figures, std::size_t K, std::vector<std::uint8_t>& keep) {
    std::vector<std::size_t> count(static_cast<std::size_t>(*std::max_element(figures.begin(), figures.end())) + 1, 0);
    for (const int figure : figures) ++count[static_cast<std::size_t>(figure)];
    std::size_t seen = 0;
    int threshold = 0;
    while ((seen += count[static_cast<std::size_t>(threshold)]) < K) ++threshold;
    keep_up_to(figures, threshold, K, keep);
}

void select_nearest(const std::vector<double>& figures, std::size_t K, std::vector<std::uint8_t>& keep) {
    std::vector<double> order(figures);
    std::nth_element(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(K - 1), order.end());
    keep_up_to(figures, order[K - 1], K, keep);
}
