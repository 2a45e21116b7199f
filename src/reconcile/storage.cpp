#include "reconcile/storage.h"

#include "io/text.h"
#include "io/text_input.h"
#include "model/intervals.h"
#include "reconcile/checkpoint_plan.h"
#include "reconcile/iteration_plan.h"
#include "reconcile/model_sites.h"
#include "reconcile/result_sums.h"

namespace {

void read_intermediate_positions(run_log& log, const parameters& params, run_plan& plan) {
    const std::string& name = params.intermed_posns_file;
    if (!params.counts_per_iter && !params.counts_wt_per_iter) return;
    if (!is_given(name)) return;
    log.stage("-reading positions of SNPs for intermediate gtype count printing");
    log.line(concat(" --filename=[", name, "]"));
    text_input input(log, name, "ERROR: The -intermed_posns file you specified does not exist.",
                     concat("ERROR: The SNP positions file [", name, "] could not be opened."));
    std::string_view line;
    while (input.next_filled_line(line)) {
        std::string_view field;
        field_scanner(line).next(field);
        long position = 0;
        if (!parse_long(field, position)) input.fail(concat("\"", std::string(field), "\" is no position"));
        plan.intermed_posns.push_back(position);
    }
}

}  // namespace

void setup_storage(run_log& log, const parameters& params, const type_counts& n_of_type, run_plan& plan,
                   const panel_array& panels, site_table& sites, copying_models& models, accumulators& acc) {
    log.stage("-setting storage space");
    const std::size_t n_study = panels[2].n_ind;
    if (params.nind > 0 && static_cast<std::size_t>(params.nind) > n_study) {
        log.fatal(concat("ERROR: The -nind value (", params.nind,
                         ") is larger than the number of individuals in the study (", n_study, ")."));
    }
    plan_iterations(params, plan);
    list_traits(sites);
    list_model_sites(plan, sites, models);
    if (params.mem_save_1) plan_checkpoints(log, params, plan, panels, n_of_type, models);
    allocate_results(params, plan, panels, sites, haps_interval(params, plan), acc);
    read_intermediate_positions(log, params, plan);
}
