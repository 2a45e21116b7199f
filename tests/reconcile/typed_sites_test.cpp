#include "reconcile/typed_sites.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "reconcile/reconcile_fixture.h"

namespace {

class typed_sites : public reconcile_fixture {
  protected:
    // A site of the study and of Panel 0, with labels as "AC"; "" for a panel that does not hold it.
    void add(long position, const std::string& study, const std::string& panel0) {
        const std::size_t type = study.empty() ? 0 : panel0.empty() ? 3 : 2;
        label_panels(::add_site(run.sites, position, type), study, "", panel0);
    }
    // The line that the census says, with the sites as they are and as they are left.
    std::string line() {
        const typed_site_census census(run.sites);
        return report(census);
    }
    std::string report(const typed_site_census& census) {
        const std::size_t before = capture.terminal.str().size();
        census.report(run.log, run.sites);
        return capture.terminal.str().substr(before);
    }
    void expect_refusal(const std::string& text, long dropped = 0) {
        const typed_site_census census(run.sites);
        if (dropped != 0) run.sites.store.erase(dropped);
        expect_end(capture, "ERROR: Of the study's typed sites " + text, 1, [&] { census.report(run.log, run.sites); });
    }
};

TEST_F(typed_sites, are_counted_by_how_their_labels_fit) {
    add(100, "AC", "AC");
    add(110, "CA", "AC");
    add(120, "TG", "AC");
    add(130, "GT", "AC");
    add(140, "AT", "TA");
    add(150, "AC", "AT");
    add(160, "AC", "");
    add(170, "", "AC");
    EXPECT_THAT(line(),
                ::testing::HasSubstr(" --of 7 study SNPs 6 are in the reference (2 on the other strand, 2 with the "
                                     "alleles swapped, 0 dropped)\n"));
}

TEST_F(typed_sites, that_the_alignment_erases_are_dropped) {
    add(100, "AC", "AC");
    add(110, "AC", "AC");
    add(120, "AC", "AT");
    const typed_site_census census(run.sites);
    run.sites.store.erase(120);
    EXPECT_THAT(report(census),
                ::testing::HasSubstr("(0 on the other strand, 0 with the alleles swapped, 1 dropped)\n"));
}

TEST_F(typed_sites, of_which_less_than_two_are_left_end_the_run) {
    add(100, "AC", "AC");
    add(110, "AG", "");
    add(120, "", "AT");
    expect_refusal(
        "only one is left in the region, too few to impute from. The positions of study and reference differ; are they "
        "of "
        "the same genome build? The study has 110 A/G; the reference has 120 A/T.");
}

TEST_F(typed_sites, name_at_most_five_positions_of_each_file) {
    for (long i = 0; i < 7; ++i) {
        add(100 + i, "AC", "");
        add(150 + i, "", "GT");
    }
    expect_refusal(
        "none is left in the region, too few to impute from. The positions of study and reference differ; are they of "
        "the "
        "same genome build? The study has 100 A/C, 101 A/C, 102 A/C, 103 A/C, 104 A/C; the reference has 150 G/T, 151 "
        "G/T, "
        "152 G/T, 153 G/T, 154 G/T.");
}

TEST_F(typed_sites, name_the_labels_that_differ) {
    add(100, "AC", "AC");
    add(110, "AC", "AT");
    expect_refusal(
        "only one is left in the region, too few to impute from. The alleles of study and reference differ: 110 A/C "
        "against A/T.",
        110);
}

TEST_F(typed_sites, name_the_labels_that_differ_at_positions_of_both) {
    add(100, "AC", "");
    add(100, "", "AG");
    add(110, "AC", "");
    expect_refusal(
        "none is left in the region, too few to impute from. The positions of study and reference differ; are they of "
        "the "
        "same genome build? The study has 100 A/C, 110 A/C; the reference has 100 A/G.");
    capture.open(run.log);
    add(120, "AC", "");
    add(120, "", "AT");
    expect_refusal(
        "none is left in the region, too few to impute from. The alleles of study and reference differ: 100 A/C "
        "against "
        "A/G, 120 A/C against A/T.");
}

TEST_F(typed_sites, name_a_study_of_one_site) {
    add(100, "AC", "AC");
    add(110, "", "AG");
    expect_refusal(
        "only one is left in the region, too few to impute from. The study has only one site in the region: look at "
        "-chr "
        "and -int.");
}

TEST_F(typed_sites, name_the_file_that_has_none) {
    add(100, "", "AC");
    expect_refusal(
        "none is left in the region, too few to impute from. The study has no site in the region: look at -chr and "
        "-int.");
}

TEST_F(typed_sites, name_the_reference_when_it_has_none) {
    add(100, "AC", "");
    expect_refusal(
        "none is left in the region, too few to impute from. The reference has no site in the region: look at -chr and "
        "-int.");
}

TEST_F(typed_sites, in_small_letters_are_told_so) {
    add(100, "ac", "AC");
    add(110, "gt", "GT");
    expect_refusal(
        "only one is left in the region, too few to impute from. The alleles of study and reference differ: 100 a/c "
        "against "
        "A/C, 110 g/t against G/T. Small letters are no capitals: write A, C, G and T in both.",
        100);
}

TEST_F(typed_sites, of_text_have_a_note_where_none_is_left) {
    add(100, "AC", "");
    add(101, "", "AC");
    typed_site_census(run.sites).note_cause(run.log, run.sites);
    EXPECT_EQ(
        "orvide: note: No typed site is in the reference. The positions of study and reference differ; are they of the "
        "same genome build? The study has 100 A/C; the reference has 101 A/C.\n",
        capture.notes.str());
}

TEST_F(typed_sites, of_text_have_no_note_where_one_is_left) {
    add(100, "AC", "AC");
    typed_site_census(run.sites).note_cause(run.log, run.sites);
    EXPECT_EQ("", capture.notes.str());
}

}  // namespace
