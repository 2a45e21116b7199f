#include "params/switch_rates.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "inference/model_run.h"

namespace {

constexpr double smallest_normal = 2.2250738585072014e-308;

// --- formulas -------------------------------------------------------------------------------------------------------

TEST(haploid_gap, follows_its_formulas) {
    for (const double d : {0.0, 1e-12, 0.3, 7.0, 4000.0}) {
        for (const int K : {1, 2, 80, 5000}) {
            const haploid_gap gap = make_haploid_gap(d, K);
            const double e = std::exp(-d / K), t = 1.0 - e, s = t / K;
            EXPECT_EQ(e + s, gap.stay);
            EXPECT_EQ(s, gap.move);
            EXPECT_EQ(e, gap.diff);
            EXPECT_NEAR(1.0, gap.stay + (K - 1) * gap.move, 1e-14);
        }
    }
}

TEST(haploid_gap, of_no_distance_cannot_switch) {
    const haploid_gap gap = make_haploid_gap(0.0, 30);
    EXPECT_EQ(1.0, gap.stay);
    EXPECT_EQ(0.0, gap.move);
    EXPECT_EQ(1.0, gap.diff);
}

TEST(haploid_gap, of_a_very_large_distance_forgets_its_state) {
    const haploid_gap gap = make_haploid_gap(1e9, 8);
    EXPECT_EQ(0.125, gap.stay);
    EXPECT_EQ(0.125, gap.move);
    EXPECT_EQ(0.0, gap.diff);
}

TEST(diploid_gap, follows_its_formulas) {
    for (const double d : {0.0, 1e-12, 0.3, 7.0, 4000.0}) {
        for (const int K : {1, 2, 80, 5000}) {
            const diploid_gap gap = make_diploid_gap(d, K);
            const double e = std::exp(-d / K), t = 1.0 - e, s = t / K, KK = K * K;
            EXPECT_EQ(std::exp(d * -2.0 / K), gap.both_stay);
            EXPECT_EQ(t * e / K, gap.one_moves);
            EXPECT_EQ(t * t / KK, gap.both_move);
            EXPECT_EQ(e + s, gap.hap(false));
            EXPECT_EQ(s, gap.hap(true));
            EXPECT_EQ(e * e + 2 * t * e / K + 2 * t * t / KK, gap.stay_het);
            EXPECT_EQ(e * e + 2 * t * e / K + t * t / KK, gap.stay_hom);
            const std::array<double, 2> h{e + s, s};
            for (const bool u : {false, true}) {
                for (const bool v : {false, true}) {
                    EXPECT_EQ(h[u] * h[v], gap.hom(u, v));
                    for (const bool w : {false, true}) {
                        for (const bool x : {false, true}) EXPECT_EQ(h[w] * h[x] + h[u] * h[v], gap.het(u, v, w, x));
                    }
                }
            }
        }
    }
}

TEST(diploid_gap, squares_the_count_in_32_bits) {
    const double d = 5000.0;
    for (const auto& [K, square] : {std::pair{46340, 2147395600.0}, {46341, -2147479015.0}, {65536, 0.0}}) {
        const diploid_gap gap = make_diploid_gap(d, K);
        const double e = std::exp(-d / K), t = 1.0 - e;
        EXPECT_EQ(t * t / square, gap.both_move);
        EXPECT_EQ(e * e + 2 * t * e / K + t * t / square, gap.stay_hom);
        EXPECT_EQ(e + t / K, gap.hap(false)) << "the haploid terms know no square";
    }
}

// --- the pass over the sites ----------------------------------------------------------------------------------------

struct hap_table {
    double trans[2] = {0.0, 0.0};
    double diff = 0.0;
};
struct dip_table {
    double d = std::numeric_limits<double>::quiet_NaN();  // what it was made of; NaN: still zeros
    int K = 0;
};

// The tables of every site, by the rules of the three chains.
class plain_pass {
  public:
    struct stored {
        std::array<std::array<hap_table, 3>, 3> hap{};
        std::array<dip_table, 2> dip{};
    };
    std::vector<stored> sites;
    int n_negative = 0;

    plain_pass(const model_rooms& run, bool full) : k_(full ? run.models.k_states_full : run.models.k_states) {
        const parameters& p = run.params;
        const bool has0 = run.params.panel0_given(), has1 = run.params.panel1_given();
        const bool haploid = p.haploid_g || (run.plan.chrx_haploid && run.panels[2].n_males >= 1);
        const bool through = p.use_panel1_for_type0_imputation && !p.stage_one;
        std::array<bool, 3> started{};
        std::array<double, 3> last{};
        sites.resize(run.sites.in_order.size());
        for (std::size_t s = 0; s < run.sites.in_order.size(); ++s) {
            const snp& site = *run.sites.in_order[s];
            if (site.type == run.plan.n_panels) continue;
            if (s == 0) {
                started = {has0, has1 && site.type > 0 && !site.panel1_placeholder, site.type >= 2};
                last = {site.gen_pos, site.gen_pos, site.gen_pos};
                continue;
            }
            const auto chain = [&](std::size_t c) {
                const bool has_gap = started[c];
                if (has_gap) measure(site.gen_pos - last[c]);
                started[c] = true;
                last[c] = site.gen_pos;
                return has_gap;
            };
            if (has0 && chain(0)) {
                if (!(through && p.selfcheck <= 0.0)) basic(2, 0);
                if (through) {
                    basic(1, 0);
                    basic(2, 1);
                }
                if (run.panels[0].needs_update) basic(0, 0);
            }
            if (site.type > 0 && !site.panel1_placeholder) {
                if (has1 && chain(1)) {
                    if (!through) basic(2, 1);
                    if (run.plan.chrx_haploid && is_given(p.g_ref_file) && run.panels[1].n_males >= 1) basic(1, 1);
                    now_.dip[0] = {d_, k_[1][1][1]};
                }
                if (site.type >= 2 && chain(2)) {
                    if (haploid) basic(2, 2);
                    now_.dip[1] = {d_, k_[1][2][2]};
                }
            }
            if (has0 || has1) sites[s].hap = now_.hap;
            if (site.type > 0) sites[s].dip = now_.dip;
            if (haploid && site.type >= 2) sites[s].hap = now_.hap;
        }
    }

  private:
    void measure(double d) {
        if (!(d >= 0.0)) {
            d = smallest_normal;
            ++n_negative;
        }
        d_ = d;
    }
    void basic(std::size_t panel, std::size_t cond) {
        const int K = k_[0][panel][cond];
        const double e = std::exp(-d_ / K), t = 1.0 - e, s = t / K;
        now_.hap[panel][cond] = {{e + s, s}, e};
    }

    const model_table<int>& k_;
    stored now_;
    double d_ = 0.0;
};

void expect_table(const hap_table& expected, const haploid_gap& found) {
    EXPECT_EQ(expected.trans[0], found.stay);
    EXPECT_EQ(expected.trans[1], found.move);
    EXPECT_EQ(expected.diff, found.diff);
}

void expect_table(const dip_table& expected, const diploid_gap& found) {
    const diploid_gap whole = std::isnan(expected.d) ? diploid_gap{} : make_diploid_gap(expected.d, expected.K);
    EXPECT_EQ(whole.both_stay, found.both_stay);
    EXPECT_EQ(whole.one_moves, found.one_moves);
    EXPECT_EQ(whole.both_move, found.both_move);
    EXPECT_EQ(whole.hap_stay, found.hap_stay);
    EXPECT_EQ(whole.hap_move, found.hap_move);
    EXPECT_EQ(whole.stay_het, found.stay_het);
    EXPECT_EQ(whole.stay_hom, found.stay_hom);
    EXPECT_EQ(whole.hom(false, true), found.hom(false, true));
    EXPECT_EQ(whole.het(false, true, true, false), found.het(false, true, true, false));
}

class switch_rates : public ::testing::Test, protected model_run {
  protected:
    void SetUp() override {
        capture.open(run.log);
        run.plan.n_panels = 3;
        run.plan.has_reference = true;
        int n = 3;
        for (auto* table : {&run.models.k_states, &run.models.k_states_full}) {
            for (auto& mode : *table) {
                for (auto& panel : mode) {
                    for (int& count : panel) count = n++;
                }
            }
        }
    }
    void give_panel0() { run.params.h_files = {"h0"}; }
    void give_panel1() { run.params.g_ref_file = "ref"; }
    snp& add(long position, int type, double gen_pos) {
        snp& site = add_site(position, type);
        site.gen_pos = gen_pos;
        return site;
    }
    // Lists the sites; every model visits all that are not of the last type.
    void finish() {
        list_sites();
        std::vector<std::size_t> visited;
        for (const snp* site : run.sites.in_order) {
            if (site->type != run.plan.n_panels) visited.push_back(site->index);
        }
        for (auto* table : {&run.models.chains, &run.models.hole_chains}) {
            for (auto& mode : *table) {
                for (auto& panel : mode) {
                    for (hmm_model& model : panel) model.site = visited;
                }
            }
        }
    }
    const haploid_gap& hap(int panel, int cond, long position) {
        const hmm_model& model = at(run.models.chains, 0, panel, cond);
        return model.hap_gap[place(model, position)];
    }
    const diploid_gap& dip(int panel, long position) {
        const hmm_model& model = at(run.models.chains, 1, panel, panel);
        return model.dip_gap[place(model, position)];
    }
    std::size_t place(const hmm_model& model, long position) {
        for (std::size_t v = 0; v < model.n_sites(); ++v) {
            if (run.sites.positions[static_cast<std::size_t>(model.site[v])] == position) return v;
        }
        ADD_FAILURE() << "no site at " << position;
        return 0;
    }
    void expect_all(bool full) {
        const plain_pass plain(run, full);
        for (std::size_t panel = 0; panel < 3; ++panel) {
            for (std::size_t cond = 0; cond < 3; ++cond) {
                const hmm_model& model = run.models.chains[0][panel][cond];
                if (model.hap_gap.empty()) continue;
                ASSERT_EQ(model.n_sites(), model.hap_gap.size());
                for (std::size_t v = 0; v < model.n_sites(); ++v) {
                    SCOPED_TRACE(std::to_string(panel) + std::to_string(cond) + " at " + std::to_string(model.site[v]));
                    expect_table(plain.sites[static_cast<std::size_t>(model.site[v])].hap[panel][cond],
                                 model.hap_gap[v]);
                }
            }
            if (panel == 0) continue;
            const hmm_model& model = run.models.chains[1][panel][panel];
            for (std::size_t v = 0; v < model.dip_gap.size(); ++v) {
                SCOPED_TRACE("diploid " + std::to_string(panel) + " at " + std::to_string(model.site[v]));
                expect_table(plain.sites[static_cast<std::size_t>(model.site[v])].dip[panel - 1], model.dip_gap[v]);
            }
        }
        EXPECT_EQ(plain.n_negative, run.log.warning_count());
    }
};

TEST_F(switch_rates, the_stage_is_said_on_both_channels) {
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ("\n-setting switch rates\n", capture.terminal.str());
    EXPECT_EQ("\n-setting switch rates\n", capture.summary());
    set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ("\n-setting switch rates\n\n-setting hole-filling switch rates\n", capture.terminal.str());
    EXPECT_EQ("\n-setting switch rates\n\n-setting hole-filling switch rates\n", capture.summary());
}

TEST_F(switch_rates, that_are_set_anew_have_a_new_version) {
    const auto before = run.models.switch_rates_version;
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    const auto first = run.models.switch_rates_version;
    EXPECT_GT(first, before);
    set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_GT(run.models.switch_rates_version, first);
}

TEST_F(switch_rates, each_chain_measures_from_its_own_site_before) {
    give_panel0();
    give_panel1();
    add(10, 2, 1.0);
    add(20, 0, 1.5);
    add(30, 1, 2.25);
    add(40, 0, 3.0);
    add(50, 2, 4.5);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ(make_haploid_gap(0.5, at(run.models.k_states, 0, 2, 0)).diff, hap(2, 0, 20).diff);
    EXPECT_EQ(make_haploid_gap(1.5, at(run.models.k_states, 0, 2, 0)).diff, hap(2, 0, 50).diff);
    EXPECT_EQ(make_haploid_gap(1.25, at(run.models.k_states, 0, 2, 1)).diff, hap(2, 1, 30).diff);
    EXPECT_EQ(make_haploid_gap(2.25, at(run.models.k_states, 0, 2, 1)).diff, hap(2, 1, 50).diff)
        << "across a site of type 0";
    EXPECT_EQ(make_diploid_gap(2.25, at(run.models.k_states, 1, 1, 1)).both_stay, dip(1, 50).both_stay);
    EXPECT_EQ(make_diploid_gap(3.5, at(run.models.k_states, 1, 2, 2)).both_stay, dip(2, 50).both_stay);
    expect_all(false);
}

TEST_F(switch_rates, sites_of_the_last_type_take_no_part) {
    give_panel0();
    add(10, 2, 1.0);
    add(20, 3, 0.25);  // would be a negative distance
    add(30, 2, 2.0);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ(make_haploid_gap(1.0, at(run.models.k_states, 0, 2, 0)).diff, hap(2, 0, 30).diff);
    EXPECT_EQ(0, run.log.warning_count());
}

TEST_F(switch_rates, without_a_reference_only_the_study_has_a_chain) {
    run.plan.n_panels = 4;
    run.plan.has_reference = false;
    run.params.haploid_g = run.panels[2].all_haploid = true;
    add(10, 3, 1.0);
    add(20, 3, 1.75);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ(make_haploid_gap(0.75, at(run.models.k_states, 0, 2, 2)).move, hap(2, 2, 20).move);
    EXPECT_EQ(make_diploid_gap(0.75, at(run.models.k_states, 1, 2, 2)).both_stay, dip(2, 20).both_stay);
    expect_all(false);
}

TEST_F(switch_rates, the_first_site_starts_the_study_chain_even_as_a_placeholder) {
    give_panel0();
    give_panel1();
    add(10, 2, 1.0).panel1_placeholder = true;
    add(20, 2, 3.0);
    add(30, 2, 4.0).panel1_placeholder = true;
    add(40, 2, 6.0);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ(make_diploid_gap(2.0, at(run.models.k_states, 1, 2, 2)).both_stay, dip(2, 20).both_stay);
    EXPECT_EQ(0.0, dip(1, 20).both_stay) << "the chain of Panel 1 only starts here";
    EXPECT_EQ(make_diploid_gap(3.0, at(run.models.k_states, 1, 2, 2)).both_stay, dip(2, 40).both_stay)
        << "across a placeholder";
    EXPECT_EQ(make_diploid_gap(3.0, at(run.models.k_states, 1, 1, 1)).both_stay, dip(1, 40).both_stay);
    expect_all(false);
}

TEST_F(switch_rates, the_full_counts_give_other_rates) {
    give_panel0();
    add(10, 2, 1.0);
    add(20, 2, 3.0);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, true, run.models);
    EXPECT_EQ(make_haploid_gap(2.0, at(run.models.k_states_full, 0, 2, 0)).diff, hap(2, 0, 20).diff);
    expect_all(true);
}

TEST_F(switch_rates, agree_with_the_plain_pass_over_any_sites_and_options) {
    input_source source(5);
    for (int repeat = 0; repeat < 150; ++repeat) {
        run.sites.store.clear();
        run.models.chains = {};
        const bool reference = source.chance(0.8);
        run.plan.n_panels = reference ? 3 : 4;
        run.plan.has_reference = reference;
        run.params.h_files.clear();
        run.params.g_ref_file = "NULL";
        if (reference) {
            run.params.h_files.assign(static_cast<std::size_t>(source.integer(0, 2)), "h");
            if (run.params.h_files.empty() || (run.params.h_files.size() == 1 && source.chance(0.5))) give_panel1();
        }
        run.params.use_panel1_for_type0_imputation = source.chance(0.4);
        run.params.stage_one = source.chance(0.3);
        run.params.selfcheck = source.chance(0.5) ? 0.2 : 0.0;
        run.params.haploid_g = run.panels[2].all_haploid = source.chance(0.2);
        run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = source.chance(0.4);
        for (const std::size_t p : {1U, 2U}) run.panels[p].n_males = source.chance(0.5) ? 1 : 0;
        run.panels[0].needs_update = source.chance(0.5);
        double gen_pos = 0.0;
        for (int s = 0; s < 25; ++s) {
            gen_pos += random_distance(source);
            snp& site = add(100 + s, reference ? source.integer(0, 3) : source.integer(2, 3), gen_pos);
            site.panel1_placeholder = source.chance(0.2);
        }
        finish();
        SCOPED_TRACE("repeat " + std::to_string(repeat));
        set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, repeat % 2 == 0, run.models);
        expect_all(repeat % 2 == 0);
        if (HasFailure()) return;
    }
}

// --- negative distances ---------------------------------------------------------------------------------------------

TEST_F(switch_rates, a_negative_distance_is_replaced_and_told_by_each_chain) {
    give_panel0();
    add(1000, 2, 2.5);
    add(2000, 2, 1.25);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    const std::string line =
        "WARNING: Positions 1000 and 2000 (with genetic map positions 2.500000 and 1.250000, respectively) are "
        "separated by "
        "negative genetic distance 0.000000; this will be set to a positive number just slightly larger than zero.\n";
    EXPECT_EQ(line + line, capture.warnings());
    EXPECT_EQ(2, run.log.warning_count());
    EXPECT_EQ(make_haploid_gap(smallest_normal, at(run.models.k_states, 0, 2, 0)).stay, hap(2, 0, 2000).stay);
    EXPECT_EQ(make_diploid_gap(smallest_normal, at(run.models.k_states, 1, 2, 2)).stay_het, dip(2, 2000).stay_het);
}

TEST_F(switch_rates, a_negative_distance_names_the_neighbours_in_the_chain) {
    give_panel0();
    add(1000, 2, 2.0);
    add(1500, 0, 3.0);
    add(2000, 2, 2.5);
    add(2500, 2, 2.25);
    add(3000, 0, 2.125);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    const auto line = [](const std::string& p1, const std::string& p2, const std::string& g1, const std::string& g2) {
        return "WARNING: Positions " + p1 + " and " + p2 + " (with genetic map positions " + g1 + " and " + g2 +
               ", respectively) are separated by negative genetic distance 0.000000; this will be set to a positive "
               "number "
               "just slightly larger than zero.\n";
    };
    EXPECT_EQ(line("1500", "2000", "3.000000", "2.500000") + line("2000", "2500", "2.500000", "2.250000") +
                  line("2000", "2500", "2.500000", "2.250000") + line("2500", "3000", "2.250000", "2.125000"),
              capture.warnings());
    EXPECT_EQ(4, run.log.warning_count());
}

TEST_F(switch_rates, a_distance_that_is_no_number_counts_as_negative) {
    give_panel0();
    run.panels[0].needs_update = false;
    add(1000, 0, 1.0);
    add(2000, 0, std::numeric_limits<double>::quiet_NaN());
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ(1, run.log.warning_count());
    EXPECT_EQ(1.0, hap(2, 0, 2000).stay);
}

TEST_F(switch_rates, without_warnings_a_negative_distance_is_replaced_in_silence) {
    model_rooms& quiet = run;
    quiet.log.close();
    log_capture other;
    other.open(quiet.log, false);
    give_panel0();
    add(1000, 2, 2.5);
    add(2000, 2, 1.25);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ(0, run.log.warning_count());
    EXPECT_EQ("", capture.warnings());
    EXPECT_EQ(1.0, hap(2, 0, 2000).stay);
    quiet.log.close();
}

TEST_F(switch_rates, an_equal_position_on_the_map_is_no_fault) {
    give_panel0();
    add(1000, 2, 2.5);
    add(2000, 2, 2.5);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ(0, run.log.warning_count());
    EXPECT_EQ(1.0, hap(2, 0, 2000).stay);
    EXPECT_EQ(0.0, hap(2, 0, 2000).move);
}

// --- hole filling ---------------------------------------------------------------------------------------------------

class filling_rates : public switch_rates {
  protected:
    void SetUp() override {
        switch_rates::SetUp();
        run.plan.fill_holes = true;
    }
    // Sites on which the chains differ; positions 10, 20, ..., map positions 1, 2, 4, 8 ...
    void add_sites() {
        double gen_pos = 1.0;
        long position = 10;
        for (const auto& [type, hole, placeholder] : std::vector<std::tuple<int, bool, bool>>{{0, false, false},
                                                                                              {1, true, false},
                                                                                              {2, false, true},
                                                                                              {3, false, false},
                                                                                              {0, true, false},
                                                                                              {2, true, false},
                                                                                              {1, false, true},
                                                                                              {1, false, false},
                                                                                              {2, false, false}}) {
            snp& site = add(position, type, gen_pos);
            site.ref_alleles_missing = hole;
            site.panel1_placeholder = placeholder;
            position += 10;
            gen_pos *= 2.0;
        }
        finish();
        // The filling model visits what its sweep visits.
        for (std::size_t to = 0; to < 2; ++to) {
            for (std::size_t from = 1; from < 3; ++from) {
                hmm_model& model = run.models.hole_chains[0][to][from];
                model.site.clear();
                for (const snp* site : run.sites.in_order) {
                    const bool hidden = from == 1 && site->panel1_placeholder;
                    if (site->type >= from && site->type != 3 && !hidden) model.site.push_back(site->index);
                }
            }
        }
    }
    // Checks the own chain and the source chain against their rules.
    void expect_chains(int to, int from, bool full) {
        const model_table<int>& counts = full ? run.models.k_states_full : run.models.k_states;
        const auto t = static_cast<std::size_t>(to), f = static_cast<std::size_t>(from);
        double last = 0.0;
        bool started = false;
        const hmm_model& own = run.models.chains[t][t][t];
        for (std::size_t v = 0; v < own.n_sites(); ++v) {
            const snp& site = *run.sites.in_order[static_cast<std::size_t>(own.site[v])];
            if (site.type < t || site.ref_alleles_missing) continue;
            if (started) {
                const double d = site.gen_pos - last;
                if (to == 0) {
                    EXPECT_EQ(make_haploid_gap(d, counts[0][0][0]).diff, own.hap_gap[v].diff) << "own site " << v;
                    EXPECT_EQ(make_haploid_gap(d, counts[0][0][0]).stay, own.hap_gap[v].stay) << "own site " << v;
                } else {
                    EXPECT_EQ(make_diploid_gap(d, counts[1][1][1]).both_stay, own.dip_gap[v].both_stay)
                        << "own site " << v;
                    EXPECT_EQ(make_diploid_gap(d, counts[1][1][1]).hap_move, own.dip_gap[v].hap_move)
                        << "own site " << v;
                    EXPECT_EQ(make_diploid_gap(d, counts[1][1][1]).stay_hom, own.dip_gap[v].stay_hom)
                        << "own site " << v;
                }
            }
            started = true;
            last = site.gen_pos;
        }
        const hmm_model& source = run.models.hole_chains[0][t][f];
        started = false;
        for (std::size_t v = 0; v < source.n_sites(); ++v) {
            const snp& site = *run.sites.in_order[static_cast<std::size_t>(source.site[v])];
            if (site.panel1_placeholder) continue;
            if (started) {
                EXPECT_EQ(make_haploid_gap(site.gen_pos - last, counts[0][t][f]).diff, source.hap_gap[v].diff);
            }
            started = true;
            last = site.gen_pos;
        }
    }
};

TEST_F(filling_rates, panel_0_is_filled_from_panel_1) {
    for (const bool full : {false, true}) {
        run.sites.store.clear();
        run.models.chains = {};
        give_panel0();
        give_panel1();
        run.panels[0].needs_update = true;
        run.plan.hole_fill_to = 0;
        add_sites();
        set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, full, run.models);
        set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, full, run.models);
        expect_chains(0, 1, full);
    }
}

TEST_F(filling_rates, panel_0_is_filled_from_a_second_file_of_haplotypes) {
    run.params.h_files = {"h0", "h1"};
    run.panels[0].needs_update = true;
    run.plan.hole_fill_to = 0;
    add_sites();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    expect_chains(0, 1, false);
}

TEST_F(filling_rates, panel_0_alone_is_filled_from_the_study) {
    give_panel0();
    run.panels[0].needs_update = true;
    run.plan.hole_fill_to = 0;
    add_sites();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    expect_chains(0, 2, false);
}

TEST_F(filling_rates, panel_1_alone_is_filled_from_the_study) {
    give_panel1();
    run.plan.hole_fill_to = 1;
    add_sites();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    const std::vector<diploid_gap> before = run.models.chains[1][1][1].dip_gap;
    set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    expect_chains(1, 2, false);
    // The tables of pairs are those of the first pass.
    const std::vector<diploid_gap>& after = run.models.chains[1][1][1].dip_gap;
    for (std::size_t v = 0; v < after.size(); ++v) {
        for (const bool u : {false, true}) {
            for (const bool w : {false, true}) {
                EXPECT_EQ(before[v].hom(u, w), after[v].hom(u, w));
                EXPECT_EQ(before[v].het(u, w, !u, !w), after[v].het(u, w, !u, !w));
            }
        }
    }
}

TEST_F(filling_rates, nothing_is_done_for_another_panel_or_without_a_reference) {
    give_panel0();
    give_panel1();
    run.panels[0].needs_update = true;
    run.plan.hole_fill_to = 1;
    add_sites();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    const auto before = run.models.chains[0][0][0].hap_gap;
    set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    for (std::size_t v = 0; v < before.size(); ++v)
        EXPECT_EQ(before[v].diff, run.models.chains[0][0][0].hap_gap[v].diff);
    EXPECT_TRUE(run.models.hole_chains[0][0][1].hap_gap.empty());
    run.plan.has_reference = false;
    run.params.h_files.clear();
    run.params.g_ref_file = "NULL";
    set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_TRUE(run.models.hole_chains[0][1][2].hap_gap.empty());
}

TEST_F(filling_rates, both_chains_tell_of_negative_distances) {
    give_panel0();
    give_panel1();
    run.plan.hole_fill_to = 0;
    add(1000, 1, 5.0);
    add(2000, 1, 4.0);
    finish();
    set_switch_rates(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    const int before = run.log.warning_count();
    set_switch_rates_for_hole_filling(run.log, {run.params, run.plan, run.panels, run.sites}, false, run.models);
    EXPECT_EQ(before + 2, run.log.warning_count());
}

}  // namespace
