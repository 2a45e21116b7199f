#include "model/packed_haplotypes.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "inference/inference_tools.h"

namespace {

TEST(packed_haplotypes, begin_with_zeros_and_no_site) {
    const packed_haplotypes haps(3, 130);
    EXPECT_EQ(3U, haps.n_hap());
    EXPECT_EQ(130U, haps.n_sites());
    EXPECT_EQ(8U, haps.row_words());
    for (std::size_t s = 0; s < 130; ++s) {
        EXPECT_FALSE(haps.holds(s));
        for (std::size_t h = 0; h < 3; ++h) EXPECT_EQ(0, haps.allele(h, s));
    }
    const packed_haplotypes none;
    EXPECT_EQ(0U, none.n_hap());
    EXPECT_EQ(0U, none.n_sites());
}

TEST(packed_haplotypes, keep_what_is_set) {
    input_source source(1);
    packed_haplotypes haps(7, 150);
    std::array<std::array<int, 150>, 7> expected{};
    for (int change = 0; change < 3000; ++change) {
        const auto h = static_cast<std::size_t>(source.integer(0, 6));
        const auto s = static_cast<std::size_t>(source.integer(0, 149));
        const int code = source.integer(0, 2);  // a missing allele is stored as a zero
        haps.set(h, s, code);
        expected[h][s] = code == 1 ? 1 : 0;
    }
    for (std::size_t h = 0; h < 7; ++h) {
        for (std::size_t s = 0; s < 150; ++s) {
            ASSERT_EQ(expected[h][s], haps.allele(h, s));
            ASSERT_EQ(expected[h][s] == 1, bits::get(haps.row(h), s));
        }
        for (std::size_t s = 150; s < 192; ++s) ASSERT_FALSE(bits::get(haps.row(h), s));
    }
}

TEST(packed_haplotypes, change_the_version_of_a_changed_haplotype_alone) {
    packed_haplotypes haps(2, 10);
    const auto first = haps.version(0), second = haps.version(1);
    const auto n_changes = haps.n_changes();
    haps.set(1, 3, 1);
    EXPECT_GT(haps.n_changes(), n_changes);
    EXPECT_EQ(first, haps.version(0));
    EXPECT_GT(haps.version(1), second);
}

TEST(packed_haplotypes, know_the_sites_of_their_panel) {
    packed_haplotypes haps(1, 100);
    haps.set_holds(0);
    haps.set_holds(64);
    haps.set_holds(99);
    for (std::size_t s = 0; s < 100; ++s) EXPECT_EQ(s == 0 || s == 64 || s == 99, haps.holds(s));
}

TEST(packed_haplotypes, are_filled_from_rows_of_sites) {
    input_source source(2);
    for (const std::size_t n_hap : {1U, 63U, 64U, 65U, 130U}) {
        constexpr std::size_t n_sites = 150;
        packed_haplotypes haps(n_hap, n_sites);
        const std::size_t words = bits::words_for(n_hap);
        std::vector<std::vector<std::uint64_t>> rows(n_sites);
        for (auto& row : rows) {
            if (source.chance(0.2)) continue;  // the panel does not hold the site
            row.assign(words, 0);
            for (std::size_t h = 0; h < n_hap; ++h) bits::set(row.data(), h, source.chance(0.5));
        }
        for (std::size_t first = 0; first < n_sites; first += bits::word_bits) {
            const std::size_t n = std::min(bits::word_bits, n_sites - first);
            std::vector<const std::uint64_t*> block;
            for (std::size_t j = 0; j < n; ++j) {
                block.push_back(rows[first + j].empty() ? nullptr : rows[first + j].data());
            }
            haps.fill(first, block.data(), n);
        }
        for (std::size_t s = 0; s < n_sites; ++s) {
            ASSERT_EQ(!rows[s].empty(), haps.holds(s));
            for (std::size_t h = 0; h < n_hap; ++h) {
                ASSERT_EQ(!rows[s].empty() && bits::get(rows[s].data(), h), haps.allele(h, s) == 1)
                    << "haplotype " << h << " site " << s;
            }
        }
    }
}

TEST(transposed_bits, swap_rows_and_columns) {
    input_source source(3);
    std::array<std::uint64_t, 64> block{};
    for (auto& word : block) word = source.word();
    const auto original = block;
    transpose_bits(block.data());
    for (std::size_t i = 0; i < 64; ++i) {
        for (std::size_t j = 0; j < 64; ++j) ASSERT_EQ((original[i] >> j) & 1U, (block[j] >> i) & 1U);
    }
    transpose_bits(block.data());
    EXPECT_EQ(original, block);
}

}  // namespace
