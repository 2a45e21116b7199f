#include <algorithm>

#include "model/data.h"
#include "params/state_counts.h"

// The haplotype, or the pair of haplotypes, that is being updated does not copy from itself; hence the numbers taken
// off.
void set_state_counts(data& run) {
    const long h0 = run.panels[0].n_hap;
    const long h1 = run.panels[1].n_hap;
    const long h2 = run.panels[2].n_hap;
    const long all = h0 + h1 + h2;
    const long near = run.params.k_hap[0] > 0 ? run.params.k_hap[0] : all;
    const long far = run.params.k_hap.size() >= 2 ? run.params.k_hap[1] : 0;
    const long diploid = run.params.k > 0 ? run.params.k : all;
    const auto set = [&run](std::size_t mode, std::size_t panel, std::size_t cond_panel, long full, long limit) {
        full = std::max(full, 0L);
        run.models.k_states[mode][panel][cond_panel] = static_cast<int>(std::min(full, limit));
        if (!run.params.random_cond) run.models.k_states_full[mode][panel][cond_panel] = static_cast<int>(full);
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
    set(1, 1, 1, h0 + h1 - 2, diploid);
    // Males of a Panel 1 of genotypes are updated as haplotypes.
    if (run.plan.chrx_haploid && is_given(run.params.g_ref_file)) set(0, 1, 1, h0 + h1 - 1, near + far);
}
