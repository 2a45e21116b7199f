#include "output/phase_confidence.h"

#include "output/phased_haplotypes.h"
#include "output/site_columns.h"

void write_phase_confidence(const result_inputs& run, const phase_confidences& confidences) {
    if (!run.params.phase || run.all_have_known_haps()) return;
    result_file file(run.log, run.name("_haps_confidence"), run.params.o_gz);
    const double low = smallest_printed(run.params.outdp);
    for (const std::size_t s : haplotype_sites(run)) {
        const bool phased = run.sites.in_order[s]->type != run.plan.n_panels;
        write_site_columns(file, run, s);
        std::size_t slot = 0;
        for (std::size_t i = 0; i < run.n_study(); ++i) {
            file.character(' ');
            if (run.panels[2].ordered[i]) {
                file.character('-');
                continue;
            }
            const double confidence = phased ? confidences[s][slot] : no_phase_call;
            ++slot;
            if (confidence == no_phase_call) {
                file.character('*');
            } else {
                file.probability(confidence, run.params.outdp, low);
            }
        }
        file.end_line();
    }
}
