#include "input/formats/variant_pairs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/formats/variant_fixture.h"

namespace {

class variant_pair_source : public variant_fixture {
  protected:
    // "0,1 0*,1*" of each site.
    std::vector<std::string> pairs(const source_request& request) {
        auto source = open_request<variant_pairs>(request);
        EXPECT_TRUE(source.keeps_places());
        std::vector<std::string> all;
        site_fields site;
        while (source.next(site)) {
            std::vector<allele_pair> found(source.n_columns());
            EXPECT_EQ(found.size(), source.read_pairs(found));
            std::string text;
            for (const allele_pair& pair : found) {
                text += (text.empty() ? "" : " ") + std::string(pair.first) + "," + std::string(pair.second);
            }
            all.push_back(text);
        }
        return all;
    }
    using texts = std::vector<std::string>;
};

TEST_F(variant_pair_source, phase_that_is_not_known_is_starred_at_heterozygotes) {
    EXPECT_EQ((texts{"0,1 1*,0* 1,1 0,0 ?,? ?,?"}),
              pairs(request_for_records("a b c d e f", {called_record(150, "0|1 1/0 1/1 0|0 ./. .|1")})));
}

TEST_F(variant_pair_source, each_allele_is_taken_against_all_others) {
    EXPECT_EQ((texts{"1,0 0,0 1*,0*", "0,1 1,1 0*,0*"}),
              pairs(request_for_records("a b c", {"20 150 . A C,T . . . GT 1|2 2|2 1/0"})));
}

TEST_F(variant_pair_source, haploid_people_have_one_allele) {
    source_request request =
        request_for_records("a b c", {called_record(150, "1 0|1 0"), called_record(160, ". ./. 1")});
    EXPECT_EQ((texts{"1,- 0,1 0,-", "?,- ?,? 1,-"}), pairs(request));
    request = request_for_records("a b", {called_record(150, "1 0")});
    request.one_haplotype = true;
    EXPECT_EQ((texts{"1,. 0,."}), pairs(request));
}

}  // namespace
