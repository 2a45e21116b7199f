#include "params/model_parameters.h"

#include "model/data.h"
#include "params/population.h"
#include "params/switch_rates.h"

void set_model_parameters(data& run, bool full) {
    set_theta(run.params, run.panels, full, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, full, run.models, run.sites);
    const rate_inputs inputs{run.params, run.plan, run.panels, run.sites};
    set_switch_rates(run.log, inputs, full, run.models);
    if (run.params.fill_holes) set_switch_rates_for_hole_filling(run.log, inputs, full, run.models);
}
