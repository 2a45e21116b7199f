#include "output/genotype_counts.h"

#include "output_fixture.h"

namespace {

class genotype_counts : public output_fixture {
  protected:
    std::string wt(const std::string& ending = "_gtcounts_wt_iter4") { return text_of(path(ending)); }
};

TEST_F(genotype_counts, counts_of_sampled_genotypes_by_individual) {
    give_study(2);
    snp& typed = add_site(120, 2);
    add_genotypes(typed, {0, 3});
    add_site(130, 0);
    allocate();
    allocate_tallies();
    run.params.mc_impute = true;
    run.acc.tallies[0].miss_counts = {std::vector<int>{1, 2}, std::vector<int>{3, 0}};
    run.acc.tallies[1].miss_counts = {std::vector<int>{0, 5}, std::vector<int>{0, 0}};
    write_genotype_counts(results, 8, 5);
    EXPECT_EQ(text_of(path("_gtcounts_iter9")),
              "SNP120 rs120 120 a0 b0 1 1 3 3 2 0\n--- rs130 130 a0 b0 5 0 0 0 5 0\n");
}

TEST_F(genotype_counts, counts_of_missing_entries) {
    give_study(2);
    snp& typed = add_site(120, 2);
    add_genotypes(typed, {0, 3});
    allocate();
    run.params.mc_impute = run.params.pgs_miss = run.plan.count_missing_only = true;
    run.acc.tallies.resize(1);
    run.acc.tallies[0].miss_counts = {std::vector<int>{2}, std::vector<int>{1}};
    write_genotype_counts(results, 0, 4);
    EXPECT_EQ(fields_of(path("_gtcounts_iter1"), 0, 5), "4 0 0 1 2 1");
}

TEST_F(genotype_counts, run_that_samples_nothing_has_counted_nothing) {
    give_study(1);
    snp& site = add_site(120, 0);
    allocate();
    add_sums(site, 0, 1.5, 0.5);
    write_genotype_counts(results, 0, 2);
    EXPECT_EQ(fields_of(path("_gtcounts_iter1"), 0, 5), "2 0 0");
}

TEST_F(genotype_counts, sums_have_six_digits) {
    give_study(2);
    snp& site = add_site(120, 0);
    allocate();
    add_sums(site, 0, 0.12345678, 1.74046512e-5);
    write_genotype_sums(results, 3, 2);
    EXPECT_EQ(wt(), "--- rs120 120 a0 b0 1.87653 0.123457 1.74047e-05 2 0 0\n");
}

TEST_F(genotype_counts, sites_follow_the_main_interval_whatever_their_type_bit) {
    give_study(1);
    add_site(60, 0);
    add_site(120, 1);
    add_genotypes(add_site(130, 3), {0});
    allocate();
    run.plan.output_types = {true, false, true, true};
    run.params.include_buffer_in_output = run.params.include_buffer_in_output_haps_only = true;
    write_genotype_sums(results, 3, 2);
    EXPECT_EQ(wt(), "--- rs120 120 a0 b0 2 0 0\n");
}

TEST_F(genotype_counts, study_only_sites_count_without_reference) {
    give_study(1);
    give_no_reference();
    add_genotypes(add_site(130, 3), {0});
    allocate();
    write_genotype_sums(results, 3, 2);
    EXPECT_EQ(wt(), "SNP130 rs130 130 a2 b2 2 0 0\n");
}

TEST_F(genotype_counts, listed_positions_are_the_only_ones) {
    give_study(1);
    for (const long position : {110L, 120L, 130L}) add_site(position, 0);
    allocate();
    run.params.intermed_posns_file = "positions";
    run.plan.intermed_posns = {130, 999, 110};
    write_genotype_sums(results, 3, 2);
    EXPECT_EQ(wt(), "--- rs110 110 a0 b0 2 0 0\n--- rs130 130 a0 b0 2 0 0\n");
    run.plan.intermed_posns.clear();
    write_genotype_sums(results, 3, 2);
    EXPECT_EQ(wt(), "");
}

TEST_F(genotype_counts, files_are_compressed_under_o_gz) {
    give_study(1);
    add_site(110, 0);
    allocate();
    run.params.o_gz = true;
    write_genotype_counts(results, 0, 1);
    write_genotype_sums(results, 0, 1);
    EXPECT_EQ(gzip_text_of(path("_gtcounts_iter1.gz")), "--- rs110 110 a0 b0 1 0 0\n");
    EXPECT_EQ(gzip_text_of(path("_gtcounts_wt_iter1.gz")), "--- rs110 110 a0 b0 1 0 0\n");
}

}  // namespace
