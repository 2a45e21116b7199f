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
    std::vector<std::uint64_t> cut_row(std::size_t hap) const {
        std::vector<std::uint64_t> alleles(bits::words_for(sites.size()));
        for (std::size_t i = 0; i < sites.size(); ++i) bits::set(alleles.data(), i, haps.allele(hap, sites[i]) == 1);
        return alleles;
    }
    // Alleles by site as texts; half of the targets are like one of the haplotypes, most of the others nearly so.
    void draw_targets(std::size_t n) {
        targets.assign(n, std::string(sites.size(), '0'));
        const std::size_t n_columns = bits::words_for(sites.size()) * 64;
        target_columns.assign(bits::words_for(n) * n_columns, 0);
        for (std::size_t t = 0; t < n; ++t) {
            const std::size_t like = source.index(haps.n_hap());
            const double error = t % 2 == 0 ? 0.0 : t % 8 == 1 ? 0.5 : 0.02;
            for (std::size_t s = 0; s < sites.size(); ++s) {
                const bool one = (haps.allele(like, sites[s]) == 1) != source.chance(error);
                targets[t][s] = one ? '1' : '0';
                if (one) target_columns[t / 64 * n_columns + s] |= std::uint64_t{1} << (t % 64);
            }
        }
    }
    std::int32_t n_before(const std::string& target, match_side side, std::size_t mark) const {
        std::string text = target.substr(marks[mark]);
        if (side == match_side::left)
            text = std::string(target.rend() - static_cast<std::ptrdiff_t>(marks[mark]), target.rend());
        std::int32_t n = 0;
        for (std::size_t h = 0; h < haps.n_hap(); ++h) n += read(h, side, mark) < text ? 1 : 0;
        return n;
    }
    input_source source{1};
    std::vector<std::string> targets;
    std::vector<std::uint64_t> target_columns;
    packed_haplotypes haps;
    std::vector<std::size_t> sites, marks;
    match_orders orders;
};

constexpr std::array both_sides{match_side::left, match_side::right};

TEST_F(sorted_matches, stand_in_the_order_of_their_alleles_away_from_the_mark) {
    for (const std::size_t n_hap : {1U, 2U, 31U, 32U, 33U, 63U, 64U, 150U}) {
        make(n_hap, 130, {0, 1, 64, 70, 129, 130});
        for (std::size_t mark = 0; mark < marks.size(); ++mark) {
            for (const match_side side : both_sides) EXPECT_EQ(slow_order(side, mark), order_of(side, mark));
        }
    }
}

TEST_F(sorted_matches, agree_with_a_haplotype_as_far_as_their_texts_do) {
    make(90, 130, {0, 17, 64, 130});
    for (std::size_t h = 0; h < 90; h += 7) {
        const std::vector<std::uint64_t> alleles = cut_row(h);
        for (std::size_t mark = 0; mark < marks.size(); ++mark) {
            for (const match_side side : both_sides) {
                const std::string text = read(h, side, mark);
                for (std::size_t other = 0; other < 90; ++other) {
                    const std::string seen = read(other, side, mark);
                    const auto differ = std::mismatch(text.begin(), text.end(), seen.begin()).first;
                    EXPECT_EQ(static_cast<std::size_t>(differ - text.begin()),
                              orders.match_length(alleles.data(), other, side, mark));
                }
            }
        }
    }
}

TEST_F(sorted_matches, have_as_many_before_a_target_as_a_count_by_text_finds) {
    for (const std::size_t n_hap : {1U, 2U, 31U, 32U, 33U, 64U, 150U, 321U}) {
        make(n_hap, 100, {0, 1, 50, 63, 64, 99, 100});
        for (const std::size_t n : {1U, 16U, 17U, 64U, 65U, 140U}) {
            draw_targets(n);
            for (const match_side side : both_sides) {
                std::vector<std::int32_t> expected(n * marks.size()), found(n * marks.size(), -1);
                for (std::size_t t = 0; t < n; ++t) {
                    for (std::size_t mark = 0; mark < marks.size(); ++mark) {
                        expected[t * marks.size() + mark] = n_before(targets[t], side, mark);
                    }
                }
                orders.find_places(target_columns.data(), n, side, found.data());
                EXPECT_EQ(expected, found) << n_hap << " haplotypes, " << n << " targets";
            }
        }
    }
}

TEST_F(sorted_matches, that_are_all_equal_stand_by_index_and_none_before_their_like) {
    make(70, 0, {0});
    haps = packed_haplotypes(70, 40);
    sites.resize(40);
    std::iota(sites.begin(), sites.end(), 0);
    marks = {20};
    orders.set_sites(sites, marks);
    orders.refresh(haps);
    std::vector<std::int32_t> by_index(70);
    std::iota(by_index.begin(), by_index.end(), 0);
    // Target 0 is like them, target 1 has another allele just left of the mark.
    std::vector<std::uint64_t> columns(64, 0);
    columns[19] = 2;
    for (const match_side side : both_sides) {
        EXPECT_EQ(by_index, order_of(side, 0));
        std::vector<std::int32_t> places(2, -1);
        orders.find_places(columns.data(), 2, side, places.data());
        EXPECT_EQ((std::vector<std::int32_t>{0, side == match_side::left ? 70 : 0}), places);
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
    std::int32_t place = -1;
    orders.find_places(nullptr, 1, match_side::right, &place);
    EXPECT_EQ(0, place);
}

}  // namespace
