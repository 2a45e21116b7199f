// Copies of sites restricted to some panels.

#include "reconcile/match.h"

namespace {

void drop_panel(snp& site, std::size_t panel) {
    site.haps[panel].clear();
    site.labels[panel] = {};
    if (panel == 0) {
        site.ref_missing.clear();
        return;
    }
    site.gtypes[panel].clear();
    site.gtype_probs[panel].clear();
    site.gtype_emiss[panel].clear();
    if (panel == 1) return;
    site.known_phase_flags.clear();
    site.known_haps_flags.clear();
    site.hap_init_flags.clear();
}

// The type of a site that has lost panels; the present one where that stands.
std::size_t type_by_panels(const snp& site, bool has_panel0) {
    const bool in0 = site.in_panel(0), in1 = site.in_panel(1), in2 = site.in_panel(2);
    if (in2) return in1 || in0 ? site.type : 3;
    if (in1) return in0 || !has_panel0 ? 1 : site.type;
    return in0 ? 0 : site.type;
}

// Whether the table of types has a word for the site.
bool type_is_settled(const snp& site, bool has_panel0) {
    const bool in0 = site.in_panel(0), in1 = site.in_panel(1), in2 = site.in_panel(2);
    if (in2) return !in1 && !in0;
    if (in1) return in0 || !has_panel0;
    return in0;
}

}  // namespace

void copy_snp(const snp& from, snp& to, const std::set<std::size_t>& panels, bool has_panel0) {
    to = from;
    for (std::size_t panel = 0; panel < 3; ++panel) {
        if (!panels.contains(panel)) drop_panel(to, panel);
    }
    if (!type_is_settled(to, has_panel0)) return;
    to.type = to.top_panel = type_by_panels(to, has_panel0);
    // A Panel 1 that had no data of its own has none in the copy either.
    to.panel1_placeholder = from.panel1_placeholder && panels.contains(1);
}
