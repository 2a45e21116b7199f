#include "inference/states/match_orders.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <utility>

void cut_row(const std::uint64_t* from, const std::vector<std::size_t>& sites, std::uint64_t* to) {
    std::fill_n(to, bits::words_for(sites.size()), 0);
    for (std::size_t i = 0; i < sites.size(); ++i) {
        to[i / bits::word_bits] |= std::uint64_t{bits::get(from, sites[i]) ? 1U : 0U} << (i % bits::word_bits);
    }
}

void match_orders::set_sites(std::vector<std::size_t> sites, std::vector<std::size_t> marks) {
    sites_ = std::move(sites);
    marks_ = std::move(marks);
    words_ = bits::words_for(sites_.size());
    n_changes_ = 0;
}

std::size_t match_orders::place_of(const std::uint64_t* alleles, match_side side, std::size_t mark) const {
    const bool left = side == match_side::left;
    const std::size_t m = marks_[mark];
    const std::size_t longest = left ? m : sites_.size() - m;
    const auto stands_before = [&](std::int32_t h, const std::uint64_t* target) {
        const auto hap = static_cast<std::size_t>(h);
        const std::size_t n = match_length(target, hap, side, mark);
        return n < longest && !bits::get(row(hap), left ? m - 1 - n : m + n);
    };
    const std::int32_t* haps = order(side, mark);
    return static_cast<std::size_t>(std::lower_bound(haps, haps + n_hap_, alleles, stands_before) - haps);
}

void match_orders::cut_rows(const packed_haplotypes& full) {
    n_hap_ = full.n_hap();
    rows_.resize(n_hap_ * words_);
    for (std::size_t h = 0; h < n_hap_; ++h) cut_row(full.row(h), sites_, rows_.data() + h * words_);
}

void match_orders::turn_rows() {
    column_words_ = bits::words_for(n_hap_);
    columns_.resize(words_ * bits::word_bits * column_words_);
    std::array<std::uint64_t, bits::word_bits> block{};
    for (std::size_t c = 0; c < column_words_; ++c) {
        const std::size_t first = c * bits::word_bits;
        const std::size_t n = std::min(bits::word_bits, n_hap_ - first);
        for (std::size_t w = 0; w < words_; ++w) {
            block.fill(0);
            for (std::size_t i = 0; i < n; ++i) block[i] = row(first + i)[w];
            transpose_bits(block.data());
            for (std::size_t j = 0; j < bits::word_bits; ++j) {
                columns_[(w * bits::word_bits + j) * column_words_ + c] = block[j];
            }
        }
    }
}

// Those with allele 0 come before those with allele 1; else the order stays (Durbin 2014, algorithm 1).
void match_orders::pass_site(std::size_t site) {
    const std::uint64_t* column = columns_.data() + site * column_words_;
    std::size_t n_ones = 0;
    for (std::size_t c = 0; c < column_words_; ++c) n_ones += static_cast<std::size_t>(std::popcount(column[c]));
    std::array<std::size_t, 2> place{0, n_hap_ - n_ones};
    for (const std::int32_t h : running_) next_[place[bits::get(column, static_cast<std::size_t>(h)) ? 1 : 0]++] = h;
    running_.swap(next_);
}

void match_orders::keep_order(match_side side, std::size_t mark) {
    std::vector<std::int32_t>& orders = orders_[side == match_side::left ? 0 : 1];
    std::copy(running_.begin(), running_.end(), orders.begin() + static_cast<std::ptrdiff_t>(mark * n_hap_));
}

void match_orders::sort_left() {
    std::iota(running_.begin(), running_.end(), 0);
    std::size_t site = 0;
    for (std::size_t mark = 0; mark < marks_.size(); ++mark) {
        while (site < marks_[mark]) pass_site(site++);
        keep_order(match_side::left, mark);
    }
}

void match_orders::sort_right() {
    std::iota(running_.begin(), running_.end(), 0);
    std::size_t site = sites_.size();
    for (std::size_t mark = marks_.size(); mark-- > 0;) {
        while (site > marks_[mark]) pass_site(--site);
        keep_order(match_side::right, mark);
    }
}

void match_orders::refresh(const packed_haplotypes& full) {
    if (n_changes_ == full.n_changes() + 1) return;
    n_changes_ = full.n_changes() + 1;
    cut_rows(full);
    turn_rows();
    running_.resize(n_hap_);
    next_.resize(n_hap_);
    for (auto& orders : orders_) orders.resize(marks_.size() * n_hap_);
    sort_left();
    sort_right();
}
