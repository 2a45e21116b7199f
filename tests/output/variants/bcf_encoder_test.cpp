#include "output/variants/bcf_encoder.h"

#include "output/variants/encoder_fixture.h"
#include "output/variants/vcf_encoder.h"

namespace {

class bcf_encoder_of_run : public encoder_fixture {
  protected:
    // The record as htslib prints it, beside the line of VCF.
    void expect_same(const variant_record& record) {
        const hts_header header = make_variant_header(results);
        ASSERT_TRUE(header);
        bcf_encoder encoder(results, header.get());
        const hts_record encoded = encoder.encode(record);
        ASSERT_NE(encoded, nullptr);
        kstring_t text = KS_INITIALIZE;
        ASSERT_EQ(vcf_format1(header.get(), encoded.get(), &text), 0);
        std::string line;
        vcf_encoder(results).append(line, record);
        EXPECT_EQ(std::string(text.s, text.l), line);
        ks_free(&text);
    }
};

TEST_F(bcf_encoder_of_run, record_prints_as_the_line_of_vcf) {
    for (const bool with_haploids : {false, true}) {
        give_people(with_haploids);
        const auto people = everybody(with_haploids);
        expect_same(record_of(0, people));
        expect_same(record_of(1, people));
    }
}

TEST_F(bcf_encoder_of_run, haploid_people_alone_have_one_value) {
    give_ploidies(2, {1, 1});
    const std::vector<variant_genotype> people{haploid(1, 7500), missing(true)};
    expect_same(record_of(0, people));
}

TEST_F(bcf_encoder_of_run, quality_and_fewer_fields_print_as_the_line_of_vcf) {
    give_people(false);
    const auto people = everybody(false);
    variant_record record = record_of(0, people);
    record.any_haps = record.any_confidence = false;
    record.quality = site_quality{};
    record.quality->info = -0.123456;
    record.quality->certainty = 0.98765;
    expect_same(record);
    run.plan.variants = variant_fields{false, true, false, false, true, true};
    expect_same(record);
}

TEST_F(bcf_encoder_of_run, every_rounded_value_prints_as_the_line_of_vcf) {
    give_study(1);
    for (const int outdp : {4, 5, 6}) {
        run.params.outdp = outdp;
        const int one = variant_unit(run.params);
        for (int k = 0; k < 400; ++k) {
            // A smaller one htslib prints with an exponent.
            int dosage = one / 10000 + static_cast<int>(static_cast<long>(k) * 4999 * one / 1000000 % (2 * one));
            if (outdp == 6 && dosage > one) dosage = dosage / 10 * 10;
            const int half = std::max(one / 10000, dosage / 2);
            const std::vector<variant_genotype> people{diploid(0, 1, false, dosage, {one - half, half, 0})};
            expect_same(record_of(0, people));
        }
    }
}

TEST_F(bcf_encoder_of_run, value_that_the_header_does_not_know_gives_no_record) {
    give_people(false);
    run.plan.variants = variant_fields{true, false, false, false, false, false};
    const hts_header header = make_variant_header(results);
    run.plan.variants->ds = true;
    bcf_encoder encoder(results, header.get());
    const auto people = everybody(false);
    hts_set_log_level(HTS_LOG_OFF);
    EXPECT_EQ(encoder.encode(record_of(0, people)), nullptr);
}

}  // namespace
