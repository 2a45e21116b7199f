#include "input/columns.h"

#include <gtest/gtest.h>

#include <string>

#include "input/reader_fixture.h"

namespace {

class columns : public reader_fixture {};

TEST_F(columns, must_be_those_of_the_sample_file) {
    check_against_sample_file(run.log, {}, 3, "haplotypes", "file");
    check_against_sample_file(run.log, flags("010"), 3, "haplotypes", "file");
    expect_fatal(
        "ERROR: The number of haplotypes in the file (2) does not match the number of haplotypes in the sample file "
        "(3).",
        [this] { check_against_sample_file(run.log, flags("010"), 2, "haplotypes", "file"); });
}

TEST_F(columns, are_dropped_by_flags_that_may_be_empty) {
    EXPECT_EQ(0U, count_excluded({}));
    EXPECT_EQ(2U, count_excluded(flags("0110")));
    EXPECT_FALSE(is_dropped({}, 7));
    EXPECT_TRUE(is_dropped(flags("01"), 1));
    EXPECT_FALSE(is_dropped(flags("01"), 0));
}

TEST_F(columns, that_are_left_are_the_people_of_the_panel) {
    EXPECT_EQ(" --detected 3 individuals\n", said([this] { settle_individuals(run.log, run.panels[2], 3, {}); }));
    EXPECT_EQ(3U, run.panels[2].n_ind);
    EXPECT_EQ(6U, run.panels[2].n_hap);
    run.panels[2].all_haploid = true;
    EXPECT_EQ(" --detected 3 individuals\n --excluded 1 individuals, leaving 2 for analysis\n",
              said([this] { settle_individuals(run.log, run.panels[2], 3, flags("010")); }));
    EXPECT_EQ(2U, run.panels[2].n_ind);
    EXPECT_EQ(2U, run.panels[2].n_hap);
}

TEST_F(columns, become_haplotypes_by_ploidy) {
    EXPECT_EQ(6U, run.panels[2].count_haplotypes(3));
    run.panels[2].all_haploid = true;
    EXPECT_EQ(3U, run.panels[2].count_haplotypes(3));
    EXPECT_EQ(6U, run.panels[1].count_haplotypes(3));
    run.panels[2].all_haploid = false;
    give_sexes(2, "122");
    give_sexes(1, "1");
    EXPECT_EQ(5U, run.panels[2].count_haplotypes(3));
    EXPECT_EQ(1U, run.panels[1].count_haplotypes(1));
    EXPECT_TRUE(run.panels[2].is_male(0));
    EXPECT_FALSE(run.panels[2].is_male(1));
    EXPECT_FALSE(run.panels[2].is_male(7));
}

}  // namespace
