#include "output/diplotype_ordering.h"

#include "io/result_file.h"

void write_diplotype_ordering(const result_inputs& run) {
    result_file file(run.log, run.params.o_file + "_diplotype_ordering", false);
    file.text("sample_index internal_diplotype_status");
    file.end_line();
    for (std::size_t i = 0; i < run.n_study(); ++i) {
        file.integer(static_cast<long>(i));
        file.text(run.panels[2].ordered[i] ? " ordered" : " unordered");
        file.end_line();
    }
}
