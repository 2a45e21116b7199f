#include "inference/update/site_rules.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "inference/model_run.h"

namespace {

// One site of each type, and a Panel 1 placeholder of type 2 at the end.
constexpr std::size_t type0 = 0, type1 = 1, type2 = 2, type3 = 3, borrowed = 4, placeholder = 5;

class site_rules : public ::testing::Test, protected model_run {
  protected:
    void SetUp() override {
        for (std::size_t s = 0; s < 4; ++s) add_site(100 + static_cast<long>(s), s);
        add_site(104, 0, 1);
        add_site(105, 2).panel1_placeholder = true;
        list_sites();
        give_haplotypes({4, 4, 4});
        run.plan.n_panels = 3;
        run.plan.int_upper_bp = 1000;
        for (panel_data& panel : run.panels) {
            for (std::size_t s = 0; s < 6; ++s) panel.haps.set(1, s, 1);
        }
        for (snp* site : run.sites.in_order) site->gtypes[1] = site->gtypes[2] = {2, 3};
    }
    haploid_update of(std::size_t panel, std::size_t cond_panel, std::size_t ind = 0, std::size_t hap = 1) const {
        haploid_update u;
        u.panel = panel;
        u.cond_panel = cond_panel;
        u.ind = ind;
        u.hap = hap;
        u.sample = true;
        return u;
    }
    std::vector<int> observed(const haploid_update& u) const {
        std::vector<int> list;
        for (std::size_t s = 0; s < 6; ++s) list.push_back(observed_allele(run.inputs(), u, s));
        return list;
    }
    std::vector<std::size_t> drawn(const haploid_update& u, bool old = false) const {
        std::vector<std::size_t> list;
        for (std::size_t s = 0; s < 6; ++s) {
            if (old ? draws_allele_old(run.inputs(), u, s) : draws_allele(run.inputs(), u, s)) list.push_back(s);
        }
        return list;
    }
    using sites = std::vector<std::size_t>;
};

TEST_F(site_rules, observe_what_a_panel_holds_of_sites_that_are_its_own) {
    EXPECT_EQ((std::vector{1, 1, 1, 1, 1, 1}), observed(of(0, 0)));
    EXPECT_EQ((std::vector{2, 1, 1, 1, 2, 2}), observed(of(1, 0))) << "not at a placeholder";
    EXPECT_EQ((std::vector{2, 2, 1, 1, 2, 1}), observed(of(2, 0)));
    EXPECT_EQ((std::vector{2, 2, 1, 1, 2, 1}), observed(of(2, 1)));
}

TEST_F(site_rules, observe_the_genotype_of_a_haploid_individual) {
    EXPECT_EQ((std::vector{1, 1, 1, 1, 1, 1}), observed(of(2, 2)));
    EXPECT_EQ((std::vector{1, 1, 1, 1, 1, 2}), observed(of(1, 1)));
    EXPECT_EQ(std::vector(6, 2), observed(of(2, 2, 1))) << "missing";
    for (snp* site : run.sites.in_order) site->gtypes[2] = {1, 0};
    EXPECT_EQ(std::vector(6, 0), observed(of(2, 2))) << "a heterozygote has no place here";
    for (snp* site : run.sites.in_order) site->gtypes[2].clear();
    EXPECT_EQ(std::vector(6, 2), observed(of(2, 2)));
}

TEST_F(site_rules, observe_no_panel_0_allele_that_was_missing) {
    run.panels[0].missing = packed_haplotypes(4, 6);
    run.panels[0].missing.set(1, type1, 1);
    EXPECT_EQ((std::vector{1, 2, 1, 1, 1, 1}), observed(of(0, 0, 1)));
    EXPECT_EQ((sites{}), drawn(of(0, 0, 1))) << "of type 0 alone";
    run.panels[0].missing.set(1, type0, 1);
    EXPECT_EQ((sites{type0}), drawn(of(0, 0, 1)));
    EXPECT_EQ((sites{type0, type1}), drawn(of(0, 0, 1), true));
}

TEST_F(site_rules, list_observations_of_the_visited_sites) {
    run.models.chains[0][2][0].site = {type0, type2, placeholder};
    run.models.chains[0][2][2].site = {type2, placeholder};
    std::vector<std::uint8_t> list;
    list_observed(run.inputs(), of(2, 0), list);
    EXPECT_EQ((std::vector<std::uint8_t>{2, 1, 1}), list);
    list_observed(run.inputs(), of(2, 2), list);
    EXPECT_EQ((std::vector<std::uint8_t>{1, 1}), list);
}

TEST_F(site_rules, draw_alleles_of_the_type_that_is_imputed) {
    EXPECT_EQ((sites{type0, borrowed}), drawn(of(2, 0)));
    EXPECT_EQ((sites{type1}), drawn(of(2, 1)));
    EXPECT_EQ((sites{type0, borrowed, placeholder}), drawn(of(1, 0)));
    EXPECT_EQ((sites{type0, borrowed, placeholder}), drawn(of(1, 0), true));
}

TEST_F(site_rules, draw_by_the_panel_that_a_site_comes_from_in_two_steps) {
    run.params.use_panel1_for_type0_imputation = true;
    EXPECT_EQ((sites{type0}), drawn(of(2, 0)));
    EXPECT_EQ((sites{type1, borrowed}), drawn(of(2, 1)));
    EXPECT_EQ((sites{type1, borrowed}), drawn(of(2, 1), true));
    EXPECT_EQ((sites{type0, borrowed, placeholder}), drawn(of(1, 0))) << "of the study alone";
}

TEST_F(site_rules, draw_missing_genotypes_of_haploid_individuals) {
    EXPECT_EQ((sites{}), drawn(of(2, 2)));
    EXPECT_EQ((sites{type2, placeholder}), drawn(of(2, 2, 1)));
    EXPECT_EQ((sites{0, 1, 2, 3, 4, 5}), drawn(of(2, 2, 1), true));
    EXPECT_EQ((sites{type1, placeholder}), drawn(of(1, 1, 1)));
}

TEST_F(site_rules, want_alleles_by_the_panel_that_a_site_comes_from) {
    haploid_update u = of(2, 1);
    u.allele_probs = u.backward = true;
    const auto wanted = [&] {
        sites list;
        const inference_inputs in = run.inputs();
        const allele_posteriors posteriors(in, u);
        for (std::size_t s = 0; s < 6; ++s) {
            if (posteriors.wanted(in.traits(s))) list.push_back(s);
        }
        return list;
    };
    EXPECT_EQ((sites{type1, borrowed}), wanted());
    u.selfcheck = true;
    EXPECT_EQ((sites{type1, borrowed}), wanted()) << "nothing of Panel 1 is put out";
    run.params.weight_panel = 1;
    EXPECT_EQ((sites{type1, type2, borrowed, placeholder}), wanted());
    run.params.weight_panel = -1;
    run.plan.output_types[1] = true;
    EXPECT_EQ((sites{type1, type2, borrowed, placeholder}), wanted());
    u.allele_probs = false;
    EXPECT_EQ((sites{}), wanted());
}

TEST_F(site_rules, ask_a_walk_for_posteriors_of_kept_sites_only) {
    run.models.chains[0][2][1].site = {type1, type2, borrowed, placeholder};
    haploid_update u = of(2, 1);
    u.allele_probs = u.backward = true;
    haploid_result result;
    result.first_kept = 1;
    result.end_kept = 4;
    list_requests(run.inputs(), u, result);
    std::vector<bool> posterior, draws;
    for (const haploid_request& request : result.requests) {
        posterior.push_back(request.posterior);
        draws.push_back(request.draw_allele);
    }
    EXPECT_EQ((std::vector{false, false, true, false}), posterior);
    EXPECT_EQ((std::vector{true, false, false, false}), draws);
}

// --- posterior genotypes --------------------------------------------------------------------------------------------

class posterior_rules : public site_rules {
  protected:
    void SetUp() override {
        site_rules::SetUp();
        run.params.pgs = true;
        haploid = of(2, 2, 1);
        haploid.genotype_probs = true;
        unordered.ind = ordered.ind = 1;
        unordered.panel = ordered.panel = 2;
        unordered.genotype_probs = ordered.genotype_probs = true;
        ordered.ordered = true;
    }
    // Of a haploid individual, an ordered one, an unordered one.
    std::array<bool, 3> needed() const {
        const inference_inputs in = run.inputs();
        const snp& site = in.site(type2);
        return {genotype_posterior_needed(in, haploid, site), genotype_posterior_needed(in, ordered, site),
                genotype_posterior_needed(in, unordered, site)};
    }
    haploid_update haploid;
    pair_update ordered, unordered;
};

TEST_F(posterior_rules, need_the_sweeps_where_the_data_leave_something_open) {
    snp& site = *run.sites.in_order[type2];
    EXPECT_EQ((std::array{true, true, true}), needed());
    site.known_phase_flags = {false, true};
    EXPECT_EQ((std::array{false, false, true}), needed()) << "a phase that is to stand";
    site.known_phase_flags.clear();
    site.gtypes[2][1] = 2;
    EXPECT_EQ((std::array{true, true, true}), needed());
    run.params.pgs = false;
    EXPECT_EQ((std::array{false, true, true}), needed()) << "nobody asks for the haploid's genotype";
    run.params.pgs_miss = run.plan.count_missing_only = true;
    EXPECT_EQ((std::array{false, false, false}), needed()) << "not missing";
    site.gtypes[2][1] = 3;
    EXPECT_EQ((std::array{true, true, true}), needed());
    haploid.genotype_probs = ordered.genotype_probs = unordered.genotype_probs = false;
    EXPECT_EQ((std::array{false, false, false}), needed());
}

// --- two haplotypes -------------------------------------------------------------------------------------------------

TEST_F(posterior_rules, see_genotypes_through_the_table_of_the_model) {
    run.models.mutation[1][2][2] = {{{0.1, 0.2, 0.3, 1.0}, {0.4, 0.5, 0.6, 1.0}, {0.7, 0.8, 0.9, 1.0}}};
    unordered.ind = 0;
    EXPECT_EQ((std::array{0.3, 0.6, 0.6, 0.9}), emission_at(run.inputs(), unordered, type2));
    unordered.ind = 1;
    EXPECT_EQ((std::array{1.0, 1.0, 1.0, 1.0}), emission_at(run.inputs(), unordered, type2));
    run.params.prob_g = true;
    run.sites.in_order[type2]->gtype_emiss[2] = {0.0, 0.0, 0.0, 0.25, 0.5, 0.75};
    EXPECT_EQ((std::array{0.25, 0.5, 0.5, 0.75}), emission_at(run.inputs(), unordered, type2));
}

TEST_F(posterior_rules, see_known_haplotypes_allele_by_allele) {
    run.models.mutation[0][2][2] = {{{0.75, 0.25, 1.0, 0.0}, {0.125, 0.875, 1.0, 0.0}, {}}};
    run.sites.in_order[type2]->known_phase_flags = {true, true};
    ordered.ind = 0;
    ordered.hap = 0;  // alleles 0 and 1
    EXPECT_EQ((std::array{0.75 * 0.25, 0.75 * 0.875, 0.125 * 0.25, 0.125 * 0.875}),
              emission_at(run.inputs(), ordered, type2));
}

TEST_F(posterior_rules, draw_what_is_heterozygous_missing_or_uncertain) {
    snp& site = *run.sites.in_order[type2];
    const auto request = [&](std::uint8_t genotype) {
        site.gtypes[2][1] = genotype;
        const pair_request r = request_at(run.inputs(), unordered, type2);
        return std::array{r.draw_alleles, r.heterozygous};
    };
    EXPECT_EQ((std::array{false, false}), request(0));
    EXPECT_EQ((std::array{true, true}), request(1));
    EXPECT_EQ((std::array{false, false}), request(2));
    EXPECT_EQ((std::array{true, false}), request(3));
    run.params.prob_g = true;
    EXPECT_EQ((std::array{true, false}), request(1));
    EXPECT_EQ((std::array{true, false}), request(2));
    site.known_phase_flags = {false, true};
    EXPECT_EQ((std::array{false, false}), request(1));
}

}  // namespace
