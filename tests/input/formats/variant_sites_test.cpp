#include "input/formats/variant_sites.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/formats/variant_fixture.h"

namespace {

using ploidy_list = std::vector<std::uint8_t>;
using text_list = std::vector<std::string>;

class variant_site_list : public variant_fixture {
  protected:
    // A record of chromosome X.
    static std::string on_x(long position, const std::string& calls) {
        return "X " + std::to_string(position) + " . A C . . . GT " + calls;
    }
    // Around the end of the first pseudoautosomal region of GRCh37.
    source_request request_on_x(const text_list& records, long interval_lower, long interval_upper) const {
        source_request request = request_for_records("m f", records);
        request.lower = 2699000;
        request.upper = 2700000;
        request.interval_lower = interval_lower;
        request.interval_upper = interval_upper;
        return request;
    }
};

TEST_F(variant_site_list, record_gives_one_site_for_each_alt) {
    variant_sites sites = open_records<variant_sites>(
        "s", {"20 150 rs1 A C . . . GT 0/1", "20 160 . A C,T . . . GT 1/2", "20 160 . A AC,<DEL> . . . GT 0/2"});
    site_fields site;
    ASSERT_TRUE(sites.next(site));
    EXPECT_EQ("--- rs1 150 A C", names(site));
    EXPECT_EQ(1, sites.allele());
    EXPECT_EQ(
        "--- 20:160:A:C 160 A C\n--- 20:160:A:T 160 A T\n--- 20:160:A:AC 160 A AC\n--- 20:160:A:<DEL> 160 A <DEL>\n",
        rest_of(sites));
    EXPECT_EQ(text_list{}, sites.remarks());
}

TEST_F(variant_site_list, alts_that_nobody_carries_give_no_site) {
    variant_sites sites =
        open_records<variant_sites>("s", {"20 150 . A . . . . GT 0/0", "20 160 . A *,C . . . GT 1/2",
                                          "20 170 . A <NON_REF> . . . GT 0/0", "20 180 . A G,<*> . . . GT 0/1"});
    EXPECT_EQ("--- 20:160:A:C 160 A C\n--- 20:180:A:G 180 A G\n", rest_of(sites));
    EXPECT_EQ(text_list{" --passed over 2 records without an ALT allele"}, sites.remarks());
}

TEST_F(variant_site_list, first_of_equal_sites_counts) {
    variant_sites sites = open_records<variant_sites>(
        "s", {"20 150 a A C . . . GT 0/1", "20 150 b A C,T . . . GT 1/1", "20 151 c A C . . . GT 0/1"});
    EXPECT_EQ("--- a 150 A C\n--- b 150 A T\n--- c 151 A C\n", rest_of(sites));
    EXPECT_EQ("WARNING: The site 20:150 A C occurs more than once in the file [" + capture.files.name("data") +
                  "]; the first one counts.\n",
              capture.warnings());
    EXPECT_EQ(text_list{" --passed over 1 sites that occur more than once"}, sites.remarks());
}

TEST_F(variant_site_list, half_calls_are_missing_and_counted) {
    variant_sites sites = open_records<variant_sites>("s t u", {called_record(150, "./1 0/. 0/1")});
    site_fields site;
    ASSERT_TRUE(sites.next(site));
    EXPECT_FALSE(sites.calls()[0].is_known() || sites.calls()[1].is_known());
    EXPECT_TRUE(sites.calls()[2].is_known());
    EXPECT_EQ(text_list{" --took 2 half-called genotypes as missing"}, sites.remarks());
}

TEST_F(variant_site_list, ploidies_come_from_the_first_called_genotypes) {
    EXPECT_EQ((ploidy_list{1, 2, 2}),
              open_records<variant_sites>("s t u", {called_record(150, ". . ."), called_record(160, "1 ./. ."),
                                                    called_record(170, ". 0/1 ./.")})
                  .ploidies());
    EXPECT_EQ((ploidy_list{1, 1}), open_records<variant_sites>("s t", {called_record(150, "1 .")}).ploidies());
    EXPECT_EQ((ploidy_list{2, 2}), open_records<variant_sites>("s t", {called_record(150, ". .")}).ploidies());
}

TEST_F(variant_site_list, person_whose_ploidy_changes_is_refused) {
    variant_sites sites = open_records<variant_sites>(
        "s t", {called_record(150, "0/1 1"), called_record(160, "0/1 ."), called_record(170, "0/1 0/1")});
    site_fields site;
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(sites.next(site));
        sites.calls();
    }
    ASSERT_TRUE(sites.next(site));
    expect_fatal("ERROR: The person has two alleles here and one elsewhere in the region, for the sample t" +
                     in_record("20:170"),
                 [&] { sites.calls(); });
}

TEST_F(variant_site_list, records_without_usable_genotypes_are_refused) {
    const auto expect_refusal = [this](const std::string& record, const std::string& what) {
        variant_sites sites = open_records<variant_sites>("s", {record});
        site_fields site;
        ASSERT_TRUE(sites.next(site));
        expect_fatal("ERROR: " + what + in_record("20:150"), [&] { sites.calls(); });
    };
    expect_refusal("20 150 . A C . . . PL 1,2,3", "There are no genotypes (GT)");
    expect_refusal(called_record(150, "0/0/1"), "There are genotypes of more than two alleles");
    expect_refusal(called_record(150, "0/2"), "There are genotypes of alleles that the record does not name");
}

TEST_F(variant_site_list, pseudoautosomal_region_left_of_the_interval_is_left_out) {
    const source_request request = request_on_x(
        {on_x(2699300, "0/1 0/1"), on_x(2699520, "./. 0/1"), on_x(2699521, "1 0/1"), on_x(2699700, "1 0/1")}, 2699600,
        2699900);
    variant_sites sites = open_request<variant_sites>(request);
    EXPECT_EQ((ploidy_list{1, 2}), sites.ploidies());
    EXPECT_EQ("--- X:2699520:A:C 2699520 A C\n--- X:2699521:A:C 2699521 A C\n--- X:2699700:A:C 2699700 A C\n",
              rest_of(sites));
    EXPECT_THAT(notes(), ::testing::HasSubstr(note_of(
                             "X:2699300",
                             "the first pseudoautosomal region of X ends at 2699520 (GRCh37); what lies left of it is "
                             "left out, since people have another number of alleles there")));
}

TEST_F(variant_site_list, region_right_of_the_interval_and_a_boundary_is_left_out) {
    const source_request request = request_on_x(
        {on_x(2699300, "0/1 0/1"), on_x(2699400, "0/1 0/1"), on_x(2699521, ". 0/1"), on_x(2699700, "1 0/1")}, 2699200,
        2699500);
    variant_sites sites = open_request<variant_sites>(request);
    EXPECT_EQ((ploidy_list{2, 2}), sites.ploidies());
    EXPECT_EQ("--- X:2699300:A:C 2699300 A C\n--- X:2699400:A:C 2699400 A C\n--- X:2699521:A:C 2699521 A C\n",
              rest_of(sites));
    EXPECT_THAT(notes(), ::testing::HasSubstr(note_of(
                             "X:2699700",
                             "the first pseudoautosomal region of X ends at 2699520 (GRCh37); what lies right of it is "
                             "left out, since people have another number of alleles there")));
}

TEST_F(variant_site_list, boundary_inside_the_interval_is_named) {
    variant_sites sites =
        open_request<variant_sites>(request_on_x({on_x(2699300, "0/1 0/1"), on_x(2699700, "1 0/1")}, 2699200, 2699900));
    site_fields site;
    ASSERT_TRUE(sites.next(site));
    ASSERT_TRUE(sites.next(site));
    expect_fatal(
        "ERROR: The person has one allele here and two elsewhere in the region; the first pseudoautosomal region of X "
        "ends at 2699520 (GRCh37): choose -int and -buffer so that the region does not cross it, for the sample m" +
            in_record("X:2699700"),
        [&] { sites.calls(); });
}

TEST_F(variant_site_list, boundary_is_none_where_ploidies_agree) {
    variant_sites sites = open_request<variant_sites>(
        request_on_x({on_x(2699300, "0/1 0/1"), on_x(2699700, "1/1 0/1")}, 2699600, 2699900));
    EXPECT_EQ("--- X:2699300:A:C 2699300 A C\n--- X:2699700:A:C 2699700 A C\n", rest_of(sites));
}

}  // namespace
