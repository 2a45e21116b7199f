#include "reconcile/label_alignment.h"

#include <iterator>
#include <string>
#include <utility>

#include "io/text.h"
#include "model/data.h"
#include "reconcile/stages.h"

namespace {

bool spans_panels(const snp& site) {
    return site.type == 1 || site.type == 2;
}

// Haplotype panels have no genotypes to recode, and sampled haplotypes and placeholders keep the genotypes they have.
bool recodes_genotypes(const data& run, const snp& site, int panel) {
    if (panel == 2) return true;
    return is_given(run.params.g_ref_file) && !is_given(run.params.hap_samp_in_g_ref) && !site.panel1_placeholder;
}

void recode_genotypes(const data& run, snp& site, int panel) {
    if (!(panel == 2 ? run.params.prob_g : run.params.prob_g_ref)) {
        for (std::uint8_t& genotype : site.gtypes[panel]) {
            if (genotype != missing_genotype) genotype = static_cast<std::uint8_t>(2 - genotype);
        }
    }
    std::vector<float>& probs = site.gtype_probs[panel];
    for (std::size_t i = 0; i + 2 < probs.size(); i += 3) std::swap(probs[i], probs[i + 2]);
}

void exchange_alleles(const data& run, snp& site, int panel) {
    const auto p = static_cast<std::size_t>(panel);
    panel_labels& labels = site.labels[p];
    std::swap(labels.a0, labels.a1);
    if (labels.freq > frequency_tolerance) labels.freq = 1.0 - labels.freq;
    if (recodes_genotypes(run, site, panel)) recode_genotypes(run, site, panel);
    site.haps[p].invert();
    site.allele_flipped[p] = true;
}

// The panels to hold against the reference, the study first: Panel 1 only when Panel 0 is the reference.
template <typename Action>
void for_tested_panels(const data& run, const snp& site, int reference, Action action) {
    if (site.type == 2 && !action(2)) return;
    if (reference == 0 && run.params.panel1_given()) action(1);
}

// The panel whose alleles differ from those of the reference, -1 if there is none.
int disagreeing_panel(const data& run, const snp& site, int reference) {
    int found = -1;
    for_tested_panels(run, site, reference, [&](int panel) {
        const bool agrees = labels_agree(site.labels[static_cast<std::size_t>(panel)],
                                         site.labels[static_cast<std::size_t>(reference)]);
        if (!agrees) found = panel;
        return agrees;
    });
    return found;
}

std::string removal_line(long position, const snp& site, int panel, int reference) {
    const auto key = [&site](int p) {
        const panel_labels& labels = site.labels[static_cast<std::size_t>(p)];
        return allele_comb(labels.a0, labels.a1);
    };
    return concat(" --removing SNP ", site.snp_id, " at position ", position, ": Panel ", panel, " alleles ",
                  key(panel), " != Panel ", reference, " alleles ", key(reference));
}

}  // namespace

int reference_panel(const snp& site) {
    if (site.has_labels(0)) return 0;
    return site.has_labels(1) ? 1 : -1;
}

bool labels_are_crossed(const panel_labels& panel, const panel_labels& reference) {
    if (panel.a0 == panel.a1) return panel.a0 == reference.a1;
    return panel.a0 == reference.a1 && panel.a1 == reference.a0;
}

bool labels_agree(const panel_labels& panel, const panel_labels& reference) {
    if (panel.a0 == panel.a1) return panel.a0 == reference.a0 || panel.a0 == reference.a1;
    return allele_comb(panel.a0, panel.a1) == allele_comb(reference.a0, reference.a1);
}

void align_labels(data& run) {
    run.log.stage("-aligning allele labels between panels");
    for (auto& [position, site] : run.sites.store) {
        const int reference = reference_panel(site);
        if (!spans_panels(site) || reference < 0) continue;
        for_tested_panels(run, site, reference, [&run, &site = site, reference](int panel) {
            if (labels_are_crossed(site.labels[static_cast<std::size_t>(panel)],
                                   site.labels[static_cast<std::size_t>(reference)])) {
                exchange_alleles(run, site, panel);
            }
            return true;
        });
    }
}

void remove_non_aligned(data& run) {
    run.log.stage("-removing non-aligned genotyped SNPs");
    int n_sites = 0;
    int n_removed = 0;
    for (auto entry = run.sites.store.begin(); entry != run.sites.store.end();) {
        const auto& [position, site] = *entry;
        const int reference = reference_panel(site);
        bool keep = !spans_panels(site);
        if (!keep && reference >= 0) {
            ++n_sites;
            const int panel = disagreeing_panel(run, site, reference);
            keep = panel < 0;
            if (!keep) {
                ++n_removed;
                run.log.line(removal_line(position, site, panel, reference));
            }
        }
        entry = keep ? std::next(entry) : run.sites.store.erase(entry);
    }
    run.log.line(concat(" --removed ", n_removed, " out of ", n_sites, " SNPs with data in multiple panels"));
}
