#include "inference/states/local_matches.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "inference/inference_tools.h"
#include "random/random.h"

namespace {

using place = std::pair<std::size_t, std::size_t>;  // panel and haplotype

class choice_by_matches : public ::testing::Test {
  protected:
    void make(std::array<std::size_t, 3> n_hap, std::size_t n_sites_of_store) {
        n_sites = n_sites_of_store;
        std::vector<std::vector<int>> founders(6, std::vector<int>(n_sites));
        for (auto& founder : founders) {
            for (int& allele : founder) allele = source.integer(0, 1);
        }
        for (std::size_t p = 0; p < 3; ++p) {
            panels[p] = packed_haplotypes(n_hap[p], n_sites);
            for (std::size_t h = 0; h < n_hap[p]; ++h) {
                std::size_t founder = source.index(6);
                for (std::size_t s = 0; s < n_sites; ++s) {
                    if (source.chance(0.05)) founder = source.index(6);
                    panels[p].set(h, s, founders[founder][s]);
                }
            }
        }
        std::vector<std::size_t> sites(n_sites);
        std::iota(sites.begin(), sites.end(), 0);
        matches.set_sites(sites);
    }
    haplotypes_by_panel haps() const { return {&panels[0], &panels[1], &panels[2]}; }
    std::vector<place> choose(const match_target& target, std::size_t n) {
        matches.choose(haps(), target, n, chosen);
        std::vector<place> places;
        for (const matched_haplotype& match : chosen) places.emplace_back(match.panel, match.hap);
        return places;
    }

    std::string alleles_from(place who, match_side side, std::size_t mark) const {
        std::string text;
        for (std::size_t s = 0; s < n_sites; ++s) text += panels[who.first].allele(who.second, s) == 1 ? '1' : '0';
        if (side == match_side::right) return text.substr(mark);
        text.resize(mark);
        return {text.rbegin(), text.rend()};
    }
    std::size_t length(place x, place y, match_side side, std::size_t mark) const {
        const std::string a = alleles_from(x, side, mark), b = alleles_from(y, side, mark);
        return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin()).first - a.begin());
    }

    // The n candidates of a panel that match furthest on one side; of equally far ones first those that stand before
    // the target in the order of alleles, and the closest of those.
    std::vector<place> slow_neighbours(const match_target& target, place own, std::size_t panel, match_side side,
                                       std::size_t mark, std::size_t n) const {
        std::vector<place> order;
        for (std::size_t h = 0; h < panels[panel].n_hap(); ++h) order.emplace_back(panel, h);
        std::stable_sort(order.begin(), order.end(),
                         [&](place x, place y) { return alleles_from(x, side, mark) < alleles_from(y, side, mark); });
        const std::string text = alleles_from(own, side, mark);
        const auto first_below =
            std::find_if(order.begin(), order.end(), [&](place x) { return alleles_from(x, side, mark) >= text; });
        std::vector<place> reached(order.begin(), first_below);
        std::reverse(reached.begin(), reached.end());
        reached.insert(reached.end(), first_below, order.end());
        std::stable_sort(reached.begin(), reached.end(),
                         [&](place x, place y) { return length(own, x, side, mark) > length(own, y, side, mark); });
        std::vector<place> found;
        for (const place& x : reached) {
            const bool is_own = panel == target.panel && x.second >= target.hap && x.second < target.hap + target.n_hap;
            if (!is_own && found.size() < n) found.push_back(x);
        }
        return found;
    }

    std::vector<place> slow_turn(const match_target& target, place own, std::size_t mark, std::size_t n) const {
        std::set<place> found;
        for (std::size_t p = target.first_panel; p <= target.last_panel; ++p) {
            for (const match_side side : {match_side::left, match_side::right}) {
                for (const place& x : slow_neighbours(target, own, p, side, mark, n)) found.insert(x);
            }
        }
        std::vector<place> best(found.begin(), found.end());
        std::stable_sort(best.begin(), best.end(), [&](place x, place y) {
            const auto both = [&](place z) {
                return length(own, z, match_side::left, mark) + length(own, z, match_side::right, mark);
            };
            return both(x) > both(y);
        });
        return best;
    }

    std::vector<place> slow_choice(const match_target& target, std::size_t n_wanted) const {
        const std::size_t n_stretches = matches.n_stretches(), n_turns = target.n_hap * n_stretches;
        const std::size_t n = 2 + 2 * ((n_wanted + n_turns - 1) / n_turns);
        std::vector<std::vector<place>> turns;
        for (std::size_t h = 0; h < target.n_hap; ++h) {
            for (std::size_t i = 0; i < n_stretches; ++i) {
                const std::size_t mark = (2 * i + 1) * n_sites / (2 * n_stretches);
                turns.push_back(slow_turn(target, {target.panel, target.hap + h}, mark, n));
            }
        }
        std::vector<int> sequence(n_turns);
        RandomPermutation2::Next(static_cast<int>(n_turns), static_cast<int>(n_turns), sequence.data(), 0, -1, -1);
        std::set<place> taken;
        for (bool found = true; found;) {
            found = false;
            for (const int t : sequence) {
                for (const place& x : turns[static_cast<std::size_t>(t)]) {
                    if (taken.size() == n_wanted) return {taken.begin(), taken.end()};
                    if (!taken.insert(x).second) continue;
                    found = true;
                    break;
                }
            }
        }
        return {taken.begin(), taken.end()};
    }

    input_source source{1};
    std::size_t n_sites = 0;
    std::array<packed_haplotypes, 3> panels;
    local_matches matches;
    std::vector<matched_haplotype> chosen;
};

TEST_F(choice_by_matches, agrees_with_the_plain_search) {
    make({30, 12, 16}, 150);
    for (const match_target& target : {match_target{2, 4, 2, 0, 2}, match_target{2, 0, 2, 0, 1},
                                       match_target{1, 10, 2, 0, 1}, match_target{2, 15, 1, 0, 2}}) {
        for (const std::size_t n : {1U, 5U, 12U, 20U, 100U}) {
            std::vector<place> expected;
            {
                const seeded_draws draws{3};
                expected = slow_choice(target, n);
            }
            const seeded_draws draws{3};
            EXPECT_EQ(expected, choose(target, n)) << "panel " << target.panel << ", " << n << " wanted";
        }
    }
}

TEST_F(choice_by_matches, agrees_with_the_plain_search_while_the_targets_change_one_after_the_other) {
    make({20, 0, 70}, 60);
    for (std::size_t hap = 0; hap < 70; hap += 2) {
        const match_target target{2, hap, 2, 0, 0};
        std::vector<place> expected;
        {
            const seeded_draws draws{3};
            expected = slow_choice(target, 5);
        }
        const seeded_draws draws{3};
        EXPECT_EQ(expected, choose(target, 5)) << "haplotype " << hap;
        for (std::size_t s = 0; s < 60; ++s) panels[2].set(hap, s, source.integer(0, 1));
    }
}

TEST(match_candidate, is_the_greater_the_longer_it_matches_then_by_panel_and_index) {
    std::vector<match_candidate> candidates{{3, 0, 5}, {7, 2, 1},   {7, 0, 2000000000},
                                            {7, 0, 4}, {900, 2, 9}, {0, 0, 0}};
    std::sort(candidates.begin(), candidates.end());
    std::vector<place> found;
    for (const match_candidate& candidate : candidates) found.emplace_back(candidate.who().panel, candidate.who().hap);
    EXPECT_EQ((std::vector<place>{{0, 0}, {0, 5}, {2, 1}, {0, 2000000000}, {0, 4}, {2, 9}}), found);
}

TEST_F(choice_by_matches, takes_for_each_stretch_who_matches_there) {
    make({40, 0, 2}, 96);
    EXPECT_EQ(4U, matches.n_stretches());
    for (std::size_t h = 0; h < 40; ++h) {
        for (std::size_t s = 0; s < 96; ++s) panels[0].set(h, s, source.integer(0, 1));
    }
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t strand = 0; strand < 2; ++strand) {
            const std::size_t like = 10 + 2 * i + strand;
            for (std::size_t s = 0; s < 96; ++s) {
                const bool inside = s / 24 == i;
                const int allele = panels[2].allele(strand, s);
                panels[0].set(like, s, inside ? allele : 1 - allele);
            }
        }
    }
    const seeded_draws draws{1};
    const std::vector<place> found = choose({2, 0, 2, 0, 2}, 8);
    for (std::size_t like = 10; like < 18; ++like) {
        EXPECT_EQ(1, std::count(found.begin(), found.end(), place(0, like))) << "like the target in one stretch";
    }
}

TEST_F(choice_by_matches, sees_the_others_as_they_stood_when_the_iteration_began) {
    make({0, 0, 12}, 48);
    std::vector<place> before;
    {
        const seeded_draws draws{1};
        before = choose({2, 0, 2, 2, 2}, 3);
    }
    const place first = before.front();
    for (std::size_t s = 0; s < 48; ++s) panels[2].set(first.second, s, 1 - panels[2].allele(0, s));
    {
        const seeded_draws draws{1};
        EXPECT_EQ(before, choose({2, 0, 2, 2, 2}, 3));
    }
    matches.start_iteration();
    const seeded_draws draws{1};
    EXPECT_NE(before, choose({2, 0, 2, 2, 2}, 3));
}

}  // namespace
