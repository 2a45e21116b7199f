#include "input/site_gate.h"

#include <utility>

#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

region_test::region_test(const run_plan& plan) : lower_(plan.buffer_lower), upper_(plan.buffer_upper) {}

region_side region_test::of(const site_source& source, long position) {
    if (position < last_) {
        disorder_.odd(source, concat("The position ", position, " is below the one before, ", last_),
                      "the file must be sorted; sites behind the first one above the region are lost");
    }
    last_ = position;
    if (position < lower_) return region_side::below;
    return position > upper_ ? region_side::above : region_side::inside;
}

bool is_excluded(reading_context& context, bool impute_excluded, std::size_t panel, const site_fields& site) {
    const auto is_on = [&site](id_set& list) {
        if (list.empty()) return false;
        return list.contains(site.snp_id) || list.contains(site.rs_id) || list.contains(std::to_string(site.position));
    };
    const bool on_own_list = is_on(context.exclude_snps[panel]);
    return (panel < 2 && !impute_excluded && is_on(context.exclude_snps[2])) || on_own_list;
}

void apply_strand_map(reading_context& context, long position, panel_labels& labels) {
    if (context.strand_map.empty()) return;
    const std::string flipped0 = flip(labels.a0);
    const std::string flipped1 = flip(labels.a1);
    if (flipped0 == labels.a0 || flipped1 == labels.a1) return;
    const auto entry = context.strand_map.find(position);
    if (entry == context.strand_map.end()) return;
    ++context.strands.handled;
    if (entry->second != "-") {
        labels.strand = entry->second;
        return;
    }
    labels.a0 = flipped0;
    labels.a1 = flipped1;
    labels.strand = '+';
    ++context.strands.flipped;
}

void report_read(run_log& log, const reading_counts& counts) {
    log.line(concat(" --read ", counts.read, " SNPs in the analysis interval+buffer region"));
}

void report_excluded(run_log& log, const reading_counts& counts) {
    if (counts.read <= counts.kept) return;
    log.line(concat(" --excluded ", counts.read - counts.kept, " SNPs, leaving ", counts.kept, " SNPs for analysis"));
    const auto detail = [&log](std::size_t n, const char* reason) {
        if (n > 0) log.line(concat("   --", n, " SNPs excluded ", reason));
    };
    detail(counts.on_list, "due to presence on exclusion list");
    detail(counts.no_data, "for having no data");
    detail(counts.filtered, "according to filters specified via -filt_rules_l");
}

snp make_record(const site_fields& site, std::size_t panel) {
    snp record;
    record.snp_id = site.snp_id;
    record.rs_id = site.rs_id;
    record.labels[panel].a0 = site.a0;
    record.labels[panel].a1 = site.a1;
    return record;
}

site_gate::site_gate(const input_rooms& rooms, reading_context& context, site_source& source, std::size_t panel,
                     std::string option, content kind)
    : rooms_(rooms),
      context_(context),
      source_(source),
      panel_(panel),
      option_(std::move(option)),
      kind_(kind),
      region_(rooms.plan) {}

bool site_gate::is_on_list(const site_fields& site) {
    return kind_ != content::first_phase && is_excluded(context_, rooms_.params.impute_excluded, panel_, site);
}

void site_gate::look_behind(long first_behind) {
    site_fields site;
    note_once returns;
    while (source_.next_behind(site)) {
        is_on_list(site);
        if (site.position > rooms_.plan.buffer_upper || site.position < rooms_.plan.buffer_lower) continue;
        returns.odd(source_,
                    concat("The position ", site.position, " comes back into the region, which ended before position ",
                           first_behind, "; the file must be sorted"),
                    "the site is left out, and so are all such sites");
    }
}

bool site_gate::next(site_fields& site) {
    while (source_.next(site)) {
        const region_side side = region_.of(source_, site.position);
        const bool on_list = is_on_list(site);
        if (side == region_side::above) {
            look_behind(site.position);
            return false;
        }
        if (side == region_side::below) continue;
        ++counts.read;
        if (on_list) {
            ++counts.on_list;
            continue;
        }
        if (kind_ == content::panel_data && panel_ == 2 && is_duplicate(site)) continue;
        if (site.a1.empty()) source_.fail("There are fewer fields than a SNP needs");
        return true;
    }
    return false;
}

bool site_gate::next(panel_site& site) {
    site_fields fields;
    while (next(fields)) {
        site.position = fields.position;
        site.record = make_record(fields, panel_);
        site.match.reset();
        if (panel_ == 2) return true;
        panel_labels& labels = site.record.labels[panel_];
        if (has_one_label(labels, site.position)) continue;
        if (filter_ && filter_->drops(source_.values(), site.position)) {
            ++counts.filtered;
            continue;
        }
        apply_strand_map(context_, site.position, labels);
        site.match = find_compatible_snp(rooms_.log, rooms_.sites, site.position, labels, panel_);
        return true;
    }
    return false;
}

// A position that the store holds already, in a run with reference data.
bool site_gate::is_duplicate(const site_fields& site) {
    const bool has_reference = rooms_.params.panel0_given() || rooms_.params.panel1_given();
    if (!has_reference || !rooms_.sites.store.contains(site.position)) return false;
    rooms_.log.warn(
        concat("WARNING: Position ", site.position,
               " occurs multiple times in Panel 2. The first instance of this SNP will be used for inference, while "
               "all subsequent instances will be ignored and omitted from output files."));
    return true;
}

bool site_gate::has_one_label(const panel_labels& labels, long position) {
    if (labels.a0 != labels.a1) return false;
    rooms_.log.warn(concat("WARNING: The SNP at position ", position, " in the ", option_,
                           " file has only one unique allele (", labels.a0,
                           "); all reference SNPs must have two distinct alleles, so this SNP will be ignored."));
    return true;
}

void site_gate::drop_without_genotypes(const panel_site& site) {
    rooms_.log.warn(concat("WARNING: SNP ", site.record.rs_id, " at position ", site.position,
                           " is missing all of its Panel ", panel_,
                           " genotypes and will be treated as if it had not been included in the ", option_, " file."));
    ++counts.no_data;
}
