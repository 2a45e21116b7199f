// The order in which the input files are read: the study first, Panel 0 last.

#include "input/panel_options.h"
#include "input/readers.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/site_table.h"

namespace {

// Strand file, lists and sample file of one panel.
void read_panel_lists(const input_rooms& rooms, reading_context& context, std::size_t panel) {
    const panel_options& options = options_of_panel(panel);
    const parameters& params = rooms.params;
    context.start_panel();
    if (is_given(params.*options.strand_file)) {
        context.strand_map = read_strand_file(rooms.log, rooms.plan, params.*options.strand_file, panel);
    }
    if (is_given(params.*options.exclude_snps_file)) {
        context.exclude_snps[panel] = read_snp_list(rooms.log, params.*options.exclude_snps_file, panel);
    }
    if (is_given(params.*options.exclude_samples_file)) {
        context.exclude_samples[panel] =
            read_sample_list(rooms.log, params.*options.exclude_samples_file, panel, false);
    }
    if (is_given(params.*options.include_samples_file)) {
        context.include_samples[panel] = read_sample_list(rooms.log, params.*options.include_samples_file, panel, true);
    }
    if (is_given(params.*options.sample_file)) {
        read_sample_file(rooms, context, params.*options.sample_file, panel, false, panel != 0);
    }
}

void note_idle(run_log& log, const std::string& option, const std::string& file) {
    log.odd_input(concat("There is no data that the list [", file, "] (", option, ") could act on: it has no effect."));
}

// Says what the sample lists of a panel found, now that its people are known. An inclusion list has no effect.
void report_sample_lists(const input_rooms& rooms, const reading_context& context, std::size_t panel) {
    const panel_options& options = options_of_panel(panel);
    const auto report = [&](const char* word, const std::string& file, const id_set& list, bool acts) {
        if (!is_given(file)) return;
        const std::string option = concat("-", word, "clude_samples_", options.suffix);
        if (list.was_asked() || list.empty()) {
            report_found(rooms.log, list, option, file, acts, acts ? "" : "; this list keeps nobody out");
        } else if (!acts || rooms.panels[panel].n_hap == 0) {
            note_idle(rooms.log, option, file);
        } else {
            rooms.log.odd_input(concat(option, " needs the IDs of the people: give them by -sample_", options.suffix,
                                       ", or give the data as VCF or BCF; without them it excludes nobody."));
        }
    };
    report("ex", rooms.params.*options.exclude_samples_file, context.exclude_samples[panel], true);
    report("in", rooms.params.*options.include_samples_file, context.include_samples[panel], false);
}

// Says what the exclusion list of a panel found. Of VCF and BCF the region alone is looked at.
void report_snp_list(const input_rooms& rooms, const reading_context& context, std::size_t panel) {
    const panel_options& options = options_of_panel(panel);
    const std::string& file = rooms.params.*options.exclude_snps_file;
    const std::string option = concat("-exclude_snps_", options.suffix);
    const id_set& list = context.exclude_snps[panel];
    if (!is_given(file)) return;
    if (!list.was_asked() && !list.empty()) return note_idle(rooms.log, option, file);
    const bool partly = rooms.sites.from_variant_files;
    report_found(rooms.log, list, option, file, !partly, partly ? "; they were looked for in the region" : "");
}

void report_strand_file(const input_rooms& rooms, const reading_context& context, std::size_t panel) {
    if (is_given(rooms.params.*options_of_panel(panel).strand_file)) report_strand_use(rooms.log, context, panel);
}

void read_study(const input_rooms& rooms, reading_context& context) {
    const parameters& params = rooms.params;
    read_panel_lists(rooms, context, 2);
    if (is_given(params.hap_samp_in_g)) {
        read_first_sampled_haplotypes(rooms, context, 2);
    } else if (is_given(params.g_file)) {
        read_genotypes(rooms, context, 2);
    }
    if (is_given(params.hap_init_g_file)) read_initial_haplotypes(rooms, context);
    if (is_given(params.known_haps_g_file)) read_known_haplotypes(rooms, context);
    align_study_to_strand_map(context, rooms.sites);
    report_strand_file(rooms, context, 2);
    report_sample_lists(rooms, context, 2);
}

void read_panel1(const input_rooms& rooms, reading_context& context) {
    const parameters& params = rooms.params;
    read_panel_lists(rooms, context, 1);
    if (is_given(params.hap_samp_in_g_ref)) {
        read_first_sampled_haplotypes(rooms, context, 1);
    } else if (is_given(params.g_ref_file)) {
        read_genotypes(rooms, context, 1);
    } else if (params.h_files.size() >= 2) {
        read_haplotypes(rooms, context, 1);
    }
    report_strand_file(rooms, context, 1);
    report_sample_lists(rooms, context, 1);
}

void read_panel0(const input_rooms& rooms, reading_context& context) {
    const parameters& params = rooms.params;
    read_panel_lists(rooms, context, 0);
    if (is_given(params.hap_samp_in_h)) {
        read_first_sampled_haplotypes(rooms, context, 0);
    } else if (params.panel0_given()) {
        read_haplotypes(rooms, context, 0);
    }
    report_strand_file(rooms, context, 0);
    report_sample_lists(rooms, context, 0);
}

}  // namespace

void read_data(const input_rooms& rooms) {
    rooms.log.header("-----------------", " Data processing ");
    reading_context context;
    map_reading map = read_genetic_map(rooms.log, rooms.params, rooms.plan);
    rooms.map = std::move(map.map);
    read_study(rooms, context);
    read_panel1(rooms, context);
    read_panel0(rooms, context);
    for (const std::size_t panel : {2U, 1U, 0U}) report_snp_list(rooms, context, panel);
    if (!rooms.sites.store.empty() && !map.out_of_reach.empty()) rooms.log.odd_input(map.out_of_reach);
    close_reading(rooms);
}
