#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "model/data.h"
#include "reconcile/match.h"
#include "support/alleles.h"
#include "support/log_capture.h"

namespace {

class match_test : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(run.log); }
    // A record at position 10 with the labels of Panels 2, 1, 0; "" for a panel that does not hold the site.
    snp& add(const std::string& study, const std::string& panel1 = "", const std::string& panel0 = "") {
        snp& site = run.sites.store.emplace(10, snp{})->second;
        site.snp_id = "snp" + std::to_string(run.sites.store.size());
        set_labels(site, 2, study);
        set_labels(site, 1, panel1);
        set_labels(site, 0, panel0);
        return site;
    }
    static void set_labels(snp& site, std::size_t panel, const std::string& labels) {
        if (labels.empty()) return;
        site.labels[panel].a0 = labels.substr(0, 1);
        site.labels[panel].a1 = labels.substr(1);
    }
    // The ID of the record that matches, or "".
    std::string match(const std::string& labels, int panel) {
        site_store::iterator found;
        const std::string a0 = labels.substr(0, 1), a1 = labels.substr(1);
        if (!find_compatible_snp(run, a0, a1, panel, found, run.sites.store.equal_range(10))) return "";
        return found->second.snp_id;
    }
    std::string multiple_warning(int panel, const std::string& id) const {
        return "WARNING: Multiple SNPs at position 10 in Panel " + std::to_string(panel) +
               " have alleles that are compatible with those of SNP " + id +
               " in Panel 2. Due to this ambiguity, the Panel 2 SNP at this position will be converted to Type 3, "
               "which "
               "implies that it will not match any reference SNP nor inform the imputation.\n";
    }
    log_capture capture;
    data run{capture.terminal, capture.notes};
};

TEST_F(match_test, reference_matches_study_in_either_order) {
    add("AC");
    for (const int panel : {0, 1}) {
        EXPECT_EQ("snp1", match("AC", panel));
        EXPECT_EQ("snp1", match("CA", panel));
    }
}

TEST_F(match_test, reference_matches_study_across_strands) {
    add("AC");
    for (const int panel : {0, 1}) {
        EXPECT_EQ("snp1", match("GT", panel));
        EXPECT_EQ("snp1", match("TG", panel));
        EXPECT_EQ("", match("AG", panel));
    }
}

TEST_F(match_test, two_study_snps_never_match_across_strands) {
    add("AC");
    EXPECT_EQ("snp1", match("AC", 2));
    EXPECT_EQ("snp1", match("CA", 2));
    EXPECT_EQ("", match("TG", 2));
    EXPECT_EQ("", match("GT", 2));
}

TEST_F(match_test, long_allele_is_its_own_complement) {
    add("ATT");
    EXPECT_EQ("snp1", match("ATT", 0));
    EXPECT_EQ("snp1", match("TTT", 0));  // A read from the other strand, TT as it stands
    EXPECT_EQ("", match("TAA", 0));
}

TEST_F(match_test, one_allele_of_the_study_matches_either_reference_label) {
    add("AA");
    EXPECT_EQ("snp1", match("AG", 0));
    EXPECT_EQ("snp1", match("GA", 1));
    EXPECT_EQ("", match("TG", 0));  // not across strands
    EXPECT_EQ("", match("AG", 2));
    EXPECT_EQ("snp1", match("AA", 2));
    EXPECT_EQ("", match("GG", 2));
}

TEST_F(match_test, first_compatible_record_wins) {
    add("AG");
    add("AC");
    add("CA");
    EXPECT_EQ("snp2", match("AC", 2));
    EXPECT_EQ("snp2", match("TG", 1));
}

TEST_F(match_test, second_panel1_snp_on_a_study_snp_is_noted) {
    add("AC", "AC");
    EXPECT_EQ("", match("TG", 1));
    EXPECT_EQ(std::set<long>{10}, run.sites.multi_match_positions);
    EXPECT_EQ(multiple_warning(1, "snp1"), capture.warnings());
}

TEST_F(match_test, second_panel0_snp_on_a_study_snp_is_noted) {
    add("AC", "", "AC");
    EXPECT_EQ("", match("AC", 0));
    EXPECT_EQ(std::set<long>{10}, run.sites.multi_match_positions);
    EXPECT_EQ(multiple_warning(0, "snp1"), capture.warnings());
}

TEST_F(match_test, third_match_warns_again_and_the_position_stays_once) {
    snp& site = add("AC");
    EXPECT_EQ("snp1", match("AC", 0));
    set_labels(site, 0, "AC");
    EXPECT_EQ("", match("CA", 0));
    EXPECT_EQ("", match("TG", 0));
    EXPECT_EQ(1U, run.sites.multi_match_positions.size());
    EXPECT_EQ(multiple_warning(0, "snp1") + multiple_warning(0, "snp1"), capture.warnings());
    EXPECT_EQ(2, run.log.warning_count());
}

TEST_F(match_test, position_is_noted_without_warnings_too) {
    run.log.close();
    capture.open(run.log, false);
    add("AC", "AC");
    EXPECT_EQ("", match("AC", 1));
    EXPECT_EQ(std::set<long>{10}, run.sites.multi_match_positions);
    EXPECT_EQ(0, run.log.warning_count());
}

TEST_F(match_test, panel0_must_agree_with_panel1_labels) {
    add("AC", "AC");
    EXPECT_EQ("snp1", match("CA", 0));
    EXPECT_EQ("snp1", match("TG", 0));
    add("AA", "AG");
    run.sites.store.erase(run.sites.store.begin());
    EXPECT_EQ("", match("AC", 0));  // fits the study, not Panel 1
    EXPECT_EQ("snp2", match("GA", 0));
    EXPECT_EQ("", capture.warnings());
    EXPECT_TRUE(run.sites.multi_match_positions.empty());
}

TEST_F(match_test, panel1_flips_do_not_count_where_the_study_has_one_allele) {
    add("AA", "TG");
    EXPECT_EQ("", match("AC", 0));
}

TEST_F(match_test, panel0_falls_back_to_panel1_labels) {
    add("", "AC");
    add("", "AG");
    EXPECT_EQ("snp2", match("CT", 0));
    EXPECT_EQ("snp1", match("CA", 0));
    EXPECT_EQ("", match("AT", 0));
}

TEST_F(match_test, panel1_has_no_second_look) {
    add("", "", "AC");
    EXPECT_EQ("", match("AC", 1));
}

TEST_F(match_test, records_without_panel1_are_passed_over_in_the_second_look) {
    add("AG");
    add("", "CT");
    EXPECT_EQ("snp1", match("CT", 0));  // by the strand flip of the study SNP
    run.sites.store.erase(run.sites.store.begin());
    EXPECT_EQ("snp2", match("CT", 0));
}

TEST_F(match_test, one_panel1_label_is_an_error_in_the_second_look) {
    add("", "GG");
    expect_end(capture, "ERROR: Found monomorphic allele labels in Panel 1 at position 10.", 1,
               [this] { match("AC", 0); });
}

// --- copies of sites -------------------------------------------------------------------------------------------------

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

snp copy(const snp& from, const std::set<int>& panels, bool has_panel0 = true) {
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
    EXPECT_EQ("*", to.labels[2].a0);
    EXPECT_EQ("*", to.labels[2].a1);
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
    EXPECT_FALSE(to.panel1_placeholder);
}

TEST(copy_snp, empties_dropped_reference_panels) {
    const snp to = copy(full_site(), {2});
    EXPECT_TRUE(to.haps[0].empty());
    EXPECT_TRUE(to.haps[1].empty());
    EXPECT_TRUE(to.ref_missing.empty());
    EXPECT_TRUE(to.gtypes[1].empty());
    EXPECT_EQ("*", to.labels[0].a0);
    EXPECT_EQ("*", to.labels[0].strand);
    EXPECT_EQ(-1.0, to.labels[0].freq);
    EXPECT_EQ("*", to.labels[1].a0);
    EXPECT_EQ("01", text_of(to.gtypes[2]));
    EXPECT_EQ(3, to.type);
    EXPECT_EQ(3, to.top_panel);
    EXPECT_FALSE(to.panel1_placeholder);
}

TEST(copy_snp, type_follows_the_panels_that_are_left) {
    struct row {
        std::set<int> panels;
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
        EXPECT_EQ(!r.settled, to.panel1_placeholder);
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

// --- stand-ins for reference data ------------------------------------------------------------------------------------

class hole_preparation_test : public match_test {
  protected:
    void give_panel0() {
        run.params.h_files.insert(run.params.h_files.begin(), "ref.hap");
        run.panels[0].n_hap = 4;
    }
    void give_panel1() {
        run.params.g_ref_file = "ref.gen";
        run.panels[1].n_ind = 3;
        run.panels[1].n_hap = 6;
    }
    static void set_strand(snp& site, std::size_t panel, const std::string& strand, double freq) {
        site.labels[panel].strand = strand;
        site.labels[panel].freq = freq;
    }
    // A site of the type with the labels of Panels 2, 1, 0.
    snp& add_typed(int type, const std::string& study, const std::string& panel1 = "", const std::string& panel0 = "") {
        snp& site = add(study, panel1, panel0);
        site.type = site.top_panel = type;
        return site;
    }
};

TEST_F(hole_preparation_test, lone_panel1_gets_missing_genotypes_at_study_sites) {
    give_panel1();
    snp& site = add_typed(3, "AC");
    set_strand(site, 2, "+", 0.25);
    initialize_missing_ref_panel_snp_info(run);
    EXPECT_EQ("A", site.labels[1].a0);
    EXPECT_EQ("C", site.labels[1].a1);
    EXPECT_EQ(0.25, site.labels[1].freq);
    EXPECT_EQ("333", text_of(site.gtypes[1]));
    EXPECT_EQ("222222", text_of(site.haps[1]));
    EXPECT_TRUE(site.gtype_probs[1].empty());
    EXPECT_TRUE(site.ref_alleles_missing);
    EXPECT_EQ(2, site.type);
    EXPECT_EQ(2, site.top_panel);
}

TEST_F(hole_preparation_test, lone_panel1_of_probabilities_gets_zeros) {
    give_panel1();
    run.params.prob_g_ref = true;
    snp& site = add_typed(3, "AC");
    initialize_missing_ref_panel_snp_info(run);
    EXPECT_EQ(std::vector<float>(9, 0.0F), site.gtype_probs[1]);
    EXPECT_TRUE(site.gtypes[1].empty());
}

TEST_F(hole_preparation_test, lone_panel0_gets_missing_alleles_at_study_sites) {
    give_panel0();
    snp& site = add_typed(3, "AC");
    set_strand(site, 2, "-", 0.25);
    initialize_missing_ref_panel_snp_info(run);
    EXPECT_EQ("G", site.labels[0].a0);  // crossed and flipped
    EXPECT_EQ("T", site.labels[0].a1);
    EXPECT_EQ(0.75, site.labels[0].freq);
    EXPECT_EQ("2222", text_of(site.haps[0]));
    EXPECT_EQ(2, site.type);
}

TEST_F(hole_preparation_test, sites_of_panel1_get_missing_panel0_alleles) {
    give_panel0();
    give_panel1();
    snp& both = add_typed(3, "AC", "AC");
    set_strand(both, 1, "+", 0.25);
    snp& alone = add_typed(3, "", "AG");
    set_strand(alone, 1, "-", 0.125);
    initialize_missing_ref_panel_snp_info(run);
    EXPECT_EQ(2, both.type);
    EXPECT_EQ("A", both.labels[0].a0);
    EXPECT_EQ(0.25, both.labels[0].freq);
    EXPECT_EQ("2222", text_of(both.haps[0]));
    EXPECT_TRUE(both.ref_alleles_missing);
    EXPECT_EQ(1, alone.type);
    EXPECT_EQ(1, alone.top_panel);
    EXPECT_EQ("C", alone.labels[0].a0);
    EXPECT_EQ("T", alone.labels[0].a1);
    EXPECT_EQ(0.875, alone.labels[0].freq);
}

TEST_F(hole_preparation_test, placeholder_without_panel1_is_withdrawn) {
    give_panel0();
    give_panel1();
    snp& site = add_typed(3, "AC", "", "AC");
    site.ref_alleles_missing = true;
    site.haps[0] = alleles("2222");
    initialize_missing_ref_panel_snp_info(run);
    EXPECT_EQ("*", site.labels[0].a0);
    EXPECT_EQ("*", site.labels[0].a1);
    EXPECT_EQ(-1.0, site.labels[0].freq);
    EXPECT_TRUE(site.haps[0].empty());
    EXPECT_FALSE(site.ref_alleles_missing);
}

TEST_F(hole_preparation_test, real_panel0_data_without_panel1_stays) {
    give_panel0();
    give_panel1();
    snp& site = add_typed(3, "AC", "", "AC");
    site.haps[0] = alleles("0110");
    initialize_missing_ref_panel_snp_info(run);
    EXPECT_EQ("A", site.labels[0].a0);
    EXPECT_EQ("0110", text_of(site.haps[0]));
    EXPECT_EQ(3, site.type);
}

TEST_F(hole_preparation_test, sites_that_lack_nothing_stay) {
    give_panel0();
    snp& site = add_typed(2, "AC", "", "AC");
    site.labels[0].freq = 0.5;
    initialize_missing_ref_panel_snp_info(run);
    EXPECT_EQ(0.5, site.labels[0].freq);
    EXPECT_FALSE(site.ref_alleles_missing);
}

class borrowed_frequency : public hole_preparation_test {
  protected:
    // Frequency of an all-missing Panel 0 site by its own labels and those of the study.
    double borrow(const std::string& own, const std::string& study, const std::string& strand, double freq = 0.25) {
        run.sites.store.clear();
        run.params.h_files.assign(1, "ref.hap");
        snp& site = add_typed(2, study, "", own);
        site.ref_alleles_missing = true;
        set_strand(site, 2, strand, freq);
        initialize_missing_ref_panel_snp_info(run);
        EXPECT_EQ(own.substr(0, 1), site.labels[0].a0);
        return site.labels[0].freq;
    }
};

TEST_F(borrowed_frequency, same_order_takes_it_as_it_is) {
    EXPECT_EQ(0.25, borrow("AC", "AC", "+"));
}

TEST_F(borrowed_frequency, crossed_order_takes_the_rest) {
    EXPECT_EQ(0.75, borrow("CA", "AC", "+"));
}

TEST_F(borrowed_frequency, other_strand_by_the_pair_of_alleles) {
    EXPECT_EQ(0.25, borrow("TG", "AC", "+"));  // A is T, so allele 1 is G in both
    EXPECT_EQ(0.75, borrow("GT", "AC", "+"));
    EXPECT_EQ(0.25, borrow("AG", "TC", "*"));
    EXPECT_EQ(0.25, borrow("CT", "GA", "*"));
}

TEST_F(borrowed_frequency, other_strand_by_the_strand) {
    EXPECT_EQ(0.25, borrow("TG", "AC", "-"));
    EXPECT_EQ(-1.0, borrow("AC", "AC", "-"));
}

TEST_F(borrowed_frequency, other_labels_give_none) {
    EXPECT_EQ(-1.0, borrow("AT", "AC", "+"));
}

TEST_F(borrowed_frequency, unknown_frequency_stays_unknown) {
    EXPECT_EQ(-1.0, borrow("CA", "AC", "+", -1.0));
    EXPECT_EQ(-1.0, borrow("TG", "AC", "+", -1.0));
}

TEST_F(borrowed_frequency, panel1_genotypes_on_the_minus_strand_are_renamed_first) {
    give_panel1();
    snp& site = add_typed(2, "AC", "GT");
    site.ref_alleles_missing = true;
    set_strand(site, 2, "+", 0.25);
    set_strand(site, 1, "-", -1.0);
    initialize_missing_ref_panel_snp_info(run);
    EXPECT_EQ("A", site.labels[1].a0);
    EXPECT_EQ("C", site.labels[1].a1);
    EXPECT_EQ("-", site.labels[1].strand);
    EXPECT_EQ(0.25, site.labels[1].freq);
}

}  // namespace
