#include "output/sampled_haplotypes.h"

#include <array>

#include "io/text.h"
#include "output/haplotype_strings.h"
#include "output/site_columns.h"

namespace {

// The sites of a panel's file. In the first of two stages the study's alleles at reference sites are a result too.
std::vector<std::size_t> panel_sites(const result_inputs& run, std::size_t panel) {
    const bool imputed_too = panel == 2 && run.params.use_panel1_for_type0_imputation && run.params.stage_one;
    return select_sites(run.sites, run.haps_interval(), [&](const snp& site) {
        return site.type != run.plan.n_panels && run.panels[panel].haps.holds(site.index) &&
               (site.in_panel(panel) || (imputed_too && site.type == 0)) && !(panel == 1 && site.panel1_placeholder);
    });
}

}  // namespace

void write_sampled_haplotypes(const result_inputs& run, int iter) {
    const std::array<const std::string*, 3> stems{&run.params.hap_samp_out_h, &run.params.hap_samp_out_g_ref,
                                                  &run.params.hap_samp_out_g};
    for (std::size_t panel = 0; panel < 3; ++panel) {
        if (!is_given(*stems[panel])) continue;
        write_haplotype_strings(run, concat(*stems[panel], "_hapsamp", iter + 1, ".gz"), panel, panel_sites(run, panel),
                                true);
    }
}
