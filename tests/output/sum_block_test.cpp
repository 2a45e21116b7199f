#include "output/sum_block.h"

#include "output_fixture.h"

namespace {

class sums_of_sites : public output_fixture {};

TEST_F(sums_of_sites, genotype_is_missing_where_none_are_kept) {
    snp site;
    EXPECT_EQ(study_genotype(site, 4), missing_genotype);
    add_genotypes(site, {2, 0});
    EXPECT_EQ(study_genotype(site, 0), 2);
}

TEST_F(sums_of_sites, tally_entry_is_the_rank_among_missing_at_study_sites_of_a_missing_only_run) {
    snp site;
    site.type = 2;
    add_genotypes(site, {3, 0, 3, 3});
    EXPECT_EQ(tally_entry(run.plan, site, 2), 2);
    run.plan.count_missing_only = true;
    EXPECT_EQ(tally_entry(run.plan, site, 0), 0);
    EXPECT_EQ(tally_entry(run.plan, site, 1), std::nullopt);
    EXPECT_EQ(tally_entry(run.plan, site, 2), 1);
    EXPECT_EQ(tally_entry(run.plan, site, 3), 2);
    site.type = 0;
    EXPECT_EQ(tally_entry(run.plan, site, 2), 2);
}

TEST_F(sums_of_sites, sums_of_one_individual_come_from_tables_or_tallies) {
    give_study(3);
    snp& site = add_site(150, 2);
    add_genotypes(site, {0, 3, 3});
    allocate();
    allocate_tallies();
    add_sums(site, 2, 0.5, 0.25);
    run.acc.tallies[0].miss_counts = {std::vector<int>{7, 8}, std::vector<int>{9, 10}};
    genotype_sums sums(results, sum_reader::order::site_by_site);
    EXPECT_EQ(sums.get(0, 2), (std::array<double, 2>{0.5, 0.25}));
    run.params.mc_impute = true;
    run.plan.count_missing_only = true;
    EXPECT_EQ(sums.get(0, 2), (std::array<double, 2>{8.0, 10.0}));
    EXPECT_EQ(sums.get(0, 0), (std::array<double, 2>{0.0, 0.0}));
    run.acc.tallies.clear();
    EXPECT_EQ(sums.get(0, 2), (std::array<double, 2>{0.0, 0.0}));
}

// Tables of some rows and sites, with a number of its own at each site that has a column; two in three have one.
std::array<sum_table, 2> filled_tables(std::size_t n_rows, std::size_t n_sites, const std::string* directory) {
    std::array<sum_table, 2> tables;
    std::vector<int> column(n_sites, -1);
    int n_columns = 0;
    for (std::size_t s = 0; s < n_sites; ++s) {
        if (s % 3 != 1) column[s] = n_columns++;
    }
    for (std::size_t g = 0; g < 2; ++g) {
        tables[g].allocate(n_rows, column, static_cast<std::size_t>(n_columns), directory);
        for (std::size_t r = 0; r < n_rows; ++r) {
            sum_row row(tables[g], r);
            for (std::size_t s = 0; s < n_sites; ++s) row.add(s, static_cast<double>(1000000 * g + 1000 * r + s + 1));
            row.put_back();
        }
    }
    return tables;
}

TEST_F(sums_of_sites, block_gathers_what_the_tables_hold_and_zeros_elsewhere) {
    constexpr std::size_t n_rows = 70, n_sites = 40;
    const std::array<sum_table, 2> tables = filled_tables(n_rows, n_sites, nullptr);
    std::vector<std::size_t> sites;
    for (std::size_t s = 0; s < n_sites; s += 2) sites.push_back(s);
    sum_block block;
    std::size_t n_seen = 0;
    visit_blocks(sites, [&](std::span<const std::size_t> part) {
        ASSERT_LE(part.size(), sum_block::max_sites);
        block.gather(tables, {0, n_rows}, part);
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

TEST_F(sums_of_sites, block_gathers_from_a_file_what_it_gathers_from_memory) {
    constexpr std::size_t n_rows = 8200, n_sites = 260;  // of so many rows 64 columns are read at once
    const std::string directory = ::testing::TempDir();
    const std::array<sum_table, 2> tables = filled_tables(n_rows, n_sites, nullptr);
    const std::array<sum_table, 2> in_file = filled_tables(n_rows, n_sites, &directory);
    std::vector<std::size_t> sites;
    for (std::size_t s = 5; s < n_sites; s += s < 100 ? 1 : 9) sites.push_back(s);
    for (const row_range rows : {row_range{0, n_rows}, row_range{8000, 64}}) {
        sum_block block, expected;
        visit_blocks(sites, [&](std::span<const std::size_t> part) {
            block.gather(in_file, rows, part);
            expected.gather(tables, rows, part);
            for (std::size_t j = 0; j < part.size(); ++j) {
                for (std::size_t row = 0; row < rows.n; ++row) {
                    ASSERT_EQ(expected.one(j, row), block.one(j, row)) << part[j];
                    ASSERT_EQ(expected.two(j, row), block.two(j, row)) << part[j];
                }
            }
        });
    }
}

TEST_F(sums_of_sites, block_gathers_zeros_from_tables_without_values) {
    sum_block block;
    const std::vector<std::size_t> sites{0, 1};
    block.gather(std::array<sum_table, 2>{}, {0, 2}, sites);
    EXPECT_EQ(block.one(1, 1), 0.0);
    EXPECT_EQ(block.two(0, 0), 0.0);
}

TEST_F(sums_of_sites, block_gathers_tallies_by_individual_or_by_missing_entry) {
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
    block.gather(results, {0, 3}, sites);
    EXPECT_EQ(block.one(0, 1), 2.0);
    EXPECT_EQ(block.two(0, 2), 6.0);
    EXPECT_EQ(block.one(1, 0), 7.0);
    EXPECT_EQ(block.one(1, 1), 0.0);
    EXPECT_EQ(block.two(1, 2), 10.0);
    EXPECT_EQ(block.two(2, 2), 0.0);
}

TEST_F(sums_of_sites, block_gathers_a_range_of_individuals) {
    give_study(4);
    snp& typed = add_site(150, 2);
    add_genotypes(typed, {3, 1, 3, 3});
    allocate();
    for (std::size_t i = 0; i < 4; ++i) add_sums(typed, i, static_cast<double>(i), 0.5);
    sum_block block;
    const std::vector<std::size_t> sites{0};
    block.gather(results, {2, 2}, sites);
    EXPECT_EQ(block.one(0, 0), 2.0);
    EXPECT_EQ(block.one(0, 1), 3.0);
    run.params.mc_impute = run.plan.count_missing_only = true;
    run.acc.tallies.resize(1);
    run.acc.tallies[0].miss_counts = {std::vector<int>{7, 8, 9}, std::vector<int>{0, 0, 0}};
    block.gather(results, {2, 2}, sites);
    EXPECT_EQ(block.one(0, 0), 8.0);
    EXPECT_EQ(block.one(0, 1), 9.0);
}

}  // namespace
