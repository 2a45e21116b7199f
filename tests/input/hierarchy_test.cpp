#include <gtest/gtest.h>

#include <string>

#include "input/reader_fixture.h"
#include "input/readers.h"
#include "support/run_builder.h"

namespace {

class hierarchy : public reader_fixture {
  protected:
    // A site of the type; panels is a text such as "02", the panels that hold it.
    snp& add(long position, int type, const std::string& panels) {
        snp& site = add_site(position);
        site.type = site.top_panel = type;
        for (const char c : panels) {
            const auto p = static_cast<std::size_t>(c - '0');
            label(site, p, "A", "C");
            site.labels[p].freq = 0.25;
            site.haps[p] = alleles("0110");
            if (p == 0) continue;
            site.gtypes[p] = genotypes("11");
            site.gtype_probs[p] = {0, 1, 0, 0, 1, 0};
        }
        if (panels.find('2') != std::string::npos) {
            site.known_phase_flags = site.known_haps_flags = flags("11");
        }
        return site;
    }
    std::string close() {
        return said([this] { close_reading(rooms); });
    }
    static std::string report(const std::string& lines) {
        return "\n-removing SNPs that violate the hierarchical data requirements\n" + lines;
    }
    void give_two_references() {
        give_panel0();
        give_panel1_genotypes();
        set_haplotypes(run.panels, {4, 4, 4});
        set_individuals(run.panels, {0, 2, 2});
    }
    // The panels that still hold a site, as in add.
    static std::string panels_of(const snp& site) {
        std::string text;
        for (int p = 0; p < 3; ++p) {
            if (site.in_panel(p)) text += static_cast<char>('0' + p);
        }
        return text;
    }
    static constexpr const char* none = " --no SNPs removed\n";
    static constexpr const char* to_type3 =
        " --converted 1 genotyped SNPs with ref panel data to type 3 (these will not inform the imputation)\n";
};

TEST_F(hierarchy, empty_store_ends_the_run_well) {
    expect_fatal(
        "There are no SNPs in the imputation interval, so there is nothing for ORVIDE2 to analyze; the program will "
        "quit "
        "now.",
        [this] { close_reading(rooms); }, 0);
}

TEST_F(hierarchy, study_without_reference_stays_whole) {
    add(150, 3, "2");
    EXPECT_EQ(report(none), close());
    EXPECT_EQ("2", panels_of(site_at(150)));
}

TEST_F(hierarchy, stage_two_drops_sites_of_the_study_alone) {
    run.params.stage_two = true;
    give_panel0();
    add(150, 3, "2");
    add(160, 2, "02");
    EXPECT_EQ(report(" --removed 1 type 3 SNPs to avoid conflicts with Stage 1 imputation output\n"), close());
    EXPECT_EQ(1U, run.sites.store.size());
}

TEST_F(hierarchy, study_site_beside_one_reference_stays_if_type_3_is_put_out) {
    give_panel0();
    add(150, 3, "2");
    EXPECT_EQ(report(none), close());
    EXPECT_EQ(3, site_at(150).type);
}

TEST_F(hierarchy, study_site_beside_one_reference_leaves_in_silence_otherwise) {
    give_panel0();
    run.plan.output_types[3] = false;
    add(150, 3, "2");
    EXPECT_EQ(report(none), close());
    EXPECT_TRUE(run.sites.store.empty());
}

TEST_F(hierarchy, site_of_panel1_alone_is_removed) {
    give_two_references();
    add(150, 3, "1");
    EXPECT_EQ(report(" --removed 1 SNPs with genotypes in Panel 1 but not Panel 0 or Panel 2\n"), close());
    EXPECT_TRUE(run.sites.store.empty());
}

TEST_F(hierarchy, study_site_that_lacks_panel0_loses_panel1) {
    give_two_references();
    snp& site = add(150, 3, "12");
    site.labels[1].strand = "+";
    EXPECT_EQ(report(to_type3), close());
    EXPECT_EQ("2", panels_of(site));
    EXPECT_EQ(no_label, site.labels[1].a1);
    EXPECT_EQ("*", site.labels[1].strand);
    EXPECT_EQ(-1.0, site.labels[1].freq);
    EXPECT_TRUE(site.haps[1].empty());
    EXPECT_TRUE(site.gtypes[1].empty());
    EXPECT_TRUE(site.gtype_probs[1].empty());
    EXPECT_EQ("11", text_of(site.gtypes[2]));
    EXPECT_EQ(3, site.type);
}

TEST_F(hierarchy, study_site_that_lacks_panel0_leaves_if_type_3_is_not_put_out) {
    give_two_references();
    run.plan.output_types[3] = false;
    add(150, 3, "12");
    EXPECT_EQ(report(to_type3), close());
    EXPECT_TRUE(run.sites.store.empty());
}

TEST_F(hierarchy, study_site_that_lacks_panel1_loses_panel0) {
    give_two_references();
    snp& site = add(150, 3, "02");
    EXPECT_EQ(report(to_type3), close());
    EXPECT_EQ("2", panels_of(site));
    EXPECT_EQ(-1.0, site.labels[0].freq);
    EXPECT_TRUE(site.haps[0].empty());
    EXPECT_EQ(3, site.type);
}

TEST_F(hierarchy, study_site_that_lacks_panel1_is_imputed_under_pgs) {
    give_two_references();
    run.params.pgs = true;
    snp& site = add(150, 3, "02");
    EXPECT_EQ(report(" --converted 1 genotyped SNPs with ref panel data to type 0 (these will be imputed)\n"), close());
    EXPECT_EQ("0", panels_of(site));
    EXPECT_EQ(0, site.type);
    EXPECT_EQ(0, site.top_panel);
    EXPECT_EQ("*", site.labels[2].strand);
    EXPECT_EQ(-1.0, site.labels[2].freq);
    EXPECT_TRUE(site.haps[2].empty());
    EXPECT_TRUE(site.gtypes[2].empty());
    EXPECT_TRUE(site.gtype_probs[2].empty());
    EXPECT_TRUE(site.known_phase_flags.empty());
    EXPECT_TRUE(site.known_haps_flags.empty());
    EXPECT_EQ("0110", text_of(site.haps[0]));
}

TEST_F(hierarchy, imputed_study_site_keeps_panel1_on_top_if_that_imputes_type_0) {
    give_two_references();
    run.params.pgs = run.params.use_panel1_for_type0_imputation = true;
    const snp& site = add(150, 3, "02");
    close();
    EXPECT_EQ(0, site.type);
    EXPECT_EQ(1, site.top_panel);
}

TEST_F(hierarchy, pgs_without_type_0_reduces_to_type_3) {
    give_two_references();
    run.params.pgs = true;
    run.plan.output_types[0] = false;
    add(150, 3, "02");
    EXPECT_EQ(report(to_type3), close());
}

TEST_F(hierarchy, donut_sites_take_part_with_zeros) {
    give_two_references();
    run.params.use_panel1_for_type0_imputation = run.params.keep_donut_snps = true;
    snp& site = add(150, 3, "02");
    EXPECT_EQ(
        report(std::string(none) +
               " --found 1 SNPs with data in Panel 0 and Panel 2 but not Panel 1; these will be used for inference, "
               "but the quality may diminish if there are too many of these SNPs\n"),
        close());
    EXPECT_EQ("012", panels_of(site));
    EXPECT_TRUE(site.panel1_placeholder);
    EXPECT_EQ(2, site.type);
    EXPECT_EQ(2, site.top_panel);
    EXPECT_EQ("+", site.labels[1].strand);
    EXPECT_EQ(0.25, site.labels[1].freq);
    EXPECT_EQ("0000", text_of(site.haps[1]));
}

TEST_F(hierarchy, whole_sites_stay) {
    give_two_references();
    add(150, 2, "012");
    add(160, 0, "0");
    add(170, 1, "01");
    EXPECT_EQ(report(none), close());
    EXPECT_EQ(3U, run.sites.store.size());
}

TEST_F(hierarchy, triples_are_freed_by_type) {
    give_panel0();
    run.params.store_input_probs = {true, false};
    add(150, 2, "02");
    add(160, 3, "2");
    close();
    EXPECT_FALSE(site_at(150).gtype_probs[2].empty());
    EXPECT_TRUE(site_at(160).gtype_probs[2].empty());
}

class inclusion_list : public hierarchy {
  protected:
    void SetUp() override {
        hierarchy::SetUp();
        run.params.include_snps_file = write("list", "snp110\nrs120\n130\n");
        give_panel0();
    }
    std::string reading() const {
        return "\n-reading SNP inclusion list for Panel -1 from -include_snps file\n --filename=[" +
               files().name("list") + "]\n --read 3 SNP IDs\n";
    }
};

TEST_F(inclusion_list, keeps_reference_sites_by_any_name) {
    for (const long position : {110L, 120L, 130L, 140L}) add(position, 0, "0");
    add(150, 1, "01");
    EXPECT_EQ(
        reading() + report(none) +
            "\n-applying SNP inclusion list\n --removed 2 reference-panel-only SNPs (type 0 or type 1) that were not "
            "on the inclusion list\n",
        close());
    EXPECT_EQ(3U, run.sites.store.size());
}

TEST_F(inclusion_list, never_removes_sites_of_the_study) {
    add(150, 2, "02");
    add(160, 3, "2");
    EXPECT_EQ(reading() + report(none) + "\n-applying SNP inclusion list\n", close());
    EXPECT_EQ(2U, run.sites.store.size());
}

TEST_F(inclusion_list, does_not_look_at_types_that_are_not_put_out) {
    run.plan.output_types[0] = false;
    add(150, 0, "0");
    close();
    EXPECT_EQ(1U, run.sites.store.size());
}

TEST_F(inclusion_list, is_read_before_the_pass_and_must_exist) {
    run.params.include_snps_file = files().name("none");
    add(150, 0, "0");
    expect_fatal("ERROR: The -include_snps file you specified does not exist.", [this] { close_reading(rooms); });
}

TEST_F(hierarchy, stand_ins_of_hole_filling_are_made_first) {
    give_two_references();
    run.params.fill_holes = true;
    snp& site = add(150, 3, "12");
    EXPECT_EQ(report(none), close());
    EXPECT_EQ("012", panels_of(site));
    EXPECT_EQ(2, site.type);
    EXPECT_EQ("2222", text_of(site.haps[0]));
    EXPECT_TRUE(site.ref_alleles_missing);
}

}  // namespace
