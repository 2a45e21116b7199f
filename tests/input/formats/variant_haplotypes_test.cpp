#include "input/formats/variant_haplotypes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/formats/variant_fixture.h"

namespace {

class variant_haplotype_source : public variant_fixture {
  protected:
    // "01?" of the kept columns of each site.
    std::vector<std::string> rows(const source_request& request, const std::vector<bool>& dropped = {}) {
        auto source = open_request<variant_haplotypes>(request);
        absent = source.absent_columns();
        source.start(dropped);
        std::vector<std::string> all;
        site_fields site;
        allele_row row;
        while (source.next(site)) {
            EXPECT_TRUE(source.read_alleles(row));
            std::string text;
            for (std::size_t h = 0; h < row.size(); ++h)
                text += row[h] == missing_allele ? '?' : row[h] == 1 ? '1' : '0';
            all.push_back(text);
        }
        return all;
    }
    std::vector<std::string> rows_of(const std::vector<std::string>& records, bool question_is_missing = true) {
        source_request request = request_for_records("a b c", records);
        request.question_is_missing = question_is_missing;
        return rows(request);
    }
    using texts = std::vector<std::string>;
    std::vector<bool> absent;
};

TEST_F(variant_haplotype_source, people_have_two_columns) {
    EXPECT_EQ((texts{"011100"}), rows_of({called_record(150, "0|1 1|1 0/0")}));
    EXPECT_TRUE(absent.empty());
}

TEST_F(variant_haplotype_source, each_allele_is_taken_against_all_others) {
    EXPECT_EQ((texts{"010010", "001100"}), rows_of({"20 150 . A C,T . . . GT 0|1 2|2 1|0"}));
}

TEST_F(variant_haplotype_source, missing_alleles_are_missing_whatever_the_dots) {
    EXPECT_EQ((texts{"000111", "??01??"}),
              rows_of({called_record(140, "0|0 0|1 1|1"), called_record(150, ". 0|1 .|1")}));
}

TEST_F(variant_haplotype_source, missing_alleles_read_as_0_where_the_panel_knows_none) {
    EXPECT_EQ((texts{"000100"}), rows_of({called_record(150, "./. 0|1 .|.")}, false));
    EXPECT_THAT(notes(), ::testing::EndsWith(note_of("20:150", "a missing allele reads as allele 0 in this panel")));
}

TEST_F(variant_haplotype_source, unphased_heterozygotes_are_refused) {
    expect_fatal(
        "ERROR: A reference panel needs phased genotypes, and the heterozygote is not phased, for the sample b" +
            in_record("20:150"),
        [this] { rows_of({called_record(150, "0|1 0/1 0|0")}); });
}

TEST_F(variant_haplotype_source, second_haplotype_of_a_haploid_person_is_absent) {
    const source_request request = request_for_records("a b c", {called_record(150, "1 0|1 1|1")});
    EXPECT_EQ((texts{"10111"}), rows(request, {false, true, false, false, false, false}));
    EXPECT_EQ((std::vector<bool>{false, true, false, false, false, false}), absent);
}

TEST_F(variant_haplotype_source, haploid_person_who_becomes_diploid_is_refused) {
    expect_fatal("ERROR: The person has two alleles here and one elsewhere in the region, for the sample a" +
                     in_record("20:160"),
                 [this] {
                     rows_of({called_record(150, "1 0|1 1|1"), called_record(160, "1|0 0|1 1|1")});
                 });
}

TEST_F(variant_haplotype_source, diploid_person_who_becomes_haploid_is_refused) {
    expect_fatal(
        "ERROR: The person has one allele here and two elsewhere in the region, for the sample a" + in_record("20:160"),
        [this] {
            rows_of({called_record(150, "1|0 0|1 1|1"), called_record(160, "1 0|1 1|1")});
        });
}

TEST_F(variant_haplotype_source, dropped_columns_are_left_out) {
    source_request request =
        request_for_records("a b c", {called_record(150, "0|1 1|1 1|0"), called_record(160, "0|1 .|. 1|0")});
    request.question_is_missing = true;
    EXPECT_EQ((texts{"0110", "01??"}), (texts{rows(request, {false, false, true, true, false, false})[0],
                                              rows(request, {false, false, false, false, true, true})[1]}));
}

TEST_F(variant_haplotype_source, legend_is_not_read_and_a_note_says_so) {
    source_request request = request_for_records("a", {called_record(150, "0|1")});
    request.legend = "ref.legend";
    rows(request);
    EXPECT_THAT(notes(), ::testing::EndsWith("orvide: note: [" + request.file +
                                             "] names its sites itself; the legend [ref.legend] is not read\n"));
}

}  // namespace
