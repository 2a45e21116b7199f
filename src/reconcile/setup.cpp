#include "reconcile/setup.h"

#include <algorithm>
#include <optional>

#include "params/model_parameters.h"
#include "reconcile/stages.h"
#include "reconcile/storage.h"
#include "reconcile/typed_sites.h"

namespace {

// Where a run of text has more typed sites, alignment will hardly remove them all.
constexpr std::size_t few_sites = 100;

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

type_counts setup_panels(run_log& log, const parameters& params, run_plan& plan, panel_array& panels,
                         site_table& sites) {
    const std::size_t n_ind = panels[2].n_ind;
    plan.n_study = params.nind > 0 ? std::min(static_cast<std::size_t>(params.nind), n_ind) : n_ind;
    std::optional<typed_site_census> census;
    if (plan.has_reference && n_ind > 0 && (sites.from_variant_files || count_common(sites) <= few_sites)) {
        census.emplace(sites);
    }
    if (plan.has_reference && n_ind > 0) note_exchanged_files(log, params, sites);
    reconcile_sites(log, params, plan, sites);
    if (census && sites.from_variant_files) census->report(log, sites);
    if (census && !sites.from_variant_files && !params.merge_ref_panels) census->note_cause(log, sites);
    check_frequencies(log, params, panels, sites);
    const type_counts n_of_type = report_data_summary(log, params, plan, sites);
    make_update_plan(log, params, plan, panels, sites);
    make_initial_haplotypes(log, params, plan, panels, sites);
    pack_haplotypes(params, plan, panels, sites);
    return n_of_type;
}

void setup_models(run_log& log, const parameters& params, const type_counts& n_of_type, run_plan& plan,
                  const panel_array& panels, site_table& sites, copying_models& models, accumulators& acc) {
    setup_storage(log, params, n_of_type, plan, panels, sites, models, acc);
    // Informed states from the first iteration on: the loop sets the parameters itself, before its first sweep.
    if (plan.informed_start_iter != 0) set_model_parameters(log, params, plan, panels, false, models, sites);
}
