#include "inference/states/target_places.h"

#include <algorithm>
#include <utility>

#include "inference/states/cut_alleles.h"

namespace {

constexpr std::size_t most_at_once = 4 * bits::word_bits;

}  // namespace

void target_places::set_sites(std::vector<std::size_t> sites, std::size_t n_marks) {
    sites_ = std::move(sites);
    n_marks_ = n_marks;
    words_ = bits::words_for(sites_.size());
    rows_.resize(most_at_once * words_);
    columns_.assign(most_at_once * words_, 0);
    forget();
}

bool target_places::has(const packed_haplotypes& own, const match_target& target) const {
    if (target.panel != panel_ || target.first_panel != first_panel_ || target.last_panel != last_panel_) return false;
    if (target.hap < first_ || target.hap + target.n_hap > first_ + versions_.size()) return false;
    for (std::size_t h = target.hap; h < target.hap + target.n_hap; ++h) {
        if (versions_[h - first_] != own.version(h)) return false;
    }
    return true;
}

void target_places::take_alleles(const packed_haplotypes& own) {
    for (std::size_t i = 0; i < versions_.size(); ++i) versions_[i] = own.version(first_ + i);
    for (std::size_t i = 0; i < versions_.size(); i += bits::word_bits) {
        const std::size_t n = std::min(bits::word_bits, versions_.size() - i);
        std::uint64_t* columns = columns_.data() + i * words_;
        cut_columns(own, first_ + i, n, sites_, columns);
        turn_columns(columns, words_, n, rows_.data() + i * words_);
    }
}

void target_places::prepare(const haplotypes_by_panel& haps, const match_target& target,
                            const std::array<match_orders, 3>& orders) {
    const packed_haplotypes& own = *haps[target.panel];
    if (has(own, target)) return;
    panel_ = target.panel;
    first_panel_ = target.first_panel;
    last_panel_ = target.last_panel;
    first_ = target.hap;
    versions_.resize(std::min(most_at_once, own.n_hap() - first_));
    take_alleles(own);
    for (std::size_t p = first_panel_; p <= last_panel_; ++p) {
        for (const match_side side : {match_side::left, match_side::right}) {
            std::vector<std::int32_t>& places = places_[p][side == match_side::left ? 0 : 1];
            places.resize(n_marks_ * versions_.size());
            orders[p].find_places(columns_.data(), versions_.size(), side, places.data());
        }
    }
}
