#include "run/file_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

#include "random/random.h"
#include "run/command_line.h"
#include "run/process_input.h"
#include "run/program.h"
#include "support/temporary_folder.h"

namespace {

std::set<std::string> names_of(const std::vector<run_file>& files) {
    std::set<std::string> names;
    for (const run_file& file : files) names.insert(file.name);
    return names;
}

class file_table : public ::testing::Test {
  protected:
    void SetUp() override {
        files.write("map.txt", "position rate cM\n900 1 0.0\n2000 1 0.001\n3000 1 0.002\n9000 1 0.008\n");
        files.write("ref.hap", "0 1 0 1 0 0\n1 1 0 0 0 1\n0 0 1 0 1 1\n0 1 1 0 0 1\n");
        files.write("ref.legend", "id position a0 a1\nrs1 1000 A G\nrs2 2000 C T\nrs3 3000 A C\nrs4 4000 G T\n");
        files.write("study.gen",
                    "S1 rs1 1000 A G 1 0 0 0 1 0\nS2 rs2 2000 C T 0 1 0 0 1 0\nS4 rs4 4000 G T 0 0 1 0 1 0\n");
        files.write("study.sample", "ID_1 ID_2 missing sex\n0 0 0 D\nF1 P1 0 2\nF2 P2 0 2\n");
        files.write("study.haps", "S1 rs1 1000 A G 0 0 0 1\nS2 rs2 2000 C T 0 1 1 0\nS4 rs4 4000 G T 1 1 0 1\n");
    }
    // Runs the program with these options behind the usual ones; the files that it has made.
    std::set<std::string> run(const std::vector<std::string>& options) {
        const std::set<std::string> before = list();
        std::vector<std::string> entries{"orvide",
                                         "-m",
                                         files.name("map.txt"),
                                         "-h",
                                         files.name("ref.hap"),
                                         "-l",
                                         files.name("ref.legend"),
                                         "-g",
                                         files.name("study.gen"),
                                         "-sample_g",
                                         files.name("study.sample"),
                                         "-int",
                                         "1000",
                                         "4500",
                                         "-buffer",
                                         "1",
                                         "-iter",
                                         "3",
                                         "-burnin",
                                         "1",
                                         "-k",
                                         "4",
                                         "-seed",
                                         "1",
                                         "-o",
                                         files.name("out")};
        entries.insert(entries.end(), options.begin(), options.end());
        std::ostringstream terminal, notes;
        Random* const old_generator = Random::RNG;
        EXPECT_EQ(0, run_program(entries, terminal, notes)) << terminal.str();
        Random::RNG = old_generator;
        tabulate(entries);
        std::set<std::string> made;
        for (const std::string& name : list()) {
            if (!before.contains(name)) made.insert(name);
        }
        return made;
    }
    std::set<std::string> inputs, outputs;
    temporary_folder files;

  private:
    std::set<std::string> list() {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(files.name(""))) names.insert(entry.path());
        return names;
    }
    void tabulate(const std::vector<std::string>& entries) {
        parameters params = read_command_line(entries).params;
        params.i_file = params.o_file + "_info";
        params.r_file = params.o_file + "_summary";
        params.w_file = params.warn ? params.o_file + "_warnings" : "NULL";
        std::ostream nowhere(nullptr);
        run_log log(nowhere, nowhere);
        run_plan plan;
        panel_array panels;
        inputs = names_of(input_files(params));
        process_input(log, params, plan, panels);
        outputs = names_of(output_files(params, plan));
    }
};

TEST_F(file_table, has_all_that_a_run_writes) {
    const std::string s = files.name("s"), t = files.name("t"), haps = files.name("study.haps");
    const std::vector<std::vector<std::string>> option_sets{
        {},
        {"-o_gz", "-phase", "-counts_per_iter"},
        {"-phase", "-known_haps_g", haps, "-print_allele_probs", "-counts_wt_per_iter"},
        {"-show_diploid_copy_states", "-show_all_copy_probs", "-hap_samp_out_g", s, "-hap_samp_out_h", s + "h"},
        {"-show_haploid_copy_states", "-show_ref_copy_probs", "-weight_imputed_gt", "1", "-debug_weighting"},
        {"-o", files.name("out.vcf.gz"), "-chr", "1"},
        {"-o", files.name("out.bcf"), "-chr", "1", "-phase", "-mem_save_2"},
        {"-iter", "0", "-burnin", "0", "-hap_samp_out_g", s},
        {"-stage_one"},
    };
    for (const std::vector<std::string>& options : option_sets) {
        const std::set<std::string> made = run(options);
        EXPECT_FALSE(made.empty());
        for (const std::string& name : made) {
            EXPECT_TRUE(outputs.contains(name)) << name;
            std::filesystem::remove(name);
        }
    }
}

TEST_F(file_table, has_merged_panels_and_named_temporaries) {
    parameters params;
    params.r_file = "r";
    run_plan plan;
    params.suppress_imputation_output = true;
    params.merge_ref_panels_output_ref = "m";
    params.o_gz = true;
    EXPECT_EQ((std::set<std::string>{"r", "m.hap.gz", "m.legend.gz"}), names_of(output_files(params, plan)));
    params.merge_ref_panels_output_ref = "NULL";
    params.merge_ref_panels_output_gen = "m";
    params.mem_save_str = "t";
    params.iter = 2;
    plan.tmp_haps = true;
    EXPECT_EQ((std::set<std::string>{"r", "m.gen", "t_tmpsamp_iter1.gz", "t_tmpsamp_iter2.gz"}),
              names_of(output_files(params, plan)));
}

TEST_F(file_table, has_the_inputs_of_the_command_line_with_their_indexes) {
    files.write("study.gen.tbi", "");
    run({});
    for (const char* name : {"map.txt", "ref.hap", "ref.legend", "study.gen", "study.gen.tbi", "study.sample"}) {
        EXPECT_TRUE(inputs.contains(files.name(name))) << name;
    }
    EXPECT_EQ(6U, inputs.size());
}

TEST_F(file_table, has_the_sampled_haplotypes_that_are_there_and_not_their_stem) {
    parameters params;
    params.iter = 3;
    params.hap_samp_in_g = params.g_file = files.name("s");
    files.write("s_hapsamp1", "");
    files.write("s_hapsamp3.gz", "");
    EXPECT_EQ((std::set<std::string>{files.name("s_hapsamp1"), files.name("s_hapsamp3.gz")}),
              names_of(input_files(params)));
}

}  // namespace
