#include "output/site_quality.h"

#include <cmath>

#include "output_fixture.h"

namespace {

class site_qualities : public output_fixture {
  protected:
    // The only site.
    site_quality measured(bool compared = true) {
        const std::vector<std::size_t> sites{0};
        quality_block block(results, compared);
        block.load(sites);
        return block.measure(0);
    }
};

TEST_F(site_qualities, measure_is_one_less_the_share_of_unexplained_variance) {
    info_measure measure;
    measure.add({0.25, 0.5, 0.25}, false);
    measure.add({1.0, 0.0, 0.0}, false);
    EXPECT_DOUBLE_EQ(measure.frequency(), 0.25);
    EXPECT_DOUBLE_EQ(measure.info(), 1.0 - 0.5 / 0.75);
    info_measure fixed;
    fixed.add({0.0, 0.0, 1.0}, true);
    EXPECT_EQ(fixed.info(), 1.0);
    EXPECT_TRUE(std::isnan(info_measure().frequency()));
}

TEST_F(site_qualities, imputed_site_has_no_comparisons) {
    give_study(1);
    snp& site = add_site(150, 0);
    allocate();
    run.params.pgs = true;
    run.plan.selfcheck_iters = {1};
    add_sums(site, 0, 1.0, 0.5);
    const site_quality quality = measured();
    EXPECT_DOUBLE_EQ(quality.frequency, 0.5);
    EXPECT_DOUBLE_EQ(quality.certainty, 0.5);
    EXPECT_EQ(quality.posterior.r2, std::nullopt);
    EXPECT_EQ(quality.masked_info[0], std::nullopt);
}

TEST_F(site_qualities, typed_site_is_compared_as_far_as_it_is_asked_for) {
    give_study(2);
    snp& site = add_site(150, 2);
    add_genotypes(site, {0, 2});
    allocate();
    run.params.pgs = true;
    run.plan.selfcheck_iters = {1, 3};
    run.plan.output_types[1] = false;
    add_sums(site, 1, 0.0, 2.0);
    add_masked_sums(0, site, 0, 2.0, 0.0);
    const site_quality quality = measured();
    EXPECT_DOUBLE_EQ(quality.posterior.concordance.value(), 1.0);
    EXPECT_DOUBLE_EQ(quality.masked[0].concordance.value(), 0.0);
    EXPECT_DOUBLE_EQ(quality.masked_info[0].value(), 1.0);
    EXPECT_EQ(quality.masked[1].concordance, std::nullopt);
    EXPECT_EQ(measured(false).posterior.concordance, std::nullopt);
    EXPECT_EQ(measured(false).masked_info[0], std::nullopt);
}

TEST_F(site_qualities, haploid_whose_input_was_not_kept_takes_its_genotype_and_not_the_frequency) {
    give_ploidies(2, {1, 1});
    snp& site = add_site(150, 3);
    site.gtypes[2] = {2, 0};
    site.labels[2].freq = 0.125;
    allocate();
    EXPECT_DOUBLE_EQ(measured().frequency, 0.5);
    EXPECT_DOUBLE_EQ(measured().certainty, 1.0);
}

}  // namespace
