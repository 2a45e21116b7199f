#include "output/site_columns.h"

const panel_labels& output_labels(const parameters& params, const snp& site, std::size_t type) {
    if (type == 3) return site.labels[2];
    if (type == 0 || params.panel0_given()) return site.labels[0];
    const bool study_only = type == 2 && !is_given(params.g_ref_file);
    return site.labels[study_only ? 2 : 1];
}

void write_site_columns(result_text& file, const snp& site, long position, const panel_labels& labels) {
    file.text(site.snp_id);
    file.character(' ');
    file.text(site.rs_id);
    file.character(' ');
    file.integer(position);
    file.character(' ');
    file.text(labels.a0);
    file.character(' ');
    file.text(labels.a1);
}

void write_site_columns(result_text& file, const result_inputs& run, std::size_t s) {
    const snp& site = *run.sites.in_order[s];
    write_site_columns(file, site, run.sites.positions[s], output_labels(run.params, site, site.type));
}
