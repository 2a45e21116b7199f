#include "inference/states/match_orders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "inference/inference_tools.h"

namespace {

// Haplotypes as texts, read away from a mark.
class sorted_matches : public ::testing::Test {
  protected:
    // Half of the sites of the store are compared. Few founders, so that there are long matches and equal haplotypes.
    void make(std::size_t n_hap, std::size_t n_sites, const std::vector<std::size_t>& at) {
        haps = packed_haplotypes(n_hap, 2 * n_sites);
        sites.clear();
        for (std::size_t s = 0; s < n_sites; ++s) sites.push_back(2 * s + source.index(2));
        marks = at;
        std::vector<std::vector<int>> founders(4, std::vector<int>(2 * n_sites));
        for (auto& founder : founders) {
            for (int& allele : founder) allele = source.integer(0, 1);
        }
        for (std::size_t h = 0; h < n_hap; ++h) {
            std::size_t founder = source.index(4);
            for (std::size_t s = 0; s < 2 * n_sites; ++s) {
                if (source.chance(0.03)) founder = source.index(4);
                haps.set(h, s, founders[founder][s]);
            }
        }
        orders.set_sites(sites, marks);
        orders.refresh(haps);
    }
    std::string read(std::size_t hap, match_side side, std::size_t mark) const {
        std::string text;
        for (const std::size_t s : sites) text += haps.allele(hap, s) == 1 ? '1' : '0';
        if (side == match_side::right) return text.substr(marks[mark]);
        text.resize(marks[mark]);
        return {text.rbegin(), text.rend()};
    }
    std::vector<std::int32_t> order_of(match_side side, std::size_t mark) const {
        return {orders.order(side, mark), orders.order(side, mark) + orders.n_hap()};
    }
    std::vector<std::int32_t> slow_order(match_side side, std::size_t mark) const {
        std::vector<std::int32_t> order(haps.n_hap());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](std::int32_t x, std::int32_t y) {
            return read(static_cast<std::size_t>(x), side, mark) < read(static_cast<std::size_t>(y), side, mark);
        });
        return order;
    }
    input_source source{1};
    packed_haplotypes haps;
    std::vector<std::size_t> sites, marks;
    match_orders orders;
};

constexpr std::array both_sides{match_side::left, match_side::right};

TEST_F(sorted_matches, stand_in_the_order_of_their_alleles_away_from_the_mark) {
    for (const std::size_t n_hap : {1U, 2U, 63U, 64U, 150U}) {
        make(n_hap, 130, {0, 1, 64, 70, 129, 130});
        for (std::size_t mark = 0; mark < marks.size(); ++mark) {
            for (const match_side side : both_sides) EXPECT_EQ(slow_order(side, mark), order_of(side, mark));
        }
    }
}

TEST_F(sorted_matches, are_found_by_alleles) {
    make(90, 130, {0, 17, 64, 130});
    for (std::size_t h = 0; h < 90; h += 7) {
        std::vector<std::uint64_t> alleles(bits::words_for(sites.size()));
        cut_row(haps.row(h), sites, alleles.data());
        for (std::size_t mark = 0; mark < marks.size(); ++mark) {
            for (const match_side side : both_sides) {
                const std::string text = read(h, side, mark);
                std::size_t n_before = 0;
                for (std::size_t other = 0; other < 90; ++other) {
                    const std::string seen = read(other, side, mark);
                    n_before += seen < text ? 1U : 0U;
                    const auto differ = std::mismatch(text.begin(), text.end(), seen.begin()).first;
                    EXPECT_EQ(static_cast<std::size_t>(differ - text.begin()),
                              orders.match_length(alleles.data(), other, side, mark));
                }
                EXPECT_EQ(n_before, orders.place_of(alleles.data(), side, mark));
            }
        }
    }
}

TEST_F(sorted_matches, are_sorted_anew_when_a_haplotype_has_changed) {
    make(20, 40, {20});
    const std::vector<std::int32_t> before = order_of(match_side::left, 0);
    for (const std::size_t s : sites) haps.set(3, s, 1 - haps.allele(3, s));
    EXPECT_EQ(before, order_of(match_side::left, 0)) << "not before they are asked to";
    orders.refresh(haps);
    EXPECT_EQ(slow_order(match_side::left, 0), order_of(match_side::left, 0));
}

TEST_F(sorted_matches, of_no_site_stand_by_index) {
    make(5, 0, {0});
    EXPECT_EQ((std::vector<std::int32_t>{0, 1, 2, 3, 4}), order_of(match_side::left, 0));
    EXPECT_EQ(0U, orders.place_of(nullptr, match_side::right, 0));
}

}  // namespace
