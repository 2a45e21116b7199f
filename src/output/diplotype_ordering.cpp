// Which study individuals were modelled by ordered haplotypes.

#include "output/output_common.h"

void data::print_diplotype_ordering_states() {
    result_file file(log, params.o_file + "_diplotype_ordering", false);
    file.text("sample_index internal_diplotype_status");
    file.end_line();
    for (std::size_t i = 0; i < n_study(*this); ++i) {
        file.integer(static_cast<long>(i));
        file.text(has_known_haps[i] ? " ordered" : " unordered");
        file.end_line();
    }
}
