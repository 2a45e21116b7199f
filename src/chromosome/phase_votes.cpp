#include "chromosome/phase_votes.h"

#include <algorithm>

namespace {

constexpr std::size_t n_deciding = 5;  // on each side of the middle

std::ptrdiff_t count_same(const std::vector<bool>& flags) {
    return std::ranges::count(flags, true);
}

// Heterozygotes of the same phase less the others, among some of the flags.
std::ptrdiff_t difference(const std::vector<bool>& flags, std::size_t from, std::size_t to) {
    std::ptrdiff_t sum = 0;
    for (std::size_t i = from; i < to; ++i) sum += flags[i] ? 1 : -1;
    return sum;
}

}  // namespace

void phase_votes::add(std::span<const phased_pair> before, std::span<const phased_pair> after, bool is_behind_middle) {
    for (std::size_t i = 0; i < people_.size(); ++i) {
        if (!before[i].is_phased_heterozygote() || !after[i].is_phased_heterozygote()) continue;
        const bool same = before[i].a == after[i].a && before[i].b == after[i].b;
        const bool turned = before[i].a == after[i].b && before[i].b == after[i].a;
        if (!same && !turned) continue;
        (is_behind_middle ? people_[i].right : people_[i].left).push_back(same);
    }
}

std::ptrdiff_t phase_votes::balance(std::size_t person) const {
    const auto& [left, right] = people_[person];
    const std::ptrdiff_t near = difference(left, left.size() - std::min(left.size(), n_deciding), left.size()) +
                                difference(right, 0, std::min(right.size(), n_deciding));
    return near != 0 ? near : difference(left, 0, left.size()) + difference(right, 0, right.size());
}

std::size_t phase_votes::n_counted() const {
    std::size_t n = 0;
    for (const heterozygotes& person : people_) n += person.left.size() + person.right.size();
    return n;
}

std::size_t phase_votes::n_agreeing() const {
    std::size_t n = 0;
    for (std::size_t i = 0; i < people_.size(); ++i) {
        const auto same = static_cast<std::size_t>(count_same(people_[i].left) + count_same(people_[i].right));
        n += is_turned(i) ? people_[i].left.size() + people_[i].right.size() - same : same;
    }
    return n;
}
