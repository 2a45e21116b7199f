#include "run/older_results.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/log_capture.h"
#include "support/temporary_folder.h"

namespace {

namespace fs = std::filesystem;

class older_results : public ::testing::Test {
  protected:
    older_results() {
        params.o_file = files.name("out");
        params.i_file = files.name("out_info");
        params.r_file = files.name("out_summary");
        params.w_file = files.name("out_warnings");
    }
    temporary_folder files;
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
    parameters params;
    run_plan plan;
};

TEST_F(older_results, are_removed_and_named) {
    files.write("out", "x");
    files.write("out_info", "x");
    remove_older_results(log, params, plan);
    EXPECT_FALSE(fs::exists(files.name("out")));
    EXPECT_FALSE(fs::exists(files.name("out_info")));
    EXPECT_EQ("orvide: note: This run has no results; those of an earlier run under its names were removed: [" +
                  files.name("out") + "], [" + files.name("out_info") + "].\n",
              capture.notes.str());
}

TEST_F(older_results, that_are_not_there_are_not_spoken_of) {
    remove_older_results(log, params, plan);
    EXPECT_EQ("", capture.notes.str());
    EXPECT_FALSE(log.any_result_failed());
}

TEST_F(older_results, leave_logs_and_other_files_alone) {
    for (const char* name : {"out_summary", "out_warnings", "out_samples", "out_haps"}) files.write(name, "x");
    remove_older_results(log, params, plan);
    for (const char* name : {"out_summary", "out_warnings", "out_samples", "out_haps"}) {
        EXPECT_TRUE(fs::exists(files.name(name))) << name;
    }
}

TEST_F(older_results, that_are_devices_stay) {
    params.o_file = "/dev/null";
    remove_older_results(log, params, plan);
    EXPECT_TRUE(fs::exists("/dev/null"));
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(older_results, that_cannot_be_removed_make_the_run_fail) {
    fs::create_directories(files.name("out"));
    remove_older_results(log, params, plan);
    EXPECT_TRUE(log.any_result_failed());
    EXPECT_EQ("orvide: cannot remove the older result [" + files.name("out") + "]: Is a directory\n",
              capture.notes.str());
}

}  // namespace
