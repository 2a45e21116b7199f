#include "output/genotype_triple.h"

#include <gtest/gtest.h>

namespace {

TEST(genotype_triples, triple_of_a_haploid_has_no_heterozygote) {
    EXPECT_EQ(triple_of(0.25, 0.5, false), (genotype_triple{0.25, 0.25, 0.5}));
    EXPECT_EQ(triple_of(0.25, 0.5, true), (genotype_triple{0.5, 0.0, 0.5}));
}

TEST(genotype_triples, call_is_the_first_of_equals_and_halved_for_a_haploid) {
    EXPECT_EQ(called_genotype({0.5, 0.5, 0.0}, false), 0);
    EXPECT_EQ(called_genotype({0.2, 0.4, 0.4}, false), 1);
    EXPECT_EQ(called_genotype({0.1, 0.6, 0.3}, true), 0);
    EXPECT_EQ(called_genotype({0.4, 0.0, 0.6}, true), 1);
}

TEST(genotype_triples, dosage_and_its_variance) {
    EXPECT_DOUBLE_EQ(dosage({0.25, 0.5, 0.25}, false), 1.0);
    EXPECT_DOUBLE_EQ(dosage_variance({0.25, 0.5, 0.25}, false), 0.5);
    EXPECT_DOUBLE_EQ(dosage({0.75, 0.0, 0.25}, true), 0.25);
    EXPECT_DOUBLE_EQ(dosage_variance({0.75, 0.0, 0.25}, true), 0.1875);
}

}  // namespace
