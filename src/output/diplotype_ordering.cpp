// Which study individuals were modelled by ordered haplotypes.

#include "output/output_common.h"
#include "output/results.h"

void print_diplotype_ordering_states(data& run) {
    result_file file(run.log, run.params.o_file + "_diplotype_ordering", false);
    file.text("sample_index internal_diplotype_status");
    file.end_line();
    for (std::size_t i = 0; i < n_study(run); ++i) {
        file.integer(static_cast<long>(i));
        file.text(run.panels[2].ordered[i] ? " ordered" : " unordered");
        file.end_line();
    }
}
