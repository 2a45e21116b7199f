#include "reconcile/label_alignment.h"

#include <iterator>
#include <string>
#include <utility>

#include "io/text.h"
#include "reconcile/stages.h"

namespace {

bool spans_panels(const snp& site) {
    return site.type == 1 || site.type == 2;
}

// Haplotype panels have no genotypes to recode, and sampled haplotypes and placeholders keep the genotypes they have.
bool recodes_genotypes(const parameters& params, const snp& site, std::size_t panel) {
    if (panel == 2) return true;
    return is_given(params.g_ref_file) && !is_given(params.hap_samp_in_g_ref) && !site.panel1_placeholder;
}

void recode_genotypes(const parameters& params, snp& site, std::size_t panel) {
    if (!(panel == 2 ? params.prob_g : params.prob_g_ref)) {
        for (std::uint8_t& genotype : site.gtypes[panel]) {
            if (genotype != missing_genotype) genotype = static_cast<std::uint8_t>(2 - genotype);
        }
    }
    std::vector<float>& probs = site.gtype_probs[panel];
    for (std::size_t i = 0; i + 2 < probs.size(); i += 3) std::swap(probs[i], probs[i + 2]);
}

void exchange_alleles(const parameters& params, snp& site, std::size_t panel) {
    panel_labels& labels = site.labels[panel];
    std::swap(labels.a0, labels.a1);
    if (labels.freq > frequency_tolerance) labels.freq = 1.0 - labels.freq;
    if (recodes_genotypes(params, site, panel)) recode_genotypes(params, site, panel);
    site.haps[panel].invert();
    site.allele_flipped[panel] = true;
}

// The panels to hold against the reference, the study first: Panel 1 only when Panel 0 is the reference.
template <typename Action>
void for_tested_panels(const snp& site, std::size_t reference, bool has_panel1, Action action) {
    if (site.type == 2 && !action(std::size_t{2})) return;
    if (reference == 0 && has_panel1) action(std::size_t{1});
}

// The panel whose alleles differ from those of the reference, if there is one.
std::optional<std::size_t> disagreeing_panel(const snp& site, std::size_t reference, bool has_panel1) {
    std::optional<std::size_t> found;
    for_tested_panels(site, reference, has_panel1, [&](std::size_t panel) {
        const bool agrees = labels_agree(site.labels[panel], site.labels[reference]);
        if (!agrees) found = panel;
        return agrees;
    });
    return found;
}

std::string removal_line(long position, const snp& site, std::size_t panel, std::size_t reference) {
    const auto key = [&site](std::size_t p) { return allele_comb(site.labels[p].a0, site.labels[p].a1); };
    return concat(" --removing SNP ", site.snp_id, " at position ", position, ": Panel ", panel, " alleles ",
                  key(panel), " != Panel ", reference, " alleles ", key(reference));
}

}  // namespace

std::optional<std::size_t> reference_panel(const snp& site) {
    for (const std::size_t panel : {0U, 1U}) {
        if (site.has_labels(panel)) return panel;
    }
    return std::nullopt;
}

bool labels_are_crossed(const panel_labels& panel, const panel_labels& reference) {
    if (panel.a0 == panel.a1) return panel.a0 == reference.a1;
    return panel.a0 == reference.a1 && panel.a1 == reference.a0;
}

bool labels_agree(const panel_labels& panel, const panel_labels& reference) {
    if (panel.a0 == panel.a1) return panel.a0 == reference.a0 || panel.a0 == reference.a1;
    return allele_comb(panel.a0, panel.a1) == allele_comb(reference.a0, reference.a1);
}

void align_labels(run_log& log, const parameters& params, site_table& sites) {
    log.stage("-aligning allele labels between panels");
    for (auto& [position, site] : sites.store) {
        const std::optional<std::size_t> reference = reference_panel(site);
        if (!spans_panels(site) || !reference) continue;
        for_tested_panels(site, *reference, params.panel1_given(), [&, &site = site](std::size_t panel) {
            if (labels_are_crossed(site.labels[panel], site.labels[*reference])) exchange_alleles(params, site, panel);
            return true;
        });
    }
}

void remove_non_aligned(run_log& log, const parameters& params, site_table& sites) {
    log.stage("-removing non-aligned genotyped SNPs");
    std::size_t n_sites = 0;
    std::size_t n_removed = 0;
    for (auto entry = sites.store.begin(); entry != sites.store.end();) {
        const auto& [position, site] = *entry;
        const std::optional<std::size_t> reference = reference_panel(site);
        bool keep = !spans_panels(site);
        if (!keep && reference) {
            ++n_sites;
            const std::optional<std::size_t> panel = disagreeing_panel(site, *reference, params.panel1_given());
            keep = !panel;
            if (panel) {
                ++n_removed;
                log.line(removal_line(position, site, *panel, *reference));
            }
        }
        entry = keep ? std::next(entry) : sites.store.erase(entry);
    }
    log.line(concat(" --removed ", n_removed, " out of ", n_sites, " SNPs with data in multiple panels"));
}
