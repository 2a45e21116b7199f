#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "io/text.h"
#include "random/random.h"
#include "reconcile/stages.h"

namespace {

// The frequency to draw missing alleles from. One that a rounding error left below zero is stored as zero, and still
// draws as it is, so that it gives no allele 1.
double drawing_frequency(run_log& log, long position, snp& site, std::size_t panel) {
    double& stored = site.labels[panel].freq;
    const double frequency = stored;
    if (frequency < frequency_tolerance) {
        log.fatal(concat("ERROR: The allele frequency of the SNP at position ", position, " is undefined in Panel ",
                         panel,
                         "; this implies that something is wrong with your input files."
                         " Please contact the authors for further assistance."));
    }
    if (frequency < 0.0) stored = 0.0;
    return frequency;
}

int draw_allele(double frequency) {
    return Random::RNG->Next() <= frequency ? 1 : 0;
}

using allele_pair = std::array<int, 2>;

allele_pair draw_phase() {
    return Random::RNG->Next() <= 0.5 ? allele_pair{0, 1} : allele_pair{1, 0};
}

// First haplotypes of one individual from the genotype code; a haploid one leaves the second allele unused.
allele_pair from_genotype(int genotype, double frequency, bool diploid) {
    switch (genotype) {
        case 0:
            return {0, 0};
        case 1:
            return draw_phase();
        case 2:
            return {1, 1};
        default: {
            const int first = draw_allele(frequency);
            return {first, diploid ? draw_allele(frequency) : 0};
        }
    }
}

// The same from input probabilities [3], weighted by the genotype frequencies [3] of the site.
allele_pair from_probabilities(const float* probs, const std::array<double, 3>& prior) {
    std::array<double, 3> posterior{};
    for (std::size_t g = 0; g < 3; ++g) posterior[g] = static_cast<double>(probs[g]) * prior[g];
    const double sum = posterior[0] + posterior[1] + posterior[2];
    const double u = Random::RNG->Next();
    double cumulated = 0.0;
    for (std::size_t g = 0; g < 2; ++g) {
        cumulated += posterior[g] / sum;
        if (u <= cumulated) return g == 0 ? allele_pair{0, 0} : draw_phase();
    }
    return {1, 1};
}

// What differs between the two panels of genotypes.
struct guessed_panel {
    std::size_t panel;
    std::size_t lowest_type;  // of the sites that hold the panel's data
    bool probabilistic;
};

bool holds_data(const run_plan& plan, const guessed_panel& guess, const snp& site) {
    if (site.type < guess.lowest_type || site.type >= plan.n_panels) return false;
    return guess.panel != 1 || !site.panel1_placeholder;
}

// Whether the alleles that the site holds for the individual are to stand.
bool keeps_alleles(const guessed_panel& guess, const snp& site, std::size_t ind, std::size_t hap, bool diploid) {
    if (guess.panel != 2) return false;
    if (site.phase_known(ind)) return true;
    if (site.hap_init_flags.empty() || !site.hap_init_flags[ind]) return false;
    const allele_row& row = site.haps[2];
    return row[hap] != missing_allele && (!diploid || row[hap + 1] != missing_allele);
}

void guess_site(run_log& log, const panel_data& panel, const guessed_panel& guess, long position, snp& site) {
    const std::size_t p = guess.panel;
    const double frequency = drawing_frequency(log, position, site, p);
    const double rest = 1.0 - frequency;
    const std::array<double, 3> prior{rest * rest, rest * (frequency + frequency), frequency * frequency};
    const allele_row& old_row = site.haps[p];
    allele_row new_row(panel.n_hap, 0);
    for (std::size_t i = 0; i < panel.n_ind; ++i) {
        const std::size_t hap = panel.first_hap(i);
        const bool diploid = !panel.is_haploid(i);
        allele_pair alleles{};
        if (keeps_alleles(guess, site, i, hap, diploid)) {
            alleles = {old_row[hap], diploid ? old_row[hap + 1] : 0};
        } else if (guess.probabilistic) {
            alleles = from_probabilities(&site.gtype_probs[p][3 * i], prior);
        } else {
            alleles = from_genotype(site.gtypes[p][i], frequency, diploid);
        }
        if (alleles[0] != 0) new_row.set(hap, alleles[0]);
        if (diploid && alleles[1] != 0) new_row.set(hap + 1, alleles[1]);
    }
    site.haps[p] = std::move(new_row);
}

void guess_panel(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                 site_table& sites, const guessed_panel& guess) {
    log.stage(concat("-making initial haplotype guesses for Panel ", guess.panel,
                     " by phasing hets at random and imputing missing genotypes from allele freqs"));
    if (guess.panel == 2) {
        if (is_given(params.hap_init_g_file)) {
            log.line(" --initial haplotype alleles from the -hap_init_g file will not be changed here");
        }
        if (is_given(params.known_haps_g_file)) {
            log.line(" --known haplotype alleles from the -known_haps_g file will not be changed");
        }
        if (params.haploid_g || params.chrX) {
            log.line(" --known haplotype alleles from the -g file will not be changed");
        }
    } else {
        if (is_given(params.known_haps_g_ref_file)) {
            log.line(" --known haplotype alleles from the -known_haps_g_ref file will not be changed");
        }
        if (params.chrX) log.line(" --known haplotype alleles from the -g_ref file will not be changed");
    }
    for (auto& [position, site] : sites.store) {
        if (holds_data(plan, guess, site)) guess_site(log, panels[guess.panel], guess, position, site);
    }
}

// Draws the missing alleles of a row; the row of those that were missing stays with the site.
void fill_panel0_site(snp& site, double frequency) {
    allele_row& row = site.haps[0];
    if (!row.any_missing()) return;
    site.ref_missing = row.missing();
    std::vector<std::uint64_t> ones = row.ones();
    for (std::size_t w = 0; w < site.ref_missing.size(); ++w) {
        for (std::uint64_t rest = site.ref_missing[w]; rest != 0; rest &= rest - 1) {
            if (draw_allele(frequency) == 1) ones[w] |= rest & (~rest + 1);
        }
    }
    row.assign(row.size(), std::move(ones), {});
}

void fill_panel0(run_log& log, const run_plan& plan, site_table& sites) {
    log.stage("-some Panel 0 alleles are missing; now imputing from allele freqs");
    for (auto& [position, site] : sites.store) {
        if (site.type == plan.n_panels) continue;
        fill_panel0_site(site, drawing_frequency(log, position, site, 0));
    }
}

// Whether a panel of genotypes needs its first haplotypes drawn; haploid: the settings tell of haploid members. A panel
// that another run sampled has its haplotypes already.
bool needs_guesses(const panel_data& panel, const std::string& file, const std::string& sampled_file, bool haploid) {
    return panel.needs_update || (is_given(file) && (haploid || !is_given(sampled_file)));
}

}  // namespace

void make_initial_haplotypes(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                             site_table& sites) {
    if (needs_guesses(panels[2], params.g_file, params.hap_samp_in_g, params.haploid_g || params.chrX)) {
        guess_panel(log, params, plan, panels, sites, {2, plan.n_panels - 1, params.prob_g});
    }
    if (needs_guesses(panels[1], params.g_ref_file, params.hap_samp_in_g_ref, params.chrX)) {
        guess_panel(log, params, plan, panels, sites, {1, 1, params.prob_g_ref});
    }
    if (panels[0].needs_update) fill_panel0(log, plan, sites);
}
