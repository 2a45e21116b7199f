#include "reconcile/setup.h"
#include "model/data.h"
#include "output/results.h"
#include "params/population.h"
#include "params/switch_rates.h"
#include "reconcile/stages.h"
#include "reconcile/storage.h"

namespace {

void reconcile_sites(data& run) {
    const parameters& params = run.params;
    if (params.restrict_buffer_to_scaffold) trim_non_scaffold(run);
    if (!params.keep_buffer_ref_snps && run.plan.has_reference) trim_reference_only(run);
    if (!run.sites.multi_match_positions.empty()) split_multiple_matches(run);
    if (run.params.panel0_given() && run.params.panel1_given()) check_strand_of_panel1(run);
    if (run.plan.has_reference) check_strand_of_panel2(run);
    align_labels(run);
    if (params.remove_excluded && run.plan.n_panels == 3) remove_non_aligned(run);
}

void set_first_model_parameters(data& run) {
    set_theta_panel(run, false);
    set_mutation_matrix(run, false);
    set_switch_rates(run, false);
    if (run.params.fill_holes) set_switch_rates_for_hole_filling(run, false);
}

}  // namespace

void setup(data& run) {
    reconcile_sites(run);
    report_data_summary(run);
    make_update_plan(run);
    make_initial_haplotypes(run);
    pack_haplotypes(run);
    if (run.params.iter == 0 && run.params.burnin == 0 && run.plan.store_sampled_haps) output_current_haps(run, -1);
    setup_storage(run);
    // Informed states from the first iteration on: the loop sets the parameters itself, before its first sweep.
    if (run.plan.informed_start_iter != 0) set_first_model_parameters(run);
}
