#include "inference/states/cut_alleles.h"

#include <gtest/gtest.h>

#include <vector>

#include "inference/inference_tools.h"

namespace {

packed_haplotypes random_haplotypes(input_source& source, std::size_t n_hap, std::size_t n_sites) {
    packed_haplotypes haps(n_hap, n_sites);
    for (std::size_t h = 0; h < n_hap; ++h) {
        for (std::size_t s = 0; s < n_sites; ++s) haps.set(h, s, source.integer(0, 1));
    }
    return haps;
}

TEST(cut_alleles, are_those_at_the_sites_by_site_and_by_haplotype) {
    input_source source(1);
    const packed_haplotypes haps = random_haplotypes(source, 150, 400);
    std::vector<std::size_t> sites;
    for (std::size_t s = 0; s < 400; ++s) {
        if (s < 70 || (s > 200 && source.chance(0.3))) sites.push_back(s);
    }
    for (const std::size_t n : {1U, 5U, 64U}) {
        constexpr std::size_t first = 37;
        const std::size_t words = bits::words_for(sites.size());
        std::vector<std::uint64_t> columns(64 * words, 0), rows(n * words, ~std::uint64_t{0});
        cut_columns(haps, first, n, sites, columns.data());
        turn_columns(columns.data(), words, n, rows.data());
        for (std::size_t i = 0; i < sites.size(); ++i) {
            std::uint64_t expected = 0;
            for (std::size_t h = 0; h < n; ++h) {
                const bool one = haps.allele(first + h, sites[i]) == 1;
                expected |= std::uint64_t{one ? 1U : 0U} << h;
                EXPECT_EQ(one, bits::get(rows.data() + h * words, i)) << "haplotype " << h << ", site " << i;
            }
            EXPECT_EQ(expected, columns[i]) << "site " << i;
        }
        for (std::size_t i = sites.size(); i < 64 * words; ++i) EXPECT_FALSE(bits::get(rows.data(), i));
    }
}

TEST(cut_alleles, at_no_site_are_none) {
    const packed_haplotypes haps(3, 10);
    std::vector<std::uint64_t> columns, rows{5};
    cut_columns(haps, 0, 3, {}, columns.data());
    turn_columns(columns.data(), 0, 3, rows.data());
    EXPECT_EQ(5U, rows[0]);
}

}  // namespace
