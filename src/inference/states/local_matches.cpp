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

}  // namespace

void local_matches::set_sites(std::vector<std::size_t> sites) {
    sites_ = std::move(sites);
    n_stretches_ = std::max<std::size_t>(1, (sites_.size() + stretch_sites / 2) / stretch_sites);
    std::vector<std::size_t> marks;
    for (std::size_t i = 0; i < n_stretches_; ++i) marks.push_back((2 * i + 1) * sites_.size() / (2 * n_stretches_));
    for (match_orders& orders : orders_) orders.set_sites(sites_, marks);
    places_.set_sites(sites_, marks.size());
    ready_ = true;
}

void local_matches::start_iteration() {
    current_.fill(false);
    places_.forget();
}

void local_matches::refresh(const haplotypes_by_panel& haps, const match_target& target) {
    for (std::size_t p = target.first_panel; p <= target.last_panel; ++p) {
        if (!std::exchange(current_[p], true)) orders_[p].refresh(*haps[p]);
        taken_[p].assign(orders_[p].n_hap(), 0);
    }
    places_.prepare(haps, target, orders_);
}

// Goes away from the target's place in an order, to whichever neighbour matches further; to the one above if both do.
// Which one cannot be foreseen, so that there is no branch on it.
void local_matches::add_neighbours(const match_target& target, const own_stretch& own, std::size_t panel,
                                   match_side side, std::size_t n, std::vector<match_candidate>& found) const {
    const std::uint64_t* alleles = places_.alleles(own.hap);
    const match_orders& orders = orders_[panel];
    const match_side other = side == match_side::left ? match_side::right : match_side::left;
    const std::int32_t* order = orders.order(side, own.mark);
    const std::size_t place = places_.place(own.hap, panel, side, own.mark);
    const auto hap_at = [order](std::size_t i) { return static_cast<std::size_t>(order[i]); };
    // Above and below: the next one, how many there are, and how far the next one matches, plus 1; 0 if there is none.
    std::array<std::size_t, 2> next{place - 1, place}, n_left{place, orders.n_hap() - place}, reach{};
    const auto look = [&](std::size_t way) {
        reach[way] =
            n_left[way] > 0 ? 1 + orders.match_length(alleles, hap_at(next[way]), side, own.mark) : std::size_t{0};
    };
    look(0);
    look(1);
    while (reach[0] + reach[1] > 0) {
        const std::size_t way = reach[1] > reach[0] ? 1 : 0;
        const std::size_t hap = hap_at(next[way]);
        if (!is_own(target, panel, hap)) {
            found.emplace_back(reach[way] - 1 + orders.match_length(alleles, hap, other, own.mark), panel, hap);
            if (--n == 0) return;
        }
        next[way] += way == 0 ? ~std::size_t{0} : 1;
        --n_left[way];
        look(way);
    }
}

// Lists what a turn may take. Memory answers late, so that what the turns behind it will look at is called for.
void local_matches::fill_turn(const match_target& target, std::size_t i, std::size_t n) {
    const auto stretch = [&](std::size_t j) {
        const auto turn = static_cast<std::size_t>(sequence_[std::min(j, sequence_.size() - 1)]);
        return own_stretch{target.hap + turn / n_stretches_, turn % n_stretches_};
    };
    const own_stretch now = stretch(i), next = stretch(i + 1), after_next = stretch(i + 2);
    std::vector<match_candidate>& heap = turns_[static_cast<std::size_t>(sequence_[i])];
    heap.clear();
    for (std::size_t p = target.first_panel; p <= target.last_panel; ++p) {
        for (const match_side side : {match_side::left, match_side::right}) {
            orders_[p].call_for_order(side, after_next.mark, places_.place(after_next.hap, p, side, after_next.mark),
                                      n);
            orders_[p].call_for_rows(side, next.mark, places_.place(next.hap, p, side, next.mark), n);
            add_neighbours(target, now, p, side, n, heap);
        }
    }
    std::make_heap(heap.begin(), heap.end());
}

// Whether there was one to take.
bool local_matches::take_next(std::vector<match_candidate>& heap, std::vector<matched_haplotype>& chosen) {
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end());
        const matched_haplotype best = heap.back().who();
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
    const auto n_turns = static_cast<int>(turns_.size());
    sequence_.resize(turns_.size());
    RandomPermutation2::Next(n_turns, n_turns, sequence_.data(), 0, -1, -1);
    chosen.clear();
    for (bool found = true, first = true; found && chosen.size() < n_wanted; first = false) {
        found = false;
        for (std::size_t i = 0; i < sequence_.size() && chosen.size() < n_wanted; ++i) {
            const auto turn = static_cast<std::size_t>(sequence_[i]);
            if (first) fill_turn(target, i, n_neighbours);
            found = take_next(turns_[turn], chosen) || found;
        }
    }
    std::sort(chosen.begin(), chosen.end(), by_place);
}
