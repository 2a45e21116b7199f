#pragma once

// The record of one variant site, and the store of all sites.

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "model/allele_row.h"

// The label of an allele of a panel that does not have the site: one that no file can have.
inline constexpr const char* no_label = "";

// How one panel names the site's alleles.
struct panel_labels {
    std::string a0 = no_label;  // label of allele 0 (a0_p0, a0_p1, a0_p2)
    std::string a1 = no_label;  // label of allele 1 (a1_p0, a1_p1, a1_p2)
    std::string strand = "*";   // (strand_p0, strand_p1, strand_p2) "+", "-" as given, "*" for unknown
    double freq = -1.0;         // (freq_p0, freq_p1, freq_p2) frequency of allele 1; -1.0 for no data
};

constexpr double no_frequency = -1.0;
// A frequency at or below this is undefined; rounding errors of a zero lie above.
constexpr double frequency_tolerance = -1e-10;
// Genotype code of a missing genotype; 0, 1, 2 are the copies of allele 1.
constexpr std::uint8_t missing_genotype = 3;
// Allele code of an allele that is missing or not known yet.
constexpr int missing_allele = 2;

struct snp {
    std::string rs_id;                   // second column of a genotype file, first column of a legend
    std::string snp_id;                  // first column of a genotype file; "---" for a site that comes from a legend
    double gen_pos = 0.0;                // on the scaled genetic map, in units of 4 Ne Morgans
    std::array<panel_labels, 3> labels;  // by panel

    // Current alleles of each panel's haplotypes; empty when the panel does not hold the site. In Panel 0 these are
    // ref_alleles_raw, the alleles as read with 2 for missing, until the first guesses fill them; panel_data::haps
    // holds the alleles from pack_haplotypes on, and these rows are then released.
    std::array<allele_row, 3> haps;
    // Which Panel 0 alleles were missing in the input; filled when the first guesses overwrite them.
    std::vector<std::uint64_t> ref_missing;

    std::array<bool, 3> allele_flipped{};  // the panel's coding is the inverse of the label order kept for the site

    // By panel, none for Panel 0; empty when the panel does not hold the site.
    std::array<std::vector<std::uint8_t>, 3> gtypes;  // genotype code by individual
    std::array<std::vector<float>, 3> gtype_probs;    // [individual * 3 + g]: input probabilities of AA, AB, BB
    std::array<std::vector<double>, 3>
        gtype_emiss;  // [individual * 3 + allele sum]: weights of probabilistic genotypes

    std::size_t type =
        3;  // 0: Panel 0 only; 1: Panel 1, not Panel 2; 2: Panel 2 and all reference panels; 3: Panel 2 only
    std::size_t top_panel = 3;         // the highest panel with data here
    bool panel1_placeholder = false;   // Panel 1 has zeros only because a walk needs them; its own sweeps pass over
    bool ref_alleles_missing = false;  // all alleles of the reference panel are missing here: a hole to be filled

    // By Panel 2 individual; empty when no file spoke of the site.
    std::vector<bool> known_phase_flags;  // the phase given here is to stand
    std::vector<bool> known_haps_flags;   // -known_haps_g spoke of this person here
    std::vector<bool> hap_init_flags;     // -hap_init_g gave the starting phase here

    std::size_t index = 0;  // place in the store's order, set by pack_haplotypes

    bool in_panel(std::size_t panel) const { return labels[panel].a0 != no_label; }
    // Both labels known.
    bool has_labels(std::size_t panel) const {
        const panel_labels& l = labels[panel];
        return l.a0 != no_label && l.a1 != no_label;
    }
    bool phase_known(std::size_t individual) const {
        return !known_phase_flags.empty() && known_phase_flags[individual];
    }
};

// Sites by position in base pairs; equal positions keep the order of insertion.
using site_store = std::multimap<long, snp>;
