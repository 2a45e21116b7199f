#include "reconcile/strand_alignment.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "io/text.h"
#include "reconcile/stages.h"

namespace {

using pair_of_keys = std::pair<std::string_view, std::string_view>;

// Keys (allele_comb) of the tested panel and the reference that agree after a flip alone.
constexpr std::array<pair_of_keys, 4> flipped_pairs{{{"AC", "GT"}, {"GT", "AC"}, {"AG", "CT"}, {"CT", "AG"}}};
// The same for a tested panel in which only one allele occurs.
constexpr std::array<pair_of_keys, 8> flipped_single_alleles{
    {{"AA", "CT"}, {"AA", "GT"}, {"CC", "AG"}, {"CC", "GT"}, {"GG", "AC"}, {"GG", "CT"}, {"TT", "AC"}, {"TT", "AG"}}};

template <std::size_t N>
bool contains(const std::array<pair_of_keys, N>& pairs, const pair_of_keys& pair) {
    return std::find(pairs.begin(), pairs.end(), pair) != pairs.end();
}

// A key that is its own flip.
bool is_symmetric(const std::string& key) {
    return key == "AT" || key == "CG";
}

// Whether the frequencies fit better with the two alleles exchanged; a tie speaks for leaving them.
bool frequencies_speak_for_flip(const panel_labels& tested, const panel_labels& reference, std::string_view allele) {
    const double x = tested.a1 == allele ? 1.0 - tested.freq : tested.freq;
    const double r = reference.a1 == allele ? 1.0 - reference.freq : reference.freq;
    const double crossed = x + r - 1.0;
    const double straight = r - x;
    return crossed * crossed < straight * straight;
}

const std::string& major_allele(const panel_labels& panel) {
    return panel.freq >= 0.5 ? panel.a1 : panel.a0;
}

// One strand stage: which panel is tested, and how its lines name the reference.
struct strand_stage {
    std::size_t panel;
    std::size_t lowest_type, highest_type;  // the sites that count
    bool by_frequency;
    std::string reference;         // in the stage lines, behind "Panel "
    std::string warned_reference;  // in the warnings
};

void warn_of_strand_conflict(run_log& log, const strand_stage& stage, long position) {
    log.warn(concat("WARNING: An explicit +/- strand alignment was provided for the SNP at position ", position,
                    " in Panel ", stage.panel, ", but this alignment conflicts with the observed alleles in Panel ",
                    stage.panel, " and ", stage.warned_reference,
                    ". ORVIDE2 will perform the alignment itself and ignore the input strand info at this site."));
}

strand_check align_site(run_log& log, const strand_stage& stage, long position, snp& site) {
    const std::optional<std::size_t> reference = reference_panel(site);
    if (!reference || reference == stage.panel || !site.has_labels(stage.panel)) return strand_check::no_flip;
    panel_labels& tested = site.labels[stage.panel];
    const strand_check result = check_strand(tested, site.labels[*reference], stage.by_frequency);
    if (result == strand_check::no_flip) return result;
    if (result == strand_check::mismatch && tested.strand != "*") warn_of_strand_conflict(log, stage, position);
    tested.a0 = flip(tested.a0);
    tested.a1 = flip(tested.a1);
    return result;
}

void check_panel(run_log& log, site_table& sites, const strand_stage& stage) {
    const std::string stage_line =
        concat("-checking strand alignment between Panel ", stage.panel, " and Panel ", stage.reference);
    log.stage(stage_line + " by allele labels");
    int n_sites = 0;
    int n_mismatch = 0;
    int n_frequency = 0;
    for (auto& [position, site] : sites.store) {
        if (site.type < stage.lowest_type || site.type > stage.highest_type) continue;
        ++n_sites;
        const strand_check result = align_site(log, stage, position, site);
        if (result == strand_check::mismatch) ++n_mismatch;
        if (result == strand_check::frequency) ++n_frequency;
    }
    const std::string out_of = concat(" out of ", n_sites, " SNPs in Panel ", stage.panel);
    log.line(concat(" --flipped strand due to allele mismatch at ", n_mismatch, out_of));
    if (!stage.by_frequency) return;
    log.stage(stage_line + " by MAF at A/T and C/G SNPs lacking explicit strand info");
    log.line(concat(" --flipped strand due to allele frequency discordance at ", n_frequency, out_of));
}

}  // namespace

strand_check check_strand(const panel_labels& tested, const panel_labels& reference, bool by_frequency) {
    const std::string tested_key = allele_comb(tested.a0, tested.a1);
    const std::string reference_key = allele_comb(reference.a0, reference.a1);
    const bool ask_frequency = by_frequency && tested.strand == "*";
    if (is_symmetric(tested_key)) {
        const bool flips =
            ask_frequency && frequencies_speak_for_flip(tested, reference, tested_key == "AT" ? "T" : "G");
        return flips ? strand_check::frequency : strand_check::no_flip;
    }
    const bool single_allele = tested.a0 == tested.a1;
    if (single_allele && is_symmetric(reference_key)) {
        return ask_frequency && tested.a0 != major_allele(reference) ? strand_check::frequency : strand_check::no_flip;
    }
    const pair_of_keys keys{tested_key, reference_key};
    const bool flips = single_allele ? contains(flipped_single_alleles, keys) : contains(flipped_pairs, keys);
    return flips ? strand_check::mismatch : strand_check::no_flip;
}

void check_strand_of_panel1(run_log& log, const parameters& params, site_table& sites) {
    check_panel(log, sites, {1, 1, 2, params.align_by_maf_g_ref, "0", "Panel 0"});
}

void check_strand_of_panel2(run_log& log, const parameters& params, site_table& sites) {
    const std::string reference = params.panel0_given() ? (params.panel1_given() ? "0+1" : "0") : "1";
    check_panel(log, sites, {2, 2, 3, params.align_by_maf_g, reference, reference});
}
