#include "output/posterior_genotypes.h"

#include <cmath>

#include "output_fixture.h"

namespace {

class posterior_genotypes : public output_fixture {};

TEST_F(posterior_genotypes, input_triple_is_widened_and_zero_without_input) {
    snp site;
    EXPECT_EQ(input_triple(site, 1, false), (genotype_triple{0.0, 0.0, 0.0}));
    site.gtype_probs[2] = {1.0F, 0.0F, 0.0F, 0.1F, 0.2F, 0.7F};
    EXPECT_EQ(input_triple(site, 1, false), (genotype_triple{0.1F, 0.2F, 0.7F}));
}

TEST_F(posterior_genotypes, genotype_stands_in_for_input_that_was_not_kept) {
    snp site;
    site.gtypes[2] = {0, 1, 2, missing_genotype};
    EXPECT_EQ(input_triple(site, 0, false), (genotype_triple{1.0, 0.0, 0.0}));
    EXPECT_EQ(input_triple(site, 1, false), (genotype_triple{0.0, 1.0, 0.0}));
    EXPECT_EQ(input_triple(site, 2, true), (genotype_triple{0.0, 0.0, 1.0}));
    EXPECT_EQ(input_triple(site, 3, false), (genotype_triple{1.0F / 3.0F, 1.0F / 3.0F, 1.0F / 3.0F}));
    EXPECT_EQ(input_triple(site, 3, true), (genotype_triple{0.5, 0.0, 0.5}));
}

TEST_F(posterior_genotypes, one_triple_is_divided_by_iterations_or_by_weights_at_imputed_sites) {
    give_study(2);
    add_site(150, 1);
    const std::array<double, 2> sums{0.5, 1.0};
    run.acc.weight_sum[1] = {3.0, 4.0};
    EXPECT_EQ(posterior_triple(results, sums, 0, 1, false, true), (genotype_triple{0.25, 0.25, 0.5}));
    run.params.weight_imputed_gt = 0;
    EXPECT_EQ(posterior_triple(results, sums, 0, 1, false, true), (genotype_triple{0.625, 0.125, 0.25}));
    EXPECT_EQ(posterior_triple(results, sums, 0, 1, false, false), (genotype_triple{0.25, 0.25, 0.5}));
    EXPECT_EQ(posterior_triple(results, sums, 0, 1, true, true), (genotype_triple{0.75, 0.0, 0.25}));
    run.acc.weight_sum[1] = {0.0, 0.0};  // no iterations
    EXPECT_EQ(posterior_triple(results, sums, 0, 1, false, true), (genotype_triple{0.25, 0.25, 0.5}));
    run.acc.weight_sum[1] = {3.0, 4.0};
    run.params.mc_impute = true;
    EXPECT_EQ(posterior_triple(results, {1.0, 1.0}, 0, 1, false, true), (genotype_triple{0.0, 0.5, 0.5}));
}

TEST_F(posterior_genotypes, block_divides_by_the_weights_of_a_range_at_imputed_sites_only) {
    give_study(3);
    snp& imputed = add_site(150, 0);
    snp& typed = add_site(160, 2);
    add_genotypes(typed, {0, 0, 0});
    allocate();
    run.params.weight_imputed_gt = 0;
    run.acc.weight_sum[0] = {1.0, 4.0, 0.0};
    for (std::size_t i = 0; i < 2; ++i) {
        add_sums(imputed, i, 0.0, 1.0);
        add_sums(typed, i, 0.0, 1.0);
    }
    const std::vector<std::size_t> sites{0, 1};
    genotype_block block(results, triple_source::posterior);
    block.load(sites, {1, 2});
    EXPECT_EQ(block.n_individuals(), 2U);
    EXPECT_EQ(block.triples(0)[0], (genotype_triple{0.75, 0.0, 0.25}));
    EXPECT_TRUE(std::isnan(block.triples(0)[1][2]));  // no weight at all
    EXPECT_EQ(block.triples(1)[0], (genotype_triple{0.5, 0.0, 0.5}));
}

TEST_F(posterior_genotypes, masked_sums_are_divided_by_selfcheck_iterations_and_prephased_ones_by_all) {
    give_study(1);
    snp& site = add_site(150, 2);
    add_genotypes(site, {0});
    allocate();
    run.plan.selfcheck_iters = {1, 2, 3, 4};
    run.params.weight_panel = 1;
    add_masked_sums(0, site, 0, 1.0, 2.0);
    add_masked_sums(1, site, 0, 0.0, 1.0);
    const std::vector<std::size_t> sites{0};
    for (const auto& [source, expected] : {std::pair{triple_source::masked_0, genotype_triple{0.25, 0.25, 0.5}},
                                           std::pair{triple_source::masked_1, genotype_triple{0.75, 0.0, 0.25}},
                                           std::pair{triple_source::prephased, genotype_triple{0.5, 0.0, 0.5}},
                                           std::pair{triple_source::none, genotype_triple{0.0, 0.0, 0.0}},
                                           std::pair{triple_source::input, genotype_triple{1.0, 0.0, 0.0}}}) {
        genotype_block block(results, source);
        block.load(sites);
        EXPECT_EQ(block.triples(0)[0], expected) << static_cast<int>(source);
    }
}

TEST_F(posterior_genotypes, sites_of_a_block_have_their_own_sources_in_any_order) {
    give_study(1);
    snp& imputed = add_site(150, 0);
    add_genotypes(add_site(160, 2), {1});
    snp& last = add_site(170, 0);
    allocate();
    add_sums(imputed, 0, 0.0, 1.0);
    add_sums(last, 0, 0.0, 2.0);
    const std::vector<std::size_t> sites{0, 1, 2};
    genotype_block block = main_genotypes(results);
    block.load(sites);
    EXPECT_EQ(block.triples(2)[0], (genotype_triple{0.0, 0.0, 1.0}));
    EXPECT_EQ(block.triples(1)[0], (genotype_triple{0.0, 1.0, 0.0}));
    EXPECT_EQ(block.triples(0)[0], (genotype_triple{0.5, 0.0, 0.5}));
    EXPECT_EQ(block.source(1), triple_source::input);
}

TEST_F(posterior_genotypes, quality_is_told_from_posteriors_where_main_output_has_masked_triples) {
    give_study(1);
    add_genotypes(add_site(150, 2), {1});
    add_genotypes(add_site(160, 3), {1});
    allocate();
    run.params.use_prephased_g = run.params.pgs = true;
    run.params.weight_panel = 0;
    run.params.store_input_probs = {false, false};
    const std::vector<std::size_t> sites{0, 1};
    genotype_block main = main_genotypes(results);
    genotype_block quality = quality_genotypes(results);
    main.load(sites);
    quality.load(sites);
    EXPECT_EQ(main.source(0), triple_source::prephased);
    EXPECT_EQ(quality.source(0), triple_source::posterior);
    EXPECT_EQ(quality.source(1), triple_source::none);
}

}  // namespace
