#include "inference/haploid/haplotype_classes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "inference/class_tools.h"

namespace {

constexpr std::size_t longest_block = 256;

// Everything that the classes tell of a panel at the sites.
void expect_right_classes(const haplotype_classes& classes, const packed_haplotypes& panel,
                          const std::vector<std::size_t>& sites) {
    std::size_t first = 0;
    for (std::size_t b = 0; b < classes.blocks().size(); ++b) {
        SCOPED_TRACE("block " + std::to_string(b));
        const haplotype_classes::block& block = classes.blocks()[b];
        ASSERT_EQ(first, block.first);
        ASSERT_GT(block.end, block.first);
        ASSERT_LE(block.end, sites.size());
        ASSERT_LE(block.end - block.first, longest_block);
        if (block.end < sites.size()) {
            EXPECT_EQ(block.words * bits::word_bits, block.end - block.first);
        }
        first = block.end;
        std::vector<int> members(block.n_classes, 0);
        for (std::size_t h = 0; h < panel.n_hap(); ++h) {
            const std::size_t c = classes.class_of(b)[h];
            ASSERT_LT(c, block.n_classes);
            ++members[c];
            for (std::size_t v = block.first; v < block.end; ++v) {
                ASSERT_EQ(panel.allele(h, sites[v]) == 1, bits::get(classes.alleles(block, c), v - block.first))
                    << "haplotype " << h << " site " << v;
            }
        }
        std::set<std::vector<std::uint64_t>> rows;
        for (std::size_t c = 0; c < block.n_classes; ++c) {
            EXPECT_GT(members[c], 0) << "class " << c;
            const std::uint64_t* row = classes.alleles(block, c);
            rows.emplace(row, row + block.words);
            for (std::size_t j = block.end - block.first; j < block.words * bits::word_bits; ++j) {
                EXPECT_FALSE(bits::get(row, j)) << "class " << c << " past the last site";
            }
        }
        EXPECT_EQ(block.n_classes, rows.size()) << "two classes are equal";
    }
    EXPECT_EQ(sites.size(), first);
}

// A panel with so many different haplotypes over every 64 sites and over all: haplotype h is number h % n_different in
// the first seventeen sites of every 64, and clear elsewhere.
packed_haplotypes counted_panel(std::size_t n_hap, std::size_t n_sites, std::size_t n_different) {
    packed_haplotypes panel(n_hap, n_sites);
    for (std::size_t h = 0; h < n_hap; ++h) {
        for (std::size_t s = 0; s < n_sites; ++s) {
            const std::size_t bit = s % 64;
            if (bit < 17 && ((h % n_different) >> bit & 1U) != 0) panel.set(h, s, 1);
        }
    }
    return panel;
}

TEST(haplotype_classes, have_the_alleles_of_their_haplotypes) {
    input_source source(1);
    for (const std::size_t n_hap : {40U, 64U, 101U, 400U}) {
        for (const std::size_t n_sites : {1U, 2U, 63U, 64U, 65U, 128U, 200U, 256U, 257U, 320U, 500U}) {
            SCOPED_TRACE(std::to_string(n_hap) + " haplotypes " + std::to_string(n_sites) + " sites");
            mosaic_panel m;
            m.n_hap = n_hap;
            m.n_sites = n_sites;
            m.n_founders = 4;
            m.switch_chance = source.chance(0.5) ? 1e-4 : 5e-4;
            const packed_haplotypes panel = make_panel(source, m);
            const std::vector<std::size_t> sites = consecutive(0, n_sites);
            haplotype_classes classes;
            ASSERT_TRUE(classes.serve(panel, sites, 1));
            expect_right_classes(classes, panel, sites);
        }
    }
}

TEST(haplotype_classes, are_those_at_the_visited_sites) {
    input_source source(2);
    mosaic_panel m;
    m.n_sites = 900;
    m.switch_chance = m.mutation_chance = 2e-5;
    const packed_haplotypes panel = make_panel(source, m);
    for (const std::size_t first : {0U, 1U, 37U, 63U, 64U, 65U, 127U, 130U, 191U}) {
        for (const std::size_t n_sites : {1U, 27U, 63U, 64U, 65U, 192U, 700U}) {
            SCOPED_TRACE("from " + std::to_string(first) + " " + std::to_string(n_sites) + " sites");
            haplotype_classes of_all, of_some;
            const std::vector<std::size_t> all = consecutive(first, n_sites);
            ASSERT_TRUE(of_all.serve(panel, all, 1));
            expect_right_classes(of_all, panel, all);
            const std::vector<std::size_t> some = choose_ascending(source, n_sites, first, 900);
            ASSERT_TRUE(of_some.serve(panel, some, 1));
            expect_right_classes(of_some, panel, some);
        }
    }
}

// One gap in the list, before, in and behind every word of sites.
TEST(haplotype_classes, are_right_around_a_gap_in_the_sites) {
    input_source source(3);
    mosaic_panel m;
    m.n_sites = 200;
    const packed_haplotypes panel = make_panel(source, m);
    for (std::size_t gap = 1; gap < 140; gap += 3) {
        std::vector<std::size_t> sites = consecutive(5, 140);
        for (std::size_t v = gap; v < sites.size(); ++v) sites[v] += 1 + gap % 30;
        haplotype_classes classes;
        ASSERT_TRUE(classes.serve(panel, sites, 1));
        SCOPED_TRACE("gap before " + std::to_string(gap));
        expect_right_classes(classes, panel, sites);
    }
}

TEST(haplotype_classes, are_of_the_whole_last_site_of_the_store) {
    input_source source(4);
    for (const std::size_t n_sites : {64U, 512U, 513U, 575U, 1024U}) {
        mosaic_panel m;
        m.n_sites = n_sites;
        const packed_haplotypes panel = make_panel(source, m);
        const std::vector<std::size_t> sites = consecutive(n_sites - 50, 50);
        haplotype_classes classes;
        ASSERT_TRUE(classes.serve(panel, sites, 1));
        expect_right_classes(classes, panel, sites);
    }
}

TEST(haplotype_classes, block_lengths_follow_the_number_of_classes) {
    const struct {
        std::size_t n_different, block_length;
    } cases[] = {{1, 256}, {2, 256}, {25, 256}, {26, 64}, {50, 64}};
    const std::vector<std::size_t> sites = consecutive(0, 600);
    for (const auto& [n_different, block_length] : cases) {
        SCOPED_TRACE(std::to_string(n_different) + " different haplotypes");
        const packed_haplotypes panel = counted_panel(200, 600, n_different);
        haplotype_classes classes;
        ASSERT_TRUE(classes.serve(panel, sites, 1));
        for (const haplotype_classes::block& block : classes.blocks()) {
            EXPECT_EQ(std::min<std::size_t>(600, block.first + block_length), block.end);
            EXPECT_EQ(n_different, block.n_classes);
        }
        expect_right_classes(classes, panel, sites);
    }
}

// Five different haplotypes over 64 sites, 25 over 128, 125 over 192.
TEST(haplotype_classes, blocks_are_halved_where_that_leaves_few_classes) {
    packed_haplotypes panel(200, 512);
    for (std::size_t h = 0; h < 200; ++h) {
        const std::size_t digits[] = {h % 5, h / 5 % 5, h / 25 % 5, h % 5, h / 5 % 5, h / 25 % 5, 0, 0};
        for (std::size_t w = 0; w < 8; ++w) {
            for (std::size_t bit = 0; bit < 3; ++bit) {
                if ((digits[w] >> bit & 1U) != 0) panel.set(h, w * 64 + 10 + bit, 1);
            }
        }
    }
    const std::vector<std::size_t> sites = consecutive(0, 512);
    haplotype_classes classes;
    ASSERT_TRUE(classes.serve(panel, sites, 1));
    std::vector<std::size_t> ends;
    for (const haplotype_classes::block& block : classes.blocks()) ends.push_back(block.end);
    EXPECT_EQ((std::vector<std::size_t>{128, 256, 512}), ends);
    expect_right_classes(classes, panel, sites);
}

TEST(haplotype_classes, do_not_serve_too_many_different_haplotypes) {
    const std::vector<std::size_t> sites = consecutive(0, 300);
    haplotype_classes counted;
    EXPECT_FALSE(counted.serve(counted_panel(200, 300, 51), sites));
    haplotype_classes fewer;
    EXPECT_TRUE(fewer.serve(counted_panel(200, 300, 25), sites));

    input_source source(5);
    mosaic_panel m;
    m.diverse_to = m.n_sites = 300;
    const packed_haplotypes panel = make_panel(source, m);
    haplotype_classes classes;
    for (int call = 0; call < 3; ++call) EXPECT_FALSE(classes.serve(panel, sites));
}

// An eighth of so many haplotypes would be more classes than can be told apart in two bytes.
TEST(haplotype_classes, do_not_serve_more_classes_than_have_a_number) {
    constexpr std::size_t n_hap = 8 * 65600;
    const std::vector<std::size_t> sites = consecutive(0, 17);
    haplotype_classes too_many, most;
    EXPECT_FALSE(too_many.serve(counted_panel(n_hap, 17, 65536), sites));
    const packed_haplotypes panel = counted_panel(n_hap, 17, 65535);
    ASSERT_TRUE(most.serve(panel, sites));
    EXPECT_EQ(65535U, most.blocks().front().n_classes);
}

// Between blocks of 256 sites, blocks of 64 where the haplotypes are diverse.
TEST(haplotype_classes, serve_where_blocks_are_long_enough_on_average) {
    input_source source(6);
    mosaic_panel m;
    m.n_sites = 768;
    m.n_founders = 3;
    m.switch_chance = m.mutation_chance = 0.0;
    m.diverse_from = 256;
    m.diverse_to = 384;
    const packed_haplotypes panel = make_panel(source, m);
    const std::vector<std::size_t> sites = consecutive(0, 768);
    const struct {
        std::size_t least_mean_length;
        bool served;
    } cases[] = {{1, true}, {128, true}, {192, true}, {193, false}, {1000, false}};
    for (const auto& [least_mean_length, served] : cases) {
        SCOPED_TRACE(std::to_string(least_mean_length) + " sites");
        haplotype_classes classes;
        ASSERT_EQ(served, classes.serve(panel, sites, least_mean_length));
        if (!served) continue;
        expect_right_classes(classes, panel, sites);
        std::vector<std::size_t> ends;
        for (const haplotype_classes::block& block : classes.blocks()) ends.push_back(block.end);
        EXPECT_EQ((std::vector<std::size_t>{256, 320, 384, 640, 768}), ends);
    }
}

TEST(haplotype_classes, serve_a_changing_panel_when_it_stays) {
    input_source source(7);
    packed_haplotypes panel = make_panel(source, {});
    const std::vector<std::size_t> sites = consecutive(10, 280);
    haplotype_classes classes;
    ASSERT_TRUE(classes.serve(panel, sites, 1));
    ASSERT_TRUE(classes.serve(panel, sites, 1));
    for (int change = 0; change < 4; ++change) {
        for (std::size_t h = 0; h < 3; ++h) panel.set(h, 100, 1 - panel.allele(h, 100));
        EXPECT_FALSE(classes.serve(panel, sites, 1)) << "change " << change;
    }
    EXPECT_TRUE(classes.serve(panel, sites, 1));
    expect_right_classes(classes, panel, sites);
    EXPECT_TRUE(classes.serve(panel, sites, 1));
    expect_right_classes(classes, panel, sites);
}

TEST(haplotype_classes, serve_a_panel_that_became_less_diverse) {
    input_source source(8);
    mosaic_panel m;
    m.diverse_to = m.n_sites = 200;
    packed_haplotypes panel = make_panel(source, m);
    const std::vector<std::size_t> sites = consecutive(0, 200);
    haplotype_classes classes;
    EXPECT_FALSE(classes.serve(panel, sites));
    for (std::size_t h = 0; h < 200; ++h) {
        for (std::size_t s = 0; s < 200; ++s) panel.set(h, s, static_cast<int>(h % 3 == s % 3));
    }
    EXPECT_FALSE(classes.serve(panel, sites)) << "just changed";
    EXPECT_TRUE(classes.serve(panel, sites));
    expect_right_classes(classes, panel, sites);
    for (std::size_t h = 0; h < 200; ++h) {
        for (std::size_t s = 0; s < 200; ++s) panel.set(h, s, source.integer(0, 1));
    }
    for (int call = 0; call < 3; ++call) EXPECT_FALSE(classes.serve(panel, sites));
}

TEST(haplotype_classes, serve_another_list_of_sites) {
    input_source source(9);
    mosaic_panel m;
    m.n_sites = 700;
    m.switch_chance = m.mutation_chance = 2e-5;
    const packed_haplotypes panel = make_panel(source, m);
    const std::vector<std::size_t> all = consecutive(0, 700), some = choose_ascending(source, 333, 0, 700), none;
    haplotype_classes classes;
    for (const std::vector<std::size_t>* sites : {&all, &some, &all, &none, &some}) {
        ASSERT_TRUE(classes.serve(panel, *sites, 1));
        expect_right_classes(classes, panel, *sites);
    }
}

}  // namespace
