#include "reconcile/model_sites.h"

#include <cstdint>

namespace {

template <typename Visited>
std::vector<std::size_t> select(const site_table& sites, Visited visited) {
    std::vector<std::size_t> selected;
    for (const snp* site : sites.in_order) {
        if (visited(*site)) selected.push_back(site->index);
    }
    return selected;
}

}  // namespace

void list_traits(site_table& sites) {
    sites.traits.clear();
    for (const snp* site : sites.in_order) {
        sites.traits.push_back({static_cast<std::uint8_t>(site->type), static_cast<std::uint8_t>(site->top_panel),
                                site->panel1_placeholder, site->ref_alleles_missing});
    }
}

void list_model_sites(const run_plan& plan, const site_table& sites, copying_models& models) {
    for (std::size_t panel = 0; panel < 3; ++panel) {
        for (std::size_t cond = 0; cond <= panel; ++cond) {
            // The panel whose holes are being filled goes by what it has.
            const bool full = !(plan.fill_holes && panel == cond && plan.hole_fill_to == panel);
            models.chains[0][panel][cond].site = select(sites, [&](const snp& s) {
                return s.top_panel >= cond && s.top_panel != plan.n_panels && (full || !s.ref_alleles_missing);
            });
            if (panel == 0 || cond != panel) continue;
            models.chains[1][panel][panel].site = select(sites, [&](const snp& s) {
                return s.type >= panel && s.type != plan.n_panels && (full || !s.ref_alleles_missing) &&
                       !(panel == 1 && s.panel1_placeholder);
            });
        }
    }
    if (!plan.fill_holes || !plan.hole_fill_to || !plan.hole_fill_from) return;
    const std::size_t from = *plan.hole_fill_from;
    hmm_model& holes = models.hole_chains[0][*plan.hole_fill_to][from];
    holes.site = select(
        sites, [&](const snp& s) { return s.type >= from && s.type != 3 && !(from == 1 && s.panel1_placeholder); });
    holes.hap_gap.assign(holes.n_sites(), haploid_gap{});
}
