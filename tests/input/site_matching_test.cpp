#include "input/site_matching.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "io/run_log.h"
#include "support/log_capture.h"
#include "support/run_builder.h"

namespace {

class site_matching : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(log); }
    // A record at position 10 with the labels of Panels 2, 1, 0; "" for a panel that does not hold the site.
    snp& add(const std::string& study, const std::string& panel1 = "", const std::string& panel0 = "") {
        snp& site = add_site(sites, 10);
        site.snp_id = "snp" + std::to_string(sites.store.size());
        label_panels(site, study, panel1, panel0);
        return site;
    }
    // The ID of the record that matches, or "".
    std::string match(const std::string& labels, std::size_t panel) {
        panel_labels own;
        own.a0 = labels.substr(0, 1);
        own.a1 = labels.substr(1);
        const site_match found = find_compatible_snp(log, sites, 10, own, panel);
        return found ? (*found)->second.snp_id : "";
    }
    std::string multiple_warning(std::size_t panel, const std::string& id) const {
        return "WARNING: Multiple SNPs at position 10 in Panel " + std::to_string(panel) +
               " have alleles that are compatible with those of SNP " + id +
               " in Panel 2. Due to this ambiguity, the Panel 2 SNP at this position will be converted to Type 3, "
               "which "
               "implies that it will not match any reference SNP nor inform the imputation.\n";
    }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
    site_table sites;
};

TEST_F(site_matching, reference_matches_study_in_either_order) {
    add("AC");
    for (const std::size_t panel : {0, 1}) {
        EXPECT_EQ("snp1", match("AC", panel));
        EXPECT_EQ("snp1", match("CA", panel));
    }
}

TEST_F(site_matching, reference_matches_study_across_strands) {
    add("AC");
    for (const std::size_t panel : {0, 1}) {
        EXPECT_EQ("snp1", match("GT", panel));
        EXPECT_EQ("snp1", match("TG", panel));
        EXPECT_EQ("", match("AG", panel));
    }
}

TEST_F(site_matching, two_study_snps_never_match_across_strands) {
    add("AC");
    EXPECT_EQ("snp1", match("AC", 2));
    EXPECT_EQ("snp1", match("CA", 2));
    EXPECT_EQ("", match("TG", 2));
    EXPECT_EQ("", match("GT", 2));
}

TEST_F(site_matching, long_allele_is_its_own_complement) {
    add("ATT");
    EXPECT_EQ("snp1", match("ATT", 0));
    EXPECT_EQ("snp1", match("TTT", 0));  // A read from the other strand, TT as it stands
    EXPECT_EQ("", match("TAA", 0));
}

TEST_F(site_matching, one_allele_of_the_study_matches_either_reference_label) {
    add("AA");
    EXPECT_EQ("snp1", match("AG", 0));
    EXPECT_EQ("snp1", match("GA", 1));
    EXPECT_EQ("", match("TG", 0));  // not across strands
    EXPECT_EQ("", match("AG", 2));
    EXPECT_EQ("snp1", match("AA", 2));
    EXPECT_EQ("", match("GG", 2));
}

TEST_F(site_matching, first_compatible_record_wins) {
    add("AG");
    add("AC");
    add("CA");
    EXPECT_EQ("snp2", match("AC", 2));
    EXPECT_EQ("snp2", match("TG", 1));
}

TEST_F(site_matching, second_panel1_snp_on_a_study_snp_is_noted) {
    add("AC", "AC");
    EXPECT_EQ("", match("TG", 1));
    EXPECT_EQ(std::set<long>{10}, sites.multi_match_positions);
    EXPECT_EQ(multiple_warning(1, "snp1"), capture.warnings());
}

TEST_F(site_matching, second_panel0_snp_on_a_study_snp_is_noted) {
    add("AC", "", "AC");
    EXPECT_EQ("", match("AC", 0));
    EXPECT_EQ(std::set<long>{10}, sites.multi_match_positions);
    EXPECT_EQ(multiple_warning(0, "snp1"), capture.warnings());
}

TEST_F(site_matching, third_match_warns_again_and_the_position_stays_once) {
    snp& site = add("AC");
    EXPECT_EQ("snp1", match("AC", 0));
    label_panels(site, "", "", "AC");
    EXPECT_EQ("", match("CA", 0));
    EXPECT_EQ("", match("TG", 0));
    EXPECT_EQ(1U, sites.multi_match_positions.size());
    EXPECT_EQ(multiple_warning(0, "snp1") + multiple_warning(0, "snp1"), capture.warnings());
    EXPECT_EQ(2, log.warning_count());
}

TEST_F(site_matching, position_is_noted_without_warnings_too) {
    log.close();
    capture.open(log, false);
    add("AC", "AC");
    EXPECT_EQ("", match("AC", 1));
    EXPECT_EQ(std::set<long>{10}, sites.multi_match_positions);
    EXPECT_EQ(0, log.warning_count());
}

TEST_F(site_matching, panel0_must_agree_with_panel1_labels) {
    add("AC", "AC");
    EXPECT_EQ("snp1", match("CA", 0));
    EXPECT_EQ("snp1", match("TG", 0));
    add("AA", "AG");
    sites.store.erase(sites.store.begin());
    EXPECT_EQ("", match("AC", 0));  // fits the study, not Panel 1
    EXPECT_EQ("snp2", match("GA", 0));
    EXPECT_EQ("", capture.warnings());
    EXPECT_TRUE(sites.multi_match_positions.empty());
}

TEST_F(site_matching, panel1_flips_do_not_count_where_the_study_has_one_allele) {
    add("AA", "TG");
    EXPECT_EQ("", match("AC", 0));
}

TEST_F(site_matching, panel0_falls_back_to_panel1_labels) {
    add("", "AC");
    add("", "AG");
    EXPECT_EQ("snp2", match("CT", 0));
    EXPECT_EQ("snp1", match("CA", 0));
    EXPECT_EQ("", match("AT", 0));
}

TEST_F(site_matching, panel1_has_no_second_look) {
    add("", "", "AC");
    EXPECT_EQ("", match("AC", 1));
}

TEST_F(site_matching, records_without_panel1_are_passed_over_in_the_second_look) {
    add("AG");
    add("", "CT");
    EXPECT_EQ("snp1", match("CT", 0));  // by the strand flip of the study SNP
    sites.store.erase(sites.store.begin());
    EXPECT_EQ("snp2", match("CT", 0));
}

TEST_F(site_matching, one_panel1_label_is_an_error_in_the_second_look) {
    add("", "GG");
    expect_end(capture, "ERROR: Found monomorphic allele labels in Panel 1 at position 10.", 1,
               [this] { match("AC", 0); });
}

TEST_F(site_matching, other_positions_do_not_count) {
    add("AC");
    panel_labels own{"A", "C", "*", -1.0};
    EXPECT_TRUE(find_compatible_snp(log, sites, 10, own, 0));
    EXPECT_FALSE(find_compatible_snp(log, sites, 11, own, 0));
}

}  // namespace
