#include "input/formats/variant_genotypes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/formats/variant_fixture.h"

namespace {

using triple_list = std::vector<probability_triple>;
constexpr probability_triple none{0, 0, 0}, ref{1, 0, 0}, het{0, 1, 0}, alt{0, 0, 1};

class variant_genotype_source : public variant_fixture {
  protected:
    // The triples of all sites.
    std::vector<triple_list> triples(const std::string& samples, const std::vector<std::string>& records,
                                     bool probabilities) {
        source_request request = request_for_records(samples, records);
        request.probabilities = probabilities;
        auto source = open_request<variant_genotypes>(request);
        std::vector<triple_list> all;
        site_fields site;
        while (source.next(site)) source.read_triples(all.emplace_back(source.n_columns()));
        remarks = source.remarks();
        return all;
    }
    static std::string record(const std::string& alts, const std::string& format, const std::string& values) {
        return "20 150 . A " + alts + " . . . " + format + " " + values;
    }
    static void expect_near(const probability_triple& expected, const probability_triple& found) {
        for (std::size_t g = 0; g < 3; ++g) EXPECT_NEAR(expected[g], found[g], 1e-6) << "genotype " << g;
    }
    void expect_refusal(const std::string& what, const std::string& format, const std::string& values) {
        expect_fatal("ERROR: " + what + ", for the sample t" + in_record("20:150"),
                     [&] { triples("s t", {record("C", format, values)}, true); });
    }
    std::vector<std::string> remarks;
};

TEST_F(variant_genotype_source, calls_are_certain) {
    EXPECT_EQ((triple_list{ref, het, alt, none, none, het}),
              triples("a b c d e f", {record("C", "GT", "0/0 0/1 1|1 ./. ./1 1|0")}, false)[0]);
    EXPECT_EQ((std::vector<std::string>{" --took the genotypes of 1 sites from GT",
                                        " --took 1 half-called genotypes as missing"}),
              remarks);
}

TEST_F(variant_genotype_source, haploid_calls_are_two_equal_alleles) {
    EXPECT_EQ((triple_list{ref, alt, none, het}), triples("a b c d", {record("C", "GT", "0 1 . 0/1")}, false)[0]);
}

TEST_F(variant_genotype_source, each_allele_is_taken_against_all_others) {
    const auto sites = triples("a b c d", {record("C,T", "GT", "0/1 1/2 2/2 0/0")}, false);
    EXPECT_EQ((triple_list{het, het, ref, ref}), sites[0]);
    EXPECT_EQ((triple_list{ref, het, alt, ref}), sites[1]);
}

TEST_F(variant_genotype_source, phase_is_dropped_with_one_note) {
    triples("a b", {record("C", "GT", "0/1 1|1"), called_record(160, "0|1 0|1"), called_record(170, "0|1 0|1")}, false);
    EXPECT_THAT(notes(), ::testing::EndsWith(note_of("20:160",
                                                     "the genotypes are phased, which -g takes no notice of; "
                                                     "-known_haps_g keeps the phase")));
}

TEST_F(variant_genotype_source, probabilities_stand_before_calls_and_the_call_where_they_are_missing) {
    const auto sites = triples("a b c d", {record("C", "GT:GP", "0/1:0.1,0.6,0.3 0/1:. ./.:1,0,0 ./.:.,.,.")}, false);
    expect_near({0.1F, 0.6F, 0.3F}, sites[0][0]);
    EXPECT_EQ(het, sites[0][1]);
    EXPECT_EQ(ref, sites[0][2]);
    EXPECT_EQ(none, sites[0][3]);
    EXPECT_EQ(std::vector<std::string>{" --took the genotypes of 1 sites from GP"}, remarks);
}

TEST_F(variant_genotype_source, probabilities_need_no_calls) {
    expect_near({0.1F, 0.6F, 0.3F}, triples("a", {record("C", "GP", "0.1,0.6,0.3")}, false)[0][0]);
}

TEST_F(variant_genotype_source, likelihoods_become_probabilities_where_they_are_asked_for) {
    // 10 to the power of -1, 0 and -2; and of minus the phred values, over ten.
    const probability_triple expected{0.1F / 1.11F, 1.0F / 1.11F, 0.01F / 1.11F};
    expect_near(expected, triples("a", {record("C", "GT:GL", "0/0:-1,0,-2")}, true)[0][0]);
    expect_near(expected, triples("a", {record("C", "GT:GL", "0/0:-301,-300,-302")}, true)[0][0]);
    expect_near(expected, triples("a", {record("C", "GT:PL", "0/0:10,0,20")}, true)[0][0]);
    EXPECT_EQ(std::vector<std::string>{" --took the genotypes of 1 sites from PL"}, remarks);
    EXPECT_EQ(ref, triples("a", {record("C", "GT:GL", "0/0:-1,0,-2")}, false)[0][0]);
}

TEST_F(variant_genotype_source, fields_are_looked_for_in_order_at_each_site) {
    triples("a",
            {record("C", "GT:GP:GL:PL", "0/0:1,0,0:-1,0,-2:0,1,2"), "20 160 . A C . . . GT:PL:GL 0/0:0,1,2:-1,0,-2",
             "20 170 . A C . . . GT:PL 0/0:0,1,2", "20 180 . A C . . . GT 0/0"},
            true);
    EXPECT_EQ((std::vector<std::string>{
                  " --took the genotypes of 1 sites from GP", " --took the genotypes of 1 sites from GL",
                  " --took the genotypes of 1 sites from PL", " --took the genotypes of 1 sites from GT"}),
              remarks);
}

// Genotypes in the order 0/0 0/1 1/1 0/2 1/2 2/2.
TEST_F(variant_genotype_source, probabilities_of_three_alleles_are_added_by_copies) {
    const auto sites = triples("a", {record("C,T", "GP", "0.1,0.2,0.05,0.3,0.25,0.1")}, true);
    expect_near({0.1F + 0.3F + 0.1F, 0.2F + 0.25F, 0.05F}, sites[0][0]);
    expect_near({0.1F + 0.2F + 0.05F, 0.3F + 0.25F, 0.1F}, sites[1][0]);
}

TEST_F(variant_genotype_source, haploid_people_have_a_value_an_allele) {
    const auto sites = triples("a b", {record("C,T", "GT:GP", "1:0.2,0.5,0.3 0/1:0,1,0,0,0,0")}, true);
    expect_near({0.5F, 0, 0.5F}, sites[0][0]);
    expect_near({0.7F, 0, 0.3F}, sites[1][0]);
    expect_near(het, sites[0][1]);
}

TEST_F(variant_genotype_source, values_that_are_no_probabilities_are_refused) {
    expect_refusal("A value of GP is no probability between 0 and 1", "GP", "1,0,0 -0.1,0.1,1");
    expect_refusal("A value of GP is no probability between 0 and 1", "GP", "1,0,0 nan,0.1,0.9");
    expect_refusal("The values of GP sum to more than 1", "GP", "1,0,0 0.5,0.5,0.5");
    expect_refusal("The field GP has 2 values for 2 alleles", "GP", "1,0,0 0.5,0.5");
    expect_refusal("The values of GL are no likelihoods", "GL", "0,-1,-2 -inf,-inf,-inf");
    expect_refusal("The values of GL are no likelihoods", "GL", "0,-1,-2 0,nan,-1");
}

TEST_F(variant_genotype_source, field_of_another_type_is_refused) {
    const std::string header = "##contig=<ID=20>\n##FORMAT=<ID=PL,Number=G,Type=Float,Description=\"\">\n";
    source_request request =
        request_of(capture.files.write("data", vcf_text("s", {record("C", "PL", "1,0,2")}, header)));
    request.probabilities = true;
    auto source = open_request<variant_genotypes>(request);
    site_fields site;
    ASSERT_TRUE(source.next(site));
    triple_list row(1);
    expect_fatal("ERROR: The field PL is not of the type that it should have" + in_record("20:150"),
                 [&] { source.read_triples(row); });
}

// The header of a BCF file may say another type than its records have.
TEST_F(variant_genotype_source, values_of_another_type_than_the_header_says_are_refused) {
    std::string bytes =
        file_text(write_bcf(capture.files, "a.bcf",
                            vcf_text("s", {record("C", "GP", "a,b,c")},
                                     "##contig=<ID=20>\n##FORMAT=<ID=GP,Number=G,Type=String,Description=\"\">\n"),
                            "wbu"));
    const std::string said = "Type=String,Description=\"\"";
    bytes.replace(bytes.find(said), said.size(), "Type=Float,Description=\"x\"");
    auto source = open_request<variant_genotypes>(request_of(capture.files.write("data", bytes)));
    site_fields site;
    ASSERT_TRUE(source.next(site));
    triple_list row(1);
    expect_fatal("ERROR: The field GP is not of the type that it should have" + in_record("20:150"),
                 [&] { source.read_triples(row); });
}

}  // namespace
