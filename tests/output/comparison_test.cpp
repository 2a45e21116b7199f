#include "output/comparison.h"

#include "output_fixture.h"

namespace {

class comparisons : public output_fixture {};

TEST_F(comparisons, comparison_passes_over_missing_genotypes) {
    comparison both;
    both.add({1.0, 0.0, 0.0}, missing_genotype, false);
    EXPECT_EQ(both.compared(), 0U);
    both.add({1.0, 0.0, 0.0}, 0, false);
    both.add({1.0, 0.0, 0.0}, 1, false);
    EXPECT_EQ(both.compared(), 2U);
    EXPECT_DOUBLE_EQ(*both.result().concordance, 0.5);
}

TEST_F(comparisons, correlation_is_that_of_dosage_and_genotype) {
    comparison three;
    three.add({1.0, 0.0, 0.0}, 0, false);
    three.add({0.0, 1.0, 0.0}, 1, false);
    three.add({0.5, 0.5, 0.0}, 2, false);
    // dosages 0, 1, 0.5 and genotypes 0, 1, 2: covariance 0.25, variances 0.25 and 1
    EXPECT_NEAR(*three.result().r2, 0.25, 1e-12);
}

TEST_F(comparisons, correlation_of_a_constant_list_is_minus_one) {
    comparison same_genotype;
    same_genotype.add({1.0, 0.0, 0.0}, 1, false);
    same_genotype.add({0.0, 1.0, 0.0}, 1, false);
    EXPECT_EQ(*same_genotype.result().r2, -1.0);
    comparison same_dosage;
    same_dosage.add({0.5, 0.5, 0.0}, 0, false);
    same_dosage.add({0.5, 0.5 + 1e-12, 0.0}, 1, false);
    EXPECT_EQ(*same_dosage.result().r2, -1.0);
    comparison single;
    single.add({0.5, 0.5, 0.0}, 0, false);
    EXPECT_EQ(*single.result().r2, -1.0);
}

TEST_F(comparisons, comparison_of_haploids_halves_genotype_and_call) {
    comparison haploid;
    haploid.add({0.4, 0.0, 0.6}, 2, true);
    haploid.add({0.7, 0.0, 0.3}, 0, true);
    EXPECT_DOUBLE_EQ(*haploid.result().concordance, 1.0);
    haploid.add({0.2, 0.6, 0.2}, 0, true);  // a heterozygous call counts as allele 0
    EXPECT_DOUBLE_EQ(*haploid.result().concordance, 1.0);
}

TEST_F(comparisons, figures_have_three_decimals_and_undefined_ones_are_minus_1) {
    comparison pair;
    EXPECT_EQ(pair.result().concordance, std::nullopt);
    EXPECT_EQ(pair.result().r2, std::nullopt);
    pair.add({1.0, 0.0, 0.0}, 0, false);
    pair.add({0.0, 0.0, 1.0}, 1, false);
    {
        result_file file(run.log, path("_figures"), false);
        write_figure(file, pair.result().concordance);
        file.character(' ');
        write_figure(file, pair.result().r2);
        pair.clear();
        file.character(' ');
        write_figure(file, pair.result().r2);
        file.end_line();
    }
    EXPECT_EQ(text_of(path("_figures")), "0.500 1.000 -1\n");
}

}  // namespace
