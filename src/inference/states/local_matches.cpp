#include "inference/states/local_matches.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "random/random.h"

namespace {

constexpr std::size_t stretch_sites = 24;

// How many candidates each side of a mark offers, where a stretch takes about so many.
std::size_t neighbours_for(std::size_t n_wanted, std::size_t n_turns) {
    return 2 + 2 * ((n_wanted + n_turns - 1) / n_turns);
}

bool is_own(const match_target& target, std::size_t panel, std::size_t hap) {
    return panel == target.panel && hap >= target.hap && hap < target.hap + target.n_hap;
}

bool by_place(const matched_haplotype& x, const matched_haplotype& y) {
    return std::tie(x.panel, x.hap) < std::tie(y.panel, y.hap);
}

// The order of the heaps.
bool is_worse(const matched_haplotype& x, const matched_haplotype& y) {
    return x.length != y.length ? x.length < y.length : by_place(y, x);
}

}  // namespace

void local_matches::set_sites(std::vector<std::size_t> sites) {
    sites_ = std::move(sites);
    n_stretches_ = std::max<std::size_t>(1, (sites_.size() + stretch_sites / 2) / stretch_sites);
    std::vector<std::size_t> marks;
    for (std::size_t i = 0; i < n_stretches_; ++i) marks.push_back((2 * i + 1) * sites_.size() / (2 * n_stretches_));
    for (match_orders& orders : orders_) orders.set_sites(sites_, marks);
    alleles_.resize(bits::words_for(sites_.size()));
    ready_ = true;
}

void local_matches::refresh(const haplotypes_by_panel& haps, const match_target& target) {
    for (std::size_t p = target.first_panel; p <= target.last_panel; ++p) {
        if (!std::exchange(current_[p], true)) orders_[p].refresh(*haps[p]);
        taken_[p].assign(orders_[p].n_hap(), 0);
    }
}

// Goes away from the target's place in an order, to whichever neighbour matches further.
void local_matches::add_neighbours(const match_target& target, const std::uint64_t* alleles, std::size_t panel,
                                   match_side side, std::size_t mark, std::size_t n,
                                   std::vector<matched_haplotype>& found) const {
    const match_orders& orders = orders_[panel];
    const match_side other = side == match_side::left ? match_side::right : match_side::left;
    const std::int32_t* order = orders.order(side, mark);
    const auto hap_at = [&](std::size_t place) { return static_cast<std::size_t>(order[place]); };
    const auto length_at = [&](std::size_t place) { return orders.match_length(alleles, hap_at(place), side, mark); };
    std::size_t above = orders.place_of(alleles, side, mark), below = above;
    std::size_t length_above = above > 0 ? length_at(above - 1) : 0;
    std::size_t length_below = below < orders.n_hap() ? length_at(below) : 0;
    while (n > 0 && (above > 0 || below < orders.n_hap())) {
        const bool upwards = below == orders.n_hap() || (above > 0 && length_above >= length_below);
        const std::size_t hap = hap_at(upwards ? above - 1 : below);
        const std::size_t length = upwards ? length_above : length_below;
        if (upwards) {
            length_above = --above > 0 ? length_at(above - 1) : 0;
        } else {
            length_below = ++below < orders.n_hap() ? length_at(below) : 0;
        }
        if (is_own(target, panel, hap)) continue;
        found.push_back({panel, hap, length + orders.match_length(alleles, hap, other, mark)});
        --n;
    }
}

void local_matches::fill_turn(const match_target& target, const std::uint64_t* alleles, std::size_t mark, std::size_t n,
                              std::vector<matched_haplotype>& heap) const {
    heap.clear();
    for (std::size_t p = target.first_panel; p <= target.last_panel; ++p) {
        for (const match_side side : {match_side::left, match_side::right}) {
            add_neighbours(target, alleles, p, side, mark, n, heap);
        }
    }
    std::make_heap(heap.begin(), heap.end(), is_worse);
}

// Whether there was one to take.
bool local_matches::take_next(std::vector<matched_haplotype>& heap, std::vector<matched_haplotype>& chosen) {
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), is_worse);
        const matched_haplotype best = heap.back();
        heap.pop_back();
        if (std::exchange(taken_[best.panel][best.hap], 1) != 0) continue;
        chosen.push_back(best);
        return true;
    }
    return false;
}

void local_matches::choose(const haplotypes_by_panel& haps, const match_target& target, std::size_t n_wanted,
                           std::vector<matched_haplotype>& chosen) {
    refresh(haps, target);
    turns_.resize(target.n_hap * n_stretches_);
    const std::size_t n_neighbours = neighbours_for(n_wanted, turns_.size());
    for (std::size_t h = 0; h < target.n_hap; ++h) {
        cut_row(haps[target.panel]->row(target.hap + h), sites_, alleles_.data());
        for (std::size_t mark = 0; mark < n_stretches_; ++mark) {
            fill_turn(target, alleles_.data(), mark, n_neighbours, turns_[h * n_stretches_ + mark]);
        }
    }
    const auto n_turns = static_cast<int>(turns_.size());
    sequence_.resize(turns_.size());
    RandomPermutation2::Next(n_turns, n_turns, sequence_.data(), 0, -1, -1);
    chosen.clear();
    for (bool found = true; found && chosen.size() < n_wanted;) {
        found = false;
        for (std::size_t i = 0; i < sequence_.size() && chosen.size() < n_wanted; ++i) {
            found = take_next(turns_[static_cast<std::size_t>(sequence_[i])], chosen) || found;
        }
    }
    std::sort(chosen.begin(), chosen.end(), by_place);
}
