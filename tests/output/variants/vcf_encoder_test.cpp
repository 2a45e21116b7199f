#include "output/variants/vcf_encoder.h"

#include "output/variants/encoder_fixture.h"

namespace {

class vcf_encoder_of_run : public encoder_fixture {
  protected:
    std::string line(const variant_record& record) {
        vcf_encoder encoder(results);
        std::string text = "before ";
        encoder.append(text, record);
        EXPECT_TRUE(text.starts_with("before "));
        return text.substr(7);
    }
};

std::string text_of_units(long units, int decimals) {
    std::string text;
    append_units(text, units, decimals);
    return text;
}

TEST(units, are_printed_without_zeros_at_the_end) {
    EXPECT_EQ(text_of_units(0, 4), "0");
    EXPECT_EQ(text_of_units(20000, 4), "2");
    EXPECT_EQ(text_of_units(12300, 4), "1.23");
    EXPECT_EQ(text_of_units(1, 4), "0.0001");
    EXPECT_EQ(text_of_units(1, 6), "0.000001");
    EXPECT_EQ(text_of_units(-250000, 6), "-0.25");
    EXPECT_EQ(text_of_units(-12000000, 6), "-12");
}

TEST_F(vcf_encoder_of_run, line_has_all_fields_of_everybody) {
    const auto people = everybody(true);
    EXPECT_EQ(line(record_of(0, people)),
              "20\t110\trs110\tA\t<DEL>\t.\t.\tAF=0.125;TYPE=0;IMP\tGT:DS:GP:HDS:PQ"
              "\t0|1:1.2346:0.1,0.5654,0.3346:0.2346,1:13"
              "\t1/1:2:0,0,1:.:."
              "\t./.:.:.:.:."
              "\t1:0.75:0.25,0.75:0.75:."
              "\t.:.:.:.:.\n");
}

TEST_F(vcf_encoder_of_run, typed_site_without_id_has_its_quality) {
    variant_record record = record_of(1, {});
    record.quality = site_quality{};
    record.quality->info = 0.5;
    EXPECT_EQ(line(record), "20\t120\t.\tAC\t<->\t.\t.\tAF=0.125;INFO=0.5;CERT=0;TYPE=2;TYPED\tGT:DS:GP:HDS:PQ\n");
}

TEST_F(vcf_encoder_of_run, fields_of_nobody_are_left_out_unless_they_are_listed) {
    const std::vector<variant_genotype> people{diploid(0, 0, false, 0, {10000, 0, 0})};
    variant_record record = record_of(0, people);
    record.any_haps = record.any_confidence = false;
    const std::string head = "20\t110\trs110\tA\t<DEL>\t.\t.\tAF=0.125;TYPE=0;IMP\t";
    EXPECT_EQ(line(record), head + "GT:DS:GP\t0/0:0:1,0,0\n");
    run.plan.variants = variant_fields{false, true, false, true, false, true};
    EXPECT_EQ(line(record), head + "DS:HDS\t0:.\n");
    run.plan.variants = variant_fields{false, false, true, false, false, true};
    EXPECT_EQ(line(record), head + "GP\t1,0,0\n");
}

TEST_F(vcf_encoder_of_run, six_decimals_are_printed) {
    run.params.outdp = 6;
    const std::vector<variant_genotype> people{diploid(1, 1, false, 1999990, {1, 9, 999990})};
    EXPECT_TRUE(line(record_of(0, people)).ends_with("\t1/1:1.99999:0.000001,0.000009,0.99999:.:.\n"));
}

}  // namespace
