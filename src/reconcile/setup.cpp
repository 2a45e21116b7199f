#include "reconcile/setup.h"
#include "model/data.h"
#include "params/model_parameters.h"
#include "reconcile/stages.h"
#include "reconcile/storage.h"

namespace {

void reconcile_sites(run_log& log, const parameters& params, const run_plan& plan, site_table& sites) {
    if (params.restrict_buffer_to_scaffold) trim_non_scaffold(log, plan, sites);
    if (!params.keep_buffer_ref_snps && plan.has_reference) trim_reference_only(log, plan, sites);
    if (!sites.multi_match_positions.empty()) split_multiple_matches(log, params, sites);
    if (params.panel0_given() && params.panel1_given()) check_strand_of_panel1(log, params, sites);
    if (plan.has_reference) check_strand_of_panel2(log, params, sites);
    align_labels(log, params, sites);
    if (params.remove_excluded && plan.n_panels == 3) remove_non_aligned(log, params, sites);
}

}  // namespace

type_counts setup_panels(data& run) {
    reconcile_sites(run.log, run.params, run.plan, run.sites);
    const type_counts n_of_type = report_data_summary(run.log, run.params, run.plan, run.sites);
    make_update_plan(run.log, run.params, run.plan, run.panels, run.sites);
    make_initial_haplotypes(run.log, run.params, run.plan, run.panels, run.sites);
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    return n_of_type;
}

void setup_models(data& run, const type_counts& n_of_type) {
    setup_storage(run, n_of_type);
    // Informed states from the first iteration on: the loop sets the parameters itself, before its first sweep.
    if (run.plan.informed_start_iter != 0) set_model_parameters(run, false);
}
