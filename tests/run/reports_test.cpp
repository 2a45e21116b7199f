#include "run/reports.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "support/log_capture.h"
#include "support/run_builder.h"

namespace {

class reports : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(log); }
    // What the call says, on the terminal as in the summary.
    std::string said(const std::function<void()>& call) {
        capture.terminal.str("");
        const std::size_t before = capture.summary().size();
        call();
        EXPECT_EQ(capture.terminal.str(), capture.summary().substr(before));
        return capture.terminal.str();
    }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
    parameters params;
};

// --- nomenclature ---------------------------------------------------------------------------------------------------

class nomenclature : public reports {
  protected:
    void expect(const std::string& panels) {
        EXPECT_EQ(
            "\n---------------------------------\n Nomenclature and data structure \n---------------------------------"
            "\n\n" +
                panels +
                "\nFor optimal results, each successive panel (0,1,2) should contain a subset of the SNPs in the "
                "previous panel. When the data structure deviates from this ideal configuration, ORVIDE2 tries to use "
                "as much of the available information as possible; see documentation for details.\n",
            said([this] { print_nomenclature(log, params); }));
    }
};

TEST_F(nomenclature, names_no_panel_that_was_not_given) {
    expect("");
}

TEST_F(nomenclature, names_haplotypes_and_genotypes) {
    params.h_files = {"h"};
    params.g_file = "g";
    expect("     Panel 0: phased reference haplotypes\n     Panel 2: unphased study genotypes\n");
    params.g_ref_file = "r";
    expect(
        "     Panel 0: phased reference haplotypes\n     Panel 1: unphased reference genotypes\n"
        "     Panel 2: unphased study genotypes\n");
}

TEST_F(nomenclature, names_the_second_file_of_haplotypes_before_reference_genotypes) {
    params.h_files = {"h", "i"};
    params.g_ref_file = "r";
    expect("     Panel 0: phased reference haplotypes\n     Panel 1: phased reference haplotypes\n");
}

TEST_F(nomenclature, names_what_is_known_of_the_study) {
    params.known_haps_g_file = "k";
    expect("     Panel 2: phased study haplotypes\n");
    params.g_file = "g";
    expect("     Panel 2: unphased study genotypes (some with known phase from -known_haps_g)\n");
    params.haploid_g = true;
    expect("     Panel 2: phased study haplotypes\n");
    params.known_haps_g_file = "NULL";
    expect("     Panel 2: phased study haplotypes\n");
}

// --- files ----------------------------------------------------------------------------------------------------------

class file_report : public reports {
  protected:
    void SetUp() override {
        reports::SetUp();
        params.o_file = "NULL";
        params.sample_qc_info = false;
    }
    void expect(const std::string& input, const std::string& output) {
        EXPECT_EQ("\n-------------\n Input files \n-------------\n\n" + input +
                      "\n--------------\n Output files \n--------------\n\n" + output,
                  said([this] { print_files(log, params); }));
    }
};

TEST_F(file_report, has_its_titles_even_without_a_file) {
    expect("", "");
}

TEST_F(file_report, names_the_files_of_panel_0) {
    params.h_files = {"h"};
    params.l_files = {"l"};
    params.exclude_snps_h_file = "es";
    params.sample_h_file = "s";
    params.exclude_samples_h_file = "ep";
    params.hap_init_h_file = "i";
    const std::string lists =
        "      Panel 0 excluded SNPs: es\n        Panel 0 sample file: s\n   Panel 0 excluded samples: ep\n";
    const std::string initial = "       Panel 0 initial haps: i\n";
    expect("         Panel 0 haplotypes: h\n         Panel 0 hap legend: l\n" + lists + initial, "");
    params.l_files.clear();
    expect("         Panel 0 haplotypes: h\n         Panel 0 hap legend: NULL\n" + lists + initial, "");
    params.hap_samp_in_h = "in";
    expect(lists + "       Panel 0 sampled haps: in_hapsamp[iter][.gz]\n" + initial, "");
}

TEST_F(file_report, names_the_files_of_panel_1) {
    params.g_ref_file = "r";
    params.strand_g_ref_file = "st";
    params.exclude_snps_g_ref_file = "es";
    params.sample_g_ref_file = "s";
    params.exclude_samples_g_ref_file = "ep";
    params.hap_samp_in_g_ref = "in";
    params.hap_init_g_ref_file = "i";
    const std::string others =
        "        Panel 1 strand info: st\n      Panel 1 excluded SNPs: es\n        Panel 1 sample file: s\n"
        "   Panel 1 excluded samples: ep\n       Panel 1 sampled haps: in_hapsamp[iter][.gz]\n"
        "       Panel 1 initial haps: i\n";
    expect("          Panel 1 genotypes: r\n" + others, "");
    params.h_files = {"h", "i"};
    params.l_files = {"l"};
    expect(
        "         Panel 0 haplotypes: h\n         Panel 0 hap legend: l\n         Panel 1 haplotypes: i\n"
        "         Panel 1 hap legend: NULL\n" +
            others,
        "");
}

TEST_F(file_report, names_the_files_of_the_study_and_of_all_panels) {
    params.g_file = "g";
    params.strand_g_file = "st";
    params.exclude_snps_g_file = "es";
    params.sample_g_file = "s";
    params.exclude_samples_g_file = "ep";
    params.hap_samp_in_g = "in";
    params.hap_init_g_file = "i";
    params.known_haps_g_file = "k";
    params.sample_known_haps_g_file = "ks";
    params.include_snps_file = "only";
    params.m_file = "map";
    params.use_prephased_g = true;
    expect(
        "          Panel 2 genotypes: g\n        Panel 2 strand info: st\n      Panel 2 excluded SNPs: es\n"
        "        Panel 2 sample file: s\n   Panel 2 excluded samples: ep\n"
        "       Panel 2 sampled haps: in_hapsamp[iter][.gz]\n       Panel 2 initial haps: i\n"
        "         Panel 2 known haps: k\n Panel 2 known haps samples: ks\n    included ref panel SNPs: only\n"
        "                genetic map: map\n",
        "   Panel 2 filtered samples: NULL_samples\n");
}

TEST_F(file_report, names_the_main_files_of_results) {
    params.o_file = "out";
    params.i_file = "info";
    params.r_file = "run";
    params.w_file = "warn";
    params.sample_qc_info = params.o_gz = true;
    expect("",
           "                main output: out.gz\n                SNP QC info: info\n"
           "             sample QC info: info_by_sample\n                run summary: run\n"
           "                warning log: warn\n");
}

TEST_F(file_report, adds_no_ending_to_a_vcf_or_bcf_file) {
    params.o_file = "out.bcf";
    params.i_file = params.r_file = params.w_file = "NULL";
    params.sample_qc_info = false;
    params.o_gz = true;
    expect("", "                main output: out.bcf\n");
}

TEST_F(file_report, names_the_files_of_phasing) {
    params.o_file = "o";
    params.phase = true;
    const std::string main = "                main output: o\n", haps = "        Panel 2 phased haps: o_haps\n";
    expect("", main + haps + "   Panel 2 phase confidence: o_haps_confidence\n");
    params.known_haps_g_file = "k";
    params.print_allele_probs = true;
    const std::string known = "         Panel 2 known haps: k\n",
                      probs = "       Panel 2 allele probs: o_allele_probs\n";
    expect(known, main + haps + "   Panel 2 phase confidence: o_haps_confidence\n" +
                      " Panel 2 diplotype ordering: o_diplotype_ordering\n" + probs);
    params.use_prephased_g = true;
    expect(known, main + haps + probs);
}

TEST_F(file_report, names_the_files_of_single_iterations) {
    params.o_file = "o";
    params.hap_samp_out_h = "h";
    params.hap_samp_out_g_ref = "r";
    params.hap_samp_out_g = "g";
    params.counts_per_iter = params.counts_wt_per_iter = params.o_gz = true;
    expect("",
           "                main output: o.gz\n       Panel 0 sampled haps: h_hapsamp[iter].gz\n"
           "       Panel 1 sampled haps: r_hapsamp[iter].gz\n       Panel 2 sampled haps: g_hapsamp[iter].gz\n"
           "       Panel 2 gtype counts: o_gtcounts_iter[iter].gz\n"
           "    Panel 2 wt gtype counts: o_gtcounts_wt_iter[iter].gz\n");
}

TEST_F(file_report, names_copy_states_by_the_panels_that_there_are) {
    params.o_file = "o";
    params.show_diploid_copy_states = params.show_haploid_copy_states = true;
    const std::string diploid =
        "                main output: o\n"
        "       Panel 2 diploid copy states: o_diploid_copy_states_type2snps_iter[iter].gz\n";
    const std::string type1 =
        "       Panel 2 haploid copy states at type 1 variants: o_haploid_copy_states_type1snps_iter[iter].gz\n";
    const std::string type0 =
        "       Panel 2 haploid copy states at type 0 variants: o_haploid_copy_states_type0snps_iter[iter].gz\n";
    expect("", diploid);
    params.g_ref_file = "r";
    expect("          Panel 1 genotypes: r\n", diploid + type1);
    params.g_ref_file = "NULL";
    params.h_files = params.l_files = {"h"};
    expect("         Panel 0 haplotypes: h\n         Panel 0 hap legend: h\n", diploid + type0);
}

// --- parameters -----------------------------------------------------------------------------------------------------

class parameter_report : public reports {
  protected:
    void SetUp() override {
        reports::SetUp();
        params.int_lower = 20.4e6;
        params.int_upper = 20.5e6;
        plan.n_iterations = 30;
        plan.burnin = 10;
        plan.stored_iters = {10, 20, 29};
        set_haplotypes(panels, {120, 20, 24});
        set_individuals(panels, {0, 10, 12});
        int n = 1;
        for (auto& mode : models.k_states) {
            for (auto& panel : mode) {
                for (int& count : panel) count = n++;
            }
        }
    }
    void expect(const std::string& people, const std::string& iterations, const std::string& rest) {
        EXPECT_EQ("\n----------------\n Run parameters \n----------------\n\n" + people +
                      "           sequence interval: [20400000,20500000]\n                      buffer: 250 kb\n"
                      "                          Ne: 20000\n           input call thresh: 0.900\n"
                      "     burn-in MCMC iterations: 10\n" +
                      iterations + rest,
                  said([this] { print_params(log, params, plan, panels, models); }));
    }
    static constexpr const char* total = "       total MCMC iterations: 30 (3 used for inference)\n";
    static constexpr const char* study = "           study individuals: 12 [Panel 2]\n";
    run_plan plan;
    panel_array panels;
    copying_models models;
};

TEST_F(parameter_report, has_region_and_iterations_always) {
    expect("", total, "");
}

TEST_F(parameter_report, counts_the_members_and_the_states_of_panel_0_and_the_study) {
    params.h_files = {"h"};
    params.g_file = "g";
    expect("        reference haplotypes: 120 [Panel 0]\n" + std::string(study), total,
           "      HMM states for phasing: 18 [Panel 2]\n   HMM states for imputation: 7 [Panel 0->2]\n");
}

TEST_F(parameter_report, counts_a_second_file_of_haplotypes) {
    params.h_files = {"h", "i"};
    params.known_haps_g_file = "k";
    expect("        reference haplotypes: 120 [Panel 0]; 20 [Panel 1]\n" + std::string(study), total,
           "   HMM states for imputation: 7 [Panel 0->2]; 8 [Panel 0+1->2]\n");
}

TEST_F(parameter_report, counts_reference_genotypes) {
    params.g_ref_file = "r";
    const std::string diplotypes = "        reference diplotypes: 10 [Panel 1]\n";
    expect(diplotypes, total,
           "      HMM states for phasing: 14 [Panel 1]; \n   HMM states for imputation: 8 [Panel 1->2]\n");
    params.g_file = "g";
    params.h_files = {"h"};
    expect("        reference haplotypes: 120 [Panel 0]\n" + diplotypes + study, total,
           "      HMM states for phasing: 14 [Panel 1]; 18 [Panel 2]\n"
           "   HMM states for imputation: 7 [Panel 0->2]; 8 [Panel 0+1->2]\n");
}

TEST_F(parameter_report, tells_of_thinning_where_there_is_some) {
    params.thin = 10;
    expect("", "      MCMC thinning interval: 10\n" + std::string(total), "");
}

TEST_F(parameter_report, tells_of_holes_and_flags) {
    plan.fill_holes = true;
    plan.hole_fill_to = 0;
    plan.hole_fill_from = 2;
    params.active_flags = {"-phase", "-post_samp [NOT FULLY IMPLEMENTED]"};
    expect("", total,
           " HMM states for hole-filling: 3 [Panel 2->0]\n"
           "                active flags: <-phase> <-post_samp [NOT FULLY IMPLEMENTED]>\n");
}

TEST_F(parameter_report, shortens_large_numbers_as_little_as_they_were_given) {
    params.buffer_kb = 0.5;
    params.Ne = 1234567;
    params.call_thresh = 0.95;
    const std::string text = said([this] { print_params(log, params, plan, panels, models); });
    EXPECT_NE(std::string::npos, text.find("buffer: 0.5 kb\n"));
    EXPECT_NE(std::string::npos, text.find("Ne: 1.23457e+06\n"));
    EXPECT_NE(std::string::npos, text.find("call thresh: 0.950\n"));
}

TEST_F(parameter_report, tells_a_switch_rate_that_is_not_that_of_the_map) {
    EXPECT_EQ(std::string::npos, said([this] { print_params(log, params, plan, panels, models); }).find("switch rate"));
    params.switch_rate = 2.5;
    const std::string text = said([this] { print_params(log, params, plan, panels, models); });
    EXPECT_NE(std::string::npos, text.find("Ne: 20000\n                 switch rate: 2.5 times that of the map\n"));
}

TEST_F(parameter_report, tells_what_a_preset_stands_for_and_the_share_of_local_states) {
    params.preset = "fast";
    params.g_file = "g";
    params.local_states = 60;
    const std::string text = said([this] { print_params(log, params, plan, panels, models); });
    EXPECT_NE(
        text.find(
            "\n                      preset: fast, which stands for -local_states 100 -switch_rate 4 -k 40 -iter 10 "
            "-burnin 3 -final_states 160\n     burn-in"),
        std::string::npos);
    EXPECT_NE(text.find("\n      HMM states for phasing: 18 [Panel 2]; 60 % by local matches\n"), std::string::npos);
    models.k_final = 30;
    plan.phases_once_more = true;
    panels[2].ordered.assign(12, true);
    const auto tells_of_the_pass = [this] {
        return said([this] {
                   print_params(log, params, plan, panels, models);
               }).find("60 % by local matches; 30 in the final pass\n") != std::string::npos;
    };
    EXPECT_FALSE(tells_of_the_pass()) << "all haplotypes are known";
    panels[2].ordered[7] = false;
    EXPECT_TRUE(tells_of_the_pass());
}

}  // namespace
