#include "output/variants/variant_format.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace {

class variant_format_of_run : public ::testing::Test {
  protected:
    void SetUp() override { params.o_file = "out.vcf.gz"; }
    std::string chosen() {
        const auto fields = choose_variant_fields(log, params);
        if (!fields) return "none";
        return std::string(fields->gt ? "GT " : "") + (fields->ds ? "DS " : "") + (fields->gp ? "GP " : "") +
               (fields->hds ? "HDS " : "") + (fields->pq ? "PQ " : "") + (fields->listed ? "listed" : "");
    }
    void expect_fatal(const std::string& list, const std::string& text) {
        capture.open(log);  // an end closes it
        params.format_fields = list;
        expect_end(capture, text, 1, [&] { chosen(); });
    }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
    parameters params;
};

TEST_F(variant_format_of_run, end_of_the_name_says_it) {
    EXPECT_EQ(variant_format_of("a/out.vcf"), variant_format::vcf);
    EXPECT_EQ(variant_format_of("out.vcf.gz"), variant_format::vcf_gz);
    EXPECT_EQ(variant_format_of("out.bcf"), variant_format::bcf);
    for (const char* name : {"out", "out.gz", "out.vcf.bz2", "out.vcf_x", "vcf", ""}) {
        EXPECT_EQ(variant_format_of(name), std::nullopt) << name;
    }
}

TEST_F(variant_format_of_run, text_output_has_no_fields) {
    params.o_file = "out";
    EXPECT_EQ(chosen(), "none");
}

TEST_F(variant_format_of_run, default_fields_grow_where_there_is_a_phase) {
    EXPECT_EQ(chosen(), "GT DS GP ");
    params.phase = true;
    EXPECT_EQ(chosen(), "GT DS GP HDS PQ ");
    params.phase = false;
    params.known_haps_g_file = "known.haps";
    EXPECT_TRUE(has_phase(params));
    EXPECT_EQ(chosen(), "GT DS GP HDS PQ ");
}

TEST_F(variant_format_of_run, listed_fields_are_those_and_no_others) {
    params.format_fields = "DS";
    EXPECT_EQ(chosen(), "DS listed");
    params.phase = true;
    params.format_fields = "PQ,HDS,GT";
    EXPECT_EQ(chosen(), "GT HDS PQ listed");
}

TEST_F(variant_format_of_run, unknown_field_ends_the_run) {
    expect_fatal("GT,AD",
                 "ERROR: -format_fields does not know the field [AD]. It takes a list of GT, DS, GP, HDS and PQ with "
                 "commas between and no blanks.");
}

TEST_F(variant_format_of_run, empty_entry_ends_the_run) {
    expect_fatal("GT,",
                 "ERROR: -format_fields does not know the field []. It takes a list of GT, DS, GP, HDS and PQ with "
                 "commas between and no blanks.");
    expect_fatal("",
                 "ERROR: -format_fields does not know the field []. It takes a list of GT, DS, GP, HDS and PQ with "
                 "commas between and no blanks.");
}

TEST_F(variant_format_of_run, field_given_twice_ends_the_run) {
    expect_fatal("GT,DS,GT", "ERROR: The field GT stands twice in the list of -format_fields.");
}

TEST_F(variant_format_of_run, phase_field_without_a_phase_ends_the_run) {
    for (const std::string field : {"HDS", "PQ"}) {
        expect_fatal("GT," + field, "ERROR: The field " + field +
                                        " of -format_fields needs phased genotypes, and this run has none. Leave it "
                                        "out, or phase the study (-phase) or give its haplotypes (-known_haps_g).");
    }
}

TEST_F(variant_format_of_run, fields_of_a_text_output_end_the_run) {
    params.o_file = "out";
    expect_fatal("GT",
                 "ERROR: -format_fields chooses the fields of a VCF or BCF file, but the main output [out] is text. "
                 "Let the -o name end in .vcf.gz, .bcf or .vcf.");
}

}  // namespace
