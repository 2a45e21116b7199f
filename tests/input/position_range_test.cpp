#include "input/position_range.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/variant_files.h"

namespace {

class position_ranges : public ::testing::Test {
  protected:
    static void expect(long first, long last, const std::optional<position_range>& found) {
        ASSERT_TRUE(found);
        EXPECT_EQ(first, found->first);
        EXPECT_EQ(last, found->last);
    }
    temporary_folder files;
};

TEST_F(position_ranges, of_a_legend_begin_behind_its_header) {
    const std::string name = files.write("legend", "id position a0 a1\nr1 100 A C\nr2 250 A C\n");
    expect(100, 250, text_positions(name, site_columns_of::legend));
}

TEST_F(position_ranges, of_site_lines_are_in_their_third_field) {
    const std::string name = files.write_compressed("study.gen.gz", "1 r1 70 A C 1 0 0\n\n1 r2 90 A C 1 0 0\n");
    expect(70, 90, text_positions(name, site_columns_of::site_lines));
}

TEST_F(position_ranges, are_nobodys_where_there_is_no_site) {
    EXPECT_FALSE(text_positions(files.write("empty", ""), site_columns_of::site_lines));
    EXPECT_FALSE(text_positions(files.name("missing"), site_columns_of::site_lines));
    EXPECT_FALSE(text_positions(files.write("words", "a b c d\n"), site_columns_of::site_lines));
    EXPECT_FALSE(variant_positions(files.write("words", "a b c d\n"), "20"));
}

std::string three_sites() {
    return vcf_text("i1", {called_record(100, "0|1"), called_record(20000, "0|1"), called_record(1999999, "0|1"),
                           "21 3000000 r A C . . . GT 0|1"});
}

TEST_F(position_ranges, of_vcf_are_those_of_a_chromosome) {
    const std::string name = files.write("a.vcf", three_sites());
    expect(100, 1999999, variant_positions(name, "20"));
    expect(100, 1999999, variant_positions(name, ""));
    expect(3000000, 3000000, variant_positions(name, "21"));
    EXPECT_FALSE(variant_positions(name, "22"));
}

TEST_F(position_ranges, are_found_by_an_index) {
    const std::string bcf = write_bcf(files, "a.bcf", three_sites());
    const std::string vcf = write_bgzf(files, "a.vcf.gz", three_sites());
    for (const std::string& name : {bcf, vcf}) {
        index_variants(name, name == vcf);
        expect(100, 1999999, variant_positions(name, "20"));
        expect(3000000, 3000000, variant_positions(name, "21"));
        EXPECT_FALSE(variant_positions(name, "22"));
    }
}

TEST_F(position_ranges, pass_over_a_record_that_only_reaches_far) {
    const std::string name = write_bgzf(
        files, "a.vcf.gz",
        vcf_text("i1", {called_record(100, "0|1"), "20 200 long " + std::string(100000, 'A') + " A . . . GT 0|1"}));
    index_variants(name);
    expect(100, 200, variant_positions(name, "20"));
}

}  // namespace
