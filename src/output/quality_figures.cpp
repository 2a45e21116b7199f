#include "output/quality_figures.h"

#include <array>

namespace {

using run_ref = const result_inputs&;
using quality_ref = const site_quality&;
using figure = std::optional<double>;

bool always(run_ref /*run*/) {
    return true;
}
bool with_posteriors(run_ref run) {
    return run.params.snp_qc_info && run.params.pgs;
}
bool with_set_1(run_ref run) {
    return run.params.snp_qc_info && is_selfchecked(run, 1);
}
bool with_set_0(run_ref run) {
    return run.params.snp_qc_info && is_selfchecked(run, 0);
}

constexpr std::array of_sites{
    quality_figure{"info", "INFO", "Information measure: 1 when every genotype is certain", always,
                   [](quality_ref q) -> figure { return q.info; }},
    quality_figure{"certainty", "CERT", "Mean of the largest genotype probability", always,
                   [](quality_ref q) -> figure { return q.certainty; }},
};

constexpr std::array of_typed_sites{
    quality_figure{"concord_type2", "CONC2", "Share of typed genotypes that equal the imputed ones", with_posteriors,
                   [](quality_ref q) { return q.posterior.concordance; }},
    quality_figure{"r2_type2", "R2_2", "Squared correlation of typed genotypes and imputed dosages", with_posteriors,
                   [](quality_ref q) { return q.posterior.r2; }},
    quality_figure{"info_type1", "INFO1", "Information measure when masked and imputed from Panel 1", with_set_1,
                   [](quality_ref q) { return q.masked_info[1]; }},
    quality_figure{"concord_type1", "CONC1", "Concordance when masked and imputed from Panel 1", with_set_1,
                   [](quality_ref q) { return q.masked[1].concordance; }},
    quality_figure{"r2_type1", "R2_1", "Squared correlation when masked and imputed from Panel 1", with_set_1,
                   [](quality_ref q) { return q.masked[1].r2; }},
    quality_figure{"info_type0", "INFO0", "Information measure when masked and imputed from Panel 0", with_set_0,
                   [](quality_ref q) { return q.masked_info[0]; }},
    quality_figure{"concord_type0", "CONC0", "Concordance when masked and imputed from Panel 0", with_set_0,
                   [](quality_ref q) { return q.masked[0].concordance; }},
    quality_figure{"r2_type0", "R2_0", "Squared correlation when masked and imputed from Panel 0", with_set_0,
                   [](quality_ref q) { return q.masked[0].r2; }},
};

}  // namespace

std::span<const quality_figure> site_figures() {
    return of_sites;
}

std::span<const quality_figure> typed_figures() {
    return of_typed_sites;
}
