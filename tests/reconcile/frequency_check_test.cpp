#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "reconcile/reconcile_fixture.h"
#include "reconcile/stages.h"

namespace {

using ::testing::HasSubstr;

class frequency_check : public reconcile_fixture {
  protected:
    void SetUp() override {
        reconcile_fixture::SetUp();
        give_panel0(200);
        give_study(100);
    }
    // A typed site whose frequencies of allele 1 are these.
    void add(long position, double study, double reference) {
        snp& site = add_site(position, 2);
        label(site, 0, "A", "C", reference);
        label(site, 2, "A", "C", study);
    }
    // Frequencies that run through many values in an order without a pattern.
    static double frequency(std::size_t i) { return 0.05 + 0.9 * static_cast<double>(i * 37 % 101) / 101.0; }
    // Sites whose reference has moved by a line from one of them on.
    void give_sites(std::size_t n, std::size_t moved_from) {
        for (std::size_t i = 0; i < n; ++i) {
            add(1000 + static_cast<long>(i), frequency(i), frequency(i < moved_from ? i : i + 1));
        }
    }
    void check() { check_frequencies(run.log, run.params, run.panels, run.sites); }
};

TEST_F(frequency_check, like_frequencies_pass) {
    give_sites(200, 200);
    check();
    EXPECT_EQ("", capture.notes.str());
    EXPECT_EQ("", capture.terminal.str());
}

TEST_F(frequency_check, lines_that_moved_in_the_last_quarter_end_the_run) {
    give_sites(200, 150);
    EXPECT_THROW(check(), run_end);
    EXPECT_THAT(
        capture.terminal.str(),
        HasSubstr("ERROR: The allele frequencies of study and reference do not go together: at 50 typed sites from "
                  "1150 to 1199 their correlation is "));
    EXPECT_THAT(capture.terminal.str(), HasSubstr(" A/C: "));
    EXPECT_THAT(capture.terminal.str(), HasSubstr("\n-allow_unlike_frequencies lets the run go on.\n"));
}

TEST_F(frequency_check, two_panels_are_asked_for_their_order) {
    give_second_haplotypes(2);
    give_sites(200, 150);
    EXPECT_THROW(check(), run_end);
    EXPECT_EQ("orvide: note: Two panels are given: do -h and -l name them in the same order?\n", capture.notes.str());
}

TEST_F(frequency_check, ten_sites_are_shown) {
    give_sites(50, 0);
    EXPECT_THROW(check(), run_end);
    const std::string text = capture.terminal.str();
    std::size_t n = 0;
    for (std::size_t at = text.find(" in the study, "); at != std::string::npos;
         at = text.find(" in the study, ", at + 1)) {
        ++n;
    }
    EXPECT_EQ(10U, n);
}

TEST_F(frequency_check, alleles_coded_the_other_way_round_end_the_run) {
    for (std::size_t i = 0; i < 60; ++i) add(1000 + static_cast<long>(i), frequency(i), 1.0 - frequency(i));
    EXPECT_THROW(check(), run_end);
}

TEST_F(frequency_check, fewer_than_fifty_typed_sites_tell_nothing) {
    give_sites(49, 0);
    check();
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(frequency_check, option_lets_the_run_go_on) {
    give_sites(60, 0);
    run.params.allow_unlike_frequencies = true;
    check();
    EXPECT_THAT(capture.notes.str(),
                HasSubstr("orvide: note: The allele frequencies of study and reference do not go"));
}

TEST_F(frequency_check, few_study_alleles_tell_little) {
    give_study(1);
    for (std::size_t i = 0; i < 60; ++i) {  // one person, homozygous everywhere, at frequencies of a half
        add(1000 + static_cast<long>(i), i % 2 == 0 ? 0.0 : 1.0, 0.45 + 0.001 * static_cast<double>(i));
    }
    check();
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(frequency_check, sites_without_a_frequency_do_not_count) {
    give_sites(49, 0);
    add(2000, -1.0, 0.5);
    add(2001, 0.5, -1.0);
    check();
    EXPECT_EQ("", capture.notes.str());
}

class common_sites : public frequency_check {
  protected:
    // n of each kind, at positions of their own.
    void give(std::size_t n_study, std::size_t n_reference, std::size_t n_common) {
        long position = 1000;
        for (std::size_t i = 0; i < n_common; ++i) add(++position, 0.5, 0.5);
        for (std::size_t i = 0; i < n_study; ++i) label(add_site(++position, 3), 2, "A", "C");
        for (std::size_t i = 0; i < n_reference; ++i) label(add_site(++position, 0), 0, "A", "C");
    }
};

TEST_F(common_sites, that_chance_may_give_are_told) {
    give(60, 100, 2);
    check();
    EXPECT_EQ(
        "orvide: note: Of 62 sites of the study and 102 of the reference, 2 are in both, as few as chance gives. Are "
        "they "
        "of the same genome build? The study has 1003, 1004, 1005; the reference has 1063, 1064, 1065.\n",
        capture.notes.str());
}

TEST_F(common_sites, may_be_few_where_one_side_has_few) {
    give(40, 1000, 2);
    check();
    run.sites.store.clear();
    give(1000, 40, 5);
    check();
    run.sites.store.clear();
    give(60, 60, 0);  // told elsewhere
    check();
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(common_sites, may_be_a_tenth) {
    give(60, 100, 8);
    check();
    EXPECT_EQ("", capture.notes.str());
}

}  // namespace
