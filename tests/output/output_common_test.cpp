#include "output/output_common.h"

#include <random>

#include "output_fixture.h"

namespace {

class output_common : public output_fixture {
  protected:
    std::string labels(int type) {
        snp site;
        for (std::size_t p = 0; p < 3; ++p) site.labels[p].a0 = std::to_string(p);
        return output_labels(run, site, type).a0;
    }
    std::string labels_by_type() { return labels(0) + labels(1) + labels(2) + labels(3); }
};

TEST_F(output_common, labels_with_haplotype_panel_are_those_of_panel_0) {
    EXPECT_EQ(labels_by_type(), "0002");
    run.params.g_ref_file = "ref.gen";
    EXPECT_EQ(labels_by_type(), "0002");
    run.params.g_ref_file = "NULL";
    run.params.h_files = {"ref.hap", "ref1.hap"};
    EXPECT_EQ(labels_by_type(), "0002");
}

TEST_F(output_common, labels_with_genotype_panel_alone_are_those_of_panel_1) {
    run.params.h_files.clear();
    run.params.g_ref_file = "ref.gen";
    EXPECT_EQ(labels_by_type(), "0112");
}

TEST_F(output_common, labels_without_reference_are_those_of_the_study) {
    run.params.h_files.clear();
    EXPECT_EQ(labels_by_type(), "0122");
}

TEST_F(output_common, names_get_gz_under_o_gz_even_twice) {
    run.params.o_file = "x.gz";
    EXPECT_EQ(output_name(run, "_haps"), "x.gz_haps");
    run.params.o_gz = true;
    EXPECT_EQ(output_name(run, ""), "x.gz.gz");
}

TEST_F(output_common, sites_are_selected_within_the_interval_ends_included) {
    for (const long position : {99L, 100L, 150L, 200L, 201L}) add_site(position, position == 150 ? 0 : 2);
    const auto all = select_sites(run, run.output_interval(), [](const snp&) { return true; });
    EXPECT_EQ(all, (std::vector<std::size_t>{1, 2, 3}));
    const auto typed = select_sites(run, run.output_interval(), [](const snp& site) { return site.type == 2; });
    EXPECT_EQ(typed, (std::vector<std::size_t>{1, 3}));
}

TEST_F(output_common, haploids_are_everybody_under_haploid_g_and_males_of_a_chrx_run) {
    give_study(2);
    EXPECT_EQ(haploid_individuals(run, 2), (std::vector<char>{0, 0}));
    run.params.haploid_g = run.panels[2].all_haploid = true;
    EXPECT_EQ(haploid_individuals(run, 2), (std::vector<char>{1, 1}));
    run.params.haploid_g = run.panels[2].all_haploid = false;
    give_ploidies(2, {1, 2, 1});
    EXPECT_EQ(haploid_individuals(run, 2), (std::vector<char>{1, 0, 1}));
}

TEST_F(output_common, known_haplotypes_of_all_and_any) {
    EXPECT_TRUE(all_have_known_haps(run));
    EXPECT_FALSE(any_has_known_haps(run));
    run.panels[2].ordered = {false, true};
    EXPECT_FALSE(all_have_known_haps(run));
    EXPECT_TRUE(any_has_known_haps(run));
    run.panels[2].ordered = {true, true};
    EXPECT_TRUE(all_have_known_haps(run));
}

TEST_F(output_common, genotype_is_missing_where_none_are_kept) {
    snp site;
    EXPECT_EQ(study_genotype(site, 4), missing_genotype);
    add_genotypes(site, {2, 0});
    EXPECT_EQ(study_genotype(site, 0), 2);
}

TEST_F(output_common, triple_of_a_haploid_has_no_heterozygote) {
    EXPECT_EQ(triple_of(0.25, 0.5, false), (genotype_triple{0.25, 0.25, 0.5}));
    EXPECT_EQ(triple_of(0.25, 0.5, true), (genotype_triple{0.5, 0.0, 0.5}));
}

TEST_F(output_common, input_triple_is_widened_and_zero_without_input) {
    snp site;
    EXPECT_EQ(input_triple(site, 1), (genotype_triple{0.0, 0.0, 0.0}));
    site.gtype_probs[2] = {1.0F, 0.0F, 0.0F, 0.1F, 0.2F, 0.7F};
    EXPECT_EQ(input_triple(site, 1), (genotype_triple{0.1F, 0.2F, 0.7F}));
}

TEST_F(output_common, call_is_the_first_of_equals_and_halved_for_a_haploid) {
    EXPECT_EQ(called_genotype({0.5, 0.5, 0.0}, false), 0);
    EXPECT_EQ(called_genotype({0.2, 0.4, 0.4}, false), 1);
    EXPECT_EQ(called_genotype({0.1, 0.6, 0.3}, true), 0);
    EXPECT_EQ(called_genotype({0.4, 0.0, 0.6}, true), 1);
}

TEST_F(output_common, dosage_and_its_variance) {
    EXPECT_DOUBLE_EQ(dosage({0.25, 0.5, 0.25}, false), 1.0);
    EXPECT_DOUBLE_EQ(dosage_variance({0.25, 0.5, 0.25}, false), 0.5);
    EXPECT_DOUBLE_EQ(dosage({0.75, 0.0, 0.25}, true), 0.25);
    EXPECT_DOUBLE_EQ(dosage_variance({0.75, 0.0, 0.25}, true), 0.1875);
}

TEST_F(output_common, tally_entry_is_the_rank_among_missing_at_study_sites_of_a_missing_only_run) {
    snp site;
    site.type = 2;
    add_genotypes(site, {3, 0, 3, 3});
    EXPECT_EQ(tally_entry(run, site, 2), 2);
    run.plan.count_missing_only = true;
    EXPECT_EQ(tally_entry(run, site, 0), 0);
    EXPECT_EQ(tally_entry(run, site, 1), -1);
    EXPECT_EQ(tally_entry(run, site, 2), 1);
    EXPECT_EQ(tally_entry(run, site, 3), 2);
    site.type = 0;
    EXPECT_EQ(tally_entry(run, site, 2), 2);
}

TEST_F(output_common, sums_of_one_individual_come_from_tables_or_tallies) {
    give_study(3);
    snp& site = add_site(150, 2);
    add_genotypes(site, {0, 3, 3});
    allocate();
    allocate_tallies();
    add_sums(site, 2, 0.5, 0.25);
    run.acc.tallies[0].miss_counts = {std::vector<int>{7, 8}, std::vector<int>{9, 10}};
    EXPECT_EQ(genotype_sums(run, 0, 2), (std::array<double, 2>{0.5, 0.25}));
    run.params.mc_impute = true;
    run.plan.count_missing_only = true;
    EXPECT_EQ(genotype_sums(run, 0, 2), (std::array<double, 2>{8.0, 10.0}));
    EXPECT_EQ(genotype_sums(run, 0, 0), (std::array<double, 2>{0.0, 0.0}));
    run.acc.tallies.clear();
    EXPECT_EQ(genotype_sums(run, 0, 2), (std::array<double, 2>{0.0, 0.0}));
}

TEST_F(output_common, block_gathers_what_the_tables_hold_and_zeros_elsewhere) {
    constexpr std::size_t n_rows = 70;
    std::array<sum_table, 2> tables;
    std::vector<int> column(40, -1);
    int n_columns = 0;
    for (std::size_t s = 0; s < column.size(); ++s) {
        if (s % 3 != 1) column[s] = n_columns++;
    }
    for (std::size_t g = 0; g < 2; ++g) {
        tables[g].allocate(n_rows, column, static_cast<std::size_t>(n_columns));
        for (std::size_t row = 0; row < n_rows; ++row) {
            for (std::size_t s = 0; s < column.size(); ++s) {
                tables[g].add(row, s, static_cast<double>(1000 * g + 100 * row + s + 1));
            }
        }
    }
    std::vector<std::size_t> sites;
    for (std::size_t s = 0; s < column.size(); s += 2) sites.push_back(s);
    sum_block block;
    std::size_t n_seen = 0;
    visit_blocks(sites, [&](std::span<const std::size_t> part) {
        ASSERT_LE(part.size(), sum_block::max_sites);
        block.gather(tables, n_rows, part);
        for (std::size_t j = 0; j < part.size(); ++j, ++n_seen) {
            ASSERT_EQ(part[j], sites[n_seen]);
            for (std::size_t row = 0; row < n_rows; ++row) {
                ASSERT_EQ(block.one(j, row), tables[0].get(row, part[j]));
                ASSERT_EQ(block.two(j, row), tables[1].get(row, part[j]));
            }
        }
    });
    EXPECT_EQ(n_seen, sites.size());
}

TEST_F(output_common, block_gathers_zeros_from_tables_without_values) {
    sum_block block;
    const std::vector<std::size_t> sites{0, 1};
    block.gather(std::array<sum_table, 2>{}, 2, sites);
    EXPECT_EQ(block.one(1, 1), 0.0);
    EXPECT_EQ(block.two(0, 0), 0.0);
}

TEST_F(output_common, block_gathers_tallies_by_individual_or_by_missing_entry) {
    give_study(3);
    add_site(150, 0);
    snp& typed = add_site(160, 2);
    add_genotypes(typed, {3, 1, 3});
    add_site(170, 0);
    run.params.mc_impute = true;
    run.plan.count_missing_only = true;
    run.acc.tallies.resize(2);  // none at the last site
    run.acc.tallies[0].miss_counts = {std::vector<int>{1, 2, 3}, std::vector<int>{4, 5, 6}};
    run.acc.tallies[1].miss_counts = {std::vector<int>{7, 8}, std::vector<int>{9, 10}};
    sum_block block;
    const std::vector<std::size_t> sites{0, 1, 2};
    block.gather(run, sites);
    EXPECT_EQ(block.one(0, 1), 2.0);
    EXPECT_EQ(block.two(0, 2), 6.0);
    EXPECT_EQ(block.one(1, 0), 7.0);
    EXPECT_EQ(block.one(1, 1), 0.0);
    EXPECT_EQ(block.two(1, 2), 10.0);
    EXPECT_EQ(block.two(2, 2), 0.0);
}

TEST_F(output_common, divisor_is_the_count_of_iterations_or_the_weights_at_imputed_sites) {
    give_study(2);
    snp& site = add_site(150, 1);
    allocate();
    run.acc.weight_sum[1] = {3.5, 4.5};
    EXPECT_EQ(sum_divisor(run, site, true)[1], 2.0);
    run.params.weight_imputed_gt = 0;
    EXPECT_EQ(sum_divisor(run, site, true)[1], 4.5);
    EXPECT_EQ(sum_divisor(run, site, false)[1], 2.0);
    run.params.mc_impute = true;
    EXPECT_EQ(sum_divisor(run, site, true)[1], 2.0);
}

TEST_F(output_common, comparison_passes_over_missing_genotypes) {
    comparison both;
    both.add({1.0, 0.0, 0.0}, missing_genotype, false);
    EXPECT_EQ(both.compared(), 0U);
    both.add({1.0, 0.0, 0.0}, 0, false);
    both.add({1.0, 0.0, 0.0}, 1, false);
    EXPECT_EQ(both.compared(), 2U);
    EXPECT_DOUBLE_EQ(both.concordance(), 0.5);
}

TEST_F(output_common, correlation_is_that_of_dosage_and_genotype) {
    comparison three;
    three.add({1.0, 0.0, 0.0}, 0, false);
    three.add({0.0, 1.0, 0.0}, 1, false);
    three.add({0.5, 0.5, 0.0}, 2, false);
    // dosages 0, 1, 0.5 and genotypes 0, 1, 2: covariance 0.25, variances 0.25 and 1
    EXPECT_NEAR(three.r2(), 0.25, 1e-12);
}

TEST_F(output_common, correlation_of_a_constant_list_is_minus_one) {
    comparison same_genotype;
    same_genotype.add({1.0, 0.0, 0.0}, 1, false);
    same_genotype.add({0.0, 1.0, 0.0}, 1, false);
    EXPECT_EQ(same_genotype.r2(), -1.0);
    comparison same_dosage;
    same_dosage.add({0.5, 0.5, 0.0}, 0, false);
    same_dosage.add({0.5, 0.5 + 1e-12, 0.0}, 1, false);
    EXPECT_EQ(same_dosage.r2(), -1.0);
    comparison single;
    single.add({0.5, 0.5, 0.0}, 0, false);
    EXPECT_EQ(single.r2(), -1.0);
}

TEST_F(output_common, comparison_of_haploids_halves_genotype_and_call) {
    comparison haploid;
    haploid.add({0.4, 0.0, 0.6}, 2, true);
    haploid.add({0.7, 0.0, 0.3}, 0, true);
    EXPECT_DOUBLE_EQ(haploid.concordance(), 1.0);
    haploid.add({0.2, 0.6, 0.2}, 0, true);  // a heterozygous call counts as allele 0
    EXPECT_DOUBLE_EQ(haploid.concordance(), 1.0);
}

TEST_F(output_common, comparison_columns) {
    {
        result_file file(run.log, path("_columns"), false);
        comparison pair;
        pair.write(file);
        file.end_line();
        pair.add({1.0, 0.0, 0.0}, 0, false);
        pair.add({0.0, 0.0, 1.0}, 1, false);
        pair.write(file, true);
        file.end_line();
        pair.clear();
        pair.write(file, true);
        file.end_line();
    }
    EXPECT_EQ(text_of(path("_columns")), " -1 -1\n0.500 1.000\n-1 -1\n");
}

TEST_F(output_common, site_rows_hold_the_alleles_of_all_haplotypes) {
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

TEST_F(output_common, probabilities_print_as_the_standard_library_rounds_them) {
    std::mt19937_64 generator(11);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::vector<double> values{0.0005, 0.001,      0.0015, 0.0625, 0.125, 0.5,
                               0.9995, 0.99949999, 0.999,  1.0,    0.0,   0.00099999};
    for (int k = 0; k < 20000; ++k) values.push_back(uniform(generator));
    for (int k = 0; k < 2000; ++k)
        values.push_back(std::round(uniform(generator) * 4096.0) / 4096.0);  // many exact ties
    for (const int decimals : {0, 1, 3, 4, 8, 9, 12}) {
        const double low = smallest_printed(decimals);
        {
            result_file file(run.log, path("_many"), false);
            file.probabilities(values, decimals, low);
        }
        std::string expected;
        for (const double value : values) {
            std::array<char, 64> text{};
            std::snprintf(text.data(), text.size(), " %.*f", decimals, value);
            expected += value < low ? " 0" : value > 1.0 - low ? " 1" : text.data();
        }
        EXPECT_TRUE(text_of(path("_many")) == expected) << decimals;
    }
}

}  // namespace
