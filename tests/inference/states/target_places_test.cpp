#include "inference/states/target_places.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

#include "inference/inference_tools.h"

namespace {

class places_of_targets : public ::testing::Test {
  protected:
    static constexpr std::size_t n_sites = 100;
    void SetUp() override {
        for (std::size_t p = 0; p < 3; ++p) {
            panels[p] = packed_haplotypes(n_hap[p], n_sites);
            for (std::size_t h = 0; h < n_hap[p]; ++h) draw(p, h);
        }
        std::vector<std::size_t> sites(n_sites);
        std::iota(sites.begin(), sites.end(), 0);
        for (std::size_t p = 0; p < 3; ++p) {
            orders[p].set_sites(sites, marks);
            orders[p].refresh(panels[p]);
        }
        sorted = panels;
        places.set_sites(sites, marks.size());
    }
    // Long runs of an allele, so that there are long matches.
    void draw(std::size_t panel, std::size_t hap) {
        int allele = 0;
        for (std::size_t s = 0; s < n_sites; ++s) {
            if (source.chance(0.05)) allele = source.integer(0, 1);
            panels[panel].set(hap, s, allele);
        }
    }
    void prepare(const match_target& target) { places.prepare({&panels[0], &panels[1], &panels[2]}, target, orders); }
    static std::string read(const packed_haplotypes& haps, std::size_t hap, match_side side, std::size_t mark) {
        std::string text;
        for (std::size_t s = 0; s < n_sites; ++s) text += haps.allele(hap, s) == 1 ? '1' : '0';
        if (side == match_side::right) return text.substr(mark);
        text.resize(mark);
        return {text.rbegin(), text.rend()};
    }
    void expect_places(const match_target& target) const {
        for (std::size_t h = target.hap; h < target.hap + target.n_hap; ++h) {
            for (std::size_t s = 0; s < n_sites; ++s) {
                ASSERT_EQ(panels[target.panel].allele(h, s) == 1, bits::get(places.alleles(h), s));
            }
            for (std::size_t p = target.first_panel; p <= target.last_panel; ++p) {
                for (const match_side side : {match_side::left, match_side::right}) {
                    for (std::size_t mark = 0; mark < marks.size(); ++mark) {
                        const std::string text = read(panels[target.panel], h, side, marks[mark]);
                        std::size_t n_before = 0;
                        for (std::size_t other = 0; other < n_hap[p]; ++other) {
                            n_before += read(sorted[p], other, side, marks[mark]) < text ? 1U : 0U;
                        }
                        EXPECT_EQ(n_before, places.place(h, p, side, mark)) << "haplotype " << h << ", panel " << p;
                    }
                }
            }
        }
    }

    input_source source{1};
    const std::array<std::size_t, 3> n_hap{40, 0, 300};
    const std::vector<std::size_t> marks{0, 12, 70, 100};
    std::array<packed_haplotypes, 3> panels, sorted;
    std::array<match_orders, 3> orders;
    target_places places;
};

TEST_F(places_of_targets, are_those_in_all_panels_whoever_comes_next) {
    for (const std::size_t hap : {0U, 2U, 63U, 64U, 10U, 127U, 254U, 255U, 298U}) {
        const match_target target{2, hap, 2, 0, 2};
        prepare(target);
        expect_places(target);
    }
    const match_target last{2, 299, 1, 0, 2};
    prepare(last);
    expect_places(last);
}

TEST_F(places_of_targets, are_found_anew_where_a_haplotype_has_changed) {
    prepare({2, 0, 2, 0, 2});
    for (const std::size_t hap : {20U, 21U, 0U}) {
        draw(2, hap);
        const match_target target{2, hap / 2 * 2, 2, 0, 2};
        prepare(target);
        expect_places(target);
    }
}

TEST_F(places_of_targets, are_those_of_the_panel_and_the_candidates_in_hand) {
    for (const match_target& target : {match_target{2, 4, 2, 0, 0}, match_target{2, 4, 2, 0, 2},
                                       match_target{0, 4, 2, 0, 2}, match_target{0, 4, 2, 2, 2}}) {
        prepare(target);
        expect_places(target);
    }
}

TEST_F(places_of_targets, are_found_anew_when_the_orders_have_changed) {
    const match_target target{2, 4, 2, 0, 0};
    prepare(target);
    for (std::size_t h = 0; h < n_hap[0]; ++h) draw(0, h);
    sorted = panels;
    orders[0].refresh(panels[0]);
    places.forget();
    prepare(target);
    expect_places(target);
}

}  // namespace
