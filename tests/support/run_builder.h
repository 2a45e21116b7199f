#pragma once

// Fills the rooms of a run for tests: who is in the panels, the sites, the alleles, the sums.

#include <array>
#include <cstddef>
#include <numeric>
#include <string>
#include <vector>

#include "model/packed_haplotypes.h"
#include "model/panel.h"
#include "model/run_plan.h"
#include "model/site_table.h"
#include "reconcile/model_sites.h"

// --- panels ---------------------------------------------------------------------------------------------------------

inline void set_haplotypes(panel_array& panels, std::array<std::size_t, 3> n_hap) {
    for (std::size_t p = 0; p < 3; ++p) panels[p].n_hap = n_hap[p];
}
inline void set_individuals(panel_array& panels, std::array<std::size_t, 3> n_ind) {
    for (std::size_t p = 0; p < 3; ++p) panels[p].n_ind = n_ind[p];
}
// Individuals with two haplotypes each.
inline void set_diploids(panel_data& panel, std::size_t n_ind) {
    panel.n_ind = n_ind;
    panel.n_hap = 2 * n_ind;
}
// Whether males have one haplotype, in a run on chromosome X.
inline void set_chrx(run_plan& plan, panel_array& panels, bool males_are_haploid = true) {
    plan.chrx_haploid = panels[1].sexes_differ = panels[2].sexes_differ = males_are_haploid;
    plan.chrx_diploid = !males_are_haploid;
}
// What a sample file tells of the individuals: 1 for a male, 2 for a female, as many haplotypes.
inline void set_sexes(panel_data& panel, const std::vector<int>& ploidies) {
    panel.ploidy = ploidies;
    panel.first_haps.clear();
    panel.n_males = panel.n_females = 0;
    for (const int ploidy : ploidies) {
        panel.first_haps.push_back(2 * panel.n_females + panel.n_males);
        ++(ploidy == 1 ? panel.n_males : panel.n_females);
    }
}
// The same, and the panel has been read.
inline void set_ploidies(panel_data& panel, const std::vector<int>& ploidies) {
    set_sexes(panel, ploidies);
    panel.n_ind = ploidies.size();
    panel.n_hap = 2 * panel.n_females + panel.n_males;
}
inline std::array<bool, 3> panels_to_update(const panel_array& panels) {
    return {panels[0].needs_update, panels[1].needs_update, panels[2].needs_update};
}
inline std::array<bool, 3> panels_to_phase(const panel_array& panels) {
    return {panels[0].needs_phasing, panels[1].needs_phasing, panels[2].needs_phasing};
}

// --- sites ----------------------------------------------------------------------------------------------------------

// A new site, "snp100" and "rs100" at position 100; no panel holds it yet.
inline snp& add_site(site_table& sites, long position, std::size_t type = 3) {
    snp& site = sites.store.emplace(position, snp{})->second;
    site.snp_id = "snp" + std::to_string(position);
    site.rs_id = "rs" + std::to_string(position);
    site.type = site.top_panel = type;
    return site;
}
inline void label(snp& site, std::size_t panel, const std::string& a0, const std::string& a1) {
    site.labels[panel].a0 = a0;
    site.labels[panel].a1 = a1;
}
// The labels of Panels 2, 1, 0: "AC" for A and C, "" for a panel that does not hold the site.
inline void label_panels(snp& site, const std::string& study, const std::string& panel1, const std::string& panel0) {
    const std::array<std::string, 3> labels{panel0, panel1, study};
    for (std::size_t p = 0; p < 3; ++p) {
        if (!labels[p].empty()) label(site, p, labels[p].substr(0, 1), labels[p].substr(1));
    }
}
// Lists the sites of the store in order, with their traits, as they stand.
inline void list_sites(site_table& sites) {
    sites.in_order.clear();
    sites.positions.clear();
    for (auto& [position, site] : sites.store) {
        site.index = sites.in_order.size();
        sites.in_order.push_back(&site);
        sites.positions.push_back(position);
    }
    list_traits(sites);
}

// --- alleles --------------------------------------------------------------------------------------------------------

// Haplotypes of all members of a panel at n_sites sites: zeros, at sites that the panel does not hold.
inline void make_room(panel_data& panel, std::size_t n_sites) {
    panel.haps = packed_haplotypes(panel.n_hap, n_sites);
}
inline void hold_all_sites(packed_haplotypes& haps) {
    for (std::size_t s = 0; s < haps.n_sites(); ++s) haps.set_holds(s);
}
// The alleles at a site, which is then held: one digit a haplotype.
inline void set_alleles(packed_haplotypes& haps, std::size_t site, const std::string& alleles) {
    haps.set_holds(site);
    for (std::size_t h = 0; h < alleles.size(); ++h) haps.set(h, site, alleles[h] - '0');
}
inline std::string alleles_at(const packed_haplotypes& haps, std::size_t site) {
    std::string text;
    for (std::size_t h = 0; h < haps.n_hap(); ++h) text += haps.allele(h, site) == 1 ? '1' : '0';
    return text;
}

// --- sums -----------------------------------------------------------------------------------------------------------

// The columns of sums that have one at every site.
inline std::vector<int> column_a_site(std::size_t n_sites) {
    std::vector<int> columns(n_sites);
    std::iota(columns.begin(), columns.end(), 0);
    return columns;
}
