#include "reconcile/result_sums.h"

#include "model/intervals.h"
#include "reconcile/stages.h"
#include "reconcile_fixture.h"

namespace {

class result_sums : public reconcile_fixture {
  protected:
    void set_up() {
        pack_haplotypes(run.params, run.plan, run.panels, run.sites);
        run.plan.n_study = run.params.nind > 0 ? static_cast<std::size_t>(run.params.nind) : run.panels[2].n_ind;
        allocate_results(run.params, run.plan, run.panels, run.sites, haps_interval(run.params, run.plan), run.acc);
    }
    result_bytes bytes() const {
        return bytes_of_results(run.params, run.plan, run.panels, run.sites, haps_interval(run.params, run.plan));
    }
    // The columns of a table, by site: "01-2", "-" for a site without one.
    std::string columns(const sum_table& table) const {
        std::string text;
        for (std::size_t s = 0; s < run.sites.size(); ++s) text += table.has(s) ? std::to_string(table.column(s)) : "-";
        return text;
    }
    // One site of each type in the region, 0 to 3, and a typed one in the buffer.
    void give_sites() {
        give_panel0(4);
        give_study(3);
        run.panels[2].ordered.assign(3, false);
        for (const long type : {0, 1, 2, 3}) add_site(110 + type, static_cast<std::size_t>(type));
        add_site(220, 2);
    }
    // The number of entries in which genotypes are counted at a site.
    std::size_t n_entries(std::size_t s) const {
        const auto& counts = run.acc.tallies[s].miss_counts;
        EXPECT_EQ(counts[0].size(), counts[1].size());
        return counts[0].size();
    }
};

// --- sums -----------------------------------------------------------------------------------------------------------

TEST_F(result_sums, of_genotypes_are_kept_where_they_are_imputed) {
    give_sites();
    set_up();
    for (const sum_table& table : run.acc.gtype_acc) EXPECT_EQ("01---", columns(table));
    EXPECT_FALSE(run.acc.gtype_acc2[0].allocated());
    EXPECT_FALSE(run.acc.gtype_acc3[0][0].allocated());
    EXPECT_FALSE(run.acc.mcmc_bits.has(0));
    EXPECT_TRUE(run.acc.tallies.empty());
    EXPECT_TRUE(run.acc.last_sampled_gtype.empty());
    EXPECT_TRUE(run.acc.weight_sum[0].empty());
}

TEST_F(result_sums, take_as_many_bytes_as_is_told) {
    give_sites();
    set_up();
    const std::size_t columns = 5 * sizeof(int), sums = 3 * 2 * sizeof(double);  // five sites; three people, two sites
    EXPECT_EQ(2 * (columns + sums), bytes().memory);
    EXPECT_EQ(0U, bytes().files);
    run.params.mem_save_3 = true;
    EXPECT_EQ(2 * (columns + sums), bytes().memory) << "few rows are read as a whole";
    EXPECT_EQ(2 * sums, bytes().files);
    run.params.suppress_imputation_output = true;
    EXPECT_EQ(0U, bytes().memory + bytes().files);
}

TEST_F(result_sums, take_as_many_bytes_for_phases_as_is_told) {
    give_sites();
    run.params.suppress_imputation_output = run.params.phase = true;
    run.plan.stored_iters = {4, 5, 6};
    set_up();
    EXPECT_EQ(3U * 2 * 3 * sizeof(std::uint64_t), bytes().memory) << "a word for the sites of an iteration";
}

TEST_F(result_sums, are_the_same_in_files) {
    run.params.mem_save_3 = run.params.pgs = true;
    give_sites();
    set_up();
    for (const sum_table& table : run.acc.gtype_acc) EXPECT_EQ("012--", columns(table));
    run.acc.gtype_acc[1].add(2, 1, 0.5);
    EXPECT_EQ(0.5, run.acc.gtype_acc[1].get(2, 1));
    EXPECT_EQ(0.0, run.acc.gtype_acc[0].get(2, 1));
}

TEST_F(result_sums, of_genotypes_follow_the_types_of_the_output) {
    give_sites();
    run.plan.output_types[0] = false;
    set_up();
    EXPECT_EQ("-0---", columns(run.acc.gtype_acc[0]));
}

TEST_F(result_sums, of_genotypes_are_kept_at_typed_sites_for_their_posteriors) {
    for (bool parameters::*posterior : {&parameters::pgs, &parameters::pgs_miss, &parameters::pgs_prob}) {
        run.sites = {};
        run.acc = {};
        run.params = {};
        run.params.*posterior = true;
        give_sites();
        set_up();
        EXPECT_EQ("012--", columns(run.acc.gtype_acc[1])) << "but not outside the models, nor in the buffer";
    }
}

TEST_F(result_sums, reach_into_the_buffer_that_is_put_out) {
    give_sites();
    run.params.pgs = run.params.include_buffer_in_output = true;
    set_up();
    EXPECT_EQ("012-3", columns(run.acc.gtype_acc[0]));
}

TEST_F(result_sums, of_the_study_alone_are_those_of_its_own_sites) {
    give_sites();
    run.plan.n_panels = 4;
    run.params.pgs_miss = true;
    set_up();
    EXPECT_EQ("01-2-", columns(run.acc.gtype_acc[0]));
}

TEST_F(result_sums, of_sampled_genotypes_leave_imputed_sites_to_the_tallies) {
    give_sites();
    run.params.mc_impute = true;
    set_up();
    EXPECT_FALSE(run.acc.gtype_acc[0].allocated());
    run.params.pgs = true;
    set_up();
    EXPECT_EQ("--0--", columns(run.acc.gtype_acc[0]));
    EXPECT_EQ(5U, run.acc.last_sampled_gtype.size());
}

TEST_F(result_sums, of_alleles_are_those_of_known_haplotypes) {
    give_sites();
    run.panels[2].ordered = {true, false, true};
    set_up();
    EXPECT_FALSE(run.acc.gtype_acc2[0].allocated()) << "nobody asked";
    run.params.print_allele_probs = true;
    set_up();
    EXPECT_EQ("--0--", columns(run.acc.gtype_acc2[0]));
    run.params.phase = true;
    set_up();
    EXPECT_EQ("012--", columns(run.acc.gtype_acc2[1]));
    run.params.phase = run.params.print_allele_probs = false;
    run.plan.known_hap_dosages = true;
    set_up();
    EXPECT_EQ("01---", columns(run.acc.gtype_acc2[0]));
}

TEST_F(result_sums, of_masked_genotypes_are_kept_by_reference_panel) {
    give_sites();
    run.plan.selfcheck_iters = {0};
    run.plan.output_types[0] = false;
    set_up();
    EXPECT_EQ("--0--", columns(run.acc.gtype_acc3[1][0]));
    EXPECT_FALSE(run.acc.gtype_acc3[0][0].allocated());
    run.params.weight_panel = 0;
    set_up();
    EXPECT_EQ("--0--", columns(run.acc.gtype_acc3[0][1]));
}

TEST_F(result_sums, are_left_out_where_nothing_is_put_out) {
    give_sites();
    run.params.suppress_imputation_output = true;
    run.plan.selfcheck_iters = {0};
    set_up();
    EXPECT_FALSE(run.acc.gtype_acc[0].allocated());
    EXPECT_FALSE(run.acc.gtype_acc3[1][0].allocated());
    run.params.counts_wt_per_iter = true;
    set_up();
    EXPECT_TRUE(run.acc.gtype_acc[0].allocated()) << "for the count files";
}

// --- samples and weights --------------------------------------------------------------------------------------------

TEST_F(result_sums, have_the_samples_of_phasing_where_no_file_keeps_them) {
    give_sites();
    run.plan.stored_iters = {4, 5};
    run.params.phase = run.plan.tmp_haps = true;
    set_up();
    EXPECT_FALSE(run.acc.mcmc_bits.has(2));
    run.plan.tmp_haps = false;
    set_up();
    EXPECT_TRUE(run.acc.mcmc_bits.has(2));
    EXPECT_FALSE(run.acc.mcmc_bits.has(0)) << "a site of the reference";
    run.acc.mcmc_bits.set(2, 1, 2, 1, true);
    EXPECT_TRUE(run.acc.mcmc_bits.get(2, 1, 2, 1)) << "the last slot";
    run.params.mc_impute = true;
    set_up();
    EXPECT_TRUE(run.acc.mcmc_bits.has(0));
}

TEST_F(result_sums, have_weights_by_individual) {
    give_sites();
    run.params.weight_imputed_gt = 0;
    set_up();
    for (std::size_t cond = 0; cond < 2; ++cond) {
        EXPECT_EQ(std::vector<double>(3, 0.0), run.acc.weight_base[cond]);
        EXPECT_EQ(std::vector<double>(3, 0.0), run.acc.weight_sum[cond]);
    }
    EXPECT_EQ(std::vector<double>(3, 0.0), run.acc.dip_like);
}

// --- tallies --------------------------------------------------------------------------------------------------------

class tallies : public result_sums {
  protected:
    // Sites of types 0, 2 and 3, with two, one and no missing genotypes.
    void SetUp() override {
        result_sums::SetUp();
        give_panel0(4);
        give_study(3);
        run.panels[2].ordered.assign(3, false);
        run.params.mc_impute = true;
        for (const long position : {110, 120, 130}) {
            snp& site = add_site(position, position == 110 ? 0 : 2);
            site.haps[0] = alleles("0110");
            if (position == 110) continue;
            site.haps[2] = allele_row(6, 0);
            site.gtypes[2] = position == 120 ? std::vector<std::uint8_t>{3, 1, 3} : std::vector<std::uint8_t>{0, 3, 2};
        }
        snp& alone = add_site(140, 3);
        alone.gtypes[2] = {3, 3, 3};
        alone.haps[2] = allele_row(6, 0);
    }
};

TEST_F(tallies, have_an_entry_an_individual) {
    set_up();
    ASSERT_EQ(4U, run.acc.tallies.size());
    for (std::size_t s = 0; s < 3; ++s) EXPECT_EQ(3U, n_entries(s)) << "site " << s;
    EXPECT_EQ(0U, n_entries(3)) << "a site outside the models";
}

TEST_F(tallies, have_an_entry_a_missing_genotype_where_only_these_are_imputed) {
    run.plan.count_missing_only = true;
    set_up();
    EXPECT_EQ(3U, n_entries(0)) << "a site of the reference alone";
    EXPECT_EQ(2U, n_entries(1));
    EXPECT_EQ(1U, n_entries(2));
}

TEST_F(tallies, count_the_missing_genotypes_of_the_first_individuals_only) {
    run.plan.count_missing_only = true;
    run.params.nind = 1;
    set_up();
    EXPECT_EQ(1U, n_entries(1));
    EXPECT_EQ(0U, n_entries(2));
}

TEST_F(result_sums, have_a_tally_entry_a_missing_allele_where_only_the_reference_is_imputed) {
    give_panel0(5);
    run.params.mc_impute = run.params.pgs_miss = true;
    run.params.suppress_imputation_output = true;
    run.plan.sporadic_haploid_imputation = true;
    for (const long position : {110, 120}) {
        snp& site = add_site(position, 0);
        site.haps[0] = position == 110 ? alleles("21202") : alleles("01101");
    }
    set_up();
    EXPECT_EQ(3U, n_entries(0));
    EXPECT_EQ(0U, n_entries(1));
}

}  // namespace
