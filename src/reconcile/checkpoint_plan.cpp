#include "reconcile/checkpoint_plan.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

struct checkpointed_model {
    hmm_model* model;
    bool active;
    std::size_t n_sites;
    bool diploid;
};

std::vector<checkpointed_model> list_models(const parameters& p, const run_plan& plan, const panel_array& panels,
                                            const type_counts& n, model_table<hmm_model>& m) {
    const std::size_t up_to_panel1 = n[2] + n[1], all = up_to_panel1 + n[0];
    const std::size_t n_study = plan.n_panels == 3 ? n[2] : n[3];
    const bool panel1 = panels[1].n_hap > 0;
    const bool study = panels[2].n_ind > 0;
    const bool through_panel1 = p.use_panel1_for_type0_imputation;
    const bool panel0_used = plan.output_types[0] || p.weight_panel == 0 || p.show_ref_copy_probs;
    return {
        {&m[0][0][0], panels[0].n_hap > 0 && panels[0].needs_update, all, false},
        {&m[0][1][0], panel1 && through_panel1, all, false},
        {&m[0][1][1], panel1 && panels[1].needs_update && plan.chrx_haploid, up_to_panel1, false},
        {&m[0][2][0],
         study && panels[0].n_hap > 0 && panel0_used && (!through_panel1 || p.stage_one || p.selfcheck > 0.0), all,
         false},
        {&m[0][2][1], study && panel1 && plan.output_types[1], through_panel1 ? all : up_to_panel1, false},
        {&m[0][2][2], study && panels[2].needs_update && (p.haploid_g || plan.chrx_haploid), n_study, false},
        {&m[1][1][1], panel1 && panels[1].needs_update, up_to_panel1, true},
        {&m[1][2][2], study && panels[2].needs_update && !p.haploid_g, n_study, true},
    };
}

}  // namespace

void plan_checkpoints(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                      const type_counts& n_of_type, copying_models& models) {
    std::array<std::size_t, 2> largest{};  // interval of the haploid, and of the diploid models
    std::array<bool, 2> needed{};
    for (const checkpointed_model& plan_of : list_models(params, plan, panels, n_of_type, models.chains)) {
        if (!plan_of.active) continue;
        hmm_model& model = *plan_of.model;
        model.interval = static_cast<std::size_t>(std::floor(std::sqrt(static_cast<float>(plan_of.n_sites))));
        const std::size_t kind = plan_of.diploid ? 1 : 0;
        needed[kind] = true;
        largest[kind] = std::max(largest[kind], model.interval);
    }
    if ((needed[0] && largest[0] < 1) || (needed[1] && largest[1] < 1)) {
        log.fatal(
            "ERROR: The program could not allocate buffer space for memory-saving calculations. Please contact the "
            "authors for assistance.");
    }
}
