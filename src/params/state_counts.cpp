#include "params/state_counts.h"

#include <algorithm>

// The haplotype, or the pair of haplotypes, that is being updated does not copy from itself; hence the numbers taken
// off.
void set_state_counts(const parameters& params, const panel_array& panels, copying_models& models) {
    const auto h0 = static_cast<long>(panels[0].n_hap);
    const auto h1 = static_cast<long>(panels[1].n_hap);
    const auto h2 = static_cast<long>(panels[2].n_hap);
    const long all = h0 + h1 + h2;
    const long near = params.k_hap[0] > 0 ? params.k_hap[0] : all;
    const long far = params.k_hap.size() >= 2 ? params.k_hap[1] : 0;
    const long diploid = params.k > 0 ? params.k : all;
    const auto set = [&](std::size_t mode, std::size_t panel, std::size_t cond_panel, long full, long limit) {
        full = std::max(full, 0L);
        models.k_states[mode][panel][cond_panel] = static_cast<int>(std::min(full, limit));
        if (!params.random_cond) models.k_states_full[mode][panel][cond_panel] = static_cast<int>(full);
    };
    set(0, 2, 2, all - 1, near + far);
    set(0, 2, 1, h0 + h1, near + far);
    set(0, 2, 0, h0, near);
    set(0, 1, 0, h0, near);
    set(0, 1, 2, h2, far);
    set(0, 0, 2, h2, far);
    set(0, 0, 1, h1, far);
    set(0, 0, 0, h0 - 1, near);
    set(1, 2, 2, all - 2, diploid);
    models.k_final = static_cast<int>(std::max(0L, std::min<long>(all - 2, params.final_states)));
    set(1, 1, 1, h0 + h1 - 2, diploid);
    // Males of a Panel 1 of genotypes are updated as haplotypes.
    if (panels[1].sexes_differ && is_given(params.g_ref_file)) set(0, 1, 1, h0 + h1 - 1, near + far);
}
