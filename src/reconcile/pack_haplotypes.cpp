#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "reconcile/stages.h"

namespace {

using word_row = std::vector<std::uint64_t>;
using row_block = std::array<const std::uint64_t*, bits::word_bits>;

void fix_site_list(site_table& sites) {
    sites.in_order.clear();
    sites.positions.clear();
    sites.in_order.reserve(sites.store.size());
    sites.positions.reserve(sites.store.size());
    for (auto& [position, site] : sites.store) {
        site.index = sites.in_order.size();
        sites.in_order.push_back(&site);
        sites.positions.push_back(position);
    }
}

// Which alleles were missing at a site of Panel 0, null if none was.
const std::uint64_t* missing_row(const snp& site) {
    if (!site.ref_missing.empty()) return site.ref_missing.data();
    return site.haps[0].any_missing() ? site.haps[0].missing().data() : nullptr;
}

// The row of a panel, null if the panel does not hold the site. Some panels get alleles to walk over where they have
// none: the study of a phasing run at the sites of the reference, and Panel 1 at sites that it is to impute.
const std::uint64_t* panel_row(const parameters& params, const snp& site, std::size_t panel, const word_row& zeros) {
    if (!site.haps[panel].empty()) return site.haps[panel].ones().data();
    const bool phasing_study = panel == 2 && params.phase && site.type <= 1;
    const bool imputing_panel1 = panel == 1 && site.type == 0 && site.top_panel == 1;
    return phasing_study || imputing_panel1 ? zeros.data() : nullptr;
}

template <typename Row_of_site>
void fill_block(const site_table& sites, packed_haplotypes& packed, std::size_t first_site, Row_of_site row_of_site) {
    if (packed.n_hap() == 0) return;
    row_block rows{};
    const std::size_t n = std::min(bits::word_bits, sites.in_order.size() - first_site);
    for (std::size_t j = 0; j < n; ++j) rows[j] = row_of_site(*sites.in_order[first_site + j]);
    packed.fill(first_site, rows.data(), n);
}

// The study's rows outside the models stay where the haplotype file will show which of their alleles are unknown.
void release_rows(snp& site, bool keeps_study) {
    for (std::size_t panel = 0; panel < (keeps_study ? 2 : 3); ++panel) site.haps[panel].clear();
    site.ref_missing = {};
}

}  // namespace

void pack_haplotypes(const parameters& params, const run_plan& plan, panel_array& panels, site_table& sites) {
    fix_site_list(sites);
    const std::size_t n_sites = sites.in_order.size();
    std::array<word_row, 3> zeros;
    for (std::size_t panel = 0; panel < 3; ++panel) {
        const std::size_t n_hap = panels[panel].n_hap;
        panels[panel].haps = packed_haplotypes(n_hap, n_sites);
        zeros[panel].assign(bits::words_for(n_hap), 0);
    }
    const bool any_missing = std::any_of(sites.in_order.begin(), sites.in_order.end(),
                                         [](const snp* site) { return missing_row(*site) != nullptr; });
    panels[0].missing = any_missing ? packed_haplotypes(panels[0].haps.n_hap(), n_sites) : packed_haplotypes();
    for (std::size_t first_site = 0; first_site < n_sites; first_site += bits::word_bits) {
        for (std::size_t panel = 0; panel < 3; ++panel) {
            fill_block(sites, panels[panel].haps, first_site,
                       [&](const snp& site) { return panel_row(params, site, panel, zeros[panel]); });
        }
        fill_block(sites, panels[0].missing, first_site, missing_row);
        const std::size_t end = std::min(first_site + bits::word_bits, n_sites);
        for (std::size_t s = first_site; s < end; ++s)
            release_rows(*sites.in_order[s], params.use_prephased_g && sites.in_order[s]->type == plan.n_panels);
    }
}
