#include "input/formats/variant_calls.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "io/hts_objects.h"
#include "model/allele_row.h"

namespace {

// A record of samples with called genotypes.
class variant_calls : public ::testing::Test {
  protected:
    void make(std::size_t n_samples, int n_alleles) {
        header.reset(bcf_hdr_init("w"));
        bcf_hdr_append(header.get(), "##contig=<ID=20>");
        bcf_hdr_append(header.get(), "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"\">");
        for (std::size_t i = 0; i < n_samples; ++i) bcf_hdr_add_sample(header.get(), ("s" + std::to_string(i)).c_str());
        ASSERT_EQ(0, bcf_hdr_sync(header.get()));
        record.reset(bcf_init());
        record->rid = 0;
        std::string alleles = "A";
        for (int i = 1; i < n_alleles; ++i) alleles += ",A" + std::string(static_cast<std::size_t>(i), 'C');
        ASSERT_EQ(0, bcf_update_alleles_str(header.get(), record.get(), alleles.c_str()));
    }
    // Values as the library codes them, so many a sample.
    void call(const std::vector<std::int32_t>& values) {
        ASSERT_EQ(0, bcf_update_genotypes(header.get(), record.get(), values.data(), static_cast<int>(values.size())));
    }
    std::vector<variant_call> read(call_fault expected = call_fault::none) {
        std::vector<variant_call> calls(static_cast<std::size_t>(bcf_hdr_nsamples(header.get())));
        EXPECT_EQ(expected, read_calls(header.get(), record.get(), calls));
        return calls;
    }
    // The bits as "0110", nothing when the record does not suit.
    std::optional<std::string> pack(int allele) {
        const std::size_t n = 2 * static_cast<std::size_t>(bcf_hdr_nsamples(header.get()));
        std::vector<std::uint64_t> ones(bits::words_for(n), ~std::uint64_t{0});
        if (!pack_phased_calls(header.get(), record.get(), allele, ones.data())) return std::nullopt;
        std::string text;
        for (std::size_t h = 0; h < 64 * ones.size(); ++h) {
            const bool one = (ones[h / 64] >> (h % 64) & 1U) != 0;
            if (h < n) {
                text += one ? '1' : '0';
            } else {
                EXPECT_FALSE(one) << "a bit behind the last haplotype is set";
            }
        }
        return text;
    }
    hts_header header;
    hts_record record;
};

TEST_F(variant_calls, alleles_and_phase_are_read) {
    make(5, 3);
    call({bcf_gt_unphased(0), bcf_gt_phased(2), bcf_gt_unphased(1), bcf_gt_unphased(1), bcf_gt_missing,
          bcf_gt_unphased(1), bcf_gt_unphased(1), bcf_int32_vector_end, bcf_gt_missing, bcf_gt_missing});
    const std::vector<variant_call> calls = read();
    EXPECT_EQ(0, calls[0].first);
    EXPECT_EQ(2, calls[0].second);
    EXPECT_TRUE(calls[0].phased && calls[0].is_het() && calls[0].is_known());
    EXPECT_FALSE(calls[1].phased || calls[1].is_het());
    EXPECT_TRUE(calls[2].is_half());
    EXPECT_FALSE(calls[2].is_known());
    EXPECT_EQ(1, calls[3].ploidy());
    EXPECT_TRUE(calls[3].is_known());
    EXPECT_FALSE(calls[3].phased || calls[3].is_het());
    EXPECT_EQ(2, calls[0].ploidy());
    EXPECT_EQ(0, calls[4].ploidy());
    EXPECT_FALSE(calls[4].is_known() || calls[4].is_half());
}

TEST_F(variant_calls, genotypes_without_any_allele_are_missing) {
    make(2, 2);
    call({bcf_int32_missing, bcf_int32_vector_end, bcf_int32_vector_end, bcf_int32_vector_end});
    for (const variant_call& call : read()) {
        EXPECT_EQ(variant_call::missing, call.first);
        EXPECT_EQ(0, call.ploidy());
        EXPECT_FALSE(call.is_known());
    }
}

TEST_F(variant_calls, haploid_records_have_one_allele_a_sample) {
    make(2, 2);
    call({bcf_gt_unphased(1), bcf_gt_missing});
    const std::vector<variant_call> calls = read();
    EXPECT_EQ(1, calls[0].first);
    EXPECT_EQ(variant_call::absent, calls[0].second);
    EXPECT_EQ(0, calls[1].ploidy());
}

TEST_F(variant_calls, faults_are_told) {
    make(1, 2);
    read(call_fault::no_genotypes);
    call({bcf_gt_unphased(0), bcf_gt_unphased(0), bcf_gt_unphased(1)});
    read(call_fault::too_many_alleles);
    call({bcf_gt_unphased(0), bcf_gt_unphased(2)});
    read(call_fault::unknown_allele);
}

TEST_F(variant_calls, only_the_first_alt_of_two_alleles_is_packed) {
    make(1, 2);
    call({bcf_gt_unphased(0), bcf_gt_phased(1)});
    EXPECT_EQ("01", pack(1));
    EXPECT_FALSE(pack(2));
    make(1, 3);
    call({bcf_gt_unphased(0), bcf_gt_phased(1)});
    EXPECT_FALSE(pack(1));
}

// What a sample may have, from the most to the least usual.
struct random_sample {
    std::int32_t first, second;
    variant_call call;
};

random_sample draw_sample(std::mt19937& draws, int n_alleles, unsigned strangeness) {
    const auto below = [&draws](unsigned n) { return static_cast<int>(draws() % n); };
    const int first = below(static_cast<unsigned>(n_alleles)), second = below(static_cast<unsigned>(n_alleles));
    const bool first_bit = below(2) == 1;  // says nothing
    const auto coded = [](int allele, bool phased) { return phased ? bcf_gt_phased(allele) : bcf_gt_unphased(allele); };
    const bool strange = strangeness > 0 && draws() % strangeness == 0;
    switch (strange ? below(4) : 4) {
        case 0:
            return {bcf_gt_missing, bcf_gt_missing, {variant_call::missing, variant_call::missing, false}};
        case 1:
            return {coded(first, first_bit), bcf_int32_vector_end, {first, variant_call::absent, false}};
        case 2:
            return {coded(first, first_bit), bcf_gt_missing, {first, variant_call::missing, false}};
        case 3:
            return {coded(first, first_bit), coded(second, false), {first, second, false}};
        default:
            return {coded(first, first_bit), coded(second, true), {first, second, true}};
    }
}

TEST_F(variant_calls, random_records_are_read_and_packed_as_they_were_made) {
    std::mt19937 draws(7);
    std::size_t n_packed = 0, n_refused = 0;
    for (int round = 0; round < 1500; ++round) {
        const std::size_t n = 1 + draws() % 70;
        const int n_alleles = round % 5 == 4 ? 200 : round % 5 == 3 ? 3 : 2;  // 200 need two bytes each
        make(n, n_alleles);
        std::vector<random_sample> samples;
        std::vector<std::int32_t> values;
        std::optional<std::string> packed = "";
        for (std::size_t i = 0; i < n; ++i) {
            samples.push_back(draw_sample(draws, n_alleles, round % 2 == 0 ? 0 : 20));
            const random_sample& sample = samples.back();
            values.insert(values.end(), {sample.first, sample.second});
            const variant_call& call = sample.call;
            const bool plain = call.first >= 0 && call.second >= 0 && (call.phased || call.first == call.second);
            if (!plain || n_alleles != 2) packed.reset();
            if (packed) *packed += std::to_string(call.first) + std::to_string(call.second);
        }
        call(values);
        const std::vector<variant_call> calls = read();
        for (std::size_t i = 0; i < n; ++i) {
            EXPECT_EQ(samples[i].call.first, calls[i].first);
            EXPECT_EQ(samples[i].call.second, calls[i].second);
            EXPECT_EQ(samples[i].call.phased, calls[i].phased);
        }
        EXPECT_EQ(packed, pack(1)) << "round " << round;
        ++(packed ? n_packed : n_refused);
    }
    EXPECT_GT(n_packed, 200U);
    EXPECT_GT(n_refused, 200U);
}

}  // namespace
