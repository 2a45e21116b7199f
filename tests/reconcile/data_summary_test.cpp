#include "reconcile/stages.h"
#include "reconcile_fixture.h"

namespace {

class data_summary : public reconcile_fixture {
  protected:
    void SetUp() override {
        reconcile_fixture::SetUp();
        give_panel0(4);
        give_study(2);
    }
    int report() {
        return end_status([this] { report_data_summary(run.log, run.params, run.plan, run.sites); });
    }
    static std::string block(const std::string& title, const std::array<int, 4>& counts) {
        std::string text = "\n" + title + "\n";
        for (std::size_t type = 0; type < 4; ++type) {
            text += " --" + std::to_string(counts[type]) + " type " + std::to_string(type) + " SNPs\n";
        }
        return text;
    }
    static std::string total(int n) { return " --" + std::to_string(n) + " total SNPs\n"; }
};

const char* const summary_head =
    "\n--------------\n Data summary \n--------------\n"
    "\n[type 0 = SNP in Panel 0 only]\n[type 1 = SNP in Panel 1]\n"
    "[type 2 = SNP in Panel 2 and all ref panels]\n[type 3 = SNP in Panel 2 only]\n";

const char* const no_type_2_text =
    "ERROR: There are no type 2 SNPs after applying the command-line settings for this run, which makes it impossible"
    " to perform imputation. One possible reason is that you have specified an analysis interval (-int) that contains"
    " reference panel SNPs but not inference panel SNPs -- e.g., this can happen at the ends of chromosomes. Another"
    " possibility is that your genotypes and the reference panel are mapped to different genome builds, which can lead"
    " the same SNPs to be assigned different positions in different panels. If you need help fixing this error, please"
    " contact the authors.";

TEST_F(data_summary, counts_by_region_and_type) {
    run.plan.output_types = {false, true, true, true};
    for (const long position : {60L, 99L, 100L, 150L, 200L, 201L, 240L, 245L}) add_site(position, 2);
    add_site(150, 0);
    add_site(151, 1);
    add_site(152, 3);
    add_site(230, 0);
    EXPECT_EQ(-1, report());
    const std::string regions = block("-Upstream buffer region", {0, 0, 2, 0}) + total(2) +
                                block("-Downstream buffer region", {1, 0, 3, 0}) + total(4) +
                                block("-Analysis region (as defined by -int argument)", {1, 1, 3, 1}) + total(6);
    const std::string output = block("-Output file", {0, 1, 3, 1});
    const std::string end = "\n-In total, 12 SNPs will be used in the analysis, including 8 Panel 2 SNPs\n";
    EXPECT_EQ(summary_head + regions + output + end, terminal_text());
    EXPECT_EQ(summary_head + regions + output + total(5) + end, summary_text());
}

TEST_F(data_summary, study_sites_have_type_3_without_a_reference) {
    run.params.h_files.clear();
    run.plan.has_reference = false;
    run.plan.n_panels = 4;
    add_site(150, 3);
    EXPECT_EQ(-1, report());
    EXPECT_NE(std::string::npos, terminal_text().find("including 1 Panel 2 SNPs\n"));
}

TEST_F(data_summary, no_study_site_is_an_error) {
    add_site(150, 0);
    add_site(160, 3);
    EXPECT_EQ(1, report());
    EXPECT_NE(std::string::npos,
              terminal_text().find("including 0 Panel 2 SNPs\n\n" + std::string(no_type_2_text) + "\n\n"));
    EXPECT_NE(std::string::npos, summary_text().find("\n\n" + std::string(no_type_2_text) + "\n\n"));
}

TEST_F(data_summary, merging_needs_no_study_site) {
    run.params.merge_ref_panels = true;
    add_site(150, 0);
    EXPECT_EQ(-1, report());
}

TEST_F(data_summary, no_output_site_ends_the_run_well) {
    run.plan.output_types = {true, true, false, true};
    add_site(150, 2);
    EXPECT_EQ(0, report());
    const std::string text =
        "\n\nYour current command-line settings imply that there will not be any SNPs in the output file, so ORVIDE2"
        " will not perform any analysis or print output files.\n\n";
    EXPECT_NE(std::string::npos, terminal_text().find(text));
    EXPECT_NE(std::string::npos, summary_text().find(text));
}

TEST_F(data_summary, study_sites_in_the_buffer_alone_end_the_run_at_the_output) {
    add_site(60, 2);
    EXPECT_EQ(0, report());
}

TEST_F(data_summary, a_reference_of_holes_alone_is_an_error) {
    run.plan.fill_holes = true;
    add_site(150, 2).ref_alleles_missing = true;
    EXPECT_EQ(1, report());
    const auto text = [](const std::string& versus) {
        return "\n\nERROR: None of the Panel 2 SNPs in this region are represented in the reference panel, so it is"
               " impossible to perform imputation. Common reasons for this error are that your panels are mapped to"
               " different genome builds (e.g., NCBI b35 " +
               versus +
               " b36) or that you tried to impute in a region that contains very few SNPs in one or both panels.\n\n";
    };
    EXPECT_NE(std::string::npos, terminal_text().find(text("vs.")));
    EXPECT_NE(std::string::npos, summary_text().find(text("vs")));
}

TEST_F(data_summary, one_observed_study_site_suffices_for_hole_filling) {
    run.plan.fill_holes = true;
    add_site(150, 2).ref_alleles_missing = true;
    add_site(60, 2);
    EXPECT_EQ(-1, report());
}

TEST_F(data_summary, holes_alone_pass_without_hole_filling_and_with_two_references) {
    add_site(150, 2).ref_alleles_missing = true;
    EXPECT_EQ(-1, report());
    run.plan.fill_holes = true;
    run.params.g_ref_file = "ref.gen";
    EXPECT_EQ(-1, report());
    run.params.g_ref_file = "NULL";
    run.params.h_files.emplace_back("ref1.hap");
    EXPECT_EQ(-1, report());
}

TEST_F(data_summary, a_lone_panel_of_genotypes_counts_as_one_reference) {
    run.plan.fill_holes = true;
    run.params.h_files.clear();
    run.params.g_ref_file = "ref.gen";
    add_site(150, 2).ref_alleles_missing = true;
    EXPECT_EQ(1, report());
}

}  // namespace
