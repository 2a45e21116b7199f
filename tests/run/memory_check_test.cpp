#include "run/memory_check.h"

#include <gtest/gtest.h>

#include "model/data.h"
#include "support/log_capture.h"
#include "support/run_builder.h"

namespace {

class memory_check : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(log); }
    // 100 MB to come, 40 MB in use.
    void compare(std::size_t megabytes) {
        compare_memory(log, {90000000, 10000000}, {{"the limit of the control group", megabytes * 1000000, 40000000}},
                       "10 people at 20 SNPs");
    }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
};

TEST_F(memory_check, says_nothing_where_there_is_enough) {
    compare(160);
    compare_memory(log, {90000000, 10000000}, {}, "");
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(memory_check, notes_a_limit_that_the_estimate_comes_near) {
    for (const std::size_t megabytes : {159, 121}) {
        compare(megabytes);
        EXPECT_EQ(0U,
                  capture.notes.str().find("orvide: note: This run needs about 140 MB of memory, 90 MB of them for "
                                           "the results of 10 people at 20 SNPs; the limit of the control group is " +
                                           std::to_string(megabytes) + " MB. "));
        capture.notes.str("");
    }
}

TEST_F(memory_check, ends_the_run_where_the_estimate_is_far_above) {
    expect_end(
        capture,
        "ERROR: This run needs about 140 MB of memory, 90 MB of them for the results of 10 people at 20 SNPs; the "
        "limit of the control group is 119 MB. A shorter -int or fewer people a run need less, with -phase also "
        "-mem_save.",
        1, [this] { compare(119); });
}

TEST_F(memory_check, counts_local_matches_and_the_sums_of_phase) {
    data run{capture.terminal, capture.notes};
    set_diploids(run.panels[2], 3);
    run.panels[2].needs_update = true;
    run.params.phase = true;
    for (long s = 0; s < 10; ++s) {
        snp& site = add_site(run.sites, 100 + s, 2);
        site.gtypes[2] = {1, 0, 1};
        site.labels[2].a0 = 'A';
    }
    list_sites(run.sites);
    const std::size_t before = memory_to_come(run).other;
    run.params.local_states = 100;
    EXPECT_EQ(before + 6 * 10 + 24 * 2 * 10, memory_to_come(run).other);
    run.params.phase = false;
    EXPECT_EQ(before + 6 * 10, memory_to_come(run).other);
    run.panels[2].needs_update = false;
    EXPECT_EQ(before, memory_to_come(run).other);
}

TEST_F(memory_check, counts_the_tables_of_the_final_pass) {
    data run{capture.terminal, capture.notes};
    set_diploids(run.panels[2], 3);
    run.panels[2].needs_update = true;
    for (long s = 0; s < 28; ++s) add_site(run.sites, 100 + s, 2).labels[2].a0 = 'A';
    list_sites(run.sites);
    run.models.k_states[1][2][2] = 10;
    run.models.k_final = 20;
    const std::size_t before = memory_to_come(run).other;
    run.params.phase = true;
    run.params.local_states = 100;
    run.params.final_states = 20;
    const std::size_t matches = 6 * 28;
    EXPECT_EQ(before + matches + 2 * (210 - 55) * sizeof(double), memory_to_come(run).other);
    for (snp* site : run.sites.in_order) site->gtypes[2] = {1, 1, 0};
    const std::size_t sums = 24 * 2 * 28;
    run.params.final_rounds = 2;
    EXPECT_EQ(before + matches + 2 * sums + 2 * (210 - 55) * sizeof(double), memory_to_come(run).other);
    run.params.final_rounds = 1;
    run.workers.start(5);  // two more than people
    EXPECT_EQ(before + matches + sums + 2 * (3 * 210 - 55) * sizeof(double), memory_to_come(run).other);
}

}  // namespace
