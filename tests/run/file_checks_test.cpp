#include "run/file_checks.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "io/run_log.h"
#include "io/temporary_file.h"
#include "support/log_capture.h"

namespace {

class overwriting : public ::testing::Test {
  protected:
    void SetUp() override {
        params.h_files = {capture.files.write("ref.hap", "")};
        params.l_files = {capture.files.write("ref.legend", "")};
        params.g_file = capture.files.write("study.gen", "");
        params.m_file = capture.files.write("map.txt", "");
        params.int_lower = 1000;
        params.int_upper = 2000;
        name_outputs(capture.files.name("out"));
    }
    void name_outputs(const std::string& o) {
        params.o_file = o;
        params.i_file = o + "_info";
        params.r_file = o + "_summary";
        params.w_file = o + "_warnings";
    }
    std::string fault() { return find_overwriting(params).value_or(""); }
    std::string name(const std::string& file) { return capture.files.name(file); }
    parameters params;
    log_capture capture;
};

TEST_F(overwriting, of_nothing_is_no_fault) {
    EXPECT_EQ("", fault());
}

TEST_F(overwriting, of_an_input_by_any_way_is_a_fault) {
    std::filesystem::create_directory(name("d"));
    std::filesystem::create_symlink("study.gen", name("soft"));
    std::filesystem::create_hard_link(name("study.gen"), name("hard"));
    for (const char* way : {"study.gen", "d/../study.gen", "soft", "hard"}) {
        params.o_file = name(way);
        EXPECT_EQ("ERROR: The main output [" + name(way) + "] would overwrite an input of the run, the -g file [" +
                      name("study.gen") + "]. Nothing has been written. Please give another name with -o.",
                  fault());
    }
    EXPECT_EQ("", capture.files.read("out_summary"));
}

TEST_F(overwriting, of_an_output_that_does_not_exist_yet_is_a_fault) {
    std::filesystem::create_symlink("out", name("soft"));
    params.w_file = name("soft");
    EXPECT_EQ("ERROR: The main output [" + name("out") + "] would overwrite another output of the run, the warnings [" +
                  name("soft") + "]. Nothing has been written. Please give another name with -o or -w.",
              fault());
}

TEST_F(overwriting, between_devices_is_no_fault) {
    params.m_file = params.o_file = params.i_file = params.r_file = params.w_file = "/dev/null";
    params.sample_qc_info = false;
    EXPECT_EQ("", fault());
}

TEST_F(overwriting, by_the_logs_counts_where_settings_exclude_each_other) {
    params.iter = params.burnin = 5;
    params.o_file = name("study.gen");
    EXPECT_EQ("", fault());
    params.r_file = name("study.gen");
    EXPECT_NE("", fault());
}

TEST_F(overwriting, of_a_result_between_iterations_is_a_fault) {
    params.hap_samp_in_g = params.hap_samp_out_g = name("s");
    capture.files.write("s_hapsamp1.gz", "");
    EXPECT_EQ("ERROR: The sampled haplotypes [" + name("s_hapsamp1.gz") +
                  "] would overwrite an input of the run, the -hap_samp_in_g file [" + name("s_hapsamp1.gz") +
                  "]. Nothing has been written. Please give another name with -hap_samp_out_g.",
              fault());
}

TEST_F(overwriting, place_that_is_missing_ends_the_run) {
    run_log log{capture.terminal, capture.notes};
    capture.open(log);
    require_output_places(log, params, run_plan());
    params.i_file = name("nowhere/info");
    expect_end(capture,
               "ERROR: The SNP quality [" + name("nowhere/info") +
                   "] cannot be written: No such file or directory. Please check the name given with -i and its "
                   "directory.",
               1, [&] { require_output_places(log, params, run_plan()); });
}

// --- temporary files ------------------------------------------------------------------------------------------------

class place_of_sums : public ::testing::Test {
  protected:
    void SetUp() override {
        if (const char* const chosen = std::getenv("TMPDIR")) before = chosen;
        params.mem_save_3 = true;
    }
    void TearDown() override {
        if (before) {
            setenv("TMPDIR", before->c_str(), 1);
        } else {
            unsetenv("TMPDIR");
        }
    }
    // What is noted of a directory.
    std::string noted(const std::string& directory) {
        setenv("TMPDIR", directory.c_str(), 1);
        require_temporary_place(log, params);
        return capture.notes.str();
    }
    std::optional<std::string> before;
    parameters params;
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
};

TEST_F(place_of_sums, that_is_not_there_is_a_fault_where_it_is_needed) {
    EXPECT_THROW(noted(capture.files.name("none")), run_fault);
    params.mem_save_3 = false;
    EXPECT_EQ("", noted(capture.files.name("none")));
}

TEST_F(place_of_sums, in_memory_is_noted) {
    if (!lies_in_memory("/dev/shm")) GTEST_SKIP() << "no memory under /dev/shm";
    EXPECT_EQ(
        "orvide: note: Files in [/dev/shm] lie in memory (tmpfs), so that -mem_save_3 saves none. Please set TMPDIR "
        "to a directory on a disk.\n",
        noted("/dev/shm"));
}

}  // namespace
