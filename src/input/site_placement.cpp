#include "input/site_placement.h"
#include "reconcile/match.h"

#include <utility>

namespace {

void set_type(snp& site, int type) {
    site.type = type;
    site.top_panel = type;
}

void insert(data& run, long position, snp&& site) {
    site.gen_pos = run.map.at(position);
    run.sites.store.emplace_hint(run.sites.store.upper_bound(position), position, std::move(site));
}

// The type of an entry that was found in Panel 2, in Panel 1 or in both, now that Panel 0 has it too.
void settle_type(const data& run, snp& entry) {
    if (entry.type < 3) return;
    if (!run.params.panel1_given()) {
        set_type(entry, 2);
    } else if (!entry.in_panel(1)) {
        entry.top_panel = entry.type;
    } else {
        set_type(entry, entry.in_panel(2) ? 2 : 1);
    }
}

}  // namespace

site_match find_site(data& run, long position, const snp& site, int panel) {
    const store_range range = run.sites.store.equal_range(position);
    if (range.first == range.second) return {};
    const panel_labels& labels = site.labels[static_cast<std::size_t>(panel)];
    site_store::iterator match;
    if (!find_compatible_snp(run, labels.a0, labels.a1, panel, match, range)) return {};
    return match;
}

void add_study_site(data& run, long position, snp&& site) {
    set_type(site, 3);
    insert(run, position, std::move(site));
}

void place_panel1_site(data& run, long position, snp&& site, const site_match& match) {
    if (!match) {
        set_type(site, run.params.panel0_given() ? 3 : 1);
        insert(run, position, std::move(site));
        return;
    }
    snp& entry = (*match)->second;
    entry.labels[1] = std::move(site.labels[1]);
    entry.gtypes[1] = std::move(site.gtypes[1]);
    entry.gtype_probs[1] = std::move(site.gtype_probs[1]);
    entry.haps[1] = std::move(site.haps[1]);
    set_type(entry, run.params.panel0_given() ? 3 : 2);
}

void join_panel0_site(const data& run, snp& entry, snp&& site, bool all_missing) {
    if (all_missing) entry.ref_alleles_missing = true;
    settle_type(run, entry);
    panel_labels& labels = entry.labels[0];  // the strand of the entry stays
    labels.a0 = std::move(site.labels[0].a0);
    labels.a1 = std::move(site.labels[0].a1);
    labels.freq = site.labels[0].freq;
    entry.haps[0] = std::move(site.haps[0]);
}

void add_panel0_site(data& run, long position, snp&& site) {
    set_type(site, 0);
    if (run.params.use_panel1_for_type0_imputation) {
        if (run.params.stage_one) {
            copy_as_zeros(site, 0, 2, run.panels[2].n_hap);
        } else {
            site.top_panel = 1;
            copy_as_zeros(site, 0, 1, run.panels[1].n_hap);
        }
    }
    insert(run, position, std::move(site));
}

void copy_as_zeros(snp& site, std::size_t from_panel, std::size_t to_panel, int n_haplotypes) {
    site.labels[to_panel] = site.labels[from_panel];
    site.labels[to_panel].strand = '+';
    site.haps[to_panel].assign(static_cast<std::size_t>(n_haplotypes), 0);
}
