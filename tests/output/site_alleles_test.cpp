#include "output/site_alleles.h"

#include <random>

#include "output_fixture.h"

namespace {

class alleles_by_site : public output_fixture {};

TEST_F(alleles_by_site, site_rows_hold_the_alleles_of_all_haplotypes) {
    std::mt19937 generator(7);
    packed_haplotypes haps(130, 150);
    for (std::size_t h = 0; h < 130; ++h) {
        for (std::size_t s = 0; s < 150; ++s) haps.set(h, s, static_cast<int>(generator() % 2));
    }
    site_alleles alleles(haps);
    for (const std::size_t s : {std::size_t{0}, std::size_t{63}, std::size_t{64}, std::size_t{149}, std::size_t{5}}) {
        const std::uint64_t* row = alleles.row(s);
        for (std::size_t h = 0; h < 130; ++h) ASSERT_EQ(allele_digit(row, h) - '0', haps.allele(h, s)) << s << " " << h;
        ASSERT_EQ(row[2] >> 2, 0U);  // nothing past the last haplotype
    }
}

}  // namespace
