#include <gtest/gtest.h>

#include <string>

#include "reconcile/reconcile_fixture.h"
#include "reconcile/stages.h"

namespace {

class exchanged_files : public reconcile_fixture {
  protected:
    void SetUp() override {
        reconcile_fixture::SetUp();
        give_panel0(4);
        give_study(2);
    }
    // Sites of the study, of the reference, or of both.
    void add(long first, std::size_t n, std::size_t type, const std::string& id) {
        for (std::size_t i = 0; i < n; ++i) {
            snp& site = add_site(first + static_cast<long>(i), type);
            site.rs_id = id + std::to_string(i);
            if (type != 0) label(site, 2, "A", "C");
            if (type != 3) label(site, 0, "A", "C");
        }
    }
    std::string said() {
        note_exchanged_files(run.log, run.params, run.sites);
        return capture.notes.str();
    }
};

TEST_F(exchanged_files, are_told_by_a_study_that_has_the_reference_and_as_much_again) {
    add(100, 10, 2, "rs1");
    add(200, 10, 3, "rs2");
    EXPECT_EQ(
        "orvide: note: The study has 20 sites, all 10 of -h among them, which have nothing to give it: may -g and -h "
        "have been exchanged?\n",
        said());
}

TEST_F(exchanged_files, are_no_question_where_the_reference_has_a_site_of_its_own) {
    add(100, 10, 2, "rs1");
    add(200, 10, 3, "rs2");
    add(300, 1, 0, "rs3");
    EXPECT_EQ("", said());
}

TEST_F(exchanged_files, are_no_question_where_a_list_chose_the_sites) {
    add(100, 10, 2, "rs1");
    add(200, 10, 3, "rs2");
    run.params.include_snps_file = "list";
    EXPECT_EQ("", said());
}

TEST_F(exchanged_files, are_told_of_the_panel_between) {
    give_panel1(3);
    add(100, 10, 2, "rs1");
    add(200, 10, 3, "rs2");
    for (auto& [position, site] : run.sites.store) {
        label(site, 0, "A", "C");
        if (site.type == 2) label(site, 1, "A", "C");
    }
    EXPECT_EQ(
        "orvide: note: The study has 20 sites, all 10 of -g_ref among them, which have nothing to give it: may -g and "
        "-g_ref have been exchanged?\n",
        said());
}

TEST_F(exchanged_files, of_another_genome_build_are_told_by_their_ids) {
    add(100, 10, 3, "rs1");
    add(205, 10, 0, "rs1");
    add(300, 1, 2, "rs9");
    EXPECT_EQ(
        "orvide: note: 10 of 11 IDs of the study are at other positions in the reference (rs10: 100 against 205): the "
        "two are of different genome builds.\n",
        said());
}

TEST_F(exchanged_files, of_another_chromosome_are_told_by_their_ids) {
    add(100, 10, 3, "rs1");
    add(205, 12, 0, "rs2");
    EXPECT_EQ(
        "orvide: note: None of the study's 10 IDs is among the 12 of the reference: they may be of different "
        "chromosomes, or -l may be of another panel than -h.\n",
        said());
}

TEST_F(exchanged_files, are_not_told_by_other_names_or_few_of_them) {
    add(100, 10, 3, "20:");
    add(205, 12, 0, "x");
    add(300, 9, 3, "rs1");
    add(400, 9, 0, "rs1");
    EXPECT_EQ("", said());
}

}  // namespace
