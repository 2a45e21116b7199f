#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "model/data.h"
#include "run/process_input.h"
#include "support/log_capture.h"
#include "support/variant_files.h"

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

// --- the final pass -------------------------------------------------------------------------------------------------

class final_pass_settings : public filters_of_sampled_haplotypes {
  protected:
    void SetUp() override {
        filters_of_sampled_haplotypes::SetUp();
        for (std::string* file : filter_files()) *file = "NULL";
        run.params.local_states = 100;
        run.params.final_states = 200;
        run.params.phase = true;
    }
    std::string notes() {
        process_input(run.log, run.params, run.plan, run.panels);
        return capture.notes.str();
    }
    const std::string of_no_use =
        "orvide: note: -final_states has no effect: it needs -local_states, and -phase or -prephase_g, without "
        "-prob_g and -suppress_imputation_output.\n";
};

TEST_F(final_pass_settings, are_silent_where_they_serve) {
    EXPECT_EQ("", notes());
}

TEST_F(final_pass_settings, are_silent_in_a_prephasing_run) {
    run.params.phase = false;
    run.params.prephase_g = true;
    EXPECT_EQ("", notes());
}

TEST_F(final_pass_settings, of_no_use_are_noted) {
    run.params.phase = false;
    EXPECT_EQ(of_no_use, notes());
}

TEST_F(final_pass_settings, without_local_matches_are_noted) {
    run.params.local_states = 0;
    EXPECT_EQ(of_no_use, notes());
}

TEST_F(final_pass_settings, beside_chances_of_genotypes_or_without_results_are_noted) {
    run.params.prob_g = true;
    EXPECT_EQ(of_no_use, notes());
    capture.notes.str("");
    run.params.prob_g = false;
    run.params.suppress_imputation_output = true;
    EXPECT_EQ(of_no_use, notes());
}

TEST_F(final_pass_settings, of_rounds_without_a_pass_are_noted) {
    run.params.final_states = 0;
    run.params.final_rounds = 2;
    EXPECT_EQ("orvide: note: -final_rounds has no effect: it needs -final_states.\n", notes());
}

TEST_F(final_pass_settings, of_a_preset_are_silent_where_they_do_not_serve) {
    run.params.phase = false;
    run.params.preset = "balanced";
    EXPECT_EQ("", notes());
}

TEST_F(final_pass_settings, have_a_round_at_least) {
    run.params.final_rounds = 0;
    EXPECT_THROW(notes(), run_end);
    EXPECT_NE(std::string::npos, capture.summary().find("ERROR: The -final_rounds value must be at least 1."));
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

// Runs with panels and a study, of files that may be VCF.
class formats_by_content : public ::testing::Test {
  protected:
    void SetUp() override {
        capture.open(run.log);
        run.params.int_lower = 1000;
        run.params.int_upper = 2000;
        run.params.g_file = text;
    }
    void TearDown() override { run.log.close(); }
    void process() { process_input(run.log, run.params, run.plan, run.panels); }
    void give_panels(const std::vector<std::string>& h, const std::vector<std::string>& l) {
        run.params.h_files = h;
        run.params.l_files = l;
    }
    void expect_fatal(const std::string& words) {
        expect_end(capture, words, 1, [this] { process(); });
    }
    log_capture capture;
    data run{capture.terminal, capture.notes};
    const std::string vcf = capture.files.write("a.txt", vcf_text("s", {called_record(100, "0|1")}));
    const std::string text = capture.files.write("b.vcf", "0 1\n");
    using texts = std::vector<std::string>;
};

TEST_F(formats_by_content, panels_of_vcf_need_no_legend) {
    give_panels({vcf}, {});
    process();
    EXPECT_EQ(texts{"NULL"}, run.params.l_files);
}

TEST_F(formats_by_content, legend_is_that_of_the_panel_of_text) {
    give_panels({vcf, text}, {"legend"});
    process();
    EXPECT_EQ((texts{"NULL", "legend"}), run.params.l_files);
    give_panels({text, vcf}, {"legend"});
    process();
    EXPECT_EQ((texts{"legend", "NULL"}), run.params.l_files);
    give_panels({text, "-"}, {"legend"});
    process();
    EXPECT_EQ((texts{"legend", "NULL"}), run.params.l_files);
}

TEST_F(formats_by_content, panels_of_text_and_legends_are_counted) {
    const std::string words =
        "ERROR: The number of haplotypes (-h) files must match the number of legend (-l) files on the command line.";
    for (const texts& files : {texts{text}, texts{text, text}, texts{vcf, text}}) {
        give_panels(files, {});
        expect_fatal(words);
        capture.open(run.log);
    }
    give_panels({vcf}, {"a", "b"});
    expect_fatal(words);
}

TEST_F(formats_by_content, chromosome_x_needs_sexes_of_text_alone) {
    give_panels({vcf}, {});
    run.params.chrX = true;
    run.params.g_file = run.params.g_ref_file = run.params.known_haps_g_file = vcf;
    process();
    EXPECT_TRUE(run.plan.chrx_haploid);
    run.params.g_file = text;
    expect_fatal(
        "ERROR: When performing imputation on chromosome X, you must provide a sample file for each -g, -g_ref, and/or "
        "-known_haps_g input file.");
}

}  // namespace
