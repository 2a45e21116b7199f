#include <gtest/gtest.h>

#include <initializer_list>

#include "reconcile/match.h"
#include "support/alleles.h"

namespace {

snp full_site() {
    snp site;
    site.rs_id = "rs";
    site.type = site.top_panel = 2;
    site.panel1_placeholder = true;
    for (std::size_t panel = 0; panel < 3; ++panel) {
        site.labels[panel] = {"A", "C", "+", 0.25};
        site.haps[panel] = alleles("0110");
    }
    site.ref_missing = {1};
    for (std::size_t g = 0; g < 2; ++g) {
        site.gtypes[g + 1] = genotypes("01");
        site.gtype_probs[g + 1] = {1, 0, 0, 0, 1, 0};
        site.gtype_emiss[g + 1] = {1, 0, 0, 0, 1, 0};
    }
    site.known_phase_flags = site.known_haps_flags = site.hap_init_flags = {true, false};
    return site;
}

snp copy(const snp& from, const std::set<std::size_t>& panels, bool has_panel0 = true) {
    snp to;
    copy_snp(from, to, panels, has_panel0);
    return to;
}

TEST(copy_snp, keeps_the_given_panels_whole) {
    const snp to = copy(full_site(), {0, 1, 2});
    EXPECT_EQ("rs", to.rs_id);
    EXPECT_EQ("0110", text_of(to.haps[2]));
    EXPECT_EQ("01", text_of(to.gtypes[2]));
    EXPECT_EQ(2, to.type);
    EXPECT_TRUE(to.panel1_placeholder);
    EXPECT_EQ((std::vector<bool>{true, false}), to.known_phase_flags);
}

TEST(copy_snp, empties_a_dropped_study) {
    const snp to = copy(full_site(), {0, 1});
    EXPECT_EQ(no_label, to.labels[2].a0);
    EXPECT_EQ(no_label, to.labels[2].a1);
    EXPECT_EQ("*", to.labels[2].strand);
    EXPECT_EQ(-1.0, to.labels[2].freq);
    EXPECT_TRUE(to.haps[2].empty());
    EXPECT_TRUE(to.gtypes[2].empty());
    EXPECT_TRUE(to.gtype_probs[2].empty());
    EXPECT_TRUE(to.gtype_emiss[2].empty());
    EXPECT_TRUE(to.known_phase_flags.empty());
    EXPECT_TRUE(to.known_haps_flags.empty());
    EXPECT_TRUE(to.hap_init_flags.empty());
    EXPECT_EQ("0110", text_of(to.haps[1]));
    EXPECT_EQ(1, to.type);
    EXPECT_EQ(1, to.top_panel);
    EXPECT_TRUE(to.panel1_placeholder);
}

TEST(copy_snp, empties_dropped_reference_panels) {
    const snp to = copy(full_site(), {2});
    EXPECT_TRUE(to.haps[0].empty());
    EXPECT_TRUE(to.haps[1].empty());
    EXPECT_TRUE(to.ref_missing.empty());
    EXPECT_TRUE(to.gtypes[1].empty());
    EXPECT_EQ(no_label, to.labels[0].a0);
    EXPECT_EQ("*", to.labels[0].strand);
    EXPECT_EQ(-1.0, to.labels[0].freq);
    EXPECT_EQ(no_label, to.labels[1].a0);
    EXPECT_EQ("01", text_of(to.gtypes[2]));
    EXPECT_EQ(3, to.type);
    EXPECT_EQ(3, to.top_panel);
    EXPECT_FALSE(to.panel1_placeholder);
}

TEST(copy_snp, type_follows_the_panels_that_are_left) {
    struct row {
        std::set<std::size_t> panels;
        bool has_panel0;
        int type;
        bool settled;
    };
    for (const row& r : std::initializer_list<row>{{{1, 2}, true, 2, false},
                                                   {{0, 2}, true, 2, false},
                                                   {{2}, true, 3, true},
                                                   {{0, 1}, true, 1, true},
                                                   {{1}, false, 1, true},
                                                   {{1}, true, 2, false},
                                                   {{0}, true, 0, true},
                                                   {{}, true, 2, false}}) {
        const snp to = copy(full_site(), r.panels, r.has_panel0);
        EXPECT_EQ(r.type, to.type);
        EXPECT_EQ(r.type, to.top_panel);
        // A Panel 1 without data of its own stays so as long as it is there.
        EXPECT_EQ(!r.settled || r.panels.contains(1), to.panel1_placeholder);
    }
}

TEST(copy_snp, copy_does_not_share_with_the_original) {
    const snp from = full_site();
    snp to = copy(from, {0, 1, 2});
    to.haps[2].set(0, 1);
    to.gtypes[2][0] = 2;
    EXPECT_EQ("0110", text_of(from.haps[2]));
    EXPECT_EQ("01", text_of(from.gtypes[2]));
}

TEST(copy_snp, two_sites_at_one_position_coexist) {
    site_store store;
    store.emplace(5, snp{})->second.labels[0].a0 = "A";
    store.emplace(5, snp{})->second.labels[0].a0 = "C";
    ASSERT_EQ(2U, store.count(5));
    EXPECT_EQ("A", store.begin()->second.labels[0].a0);
    EXPECT_EQ("C", std::next(store.begin())->second.labels[0].a0);
}

}  // namespace
