// The order in which the input files are read: the study first, Panel 0 last.

#include "input/panel_options.h"
#include "input/readers.h"
#include "model/data.h"
#include "params/state_counts.h"

namespace {

// Strand file, lists and sample file of one panel.
void read_panel_lists(data& run, reading_context& context, int panel) {
    const panel_options& options = options_of_panel(panel);
    const parameters& params = run.params;
    std::set<std::string>& exclude = run.*options.exclude_samples;
    std::set<std::string>& include = run.*options.include_samples;
    context.start_panel();
    if (is_given(params.*options.strand_file)) {
        read_strand_file(run, params.*options.strand_file, panel, context.strand_map);
    }
    if (is_given(params.*options.exclude_snps_file)) {
        read_snp_list(run, params.*options.exclude_snps_file, context.exclude_snps[static_cast<std::size_t>(panel)],
                      panel);
    }
    if (is_given(params.*options.exclude_samples_file)) {
        read_sample_inclusion_exclusion_list(run, params.*options.exclude_samples_file, exclude, panel, false);
    }
    if (is_given(params.*options.include_samples_file)) {
        read_sample_inclusion_exclusion_list(run, params.*options.include_samples_file, include, panel, true);
    }
    if (is_given(params.*options.sample_file)) {
        read_sample_file(run, params.*options.sample_file, exclude, include, context.exclude_flags, panel, false,
                         panel != 0);
    }
}

void report_strand_file(data& run, const reading_context& context, int panel) {
    if (is_given(run.params.*options_of_panel(panel).strand_file)) report_strand_use(run, context, panel);
}

void read_study(data& run, reading_context& context) {
    read_panel_lists(run, context, 2);
    if (is_given(run.params.hap_samp_in_g)) {
        read_first_sampled_haplotypes(run, context, 2);
    } else if (is_given(run.params.g_file)) {
        read_genotypes(run, context, 2);
    }
    if (is_given(run.params.hap_init_g_file)) read_initial_haplotypes(run, context);
    if (is_given(run.params.known_haps_g_file)) read_known_haplotypes(run, context);
    align_study_to_strand_map(run, context);
    report_strand_file(run, context, 2);
}

void read_panel1(data& run, reading_context& context) {
    read_panel_lists(run, context, 1);
    if (is_given(run.params.hap_samp_in_g_ref)) {
        read_first_sampled_haplotypes(run, context, 1);
    } else if (is_given(run.params.g_ref_file)) {
        read_genotypes(run, context, 1);
    } else if (run.params.h_files.size() >= 2) {
        read_haplotypes(run, context, 1);
    }
    report_strand_file(run, context, 1);
}

void read_panel0(data& run, reading_context& context) {
    read_panel_lists(run, context, 0);
    if (is_given(run.params.hap_samp_in_h)) {
        read_first_sampled_haplotypes(run, context, 0);
    } else if (run.params.panel0_given()) {
        read_haplotypes(run, context, 0);
    }
    report_strand_file(run, context, 0);
}

}  // namespace

void read_data(data& run) {
    run.log.header("-----------------", " Data processing ");
    read_genetic_map(run);
    reading_context context;
    read_study(run, context);
    read_panel1(run, context);
    read_panel0(run, context);
    close_reading(run);
    set_state_counts(run.params, run.panels, run.models);
}
