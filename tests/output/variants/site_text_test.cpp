#include "output/variants/site_text.h"

#include "output/output_fixture.h"

namespace {

class site_text : public output_fixture {
  protected:
    static std::string list(const std::vector<info_figure>& figures) {
        std::string text;
        for (const info_figure& figure : figures)
            text += std::string(figure.key) + "=" + std::to_string(figure.units) + " ";
        return text;
    }
};

TEST_F(site_text, reference_allele_has_bases_only) {
    for (const char* label : {"A", "acgtn", "ACGTN"}) EXPECT_TRUE(is_sequence(label)) << label;
    for (const char* label : {"", "-", "0", "I", "<DEL>", "*", "A,C", "R"}) EXPECT_FALSE(is_sequence(label)) << label;
}

TEST_F(site_text, other_alternative_labels_become_symbolic_alleles) {
    for (const char* label : {"A", "acgtn", "*", "<DEL>", "<INS:ME:ALU>"}) EXPECT_EQ(alt_text(label), label);
    EXPECT_EQ(alt_text("-"), "<->");
    EXPECT_EQ(alt_text("0"), "<0>");
    EXPECT_EQ(alt_text("2"), "<2>");
}

TEST_F(site_text, label_that_no_allele_can_hold_has_no_text) {
    for (const char* label : {"", "A,C", "<A", "a>b", "<>", "<A><B>", "x=y", "\x01", "\xc3\xa4"}) {
        EXPECT_EQ(alt_text(label), "") << label;
    }
}

TEST_F(site_text, id_is_a_point_where_there_is_none) {
    snp site;
    EXPECT_EQ(id_text(site), ".");
    site.rs_id = "rs1";
    EXPECT_EQ(id_text(site), "rs1");
}

TEST_F(site_text, figures_that_are_not_defined_are_left_out) {
    run.plan.selfcheck_iters = {1};
    run.plan.output_types = {true, false, true, true};
    info_figures figures(results);
    variant_record record;
    EXPECT_EQ(list(figures.of(record)), "");
    record.frequency = 0.1234567;
    EXPECT_EQ(list(figures.of(record)), "AF=123457 ");
    record.quality = site_quality{};
    record.quality->info = -0.25;
    record.quality->certainty = std::nan("");
    EXPECT_EQ(list(figures.of(record)), "AF=123457 INFO=-250000 ");
    record.quality->masked[0] = {0.5, -1.0};  // no correlation with a constant
    record.quality->masked_info[0] = -1.0;
    EXPECT_EQ(list(figures.of(record)), "AF=123457 INFO=-250000 INFO0=-1000000 CONC0=500000 ");
    record.quality->masked[0].r2 = 0.25;
    EXPECT_EQ(list(figures.of(record)), "AF=123457 INFO=-250000 INFO0=-1000000 CONC0=500000 R2_0=250000 ");
}

TEST_F(site_text, fields_of_the_phase_stand_where_somebody_has_one_unless_they_are_listed) {
    const variant_fields all{true, true, true, true, true, false};
    variant_record record;
    EXPECT_FALSE(line_fields(record, all).hds);
    EXPECT_FALSE(line_fields(record, all).pq);
    EXPECT_TRUE(line_fields(record, all).gp);
    record.any_haps = record.any_confidence = true;
    EXPECT_TRUE(line_fields(record, all).hds);
    EXPECT_TRUE(line_fields(record, all).pq);
    variant_fields listed = all;
    listed.listed = true;
    EXPECT_TRUE(line_fields({}, listed).hds);
    EXPECT_TRUE(line_fields({}, listed).pq);
}

TEST_F(site_text, flag_tells_imputed_from_typed_sites) {
    EXPECT_STREQ(type_flag(0), "IMP");
    EXPECT_STREQ(type_flag(1), "IMP");
    EXPECT_STREQ(type_flag(2), "TYPED");
    EXPECT_STREQ(type_flag(3), "TYPED");
}

}  // namespace
