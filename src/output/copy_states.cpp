#include "output/copy_states.h"

#include <algorithm>

#include "io/result_file.h"
#include "io/text.h"
#include "model/conditioning_states.h"

namespace {

void write_states(result_file& file, const copy_state_record& record, std::size_t n_states, bool diploid) {
    const std::size_t n = std::min(n_states, record.panel.size());
    for (std::size_t k = 0; k < n; ++k) {
        if (k > 0) file.character(' ');
        file.integer(static_cast<long>(record.panel[k]));
        file.character('.');
        file.integer(static_cast<long>(record.hap[k]));
        file.character('.');
        file.integer(static_cast<long>(record.dist_a[k]));
        if (diploid) {
            file.character('.');
            file.integer(static_cast<long>(record.dist_b[k]));
        }
    }
}

}  // namespace

void write_copy_states(const result_inputs& run, int iter, bool diploid, std::size_t type,
                       std::span<const copy_state_record> records, std::size_t n_states) {
    const std::string name = concat(run.params.o_file, diploid ? "_dip" : "_hap", "loid_copy_states_type", type,
                                    "snps_iter", iter + 1, ".gz");
    result_file file(run.log, name, true);
    for (const copy_state_record& record : records) {
        write_states(file, record, n_states, diploid);
        file.end_line();
    }
}
