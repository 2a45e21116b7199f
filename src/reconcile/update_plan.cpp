#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include "reconcile/stages.h"

namespace {

// What the plan of a panel of genotypes needs to know, and the flags that it fills.
struct genotype_panel {
    std::size_t panel;        // 1 or 2
    std::size_t n;            // members: individuals, or the haplotypes of a second -h file
    std::size_t lowest_type;  // of the sites that hold the panel's data
    bool read;                // the panel has genotypes
    bool sampled;             // its haplotypes come from another run
    bool probabilistic;
    bool all_ordered;       // everybody has one haplotype, or the phase is given
    bool known_haps_given;  // a file of known haplotypes was given
    std::vector<bool>& update;
    std::vector<bool>& het;
    std::vector<bool>& ordered;
    // How many members have no flag yet.
    std::size_t n_update = 0, n_het = 0, n_ordered = 0;

    // Input probabilities leave every genotype open.
    bool draws_everybody() const { return probabilistic && read && !sampled; }
};

bool holds_data(const run_plan& run, const genotype_panel& plan, const snp& site) {
    if (site.type < plan.lowest_type || site.type >= run.n_panels) return false;
    if (!plan.probabilistic && site.gtypes[plan.panel].size() != plan.n) return false;
    return plan.panel != 1 || !site.panel1_placeholder;
}

void flag_genotype(genotype_panel& plan, std::size_t i, std::uint8_t genotype) {
    if (genotype != missing_genotype && genotype != 1) return;
    if (!plan.update[i]) {
        plan.update[i] = true;
        --plan.n_update;
    }
    if (genotype == 1 && !plan.het[i]) {
        plan.het[i] = true;
        --plan.n_het;
    }
}

bool is_heterozygous(const genotype_panel& plan, const snp& site, std::size_t i) {
    if (!plan.probabilistic) return site.gtypes[plan.panel][i] == 1;
    const std::vector<float>& probs = site.gtype_probs[plan.panel];
    return !probs.empty() && static_cast<double>(probs[3 * i + 1]) + 1e-10 > 1.0;
}

void visit_site(genotype_panel& plan, const snp& site) {
    const bool has_known_phase = plan.panel == 2 && !site.known_phase_flags.empty();
    for (std::size_t i = 0; i < plan.n; ++i) {
        const bool phase_known = has_known_phase && site.known_phase_flags[i];
        if (!phase_known) {
            if (!plan.update[i] || !plan.het[i]) flag_genotype(plan, i, site.gtypes[plan.panel][i]);
        } else if (plan.known_haps_given && !plan.ordered[i] && is_heterozygous(plan, site, i)) {
            plan.ordered[i] = true;
            --plan.n_ordered;
        }
    }
}

// Whether no further site can change a flag, as far as the counts tell.
bool all_flagged(const genotype_panel& plan, std::size_t n_males) {
    return plan.n_update == 0 && plan.n_het == n_males && (plan.n_ordered == 0 || !plan.known_haps_given);
}

// The flags that need no look at the sites.
void set_first_flags(const panel_data& panel, genotype_panel& plan) {
    plan.update.assign(plan.n, plan.draws_everybody());
    plan.het.assign(plan.n, plan.draws_everybody());
    plan.ordered.assign(plan.n, plan.read && (plan.sampled || plan.all_ordered));
    plan.n_update = plan.n_het = plan.n_ordered = plan.n;
    if (!plan.read || plan.sampled) return;
    for (std::size_t i = 0; i < plan.n; ++i) {
        if (!panel.is_haploid_male(i)) continue;
        plan.ordered[i] = true;
        --plan.n_ordered;
    }
}

// Sets the flags that the genotypes ask for; true if a hole was seen.
bool visit_sites(const run_plan& run, const panel_data& panel, const site_table& sites, genotype_panel& plan) {
    if (!plan.read || plan.sampled) return false;
    const bool seeks_hole = run.hole_fill_to == plan.panel && run.fill_holes;
    bool hole_seen = false;
    for (const auto& [position, site] : sites.store) {
        if (!holds_data(run, plan, site)) continue;
        if (seeks_hole && site.ref_alleles_missing) {
            hole_seen = true;
        } else {
            visit_site(plan, site);
        }
        if (all_flagged(plan, panel.n_males) && (hole_seen || !seeks_hole)) break;
    }
    return hole_seen;
}

void choose_hole_panels(const panel_array& panels, run_plan& run) {
    if (!run.fill_holes) return;
    const bool panel0 = panels[0].n_hap > 0;
    const bool panel1 = panels[1].n_hap > 0;
    if (panel0 || panel1) {
        run.hole_fill_from = panel0 && panel1 ? 1 : 2;
        run.hole_fill_to = panel0 ? 0 : 1;
    } else {
        run.hole_fill_from = run.hole_fill_to = std::nullopt;
    }
}

// What all three plans look at.
struct planned_run {
    const parameters& params;
    const run_plan& plan;
    const site_table& sites;
};

// Fills the flags of Panel 1 or 2; true if a hole was seen.
bool plan_genotype_panel(const planned_run& run, panel_data& panel, genotype_panel plan) {
    set_first_flags(panel, plan);
    const bool hole_seen = visit_sites(run.plan, panel, run.sites, plan);
    panel.needs_update = plan.draws_everybody() || plan.n_update < plan.n;
    panel.needs_phasing = plan.draws_everybody() || plan.n_het < plan.n;
    return hole_seen;
}

bool plan_panel2(const planned_run& run, panel_data& panel) {
    const parameters& params = run.params;
    return plan_genotype_panel(run, panel,
                               {.panel = 2,
                                .n = panel.n_ind,
                                .lowest_type = run.plan.n_panels - 1,
                                .read = true,
                                .sampled = is_given(params.hap_samp_in_g),
                                .probabilistic = params.prob_g,
                                .all_ordered = params.haploid_g,
                                .known_haps_given = is_given(params.known_haps_g_file),
                                .update = panel.update,
                                .het = panel.heterozygous,
                                .ordered = panel.ordered});
}

bool plan_panel1(const planned_run& run, panel_data& panel) {
    const parameters& params = run.params;
    const bool haplotypes = params.h_files.size() >= 2;
    return plan_genotype_panel(run, panel,
                               {.panel = 1,
                                .n = haplotypes ? panel.n_hap : panel.n_ind,
                                .lowest_type = 1,
                                .read = is_given(params.g_ref_file) || is_given(params.known_haps_g_ref_file),
                                .sampled = is_given(params.hap_samp_in_g_ref),
                                .probabilistic = params.prob_g_ref,
                                .all_ordered = haplotypes,
                                .known_haps_given = is_given(params.known_haps_g_ref_file),
                                .update = panel.update,
                                .het = panel.heterozygous,
                                .ordered = panel.ordered});
}

// Flags the haplotypes that miss an allele at the site; the number of those that had no flag yet.
std::size_t flag_missing_alleles(const std::vector<std::uint64_t>& missing, std::vector<bool>& flags) {
    std::size_t n_new = 0;
    for (std::size_t w = 0; w < missing.size(); ++w) {
        for (std::uint64_t rest = missing[w]; rest != 0; rest &= rest - 1) {
            const std::size_t hap = w * bits::word_bits + static_cast<std::size_t>(std::countr_zero(rest));
            if (!flags[hap]) ++n_new;
            flags[hap] = true;
        }
    }
    return n_new;
}

// Fills the flags of Panel 0; true if a hole was seen.
bool plan_panel0(const planned_run& run, panel_data& panel) {
    const bool sampled = is_given(run.params.hap_samp_in_h);
    const bool seeks_hole = run.plan.hole_fill_to == std::size_t{0} && run.plan.fill_holes;
    panel.update.assign(panel.n_hap, false);
    std::size_t n_left = panel.n_hap;
    bool hole_seen = false;
    if (run.params.panel0_given() && (!sampled || seeks_hole)) {
        for (const auto& [position, site] : run.sites.store) {
            if (site.type == run.plan.n_panels) continue;
            if (seeks_hole && site.ref_alleles_missing) {
                hole_seen = true;
                if (sampled) break;
            } else {
                n_left -= flag_missing_alleles(site.haps[0].missing(), panel.update);
            }
            if (n_left == 0 && (hole_seen || !seeks_hole)) break;
        }
    }
    panel.needs_update = n_left < panel.n_hap;
    return hole_seen;
}

// A run in which nobody needs sampling passes over the data once.
void shorten_if_nothing_to_do(const parameters& params, run_plan& plan, panel_array& panels) {
    if (panels[0].needs_update || panels[1].needs_update || panels[2].needs_update) return;
    if (is_given(params.hap_samp_in_g) || is_given(params.hap_samp_in_g_ref) || is_given(params.hap_samp_in_h)) return;
    plan.n_iterations = 1;
    plan.burnin = 0;
    for (const std::size_t p : {1U, 2U}) panels[p].ordered.assign(panels[p].ordered.size(), true);
}

// Makes a site of Panel 2 alone.
void withdraw_reference(snp& site) {
    site.ref_alleles_missing = false;
    site.type = site.top_panel = 3;
    for (const std::size_t panel : {0U, 1U}) {
        site.labels[panel] = panel_labels{};
        site.haps[panel].clear();
    }
    site.gtypes[1].clear();
    site.gtype_probs[1].clear();
}

void cancel_idle_hole_filling(run_plan& plan, site_table& sites) {
    if (!plan.fill_holes || (plan.hole_fill_from && plan.hole_fill_to)) return;
    plan.fill_holes = false;
    for (auto& [position, site] : sites.store) {
        if (site.ref_alleles_missing) withdraw_reference(site);
    }
}

}  // namespace

void make_update_plan(run_log& log, const parameters& params, run_plan& plan, panel_array& panels, site_table& sites) {
    choose_hole_panels(panels, plan);
    const planned_run run{params, plan, sites};
    const bool hole_in_panel2 = plan_panel2(run, panels[2]);
    const bool hole_in_panel1 = plan_panel1(run, panels[1]);
    const bool hole_in_panel0 = plan_panel0(run, panels[0]);
    if (!panels[0].needs_update) plan.sporadic_haploid_imputation = false;
    if (!hole_in_panel2 && !hole_in_panel1 && !hole_in_panel0) {
        plan.hole_fill_from = plan.hole_fill_to = std::nullopt;
    }
    shorten_if_nothing_to_do(params, plan, panels);
    if (params.use_prephased_g && panels[2].needs_update) {
        log.fatal(
            "ERROR: The -use_prephased_g option requires that all of your input genotypes"
            " be completely phased with no missing values.");
    }
    cancel_idle_hole_filling(plan, sites);
}
