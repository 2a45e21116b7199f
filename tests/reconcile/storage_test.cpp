#include "reconcile/storage.h"

#include "params/state_counts.h"
#include "reconcile/stages.h"
#include "reconcile_fixture.h"

namespace {

class storage : public reconcile_fixture {
  protected:
    void set_up() {
        run.params.k = 2;
        run.params.k_hap = {2};
        set_state_counts(run.params, run.panels, run.models);
        pack_haplotypes(run.params, run.plan, run.panels, run.sites);
        type_counts n_of_type{};
        for (const auto& [position, site] : run.sites.store) ++n_of_type[site.type];
        run.plan.n_study = run.params.nind > 0 ? static_cast<std::size_t>(run.params.nind) : run.panels[2].n_ind;
        setup_storage(run.log, run.params, n_of_type, run.plan, run.panels, run.sites, run.models, run.acc);
    }
    // The number of entries in which genotypes are counted at a site.
    std::size_t n_entries(std::size_t s) const {
        const auto& counts = run.acc.tallies[s].miss_counts;
        EXPECT_EQ(counts[0].size(), counts[1].size());
        return counts[0].size();
    }
};

class storage_of_sampled_genotypes : public storage {
  protected:
    // Sites of types 0, 2 and 3, with two, one and no missing genotypes.
    void SetUp() override {
        storage::SetUp();
        give_panel0(4);
        give_study(3);
        run.panels[2].ordered.assign(3, false);
        run.params.mc_impute = true;
        for (const long position : {110, 120, 130}) {
            snp& site = add_site(position, position == 110 ? 0 : 2);
            site.haps[0] = alleles({0, 1, 1, 0});
            if (position == 110) continue;
            site.haps[2] = allele_row(6, 0);
            site.gtypes[2] = position == 120 ? std::vector<std::uint8_t>{3, 1, 3} : std::vector<std::uint8_t>{0, 3, 2};
        }
        snp& alone = add_site(140, 3);
        alone.gtypes[2] = {3, 3, 3};
        alone.haps[2] = allele_row(6, 0);
    }
};

TEST_F(storage_of_sampled_genotypes, has_an_entry_an_individual) {
    set_up();
    ASSERT_EQ(4U, run.acc.tallies.size());
    for (std::size_t s = 0; s < 3; ++s) EXPECT_EQ(3U, n_entries(s)) << "site " << s;
    EXPECT_EQ(0U, n_entries(3)) << "a site outside the models";
}

TEST_F(storage_of_sampled_genotypes, has_an_entry_a_missing_genotype_where_only_these_are_imputed) {
    run.plan.count_missing_only = true;
    set_up();
    EXPECT_EQ(3U, n_entries(0)) << "a site of the reference alone";
    EXPECT_EQ(2U, n_entries(1));
    EXPECT_EQ(1U, n_entries(2));
}

TEST_F(storage_of_sampled_genotypes, counts_the_missing_genotypes_of_the_first_individuals_only) {
    run.plan.count_missing_only = true;
    run.params.nind = 1;
    set_up();
    EXPECT_EQ(1U, n_entries(1));
    EXPECT_EQ(0U, n_entries(2));
}

TEST_F(storage, has_an_entry_a_missing_allele_where_only_the_reference_is_imputed) {
    give_panel0(5);
    run.params.mc_impute = run.params.pgs_miss = true;
    run.params.suppress_imputation_output = true;
    run.plan.sporadic_haploid_imputation = true;
    for (const long position : {110, 120}) {
        snp& site = add_site(position, 0);
        site.haps[0] = position == 110 ? alleles({2, 1, 2, 0, 2}) : alleles({0, 1, 1, 0, 1});
    }
    set_up();
    EXPECT_EQ(3U, n_entries(0));
    EXPECT_EQ(0U, n_entries(1));
}

}  // namespace
