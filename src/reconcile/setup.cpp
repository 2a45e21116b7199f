#include "model/data.h"
#include "reconcile/stages.h"
#include "reconcile/storage.h"

namespace {

void reconcile_sites(data& run) {
    const parameters& params = run.params;
    if (params.restrict_buffer_to_scaffold) trim_non_scaffold(run);
    if (!params.keep_buffer_ref_snps && run.has_reference) trim_reference_only(run);
    if (!run.multi_match_positions.empty()) split_multiple_matches(run);
    if (run.panel0_given() && run.panel1_given()) check_strand_of_panel1(run);
    if (run.has_reference) check_strand_of_panel2(run);
    align_labels(run);
    if (params.remove_excluded && run.n_panels == 3) remove_non_aligned(run);
}

void set_first_model_parameters(data& run) {
    run.set_theta_panel(false);
    run.set_mutation_matrix(false);
    run.set_switch_rates(false);
    if (run.params.fill_holes) run.set_switch_rates_for_hole_filling(false);
}

}  // namespace

void data::setup() {
    reconcile_sites(*this);
    report_data_summary(*this);
    make_update_plan(*this);
    make_initial_haplotypes(*this);
    pack_haplotypes(*this);
    if (params.iter == 0 && params.burnin == 0 && store_sampled_haps) output_current_haps(-1);
    setup_storage(*this);
    // Informed states from the first iteration on: the loop sets the parameters itself, before its first sweep.
    if (informed_start_iter != 0) set_first_model_parameters(*this);
}
