#include "chromosome/phase_votes.h"

#include <algorithm>
#include <numeric>

void phase_votes::add(std::span<const phased_pair> before, std::span<const phased_pair> after) {
    for (std::size_t i = 0; i < same_.size(); ++i) {
        if (!before[i].is_phased_heterozygote() || !after[i].is_phased_heterozygote()) continue;
        if (before[i].a == after[i].a && before[i].b == after[i].b) ++same_[i];
        if (before[i].a == after[i].b && before[i].b == after[i].a) ++turned_[i];
    }
}

std::size_t phase_votes::n_counted() const {
    return std::accumulate(same_.begin(), same_.end(), std::accumulate(turned_.begin(), turned_.end(), std::size_t{0}));
}

std::size_t phase_votes::n_agreeing() const {
    std::size_t n = 0;
    for (std::size_t i = 0; i < same_.size(); ++i) n += std::max(same_[i], turned_[i]);
    return n;
}
