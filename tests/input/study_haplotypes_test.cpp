#include "input/study_haplotypes.h"

#include <gtest/gtest.h>

#include "input/formats/format_table.h"
#include "input/reader_fixture.h"

namespace {

class study_haplotypes : public reader_fixture {};

TEST(labels, are_compared_in_both_orders) {
    EXPECT_EQ(label_order::same, compare_labels("A", "C", "A", "C"));
    EXPECT_EQ(label_order::crossed, compare_labels("C", "A", "A", "C"));
    EXPECT_EQ(label_order::neither, compare_labels("T", "G", "A", "C"));
    EXPECT_EQ(label_order::same, compare_labels("A", "A", "A", "A"));
}

TEST_F(study_haplotypes, kept_columns_are_the_people_of_the_genotypes) {
    check_against_genotypes(run.log, 2, {}, 2, "file");
    check_against_genotypes(run.log, 2, flags("010"), 3, "file");
    expect_fatal(
        "ERROR: The number of individuals in the file (3) does not match the number of individuals in the Panel 2 "
        "genotypes file (2).",
        [this] { check_against_genotypes(run.log, 2, {}, 3, "file"); });
}

TEST_F(study_haplotypes, site_has_a_pair_for_each_column) {
    source_request request;
    request.file = write("haps", "s r 150 A C 0 1\n");
    const auto source = open_phased(run.log, request);
    check_pairs(*source, 2, 2);
    const std::string end = " alleles than in the first line, in line 1 of the file [" + request.file + "].";
    expect_fatal("ERROR: There are fewer" + end, [&] { check_pairs(*source, 1, 2); });
    capture.open(run.log);
    expect_fatal("ERROR: There are more" + end, [&] { check_pairs(*source, 3, 2); });
}

TEST_F(study_haplotypes, only_males_lack_an_allele) {
    give_sexes(2, "12");
    const panel_data& study = run.panels[2];
    refuse_female_without_allele(run.log, study, {"0", "-"}, 0, 0);
    refuse_female_without_allele(run.log, study, {"0", "1"}, 1, 1);
    for (const allele_pair& pair : {allele_pair{"0", "-"}, allele_pair{"-", "0"}}) {
        expect_fatal(
            "ERROR: Individual 5 (1-indexed) is marked as female but has a '-' allele, which is reserved for males.",
            [&] { refuse_female_without_allele(run.log, study, pair, 4, 1); });
        capture.open(run.log);
    }
    refuse_female_without_allele(run.log, panel_data{}, {"-", "-"}, 0, 0);  // sexes do not differ
}

}  // namespace
