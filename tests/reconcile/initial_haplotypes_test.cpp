#include "reconcile/stages.h"
#include "reconcile_fixture.h"

namespace {

const std::string panel2_stage =
    "\n-making initial haplotype guesses for Panel 2 by phasing hets at random and imputing missing genotypes from"
    " allele freqs\n";
const std::string panel1_stage =
    "\n-making initial haplotype guesses for Panel 1 by phasing hets at random and imputing missing genotypes from"
    " allele freqs\n";
const std::string panel0_stage = "\n-some Panel 0 alleles are missing; now imputing from allele freqs\n";

class initial_haplotypes : public reconcile_fixture {
  protected:
    snp& add_study_site(long position, const std::vector<std::uint8_t>& genotypes, double freq = 0.5, int type = 2) {
        snp& site = add_site(position, type);
        label(site, 2, "A", "C", freq);
        site.gtypes[2] = genotypes;
        site.haps[2] = allele_row(static_cast<std::size_t>(run.panels[2].n_hap), 2);
        return site;
    }
    snp& add_panel1_site(long position, const std::vector<std::uint8_t>& genotypes, double freq = 0.5, int type = 1) {
        snp& site = add_site(position, type);
        add_panel1_data(site, genotypes, freq);
        return site;
    }
    // Gives a site Panel 1 genotypes too.
    void add_panel1_data(snp& site, const std::vector<std::uint8_t>& genotypes, double freq = 0.5) {
        label(site, 1, "A", "C", freq);
        site.gtypes[1] = genotypes;
        site.haps[1] = allele_row(static_cast<std::size_t>(run.panels[1].n_hap), 2);
    }
    int guess() {
        return end_status([this] { make_initial_haplotypes(run.log, run.params, run.plan, run.panels, run.sites); });
    }
    void expect_all_drawn(std::size_t n) const {
        EXPECT_EQ(n, draws.n_taken());
        EXPECT_TRUE(draws.used_up());
    }
};

// --- genotypes -------------------------------------------------------------------------------------------------------

TEST_F(initial_haplotypes, homozygotes_take_no_draw) {
    give_panel0(2);
    give_study(2);
    const snp& site = add_study_site(110, {0, 2});
    guess();
    EXPECT_EQ((std::vector<int>{0, 0, 1, 1}), values(site.haps[2]));
    expect_all_drawn(0);
    expect_log(panel2_stage);
}

TEST_F(initial_haplotypes, heterozygotes_are_phased_by_one_draw) {
    give_panel0(2);
    give_study(3);
    draws.add({0.5, 0.500001, 0.1});
    const snp& site = add_study_site(110, {1, 1, 1});
    guess();
    EXPECT_EQ((std::vector<int>{0, 1, 1, 0, 0, 1}), values(site.haps[2]));
    expect_all_drawn(3);
}

TEST_F(initial_haplotypes, missing_genotypes_are_filled_by_a_draw_an_allele) {
    give_panel0(2);
    give_study(2);
    draws.add({0.25, 0.26, 0.9, 0.1});
    const snp& site = add_study_site(110, {3, 3}, 0.25);
    guess();
    EXPECT_EQ((std::vector<int>{1, 0, 0, 1}), values(site.haps[2]));
    expect_all_drawn(4);
}

TEST_F(initial_haplotypes, draws_go_site_by_site_in_position_order) {
    give_panel0(2);
    give_study(2);
    draws.add({0.1, 0.9, 0.9, 0.1});
    add_study_site(130, {1, 1});
    add_study_site(110, {1, 1});
    guess();
    EXPECT_EQ((std::vector<int>{0, 1, 1, 0}), values(site_at(110).haps[2]));
    EXPECT_EQ((std::vector<int>{1, 0, 0, 1}), values(site_at(130).haps[2]));
}

TEST_F(initial_haplotypes, sites_outside_the_models_stay) {
    give_panel0(2);
    give_study(1);
    const snp& type0 = add_study_site(110, {1}, -1.0, 0);
    const snp& type3 = add_study_site(120, {1}, -1.0, 3);
    guess();
    EXPECT_EQ((std::vector<int>{2, 2}), values(type0.haps[2]));
    EXPECT_EQ((std::vector<int>{2, 2}), values(type3.haps[2]));
    expect_all_drawn(0);
}

TEST_F(initial_haplotypes, study_sites_have_type_3_without_a_reference) {
    give_study(1);
    draws.add({0.9});
    const snp& site = add_study_site(110, {1}, 0.5, 3);
    guess();
    EXPECT_EQ((std::vector<int>{1, 0}), values(site.haps[2]));
}

TEST_F(initial_haplotypes, known_phase_takes_no_draw) {
    give_panel0(2);
    give_study(3);
    run.params.known_haps_g_file = "known.haps";
    draws.add({0.9});
    snp& site = add_study_site(110, {1, 1, 3});
    site.known_phase_flags = {true, false, true};
    site.haps[2] = alleles("100101");
    guess();
    EXPECT_EQ((std::vector<int>{1, 0, 1, 0, 0, 1}), values(site.haps[2]));
    expect_all_drawn(1);
    expect_log(panel2_stage + " --known haplotype alleles from the -known_haps_g file will not be changed\n");
}

TEST_F(initial_haplotypes, initial_phase_takes_no_draw) {
    give_panel0(2);
    give_study(2);
    run.params.hap_init_g_file = "init.haps";
    draws.add({0.9});
    snp& site = add_study_site(110, {1, 1});
    site.hap_init_flags = {true, false};
    site.haps[2] = alleles("0101");
    guess();
    EXPECT_EQ((std::vector<int>{0, 1, 1, 0}), values(site.haps[2]));
    expect_all_drawn(1);
    expect_log(panel2_stage + " --initial haplotype alleles from the -hap_init_g file will not be changed here\n");
}

TEST_F(initial_haplotypes, initial_phase_with_an_unknown_allele_is_drawn_anew) {
    give_panel0(2);
    give_study(2);
    run.params.hap_init_g_file = "init.haps";
    draws.add({0.9, 0.1});
    snp& site = add_study_site(110, {1, 1});
    site.hap_init_flags = {true, true};
    site.haps[2] = alleles("0221");
    guess();
    EXPECT_EQ((std::vector<int>{1, 0, 0, 1}), values(site.haps[2]));
    expect_all_drawn(2);
}

// --- haploid people --------------------------------------------------------------------------------------------------

TEST_F(initial_haplotypes, a_haploid_panel_has_one_allele_a_person) {
    give_panel0(2);
    give_study(4);
    run.params.haploid_g = run.panels[2].all_haploid = true;
    run.panels[2].n_hap = 4;
    draws.add({0.7, 0.3});
    const snp& site = add_study_site(110, {0, 2, 3, 1}, 0.5);
    guess();
    EXPECT_EQ((std::vector<int>{0, 1, 0, 0}), values(site.haps[2]));
    expect_all_drawn(2);
    expect_log(panel2_stage + " --known haplotype alleles from the -g file will not be changed\n");
}

TEST_F(initial_haplotypes, haploid_males_have_one_allele) {
    give_panel0(2);
    give_study(4);
    give_ploidies(2, {1, 2, 1, 1});
    draws.add({0.4, 0.2, 0.8, 0.51});
    const snp& site = add_study_site(110, {2, 3, 1, 3}, 0.5);
    guess();
    // The male coded 1 gets his allele by the draw of a phase.
    EXPECT_EQ((std::vector<int>{1, 1, 1, 1, 0}), values(site.haps[2]));
    expect_all_drawn(4);
    expect_log(panel2_stage + " --known haplotype alleles from the -g file will not be changed\n");
}

TEST_F(initial_haplotypes, known_phase_of_a_haploid_male_is_one_allele) {
    give_panel0(2);
    give_study(2);
    give_ploidies(2, {1, 2});
    draws.add({0.9});
    snp& site = add_study_site(110, {2, 1});
    site.known_phase_flags = {true, false};
    site.haps[2] = alleles("122");
    guess();
    EXPECT_EQ((std::vector<int>{1, 1, 0}), values(site.haps[2]));
    expect_all_drawn(1);
}

TEST_F(initial_haplotypes, initial_phase_of_a_haploid_male_is_one_allele) {
    give_panel0(2);
    give_study(2);
    give_ploidies(2, {1, 2});
    draws.add({0.9});
    snp& site = add_study_site(110, {3, 1});
    site.hap_init_flags = {true, false};
    site.haps[2] = alleles("122");
    guess();
    EXPECT_EQ((std::vector<int>{1, 1, 0}), values(site.haps[2]));
    expect_all_drawn(1);
}

TEST_F(initial_haplotypes, pseudoautosomal_runs_are_diploid_and_print_the_chrx_lines) {
    give_panel0(2);
    give_panel1(1);
    give_study(1);
    run.params.chrX = run.params.Xpar = true;
    draws.add({0.9, 0.1});
    snp& site = add_study_site(110, {1});
    add_panel1_data(site, {1});
    guess();
    EXPECT_EQ((std::vector<int>{1, 0}), values(site.haps[2]));
    EXPECT_EQ((std::vector<int>{0, 1}), values(site.haps[1]));
    expect_log(panel2_stage + " --known haplotype alleles from the -g file will not be changed\n" + panel1_stage +
               " --known haplotype alleles from the -g_ref file will not be changed\n");
}

// --- input probabilities ---------------------------------------------------------------------------------------------

TEST_F(initial_haplotypes, probabilities_are_weighted_by_the_genotype_frequencies) {
    give_panel0(2);
    give_study(5);
    run.params.prob_g = true;
    run.panels[2].needs_update = true;
    snp& site = add_study_site(110, {}, 0.5);
    // With the prior 1/4, 1/2, 1/4 each triple turns into 0.4, 0.4, 0.2.
    for (int i = 0; i < 5; ++i) {
        for (const float p : {0.5F, 0.25F, 0.25F}) site.gtype_probs[2].push_back(p);
    }
    draws.add({0.39, 0.41, 0.5, 0.79, 0.51, 0.81, 0.999});
    guess();
    EXPECT_EQ((std::vector<int>{0, 0, 0, 1, 1, 0, 1, 1, 1, 1}), values(site.haps[2]));
    expect_all_drawn(7);
}

TEST_F(initial_haplotypes, probabilities_without_weight_give_genotype_2) {
    give_panel0(2);
    give_study(1);
    run.params.prob_g = true;
    snp& site = add_study_site(110, {}, 0.0);
    site.gtype_probs[2] = {0.0F, 0.5F, 0.5F};
    draws.add({0.1});
    guess();
    EXPECT_EQ((std::vector<int>{1, 1}), values(site.haps[2]));
    expect_all_drawn(1);
}

TEST_F(initial_haplotypes, known_phase_stands_in_runs_on_probabilities) {
    give_panel0(2);
    give_study(1);
    run.params.prob_g = true;
    snp& site = add_study_site(110, {});
    site.gtype_probs[2] = {0.0F, 1.0F, 0.0F};
    site.known_phase_flags = {true};
    site.haps[2] = alleles("10");
    guess();
    EXPECT_EQ((std::vector<int>{1, 0}), values(site.haps[2]));
    expect_all_drawn(0);
}

TEST_F(initial_haplotypes, each_panel_has_its_own_probability_option) {
    give_panel0(2);
    give_panel1(1);
    give_study(1);
    run.params.prob_g_ref = true;
    snp& site = add_study_site(110, {2});
    add_panel1_data(site, {});
    site.gtype_probs[1] = {1.0F, 0.0F, 0.0F};
    draws.add({0.5});
    guess();
    EXPECT_EQ((std::vector<int>{1, 1}), values(site.haps[2]));
    EXPECT_EQ((std::vector<int>{0, 0}), values(site.haps[1]));
    expect_all_drawn(1);
}

// --- Panel 1 ---------------------------------------------------------------------------------------------------------

TEST_F(initial_haplotypes, panel_1_is_guessed_at_its_sites) {
    give_panel0(2);
    give_panel1(3);
    draws.add({0.9, 0.1, 0.3});
    const snp& site = add_panel1_site(110, {1, 3, 2}, 0.2);
    snp& placeholder = add_panel1_site(120, {1, 1, 1}, 0.2, 2);
    placeholder.panel1_placeholder = true;
    placeholder.haps[1] = alleles("000000");
    add_panel1_site(130, {1, 1, 1}, 0.2, 0);
    add_panel1_site(140, {1, 1, 1}, 0.2, 3);
    guess();
    EXPECT_EQ((std::vector<int>{1, 0, 1, 0, 1, 1}), values(site.haps[1]));
    EXPECT_EQ((std::vector<int>{0, 0, 0, 0, 0, 0}), values(placeholder.haps[1]));
    expect_all_drawn(3);
    expect_log(panel1_stage);
}

TEST_F(initial_haplotypes, panel_1_tells_of_its_known_haplotypes) {
    give_panel0(2);
    give_panel1(1);
    run.params.known_haps_g_ref_file = "known.haps";
    add_panel1_site(110, {0});
    guess();
    expect_log(panel1_stage + " --known haplotype alleles from the -known_haps_g_ref file will not be changed\n");
}

TEST_F(initial_haplotypes, a_second_haplotype_file_is_not_guessed) {
    give_panel0(2);
    give_second_haplotypes(2);
    snp& site = add_site(110, 1);
    label(site, 1, "A", "C");
    site.haps[1] = alleles("01");
    guess();
    EXPECT_EQ((std::vector<int>{0, 1}), values(site.haps[1]));
    expect_log("");
}

// --- Panel 0 ---------------------------------------------------------------------------------------------------------

TEST_F(initial_haplotypes, panel_0_draws_its_missing_alleles_in_order) {
    give_panel0(70);
    run.panels[0].needs_update = true;
    draws.add({0.3, 0.31, 0.1});
    snp& site = add_site(110, 0);
    label(site, 0, "A", "C", 0.3);
    site.haps[0] = allele_row(70, 0);
    for (const std::size_t hap : {2U, 40U, 66U}) site.haps[0].set(hap, 2);
    site.haps[0].set(3, 1);
    guess();
    std::vector<int> expected(70, 0);
    expected[2] = expected[3] = expected[66] = 1;
    EXPECT_EQ(expected, values(site.haps[0]));
    ASSERT_EQ(2U, site.ref_missing.size());
    EXPECT_EQ((std::uint64_t{1} << 2) | (std::uint64_t{1} << 40), site.ref_missing[0]);
    EXPECT_EQ(std::uint64_t{1} << 2, site.ref_missing[1]);
    expect_all_drawn(3);
    expect_log(panel0_stage);
}

TEST_F(initial_haplotypes, panel_0_draws_in_holes_too) {
    give_panel0(2);
    run.panels[0].needs_update = true;
    draws.add({0.1, 0.9});
    snp& hole = add_site(110, 1);
    hole.ref_alleles_missing = true;
    label(hole, 0, "A", "C", 0.5);
    hole.haps[0] = alleles("22");
    guess();
    EXPECT_EQ((std::vector<int>{1, 0}), values(hole.haps[0]));
    EXPECT_EQ((std::vector<std::uint64_t>{3}), hole.ref_missing);
}

TEST_F(initial_haplotypes, panel_0_keeps_full_sites_and_sites_outside_the_models) {
    give_panel0(2);
    run.panels[0].needs_update = true;
    snp& full = add_site(110, 0);
    label(full, 0, "A", "C", 0.5);
    full.haps[0] = alleles("01");
    snp& outside = add_site(120, 3);
    outside.haps[0] = alleles("22");
    guess();
    EXPECT_EQ((std::vector<int>{0, 1}), values(full.haps[0]));
    EXPECT_TRUE(full.ref_missing.empty());
    EXPECT_EQ((std::vector<int>{2, 2}), values(outside.haps[0]));
    expect_all_drawn(0);
}

TEST_F(initial_haplotypes, panel_0_is_left_alone_when_nobody_needs_an_update) {
    give_panel0(2);
    snp& hole = add_site(110, 1);
    hole.haps[0] = alleles("22");
    guess();
    EXPECT_EQ((std::vector<int>{2, 2}), values(hole.haps[0]));
    expect_log("");
}

// --- frequencies -----------------------------------------------------------------------------------------------------

TEST_F(initial_haplotypes, frequency_0_gives_allele_0_unless_the_draw_is_0) {
    give_panel0(2);
    give_study(1);
    draws.add({1e-300, 0.0});
    const snp& site = add_study_site(110, {3}, 0.0);
    guess();
    EXPECT_EQ((std::vector<int>{0, 1}), values(site.haps[2]));
}

TEST_F(initial_haplotypes, a_frequency_just_below_0_is_stored_as_0_and_draws_no_allele_1) {
    give_panel0(2);
    give_study(1);
    draws.add({0.0, 0.0});
    const snp& site = add_study_site(110, {3}, -1e-11);
    EXPECT_EQ(-1, guess());
    EXPECT_EQ((std::vector<int>{0, 0}), values(site.haps[2]));
    EXPECT_EQ(0.0, site.labels[2].freq);
}

TEST_F(initial_haplotypes, an_undefined_frequency_of_any_panel_ends_the_run) {
    const auto text = [](int panel) {
        return "\nERROR: The allele frequency of the SNP at position 110 is undefined in Panel " +
               std::to_string(panel) +
               "; this implies that something is wrong with your input files. Please contact the authors for further"
               " assistance.\n\n";
    };
    give_panel0(2);
    give_panel1(1);
    give_study(1);
    for (panel_data& panel : run.panels) panel.needs_update = true;
    snp& site = add_study_site(110, {0}, -1.0);
    label(site, 1, "A", "C", -2e-10);
    label(site, 0, "A", "C", -1.0);
    site.gtypes[1] = {0};
    site.haps[0] = alleles("00");
    EXPECT_EQ(1, guess());
    EXPECT_EQ(panel2_stage + text(2), terminal_text());
    EXPECT_EQ(terminal_text(), summary_text());
    capture.terminal.str("");
    site.labels[2].freq = 0.5;
    EXPECT_EQ(1, guess());
    EXPECT_EQ(panel2_stage + panel1_stage + text(1), terminal_text());
    capture.terminal.str("");
    site.labels[1].freq = 0.5;
    EXPECT_EQ(1, guess());
    EXPECT_EQ(panel2_stage + panel1_stage + panel0_stage + text(0), terminal_text());
}

// --- when ------------------------------------------------------------------------------------------------------------

TEST_F(initial_haplotypes, panels_draw_in_the_order_2_1_0) {
    give_panel0(1);
    give_panel1(1);
    give_study(1);
    run.panels[0].needs_update = true;
    draws.add({0.9, 0.1, 0.9});
    snp& site = add_study_site(110, {1});
    add_panel1_data(site, {1});
    label(site, 0, "A", "C", 0.5);
    site.haps[0] = alleles("2");
    guess();
    EXPECT_EQ((std::vector<int>{1, 0}), values(site.haps[2]));
    EXPECT_EQ((std::vector<int>{0, 1}), values(site.haps[1]));
    EXPECT_EQ((std::vector<int>{0}), values(site.haps[0]));
    expect_log(panel2_stage + panel1_stage + panel0_stage);
}

TEST_F(initial_haplotypes, known_haplotypes_alone_are_guessed_only_where_updates_need_it) {
    give_panel0(2);
    give_study(1);
    run.params.g_file = "NULL";
    run.params.known_haps_g_file = "known.haps";
    snp& site = add_study_site(110, {1});
    site.known_phase_flags = {true};
    site.haps[2] = alleles("10");
    guess();
    expect_log("");
    run.panels[2].needs_update = true;
    guess();
    expect_log(panel2_stage + " --known haplotype alleles from the -known_haps_g file will not be changed\n");
    EXPECT_EQ((std::vector<int>{1, 0}), values(site.haps[2]));
}

TEST_F(initial_haplotypes, sampled_haplotypes_keep_their_phase) {
    give_panel0(2);
    give_panel1(1);
    give_study(1);
    run.params.hap_samp_in_g = "samples";
    run.params.hap_samp_in_g_ref = "samples";
    snp& site = add_study_site(110, {1});
    site.haps[2] = alleles("10");
    site.haps[1] = alleles("01");
    guess();
    EXPECT_EQ((std::vector<int>{1, 0}), values(site.haps[2]));
    EXPECT_EQ((std::vector<int>{0, 1}), values(site.haps[1]));
    expect_log("");
}

TEST_F(initial_haplotypes, sampled_haplotypes_of_chrx_are_guessed_again) {
    give_panel0(2);
    give_study(1);
    run.params.hap_samp_in_g = "samples";
    run.params.chrX = true;
    draws.add({0.1});
    snp& site = add_study_site(110, {1});
    site.haps[2] = alleles("10");
    guess();
    EXPECT_EQ((std::vector<int>{0, 1}), values(site.haps[2]));
}

TEST_F(initial_haplotypes, nothing_is_guessed_without_a_study) {
    give_panel0(2);
    add_site(110, 0);
    guess();
    expect_log("");
}

}  // namespace
