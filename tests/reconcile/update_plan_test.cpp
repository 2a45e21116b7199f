#include "reconcile/stages.h"
#include "reconcile_fixture.h"
#include "support/run_builder.h"

namespace {

using flags = std::vector<bool>;

class update_plan : public reconcile_fixture {
  protected:
    snp& add_study_site(long position, const std::vector<std::uint8_t>& genotypes, int type = 2) {
        snp& site = add_site(position, type);
        label(site, 2, "A", "C");
        site.gtypes[2] = genotypes;
        site.haps[0] = allele_row(static_cast<std::size_t>(run.panels[0].n_hap), 0);
        return site;
    }
    // A site of Panels 0 and 1 whose Panel 1 genotypes are given.
    snp& add_reference_site(long position, const std::vector<std::uint8_t>& genotypes, int type = 1) {
        snp& site = add_site(position, type);
        label(site, 1, "A", "C");
        site.gtypes[1] = genotypes;
        site.gtypes[2].assign(static_cast<std::size_t>(run.panels[2].n_ind), 0);
        site.haps[0] = allele_row(static_cast<std::size_t>(run.panels[0].n_hap), 0);
        return site;
    }
    int plan() {
        return end_status([this] { make_update_plan(run.log, run.params, run.plan, run.panels, run.sites); });
    }
    void give_schedule(int iter, int burnin) {
        run.plan.n_iterations = iter;
        run.plan.burnin = burnin;
    }
};

// --- the study -------------------------------------------------------------------------------------------------------

TEST_F(update_plan, missing_and_heterozygous_genotypes_ask_for_updates) {
    give_panel0(2);
    give_study(4);
    add_study_site(110, {0, 1, 3, 2});
    EXPECT_EQ(-1, plan());
    EXPECT_EQ((flags{false, true, true, false}), run.panels[2].update);
    EXPECT_EQ((flags{false, true, false, false}), run.panels[2].heterozygous);
    EXPECT_EQ((flags{false, false, false, false}), run.panels[2].ordered);
    EXPECT_EQ((std::array<bool, 3>{false, false, true}), panels_to_update(run.panels));
    EXPECT_EQ((std::array<bool, 3>{false, false, true}), panels_to_phase(run.panels));
    expect_log("");
}

TEST_F(update_plan, missing_genotypes_alone_need_no_phasing) {
    give_panel0(2);
    give_study(2);
    for (const long position : {110L, 120L, 130L}) add_study_site(position, {3, 0});
    plan();
    EXPECT_EQ((flags{true, false}), run.panels[2].update);
    EXPECT_EQ((flags{false, false}), run.panels[2].heterozygous);
    EXPECT_TRUE(run.panels[2].needs_update);
    EXPECT_FALSE(run.panels[2].needs_phasing);
}

TEST_F(update_plan, a_heterozygote_behind_a_missing_genotype_is_seen) {
    give_panel0(2);
    give_study(2);
    add_study_site(110, {3, 0});
    add_study_site(120, {1, 0});
    add_study_site(130, {0, 1});
    plan();
    EXPECT_EQ((flags{true, true}), run.panels[2].update);
    EXPECT_EQ((flags{true, true}), run.panels[2].heterozygous);
}

TEST_F(update_plan, only_study_sites_of_the_models_count) {
    give_panel0(2);
    give_study(2);
    add_study_site(110, {1, 3}, 3);
    add_study_site(120, {0, 0});
    plan();
    EXPECT_EQ((flags{false, false}), run.panels[2].update);
    EXPECT_FALSE(run.panels[2].needs_update);
}

TEST_F(update_plan, study_sites_have_type_3_without_a_reference) {
    give_study(2);
    add_study_site(110, {1, 0}, 3);
    plan();
    EXPECT_EQ((flags{true, false}), run.panels[2].update);
}

TEST_F(update_plan, known_phase_needs_no_update) {
    give_panel0(2);
    give_study(3);
    run.params.known_haps_g_file = "known.haps";
    add_study_site(110, {1, 1, 3}).known_phase_flags = {true, false, true};
    add_study_site(120, {0, 0, 0});
    plan();
    EXPECT_EQ((flags{false, true, false}), run.panels[2].update);
    EXPECT_EQ((flags{false, true, false}), run.panels[2].heterozygous);
    EXPECT_EQ((flags{true, false, false}), run.panels[2].ordered);
}

TEST_F(update_plan, known_phase_orders_nobody_without_a_file_of_known_haplotypes) {
    give_panel0(2);
    give_study(2);
    add_study_site(110, {1, 1}).known_phase_flags = {true, false};
    plan();
    EXPECT_EQ((flags{false, false}), run.panels[2].ordered);
}

TEST_F(update_plan, the_search_goes_on_for_known_phase) {
    give_panel0(2);
    give_study(1);
    run.params.known_haps_g_file = "known.haps";
    add_study_site(110, {1});
    add_study_site(120, {1}).known_phase_flags = {true};
    plan();
    EXPECT_EQ((flags{true}), run.panels[2].ordered);
}

TEST_F(update_plan, haploid_people_are_ordered) {
    give_panel0(2);
    give_study(2);
    run.params.haploid_g = run.panels[2].all_haploid = true;
    add_study_site(110, {3, 0});
    plan();
    EXPECT_EQ((flags{true, true}), run.panels[2].ordered);
    EXPECT_EQ((flags{true, false}), run.panels[2].update);
}

TEST_F(update_plan, haploid_males_are_ordered) {
    give_panel0(2);
    give_study(3);
    give_ploidies(2, {2, 1, 2});
    add_study_site(110, {1, 3, 1});
    plan();
    EXPECT_EQ((flags{false, true, false}), run.panels[2].ordered);
    EXPECT_EQ((flags{true, true, true}), run.panels[2].update);
    EXPECT_EQ((flags{true, false, true}), run.panels[2].heterozygous);
}

TEST_F(update_plan, search_ends_when_all_but_the_males_are_heterozygous) {
    give_panel0(2);
    give_study(2);
    give_ploidies(2, {2, 1});
    run.params.known_haps_g_file = "known.haps";
    // Everybody needs an update after the first site and the male is ordered, but the woman is not known to be.
    add_study_site(110, {1, 3});
    add_study_site(120, {1, 0}).known_phase_flags = {true, false};
    plan();
    EXPECT_EQ((flags{true, true}), run.panels[2].ordered);
}

TEST_F(update_plan, search_goes_on_while_somebody_may_miss_a_genotype) {
    give_panel0(2);
    give_study(3);
    give_ploidies(2, {2, 1, 1});
    add_study_site(110, {1, 3, 0});
    // A second missing genotype of the same man counts once.
    add_study_site(120, {0, 3, 0});
    add_study_site(130, {0, 0, 3});
    plan();
    EXPECT_EQ((flags{true, true, true}), run.panels[2].update);
}

TEST_F(update_plan, sampled_haplotypes_of_the_study_need_no_update) {
    give_panel0(2);
    give_study(2);
    run.params.hap_samp_in_g = "samples";
    add_study_site(110, {1, 3});
    give_schedule(30, 10);
    plan();
    EXPECT_EQ((flags{true, true}), run.panels[2].ordered);
    EXPECT_EQ((flags{false, false}), run.panels[2].update);
    EXPECT_FALSE(run.panels[2].needs_update);
    EXPECT_EQ(30, run.plan.n_iterations);
    EXPECT_EQ(10, run.plan.burnin);
}

TEST_F(update_plan, input_probabilities_leave_everybody_open) {
    give_panel0(2);
    give_study(2);
    run.params.prob_g = true;
    add_study_site(110, {});
    plan();
    EXPECT_EQ((flags{true, true}), run.panels[2].update);
    EXPECT_EQ((flags{true, true}), run.panels[2].heterozygous);
    EXPECT_TRUE(run.panels[2].needs_update);
    EXPECT_TRUE(run.panels[2].needs_phasing);
}

TEST_F(update_plan, known_heterozygotes_are_told_by_their_probability) {
    give_panel0(2);
    give_study(3);
    run.params.prob_g = true;
    run.params.known_haps_g_file = "known.haps";
    snp& site = add_study_site(110, {});
    site.gtype_probs[2] = {0.0F, 1.0F, 0.0F, 0.01F, 0.99F, 0.0F, 0.0F, 1.0F, 0.0F};
    site.known_phase_flags = {true, true, false};
    plan();
    EXPECT_EQ((flags{true, false, false}), run.panels[2].ordered);
}

// --- Panel 1 ---------------------------------------------------------------------------------------------------------

TEST_F(update_plan, panel_1_follows_its_genotypes) {
    give_panel0(2);
    give_panel1(3);
    give_study(1);
    add_reference_site(110, {1, 0, 0});
    add_reference_site(120, {0, 3, 0}, 2);
    plan();
    EXPECT_EQ((flags{true, true, false}), run.panels[1].update);
    EXPECT_EQ((flags{true, false, false}), run.panels[1].heterozygous);
    EXPECT_EQ((flags{false, false, false}), run.panels[1].ordered);
    EXPECT_EQ((std::array<bool, 3>{false, true, false}), panels_to_update(run.panels));
    EXPECT_TRUE(run.panels[1].needs_phasing);
}

TEST_F(update_plan, panel_1_passes_over_placeholders_and_other_types) {
    give_panel0(2);
    give_panel1(1);
    give_study(1);
    add_reference_site(110, {1}, 2).panel1_placeholder = true;
    add_reference_site(120, {1}, 0);
    add_reference_site(130, {1}, 3);
    plan();
    EXPECT_EQ((flags{false}), run.panels[1].update);
}

TEST_F(update_plan, a_second_haplotype_file_needs_no_update) {
    give_panel0(2);
    give_second_haplotypes(4);
    give_study(1);
    add_study_site(110, {1});
    add_site(120, 1);
    plan();
    EXPECT_EQ(flags(4, false), run.panels[1].update);
    EXPECT_EQ(flags(4, false), run.panels[1].ordered);
    EXPECT_FALSE(run.panels[1].needs_update);
}

TEST_F(update_plan, sampled_haplotypes_of_panel_1_are_ordered) {
    give_panel0(2);
    give_panel1(2);
    give_study(1);
    run.params.hap_samp_in_g_ref = "samples";
    add_reference_site(110, {1, 3});
    plan();
    EXPECT_EQ((flags{true, true}), run.panels[1].ordered);
    EXPECT_FALSE(run.panels[1].needs_update);
}

TEST_F(update_plan, haploid_males_of_panel_1_are_ordered) {
    give_panel0(2);
    give_panel1(2);
    give_study(1);
    give_ploidies(2, {2});
    give_ploidies(1, {1, 2});
    add_reference_site(110, {0, 1});
    plan();
    EXPECT_EQ((flags{true, false}), run.panels[1].ordered);
}

TEST_F(update_plan, input_probabilities_of_panel_1_leave_everybody_open) {
    give_panel0(2);
    give_panel1(2);
    give_study(1);
    run.params.prob_g_ref = true;
    add_reference_site(110, {});
    plan();
    EXPECT_EQ((flags{true, true}), run.panels[1].update);
    EXPECT_TRUE(run.panels[1].needs_update);
    EXPECT_TRUE(run.panels[1].needs_phasing);
}

// --- Panel 0 ---------------------------------------------------------------------------------------------------------

TEST_F(update_plan, panel_0_is_updated_where_alleles_are_missing) {
    give_panel0(70);
    give_study(1);
    run.plan.sporadic_haploid_imputation = true;
    snp& site = add_study_site(110, {0});
    site.haps[0].set(3, 2);
    site.haps[0].set(69, 2);
    add_study_site(120, {0}, 3).haps[0].set(5, 2);
    add_study_site(130, {0}, 0).haps[0].set(3, 2);
    plan();
    flags expected(70, false);
    expected[3] = expected[69] = true;
    EXPECT_EQ(expected, run.panels[0].update);
    EXPECT_TRUE(run.panels[0].needs_update);
    EXPECT_TRUE(run.plan.sporadic_haploid_imputation);
}

TEST_F(update_plan, a_full_panel_0_is_not_updated) {
    give_panel0(4);
    give_study(1);
    run.plan.sporadic_haploid_imputation = true;
    add_study_site(110, {1});
    plan();
    EXPECT_EQ(flags(4, false), run.panels[0].update);
    EXPECT_FALSE(run.panels[0].needs_update);
    EXPECT_FALSE(run.plan.sporadic_haploid_imputation);
}

TEST_F(update_plan, sampled_panel_0_is_not_searched) {
    give_panel0(2);
    give_study(1);
    run.params.hap_samp_in_h = "samples";
    add_study_site(110, {1}).haps[0].set(0, 2);
    plan();
    EXPECT_FALSE(run.panels[0].needs_update);
}

// --- hole filling ----------------------------------------------------------------------------------------------------

TEST_F(update_plan, no_hole_panels_without_the_option) {
    give_panel0(2);
    give_panel1(1);
    give_study(1);
    add_reference_site(110, {1}).ref_alleles_missing = true;
    plan();
    EXPECT_FALSE(run.plan.hole_fill_from);
    EXPECT_FALSE(run.plan.hole_fill_to);
}

TEST_F(update_plan, holes_of_a_lone_panel_0_are_filled_from_the_study) {
    give_panel0(2);
    give_study(1);
    run.plan.fill_holes = true;
    snp& hole = add_study_site(110, {1});
    hole.ref_alleles_missing = true;
    hole.haps[0] = allele_row(2, 2);
    plan();
    EXPECT_EQ(2, run.plan.hole_fill_from);
    EXPECT_EQ(0, run.plan.hole_fill_to);
    EXPECT_FALSE(run.panels[0].needs_update);
    EXPECT_TRUE(run.plan.fill_holes);
    EXPECT_TRUE(hole.ref_alleles_missing);
}

TEST_F(update_plan, holes_of_panel_0_are_filled_from_panel_1) {
    give_panel0(2);
    give_panel1(1);
    give_study(1);
    run.plan.fill_holes = true;
    add_reference_site(110, {1}).ref_alleles_missing = true;
    plan();
    EXPECT_EQ(1, run.plan.hole_fill_from);
    EXPECT_EQ(0, run.plan.hole_fill_to);
    EXPECT_EQ((flags{true}), run.panels[1].update);
}

TEST_F(update_plan, holes_of_a_lone_panel_1_are_filled_from_the_study) {
    give_panel1(1);
    give_study(1);
    run.plan.fill_holes = true;
    snp& hole = add_reference_site(110, {3}, 2);
    hole.ref_alleles_missing = true;
    plan();
    EXPECT_EQ(2, run.plan.hole_fill_from);
    EXPECT_EQ(1, run.plan.hole_fill_to);
    EXPECT_EQ((flags{false}), run.panels[1].update);
}

TEST_F(update_plan, the_search_goes_on_until_a_hole_is_seen) {
    give_panel1(1);
    give_study(1);
    run.plan.fill_holes = true;
    add_reference_site(110, {1}, 2);
    add_reference_site(120, {3}, 2).ref_alleles_missing = true;
    plan();
    EXPECT_EQ(1, run.plan.hole_fill_to);
    EXPECT_TRUE(run.plan.fill_holes);
}

TEST_F(update_plan, a_hole_behind_a_wholly_incomplete_panel_0_is_seen) {
    give_panel0(2);
    give_study(1);
    run.plan.fill_holes = true;
    add_study_site(110, {1}).haps[0] = alleles("22");
    add_study_site(120, {1}).ref_alleles_missing = true;
    plan();
    EXPECT_EQ(0, run.plan.hole_fill_to);
    EXPECT_TRUE(run.panels[0].needs_update);
}

TEST_F(update_plan, holes_of_a_sampled_panel_0_are_seen) {
    give_panel0(2);
    give_study(1);
    run.plan.fill_holes = true;
    run.params.hap_samp_in_h = "samples";
    add_study_site(110, {1});
    add_study_site(120, {1}).ref_alleles_missing = true;
    plan();
    EXPECT_EQ(0, run.plan.hole_fill_to);
}

TEST_F(update_plan, the_search_of_a_sampled_panel_0_ends_at_a_hole) {
    give_panel0(2);
    give_study(1);
    run.plan.fill_holes = true;
    run.params.hap_samp_in_h = "samples";
    add_study_site(110, {1}).ref_alleles_missing = true;
    add_study_site(120, {1}).haps[0] = alleles("20");
    plan();
    EXPECT_EQ((flags{false, false}), run.panels[0].update);
    EXPECT_FALSE(run.panels[0].needs_update);
}

TEST_F(update_plan, hole_filling_without_holes_is_cancelled) {
    give_panel0(2);
    give_study(1);
    run.plan.fill_holes = true;
    add_study_site(110, {1});
    plan();
    EXPECT_FALSE(run.plan.hole_fill_from);
    EXPECT_FALSE(run.plan.hole_fill_to);
    EXPECT_FALSE(run.plan.fill_holes);
}

TEST_F(update_plan, cancelled_hole_filling_withdraws_the_placeholders) {
    give_panel0(2);
    give_study(1);
    run.plan.fill_holes = true;
    add_study_site(110, {1});
    // A site that was split from its reference keeps the mark, and is no hole of the panel any more.
    snp& site = add_study_site(120, {1}, 3);
    site.ref_alleles_missing = true;
    site.haps[0] = allele_row(2, 2);
    site.haps[1] = allele_row(2, 2);
    site.gtypes[1] = {3};
    site.gtype_probs[1] = {0.0F, 0.0F, 0.0F};
    label(site, 0, "A", "C", 0.5, "+");
    label(site, 1, "A", "C", 0.5, "+");
    plan();
    EXPECT_FALSE(run.plan.fill_holes);
    EXPECT_FALSE(site.ref_alleles_missing);
    EXPECT_EQ(3, site.type);
    EXPECT_EQ(3, site.top_panel);
    for (const std::size_t panel : {0U, 1U}) {
        EXPECT_EQ(no_label, site.labels[panel].a0);
        EXPECT_EQ(no_label, site.labels[panel].a1);
        EXPECT_EQ("*", site.labels[panel].strand);
        EXPECT_EQ(-1.0, site.labels[panel].freq);
        EXPECT_TRUE(site.haps[panel].empty());
    }
    EXPECT_TRUE(site.gtypes[1].empty());
    EXPECT_TRUE(site.gtype_probs[1].empty());
    EXPECT_EQ("A", site.labels[2].a0);
    EXPECT_EQ((std::vector<std::uint8_t>{1}), site.gtypes[2]);
}

TEST_F(update_plan, hole_filling_without_reference_haplotypes_is_cancelled) {
    give_study(1);
    run.plan.fill_holes = true;
    add_study_site(110, {1}, 3);
    plan();
    EXPECT_FALSE(run.plan.fill_holes);
    EXPECT_FALSE(run.plan.hole_fill_to);
}

// --- the run ---------------------------------------------------------------------------------------------------------

TEST_F(update_plan, nothing_to_do_shortens_the_run) {
    give_panel0(2);
    give_panel1(2);
    give_study(2);
    give_schedule(30, 10);
    add_study_site(110, {0, 2}).gtypes[1] = {0, 0};
    plan();
    EXPECT_EQ(1, run.plan.n_iterations);
    EXPECT_EQ(0, run.plan.burnin);
    EXPECT_EQ((flags{true, true}), run.panels[2].ordered);
    EXPECT_EQ((flags{true, true}), run.panels[1].ordered);
}

TEST_F(update_plan, one_update_keeps_the_schedule) {
    give_panel0(2);
    give_study(2);
    give_schedule(30, 10);
    add_study_site(110, {0, 3});
    plan();
    EXPECT_EQ(30, run.plan.n_iterations);
    EXPECT_EQ(10, run.plan.burnin);
    EXPECT_EQ((flags{false, false}), run.panels[2].ordered);
}

TEST_F(update_plan, sampled_input_keeps_the_schedule) {
    give_panel0(2);
    give_study(2);
    for (std::string* name : {&run.params.hap_samp_in_g, &run.params.hap_samp_in_g_ref, &run.params.hap_samp_in_h}) {
        give_schedule(30, 10);
        *name = "samples";
        plan();
        EXPECT_EQ(30, run.plan.n_iterations);
        *name = "NULL";
    }
}

TEST_F(update_plan, prephased_input_must_be_complete) {
    give_panel0(2);
    give_study(2);
    run.params.use_prephased_g = true;
    run.params.known_haps_g_file = "known.haps";
    add_study_site(110, {1, 3}).known_phase_flags = {true, false};
    EXPECT_EQ(1, plan());
    expect_log(
        "\nERROR: The -use_prephased_g option requires that all of your input genotypes be completely phased with no"
        " missing values.\n\n");
}

TEST_F(update_plan, complete_prephased_input_passes) {
    give_panel0(2);
    give_study(2);
    run.params.use_prephased_g = true;
    run.params.known_haps_g_file = "known.haps";
    add_study_site(110, {1, 1}).known_phase_flags = {true, true};
    EXPECT_EQ(-1, plan());
    EXPECT_EQ((flags{true, true}), run.panels[2].ordered);
}

}  // namespace
