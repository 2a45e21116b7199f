#include <cctype>
#include <sstream>

#include "params/state_counts.h"
#include "reconcile/setup.h"
#include "reconcile_fixture.h"

namespace {

class setup_stages : public reconcile_fixture {
  protected:
    // A small run of a reference and a study: sites of types 0, 2 and 3, and one reference site in the buffer.
    void SetUp() override {
        reconcile_fixture::SetUp();
        give_panel0(4);
        give_study(2);
        run.params.k = 2;
        run.params.k_hap = {2};
        run.plan.n_iterations = 4;
        run.plan.burnin = 2;
        add_reference_site(60, 0);
        add_reference_site(110, 0);
        add_study_site(120, 2, {0, 2});
        add_study_site(130, 2, {1, 0});
        add_reference_site(140, 0);
        add_study_site(150, 3, {0, 0});
        draws.add({0.9});
        set_state_counts(run.params, run.panels, run.models);
    }
    void set_up() {
        const type_counts n_of_type = setup_panels(run.log, run.params, run.plan, run.panels, run.sites);
        setup_models(run.log, run.params, n_of_type, run.plan, run.panels, run.sites, run.models, run.acc);
    }
    snp& add_reference_site(long position, int type) {
        snp& site = add_site(position, type);
        label(site, 0, "A", "C", 0.5);
        site.haps[0] = alleles("0110");
        return site;
    }
    void add_study_site(long position, int type, const std::vector<std::uint8_t>& genotypes) {
        snp& site = type == 2 ? add_reference_site(position, type) : add_site(position, type);
        label(site, 2, "A", "C", 0.25);
        site.gtypes[2] = genotypes;
        site.haps[2] = allele_row(4, 2);
    }
    // The lines of the terminal that begin with "-" and a lower-case letter, up to the first blank.
    std::vector<std::string> stage_words() const {
        std::vector<std::string> words;
        std::istringstream lines(terminal_text());
        for (std::string line; std::getline(lines, line);) {
            if (line.size() > 1 && line[0] == '-' && std::islower(static_cast<unsigned char>(line[1])) != 0) {
                words.push_back(line.substr(1, line.find(' ') - 1));
            }
        }
        return words;
    }
    bool says(const std::string& text) const { return terminal_text().find(text) != std::string::npos; }
};

TEST_F(setup_stages, run_in_order) {
    EXPECT_EQ(-1, end_status([this] { set_up(); }));
    EXPECT_EQ((std::vector<std::string>{"removing", "checking", "aligning", "removing", "making", "setting", "setting",
                                        "setting"}),
              stage_words());
    EXPECT_TRUE(says("\n-setting storage space\n\n-setting mutation matrices\n\n-setting switch rates\n"));
    EXPECT_EQ((std::vector<long>{110, 120, 130, 140, 150}), run.sites.positions);
    EXPECT_EQ(1, run.panels[2].haps.allele(0, 2));
    EXPECT_EQ(0, run.panels[2].haps.allele(1, 2));
    EXPECT_TRUE(draws.used_up());
}

TEST_F(setup_stages, optional_stages_come_first) {
    run.params.restrict_buffer_to_scaffold = true;
    run.sites.multi_match_positions = {120};
    EXPECT_EQ(-1, end_status([this] { set_up(); }));
    const std::string text = terminal_text();
    const auto scaffold = text.find("-removing non-scaffold SNPs from buffer region\n --removed 1 SNPs\n");
    const auto reference = text.find("-removing reference-only SNPs from buffer region\n --removed 0 SNPs\n");
    const auto split = text.find("-converting Panel 2 SNPs");
    const auto strand = text.find("-checking strand alignment");
    EXPECT_LT(scaffold, reference);
    EXPECT_LT(reference, split);
    EXPECT_LT(split, strand);
    EXPECT_NE(std::string::npos, strand);
    EXPECT_EQ((std::vector<long>{110, 120, 120, 130, 140, 150}), run.sites.positions);
}

TEST_F(setup_stages, buffer_sites_of_the_reference_can_be_kept) {
    run.params.keep_buffer_ref_snps = true;
    EXPECT_EQ(-1, end_status([this] { set_up(); }));
    EXPECT_FALSE(says("reference-only"));
    EXPECT_EQ(60, run.sites.positions.front());
}

TEST_F(setup_stages, sites_that_do_not_align_can_be_kept) {
    run.params.remove_excluded = false;
    label(site_at(120), 2, "A", "G", 0.25);
    EXPECT_EQ(-1, end_status([this] { set_up(); }));
    EXPECT_FALSE(says("non-aligned"));
    EXPECT_EQ("G", run.sites.in_order[1]->labels[2].a1);
}

TEST_F(setup_stages, without_a_reference_only_the_label_stage_remains) {
    run.params.h_files.clear();
    run.plan.has_reference = false;
    run.plan.n_panels = 4;
    run.panels[0].n_hap = 0;
    run.sites.store.clear();
    add_study_site(130, 3, {1, 0});
    add_study_site(140, 3, {0, 2});
    set_state_counts(run.params, run.panels, run.models);
    EXPECT_EQ(-1, end_status([this] { set_up(); }));
    EXPECT_EQ((std::vector<std::string>{"aligning", "making", "setting", "setting", "setting"}), stage_words());
}

TEST_F(setup_stages, two_references_are_checked_against_each_other) {
    give_second_haplotypes(2);
    for (auto& [position, site] : run.sites.store) {
        if (site.type != 2) continue;
        label(site, 1, "C", "A", 0.5);
        site.haps[1] = alleles("11");
    }
    set_state_counts(run.params, run.panels, run.models);
    EXPECT_EQ(-1, end_status([this] { set_up(); }));
    EXPECT_TRUE(says("between Panel 1 and Panel 0 by allele labels\n"));
    EXPECT_TRUE(says("between Panel 2 and Panel 0+1 by allele labels\n"));
    EXPECT_EQ(0, run.panels[1].haps.allele(0, 1));
    EXPECT_TRUE(run.sites.in_order[1]->allele_flipped[1]);
}

TEST_F(setup_stages, informed_states_from_the_start_leave_the_parameters_to_the_loop) {
    run.plan.burnin = 0;
    run.params.informed_burnin = 0;
    EXPECT_EQ(-1, end_status([this] { set_up(); }));
    EXPECT_TRUE(says("-setting storage space\n"));
    EXPECT_FALSE(says("-setting mutation matrices"));
    EXPECT_FALSE(says("-setting switch rates"));
}

TEST_F(setup_stages, random_states_take_their_parameters_here) {
    run.params.random_cond = true;
    run.plan.burnin = 0;
    EXPECT_EQ(-1, end_status([this] { set_up(); }));
    EXPECT_TRUE(says("-setting mutation matrices"));
}

TEST_F(setup_stages, a_region_without_study_sites_ends_the_run) {
    run.sites.store.erase(120);
    run.sites.store.erase(130);
    EXPECT_EQ(1, end_status([this] { set_up(); }));
    EXPECT_FALSE(says("-making"));
    EXPECT_FALSE(says("-setting"));
}

}  // namespace
