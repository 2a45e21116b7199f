#pragma once

// One panel of a run. Panel 0: reference haplotypes; Panel 1: reference genotypes, or a second set of reference
// haplotypes; Panel 2: the study.

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "model/packed_haplotypes.h"

struct panel_data {
    // --- who is in it; fixed when the panel has been read ---
    std::size_t n_hap = 0;      // (n_hap0, n_hap1, n_hap2) haplotypes
    std::size_t n_ind = 0;      // (n_ind1, n_ind2) individuals; 0 for a panel that was read as haplotypes
    bool all_haploid = false;   // everybody has one haplotype (-haploid_g)
    bool sexes_differ = false;  // males have one haplotype, females two (chrx_haploid)
    std::size_t n_males = 0, n_females = 0;
    std::vector<int> ploidy;              // 1 or 2 by individual; empty without a sample file that tells sexes
    std::vector<std::size_t> first_haps;  // by individual, in a panel whose sexes differ
    std::array<std::vector<std::string>, 2> sample_ids;  // [ID_1, ID_2] of the kept people

    bool is_male(std::size_t ind) const { return ind < ploidy.size() && ploidy[ind] == 1; }
    bool is_haploid_male(std::size_t ind) const { return sexes_differ && ploidy[ind] == 1; }
    // Whether an individual has one haplotype only.
    bool is_haploid(std::size_t ind) const { return all_haploid || is_haploid_male(ind); }
    // Whether somebody has one haplotype only, so that a haploid model is used.
    bool any_haploid() const { return all_haploid || (sexes_differ && n_males >= 1); }
    // Index of an individual's first haplotype; the second one follows it.
    std::size_t first_hap(std::size_t ind) const {
        if (all_haploid) return ind;
        return sexes_differ ? first_haps[ind] : 2 * ind;
    }
    // Haplotypes of n individuals.
    std::size_t count_haplotypes(std::size_t n) const {
        if (all_haploid) return n;
        return sexes_differ ? 2 * n_females + n_males : 2 * n;
    }

    // --- the plan of updates; fixed before the first iteration ---
    std::vector<bool> update;  // (update_hap0, update_indiv1, update_indiv2) by haplotype of Panel 0, by individual
    std::vector<bool> heterozygous;  // (het_indiv1, het_indiv2) somewhere without a known phase, by individual
    std::vector<bool> ordered;       // (ordered_ref, has_known_haps) modelled by ordered haplotypes, by individual
    bool needs_update = false;       // (update_panel0, ...) somebody needs sampling
    bool needs_phasing = false;      // (phase_panel1, phase_panel2) somebody has a heterozygote without phase

    // --- alleles; from pack_haplotypes (in data::setup) on ---
    packed_haplotypes haps;     // current alleles; sampling changes them
    packed_haplotypes missing;  // (ref_missing) set where a Panel 0 allele was missing; empty when none was
};

using panel_array = std::array<panel_data, 3>;

inline haplotypes_by_panel haplotypes_of(const panel_array& panels) {
    return {&panels[0].haps, &panels[1].haps, &panels[2].haps};
}
