#include "input/formats/variant_info.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/formats/variant_fixture.h"
#include "input/formats/variant_sites.h"

namespace {

using texts = std::vector<std::string>;

class variant_info_values : public variant_fixture {
  protected:
    variant_sites open_info(const texts& infos, const std::string& header = variant_header_lines) {
        texts records;
        for (std::size_t i = 0; i < infos.size(); ++i) {
            records.push_back("20 " + std::to_string(150 + i) + " . A C,T . . " + infos[i] + " GT 0/1");
        }
        return open_request<variant_sites>(request_of(capture.files.write("data", vcf_text("s", records, header))));
    }
    static texts next_values(variant_sites& sites) {
        site_fields site;
        EXPECT_TRUE(sites.next(site));
        return sites.info_values();
    }
};

TEST_F(variant_info_values, fields_with_a_value_for_a_site_are_named) {
    EXPECT_EQ((texts{"AF", "AN", "AD", "DB", "VT", "VA"}), open_info({"."}).info_names());
}

TEST_F(variant_info_values, values_are_those_of_the_allele) {
    variant_sites sites = open_info({"AF=0.25,0.5;AN=10;AD=7,2,5;DB;VT=SNP;VA=x,y;ANY=1,2"});
    EXPECT_EQ((texts{"0.25", "10", "2", "1", "SNP", "x"}), next_values(sites));
    EXPECT_EQ((texts{"0.5", "10", "5", "1", "SNP", "y"}), next_values(sites));
}

TEST_F(variant_info_values, absent_values_are_dots_and_absent_flags_zero) {
    variant_sites sites = open_info({".", "AF=0.25,.;AD=.,1;VA=x;AN=.", "AF=0.1"});
    EXPECT_EQ((texts{".", ".", ".", "0", ".", "."}), next_values(sites));
    next_values(sites);
    EXPECT_EQ((texts{"0.25", ".", "1", "0", ".", "x"}), next_values(sites));
    EXPECT_EQ((texts{".", ".", ".", "0", ".", "."}), next_values(sites));
    next_values(sites);
    EXPECT_EQ((texts{".", ".", ".", "0", ".", "."}), next_values(sites));
}

// The numbers that BCF gives to its fields may have gaps.
TEST_F(variant_info_values, numbers_that_no_field_has_are_passed_over) {
    const std::string header =
        "##contig=<ID=20>\n##INFO=<ID=AN,Number=1,Type=Integer,Description=\"\",IDX=7>\n"
        "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"\",IDX=9>\n";
    const std::string text = vcf_text("s", {"20 150 . A C . . AN=3 GT 0/1"}, header);
    auto sites = open_request<variant_sites>(request_of(write_bcf(capture.files, "a.bcf", text)));
    EXPECT_EQ(texts{"AN"}, sites.info_names());
    EXPECT_EQ(texts{"3"}, next_values(sites));
}

}  // namespace
