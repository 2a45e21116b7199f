#include "input/site_placement.h"

#include <utility>

#include "model/genetic_map.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

namespace {

void set_type(snp& site, int type) {
    site.type = type;
    site.top_panel = type;
}

void insert(const input_rooms& rooms, panel_site&& site) {
    site.record.gen_pos = rooms.map.at(site.position);
    site_store& store = rooms.sites.store;
    store.emplace_hint(store.upper_bound(site.position), site.position, std::move(site.record));
}

// The type of an entry that was found in Panel 2, in Panel 1 or in both, now that Panel 0 has it too.
void settle_type(const parameters& params, snp& entry) {
    if (entry.type < 3) return;
    if (!params.panel1_given()) {
        set_type(entry, 2);
    } else if (!entry.in_panel(1)) {
        entry.top_panel = entry.type;
    } else {
        set_type(entry, entry.in_panel(2) ? 2 : 1);
    }
}

void join_panel0_site(const parameters& params, snp& entry, snp&& record, bool all_missing) {
    if (all_missing) entry.ref_alleles_missing = true;
    settle_type(params, entry);
    panel_labels& labels = entry.labels[0];  // the strand of the entry stays
    labels.a0 = std::move(record.labels[0].a0);
    labels.a1 = std::move(record.labels[0].a1);
    labels.freq = record.labels[0].freq;
    entry.haps[0] = std::move(record.haps[0]);
}

void add_panel0_site(const input_rooms& rooms, panel_site&& site) {
    snp& record = site.record;
    set_type(record, 0);
    if (rooms.params.use_panel1_for_type0_imputation) {
        if (rooms.params.stage_one) {
            copy_as_zeros(record, 0, 2, rooms.panels[2].n_hap);
        } else {
            record.top_panel = 1;
            copy_as_zeros(record, 0, 1, rooms.panels[1].n_hap);
        }
    }
    insert(rooms, std::move(site));
}

}  // namespace

void add_study_site(const input_rooms& rooms, panel_site&& site) {
    set_type(site.record, 3);
    insert(rooms, std::move(site));
}

void place_panel1_site(const input_rooms& rooms, panel_site&& site) {
    const bool beside_panel0 = rooms.params.panel0_given();
    snp& record = site.record;
    if (!site.match) {
        set_type(record, beside_panel0 ? 3 : 1);
        insert(rooms, std::move(site));
        return;
    }
    snp& entry = (*site.match)->second;
    entry.labels[1] = std::move(record.labels[1]);
    entry.gtypes[1] = std::move(record.gtypes[1]);
    entry.gtype_probs[1] = std::move(record.gtype_probs[1]);
    entry.haps[1] = std::move(record.haps[1]);
    set_type(entry, beside_panel0 ? 3 : 2);
}

placement place_panel0_site(const input_rooms& rooms, panel_site& site, bool all_missing) {
    if (all_missing && !rooms.params.fill_holes) return placement::without_data;
    if (!site.match && !rooms.plan.output_types[0]) return placement::dropped;
    if (site.match) {
        join_panel0_site(rooms.params, (*site.match)->second, std::move(site.record), all_missing);
    } else if (all_missing) {
        return placement::without_data;
    } else {
        add_panel0_site(rooms, std::move(site));
    }
    return placement::kept;
}

void copy_as_zeros(snp& site, std::size_t from_panel, std::size_t to_panel, std::size_t n_haplotypes) {
    site.labels[to_panel] = site.labels[from_panel];
    site.labels[to_panel].strand = '+';
    site.haps[to_panel].assign(n_haplotypes, 0);
}
