#include "input/hole_preparation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/site_table.h"
#include "support/alleles.h"
#include "support/run_builder.h"

namespace {

class hole_preparation_test : public ::testing::Test {
  protected:
    void prepare() { prepare_holes(params, panels, sites.store); }
    // A record at position 10 with the labels of Panels 2, 1, 0; "" for a panel that does not hold the site.
    snp& add(const std::string& study, const std::string& panel1 = "", const std::string& panel0 = "") {
        snp& site = add_site(sites, 10);
        site.snp_id = "snp" + std::to_string(sites.store.size());
        label_panels(site, study, panel1, panel0);
        return site;
    }
    void give_panel0() {
        params.h_files.insert(params.h_files.begin(), "ref.hap");
        panels[0].n_hap = 4;
    }
    void give_panel1() {
        params.g_ref_file = "ref.gen";
        set_diploids(panels[1], 3);
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
    parameters params;
    panel_array panels;
    site_table sites;
};

TEST_F(hole_preparation_test, lone_panel1_gets_missing_genotypes_at_study_sites) {
    give_panel1();
    snp& site = add_typed(3, "AC");
    set_strand(site, 2, "+", 0.25);
    prepare();
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
    params.prob_g_ref = true;
    snp& site = add_typed(3, "AC");
    prepare();
    EXPECT_EQ(std::vector<float>(9, 0.0F), site.gtype_probs[1]);
    EXPECT_TRUE(site.gtypes[1].empty());
}

TEST_F(hole_preparation_test, lone_panel0_gets_missing_alleles_at_study_sites) {
    give_panel0();
    snp& site = add_typed(3, "AC");
    set_strand(site, 2, "-", 0.25);
    prepare();
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
    prepare();
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
    prepare();
    EXPECT_EQ(no_label, site.labels[0].a0);
    EXPECT_EQ(no_label, site.labels[0].a1);
    EXPECT_EQ(-1.0, site.labels[0].freq);
    EXPECT_TRUE(site.haps[0].empty());
    EXPECT_FALSE(site.ref_alleles_missing);
}

TEST_F(hole_preparation_test, real_panel0_data_without_panel1_stays) {
    give_panel0();
    give_panel1();
    snp& site = add_typed(3, "AC", "", "AC");
    site.haps[0] = alleles("0110");
    prepare();
    EXPECT_EQ("A", site.labels[0].a0);
    EXPECT_EQ("0110", text_of(site.haps[0]));
    EXPECT_EQ(3, site.type);
}

TEST_F(hole_preparation_test, sites_that_lack_nothing_stay) {
    give_panel0();
    snp& site = add_typed(2, "AC", "", "AC");
    site.labels[0].freq = 0.5;
    prepare();
    EXPECT_EQ(0.5, site.labels[0].freq);
    EXPECT_FALSE(site.ref_alleles_missing);
}

class borrowed_frequency : public hole_preparation_test {
  protected:
    // Frequency of an all-missing Panel 0 site by its own labels and those of the study.
    double borrow(const std::string& own, const std::string& study, const std::string& strand, double freq = 0.25) {
        sites.store.clear();
        params.h_files.assign(1, "ref.hap");
        snp& site = add_typed(2, study, "", own);
        site.ref_alleles_missing = true;
        set_strand(site, 2, strand, freq);
        prepare();
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
    prepare();
    EXPECT_EQ("A", site.labels[1].a0);
    EXPECT_EQ("C", site.labels[1].a1);
    EXPECT_EQ("-", site.labels[1].strand);
    EXPECT_EQ(0.25, site.labels[1].freq);
}

}  // namespace
