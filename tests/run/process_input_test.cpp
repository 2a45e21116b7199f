#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "model/data.h"
#include "run/process_input.h"
#include "support/log_capture.h"

namespace {

// Runs that take sampled haplotypes, and have strand files, sample files and exclusion lists for all panels.
class filters_of_sampled_haplotypes : public ::testing::Test {
  protected:
    void SetUp() override {
        capture.open(run.log);
        parameters& p = run.params;
        p.int_lower = 1000;
        p.int_upper = 2000;
        p.h_files = {"ref.hap"};
        p.l_files = {"ref.legend"};
        p.g_ref_file = "gref.gen";
        p.g_file = "study.gen";
        for (std::string* file : filter_files()) *file = "filter";
        p.align_by_maf_g = p.align_by_maf_g_ref = true;
    }
    void TearDown() override { run.log.close(); }
    std::vector<std::string*> filters_of_panel2() {
        parameters& p = run.params;
        return {&p.strand_g_file, &p.exclude_snps_g_file, &p.sample_g_file, &p.exclude_samples_g_file};
    }
    std::vector<std::string*> filters_of_panel1() {
        parameters& p = run.params;
        return {&p.strand_g_ref_file, &p.exclude_snps_g_ref_file, &p.sample_g_ref_file, &p.exclude_samples_g_ref_file};
    }
    std::vector<std::string*> filters_of_panel0() {
        parameters& p = run.params;
        return {&p.exclude_snps_h_file, &p.sample_h_file, &p.exclude_samples_h_file};
    }
    std::vector<std::string*> filter_files() {
        std::vector<std::string*> files;
        for (const auto& panel : {filters_of_panel2(), filters_of_panel1(), filters_of_panel0()}) {
            files.insert(files.end(), panel.begin(), panel.end());
        }
        return files;
    }
    static void expect_all(const std::vector<std::string*>& files, const std::string& value) {
        for (std::size_t i = 0; i < files.size(); ++i) EXPECT_EQ(value, *files[i]) << "file " << i;
    }
    // The warnings that are due when the things named are dropped for an input option.
    static std::string warnings_of(const std::string& option, std::initializer_list<const char*> dropped) {
        std::string text;
        for (const char* words : dropped) {
            text += std::string("WARNING: By default, you cannot use ") + words + " when using the " + option +
                    " option. If you really want to do this, you should use the -allow_hap_samp_in_filters flag.\n";
        }
        return text;
    }

    log_capture capture;
    data run{capture.terminal, capture.notes};
};

TEST_F(filters_of_sampled_haplotypes, stay_by_default) {
    run.params.hap_samp_in_g = run.params.hap_samp_in_g_ref = run.params.hap_samp_in_h = "in";
    process_input(run.log, run.params, run.plan, run.panels);
    expect_all(filter_files(), "filter");
    EXPECT_TRUE(run.params.align_by_maf_g);
    EXPECT_TRUE(run.params.align_by_maf_g_ref);
    EXPECT_EQ("", capture.warnings());
}

TEST_F(filters_of_sampled_haplotypes, of_panel_2_are_dropped_with_a_warning_each) {
    run.params.allow_hap_samp_in_filters = false;
    run.params.hap_samp_in_g = "in";
    process_input(run.log, run.params, run.plan, run.panels);
    expect_all(filters_of_panel2(), "NULL");
    expect_all(filters_of_panel1(), "filter");
    expect_all(filters_of_panel0(), "filter");
    EXPECT_FALSE(run.params.align_by_maf_g);
    EXPECT_TRUE(run.params.align_by_maf_g_ref);
    EXPECT_EQ(warnings_of("-hap_samp_in_g", {"a strand file for Panel 2 (-strand_g)", "the -align_by_maf_g flag",
                                             "a SNP exclusion file for Panel 2 (-exclude_snps_g)",
                                             "a sample file for Panel 2 (-sample_g)",
                                             "a sample exclusion file for Panel 2 (-exclude_samples_g)"}),
              capture.warnings());
    EXPECT_EQ(5, run.log.warning_count());
}

TEST_F(filters_of_sampled_haplotypes, of_panel_1_are_dropped_with_a_warning_each) {
    run.params.allow_hap_samp_in_filters = false;
    run.params.hap_samp_in_g_ref = "in";
    process_input(run.log, run.params, run.plan, run.panels);
    expect_all(filters_of_panel2(), "filter");
    expect_all(filters_of_panel1(), "NULL");
    expect_all(filters_of_panel0(), "filter");
    EXPECT_TRUE(run.params.align_by_maf_g);
    EXPECT_FALSE(run.params.align_by_maf_g_ref);
    EXPECT_EQ(
        warnings_of("-hap_samp_in_g_ref", {"a strand (-strand_g_ref) file for Panel 1", "the -align_by_maf_g_ref flag",
                                           "a SNP exclusion file for Panel 1 (-exclude_snps_g_ref)",
                                           "a sample file for Panel 1 (-sample_g_ref)",
                                           "a sample exclusion file for Panel 1 (-exclude_samples_g_ref)"}),
        capture.warnings());
}

TEST_F(filters_of_sampled_haplotypes, of_panel_0_are_dropped_with_a_warning_each) {
    run.params.allow_hap_samp_in_filters = false;
    run.params.hap_samp_in_h = "in";
    process_input(run.log, run.params, run.plan, run.panels);
    expect_all(filters_of_panel2(), "filter");
    expect_all(filters_of_panel1(), "filter");
    expect_all(filters_of_panel0(), "NULL");
    EXPECT_EQ(warnings_of("-hap_samp_in_h", {"a SNP exclusion file for Panel 0 (-exclude_snps_h)",
                                             "a sample file for Panel 0 (-sample_h)",
                                             "a sample exclusion file for Panel 0 (-exclude_samples_h)"}),
              capture.warnings());
}

TEST_F(filters_of_sampled_haplotypes, that_are_not_given_cause_no_warning) {
    run.params.allow_hap_samp_in_filters = false;
    run.params.hap_samp_in_g = run.params.hap_samp_in_g_ref = run.params.hap_samp_in_h = "in";
    for (std::string* file : filter_files()) *file = "NULL";
    run.params.align_by_maf_g = run.params.align_by_maf_g_ref = false;
    process_input(run.log, run.params, run.plan, run.panels);
    EXPECT_EQ("", capture.warnings());
}

// --- VCF and BCF output ---------------------------------------------------------------------------------------------

class variant_settings : public filters_of_sampled_haplotypes {
  protected:
    run_plan settle() {
        process_input(run.log, run.params, run.plan, run.panels);
        return run.plan;
    }
};

TEST_F(variant_settings, are_none_for_text) {
    EXPECT_FALSE(settle().variants);
}

TEST_F(variant_settings, have_phase_fields_in_a_prephasing_run) {
    run.params.o_file = "out.vcf.gz";
    run.params.prephase_g = true;
    const run_plan plan = settle();
    ASSERT_TRUE(plan.variants);
    EXPECT_TRUE(plan.variants->hds);
    EXPECT_FALSE(plan.known_hap_dosages) << "nobody's haplotypes are known";
}

TEST_F(variant_settings, ask_for_allele_sums_where_haplotypes_are_known_and_written) {
    run.params.o_file = "out.bcf";
    run.params.known_haps_g_file = "known.haps";
    EXPECT_TRUE(settle().known_hap_dosages);
    run.params.format_fields = "DS,GP";
    EXPECT_FALSE(settle().known_hap_dosages);
    run.params.format_fields = "HDS";
    EXPECT_TRUE(settle().known_hap_dosages);
}

}  // namespace
