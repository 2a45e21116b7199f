#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include "model/data.h"
#include "reconcile/stages.h"

namespace {

// What the plan of a panel of genotypes needs to know, and the flags that it fills.
struct genotype_panel {
    int panel;        // 1 or 2
    std::size_t n;    // members: individuals, or the haplotypes of a second -h file
    int lowest_type;  // of the sites that hold the panel's data
    bool read;        // the panel has genotypes
    bool sampled;     // its haplotypes come from another run
    bool probabilistic;
    bool all_ordered;       // everybody has one haplotype, or the phase is given
    bool known_haps_given;  // a file of known haplotypes was given
    std::vector<bool>& update;
    std::vector<bool>& het;
    std::vector<bool>& ordered;
    // How many members have no flag yet.
    long n_update = 0, n_het = 0, n_ordered = 0;

    // Input probabilities leave every genotype open.
    bool draws_everybody() const { return probabilistic && read && !sampled; }
};

bool holds_data(const data& run, const genotype_panel& plan, const snp& site) {
    if (site.type < plan.lowest_type || site.type > run.plan.n_panels - 1) return false;
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
bool all_flagged(const data& run, const genotype_panel& plan) {
    return plan.n_update == 0 && plan.n_het == run.panels[plan.panel].n_males &&
           (plan.n_ordered == 0 || !plan.known_haps_given);
}

// The flags that need no look at the sites.
void set_first_flags(const data& run, genotype_panel& plan) {
    plan.update.assign(plan.n, plan.draws_everybody());
    plan.het.assign(plan.n, plan.draws_everybody());
    plan.ordered.assign(plan.n, plan.read && (plan.sampled || plan.all_ordered));
    plan.n_update = plan.n_het = plan.n_ordered = static_cast<long>(plan.n);
    if (!plan.read || plan.sampled) return;
    for (std::size_t i = 0; i < plan.n; ++i) {
        if (!run.panels[plan.panel].is_haploid_male(static_cast<int>(i))) continue;
        plan.ordered[i] = true;
        --plan.n_ordered;
    }
}

// Sets the flags that the genotypes ask for; true if a hole was seen.
bool visit_sites(const data& run, genotype_panel& plan) {
    if (!plan.read || plan.sampled) return false;
    const bool seeks_hole = run.plan.hole_fill_to == plan.panel && run.params.fill_holes;
    bool hole_seen = false;
    for (const auto& [position, site] : run.sites.store) {
        if (!holds_data(run, plan, site)) continue;
        if (seeks_hole && site.ref_alleles_missing) {
            hole_seen = true;
        } else {
            visit_site(plan, site);
        }
        if (all_flagged(run, plan) && (hole_seen || !seeks_hole)) break;
    }
    return hole_seen;
}

void choose_hole_panels(data& run) {
    if (!run.params.fill_holes) return;
    const bool panel0 = run.panels[0].n_hap > 0;
    const bool panel1 = run.panels[1].n_hap > 0;
    if (panel0 || panel1) {
        run.plan.hole_fill_from = panel0 && panel1 ? 1 : 2;
        run.plan.hole_fill_to = panel0 ? 0 : 1;
    } else {
        run.plan.hole_fill_from = run.plan.hole_fill_to = -1;
    }
}

// Fills the flags of Panel 1 or 2; true if a hole was seen.
bool plan_genotype_panel(data& run, genotype_panel plan) {
    set_first_flags(run, plan);
    const bool hole_seen = visit_sites(run, plan);
    const auto p = static_cast<std::size_t>(plan.panel);
    const auto n = static_cast<long>(plan.n);
    run.panels[p].needs_update = plan.draws_everybody() || plan.n_update < n;
    run.panels[p].needs_phasing = plan.draws_everybody() || plan.n_het < n;
    return hole_seen;
}

bool plan_panel2(data& run) {
    const parameters& params = run.params;
    return plan_genotype_panel(run, {.panel = 2,
                                     .n = static_cast<std::size_t>(run.panels[2].n_ind),
                                     .lowest_type = run.plan.n_panels - 1,
                                     .read = true,
                                     .sampled = is_given(params.hap_samp_in_g),
                                     .probabilistic = params.prob_g,
                                     .all_ordered = params.haploid_g,
                                     .known_haps_given = is_given(params.known_haps_g_file),
                                     .update = run.panels[2].update,
                                     .het = run.panels[2].heterozygous,
                                     .ordered = run.panels[2].ordered});
}

bool plan_panel1(data& run) {
    const parameters& params = run.params;
    const bool haplotypes = params.h_files.size() >= 2;
    return plan_genotype_panel(run,
                               {.panel = 1,
                                .n = static_cast<std::size_t>(haplotypes ? run.panels[1].n_hap : run.panels[1].n_ind),
                                .lowest_type = 1,
                                .read = is_given(params.g_ref_file) || is_given(params.known_haps_g_ref_file),
                                .sampled = is_given(params.hap_samp_in_g_ref),
                                .probabilistic = params.prob_g_ref,
                                .all_ordered = haplotypes,
                                .known_haps_given = is_given(params.known_haps_g_ref_file),
                                .update = run.panels[1].update,
                                .het = run.panels[1].heterozygous,
                                .ordered = run.panels[1].ordered});
}

// Flags the haplotypes that miss an allele at the site; the number of those that had no flag yet.
long flag_missing_alleles(const std::vector<std::uint64_t>& missing, std::vector<bool>& flags) {
    long n_new = 0;
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
bool plan_panel0(data& run) {
    const bool sampled = is_given(run.params.hap_samp_in_h);
    const bool seeks_hole = run.plan.hole_fill_to == 0 && run.params.fill_holes;
    run.panels[0].update.assign(static_cast<std::size_t>(run.panels[0].n_hap), false);
    long n_left = run.panels[0].n_hap;
    bool hole_seen = false;
    if (run.params.panel0_given() && (!sampled || seeks_hole)) {
        for (const auto& [position, site] : run.sites.store) {
            if (site.type == run.plan.n_panels) continue;
            if (seeks_hole && site.ref_alleles_missing) {
                hole_seen = true;
                if (sampled) break;
            } else {
                n_left -= flag_missing_alleles(site.haps[0].missing(), run.panels[0].update);
            }
            if (n_left == 0 && (hole_seen || !seeks_hole)) break;
        }
    }
    run.panels[0].needs_update = n_left < run.panels[0].n_hap;
    if (!run.panels[0].needs_update) run.plan.sporadic_haploid_imputation = false;
    return hole_seen;
}

// A run in which nobody needs sampling passes over the data once.
void shorten_if_nothing_to_do(data& run) {
    parameters& params = run.params;
    if (run.panels[0].needs_update || run.panels[1].needs_update || run.panels[2].needs_update) return;
    if (is_given(params.hap_samp_in_g) || is_given(params.hap_samp_in_g_ref) || is_given(params.hap_samp_in_h)) return;
    params.iter = 1;
    params.burnin = 0;
    run.panels[2].ordered.assign(run.panels[2].ordered.size(), true);
    run.panels[1].ordered.assign(run.panels[1].ordered.size(), true);
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

void cancel_idle_hole_filling(data& run) {
    if (!run.params.fill_holes || (run.plan.hole_fill_from >= 0 && run.plan.hole_fill_to >= 0)) return;
    run.params.fill_holes = false;
    for (auto& [position, site] : run.sites.store) {
        if (site.ref_alleles_missing) withdraw_reference(site);
    }
}

}  // namespace

void make_update_plan(data& run) {
    choose_hole_panels(run);
    const bool hole_in_panel2 = plan_panel2(run);
    const bool hole_in_panel1 = plan_panel1(run);
    const bool hole_in_panel0 = plan_panel0(run);
    if (!hole_in_panel2 && !hole_in_panel1 && !hole_in_panel0) run.plan.hole_fill_from = run.plan.hole_fill_to = -1;
    shorten_if_nothing_to_do(run);
    if (run.params.use_prephased_g && run.panels[2].needs_update) {
        run.log.fatal(
            "ERROR: The -use_prephased_g option requires that all of your input genotypes"
            " be completely phased with no missing values.");
    }
    cancel_idle_hole_filling(run);
}
