#include "input/line_start.h"

#include "input/reader_common.h"
#include "input/site_placement.h"
#include "model/data.h"

started_line start_line(data& run, reading_context& context, const text_input& file, region_test& region, int panel,
                        std::string_view option, reading_counts& counts, std::string_view line) {
    started_line started;
    site_line fields = start_site_line(file, line);
    started.position = fields.position;
    const region_side side = region.of(file, fields.position);
    if (side != region_side::inside) {
        if (side == region_side::above) started.fate = line_fate::stop;
        return started;
    }
    ++counts.read;
    if (is_excluded(run, context, panel, fields.snp_id, fields.rs_id, fields.position)) {
        ++counts.on_list;
        return started;
    }
    if (panel == 2 && warn_if_duplicate(run, fields.position)) return started;
    take_alleles(file, fields);
    started.site.snp_id = fields.snp_id;
    started.site.rs_id = fields.rs_id;
    panel_labels& labels = started.site.labels[static_cast<std::size_t>(panel)];
    labels.a0 = fields.a0;
    labels.a1 = fields.a1;
    if (panel != 2) {
        if (warn_if_one_label(run, option, labels, fields.position)) return started;
        apply_strand_map(context, fields.position, labels);
        started.match = find_site(run, fields.position, started.site, panel);
    }
    started.rest = fields.rest;
    started.fate = line_fate::read;
    return started;
}
