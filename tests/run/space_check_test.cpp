#include "run/space_check.h"

#include <gtest/gtest.h>

#include "io/temporary_file.h"
#include "model/data.h"
#include "support/log_capture.h"

namespace {

class space_check : public ::testing::Test {
  protected:
    space_check() {
        run.plan.n_study = 100;
        run.plan.int_lower_bp = 1;
        run.plan.int_upper_bp = 10;
        run.plan.output_types = {true, false, true, true};
        run.panels[2].ordered.assign(100, false);
        for (std::size_t s = 0; s < 12; ++s) {
            snp& site = run.sites.store.emplace(static_cast<long>(s), snp())->second;
            site.type = s < 4 ? 2 : 1;
            if (site.type == 2) site.labels[2].a0 = "A";
            run.sites.in_order.push_back(&site);
            run.sites.positions.push_back(static_cast<long>(s));
        }
    }
    file_room main_output() { return large_outputs(run).front().room; }
    // The names of what is large, in order.
    std::string names() {
        std::string text;
        for (const large_output& file : large_outputs(run)) text += std::string(file.what) + "; ";
        return text;
    }
    void expect_end(const std::string& text) {
        EXPECT_THROW(require_space(run), run_end);
        EXPECT_NE(std::string::npos, capture.terminal.str().find(text)) << capture.terminal.str();
    }
    log_capture capture;
    data run{capture.terminal, capture.notes};
};

TEST_F(space_check, counts_the_genotypes_that_are_written) {
    const file_room text = main_output();
    EXPECT_EQ(3 * 100 * 6.0, text.least) << "three sites are of a type that is written, and in the interval";
    EXPECT_LT(text.least, text.usual);
}

TEST_F(space_check, expects_less_of_compressed_output) {
    const file_room text = main_output();
    run.params.o_gz = true;
    EXPECT_GT(text.least, 10 * main_output().least);
    run.params.o_gz = false;
    run.params.o_file = "out.bcf";
    EXPECT_GT(text.least, 10 * main_output().least);
    run.params.o_file = "out.vcf";
    EXPECT_LT(text.usual, main_output().usual);
}

TEST_F(space_check, expects_nothing_where_nothing_is_written) {
    run.params.suppress_imputation_output = true;
    EXPECT_EQ("", names());
}

TEST_F(space_check, knows_the_files_of_phases) {
    run.params.phase = true;
    EXPECT_EQ("main output; phased haplotypes; phase confidence; ", names());
    EXPECT_EQ(3 * 100 * 4.0, large_outputs(run)[1].room.least);
    run.params.haploid_g = true;
    EXPECT_EQ(3 * 100 * 2.0, large_outputs(run)[1].room.least);
    run.panels[2].ordered.assign(100, true);
    run.params.print_allele_probs = true;
    EXPECT_EQ("main output; phased haplotypes; allele probabilities; ", names());
}

TEST_F(space_check, knows_the_files_of_iterations) {
    run.params.iter = 7;
    run.params.burnin = run.plan.burnin = 4;
    run.plan.n_iterations = 7;
    run.params.hap_samp_out_g = "sampled";
    run.params.counts_per_iter = true;
    run.params.mem_save_str = "temporary";
    run.plan.tmp_haps = true;
    EXPECT_EQ("main output; genotype counts; sampled haplotypes; temporary haplotypes; ", names());
    EXPECT_EQ(7U, large_outputs(run)[2].n_files);
    EXPECT_EQ("sampled_hapsamp1.gz", large_outputs(run)[2].name);
    EXPECT_EQ(3U, large_outputs(run)[3].n_files);
    EXPECT_EQ("temporary_tmpsamp_iter5.gz", large_outputs(run)[3].name);
}

TEST_F(space_check, knows_the_file_of_sums) {
    run.plan.n_panels = 3;
    for (snp* site : run.sites.in_order) site->top_panel = site->type;
    run.params.mem_save_3 = run.params.pgs = true;
    run.plan.output_types[1] = true;
    EXPECT_EQ("main output; sums of -mem_save_3; ", names());
    EXPECT_EQ((2 * 10 + 4 * 3) * 100 * 8.0, large_outputs(run)[1].room.least)
        << "ten sites of the interval, three of them masked by both panels";
    EXPECT_EQ(temporary_directory() + "/orvide_XXXXXX", large_outputs(run)[1].name);
    run.plan.n_study = 1000000000000000;
    run.params.o_file = "/dev/null";
    expect_end("ERROR: The sums of -mem_save_3 from [" + temporary_directory() + "/orvide_XXXXXX] takes at least ");
}

TEST_F(space_check, passes_over_devices) {
    run.plan.n_study = 1000000000000000;
    run.params.o_file = "/dev/null";
    require_space(run);
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(space_check, ends_the_run_where_a_disk_has_no_room) {
    run.plan.n_study = 1000000000000000;
    run.params.o_file = capture.files.name("out");
    expect_end("ERROR: The main output [" + run.params.o_file + "] takes at least 18000000000 MB, there is room for ");
}

TEST_F(space_check, adds_what_is_on_one_disk) {
    run.plan.n_study = 1000000000000000;
    run.params.phase = true;
    run.panels[2].ordered.clear();
    run.params.o_file = capture.files.name("out");
    expect_end("ERROR: The main output [" + run.params.o_file + "], phased haplotypes [" + run.params.o_file +
               "_haps] together take at least 30000000000 MB, there is room for ");
}

TEST_F(space_check, judges_each_disk_by_itself) {
    run.plan.n_study = 1000000000000000;
    run.params.o_file = "/dev/null";
    run.plan.tmp_haps = true;
    run.params.iter = run.plan.n_iterations = 30;
    run.params.mem_save_str = capture.files.name("here");
    expect_end("ERROR: The temporary haplotypes from [" + run.params.mem_save_str + "_tmpsamp_iter");
}

}  // namespace
