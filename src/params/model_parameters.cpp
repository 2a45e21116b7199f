#include "params/model_parameters.h"

#include "params/population.h"

void set_model_parameters(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                          bool full, copying_models& models, site_table& sites) {
    set_theta(params, plan, panels, full, models);
    set_mutation(log, params, plan, panels, full, models, sites);
    const rate_inputs inputs{params, plan, panels, sites};
    set_switch_rates(log, inputs, full, models);
    if (plan.fill_holes) set_switch_rates_for_hole_filling(log, inputs, full, models);
}
