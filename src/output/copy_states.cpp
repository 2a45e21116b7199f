// The conditioning states of one iteration, as the choosers recorded them.

#include "io/text.h"
#include "model/conditioning_states.h"
#include "output/output_common.h"
#include "output/results.h"

namespace {

void write_states(result_file& file, const copy_state_record& record, std::size_t n_states, bool diploid) {
    const std::size_t n = std::min(n_states, record.panel.size());
    for (std::size_t k = 0; k < n; ++k) {
        if (k > 0) file.character(' ');
        file.integer(static_cast<long>(record.panel[k]));
        file.character('.');
        file.integer(static_cast<long>(record.hap[k]));
        file.character('.');
        file.integer(record.dist_a[k]);
        if (diploid) {
            file.character('.');
            file.integer(record.dist_b[k]);
        }
    }
}

}  // namespace

void output_current_copy_states(data& run, std::vector<copy_state_record>& records, int iter, int diploid,
                                int updated_panel, int cond_panel) {
    const auto mode = static_cast<std::size_t>(diploid);
    const auto updated = static_cast<std::size_t>(updated_panel);
    const auto cond = static_cast<std::size_t>(cond_panel);
    result_file file(run.log,
                     concat(run.params.o_file, diploid == 1 ? "_dip" : "_hap", "loid_copy_states_type",
                            diploid == 1 ? 2 : cond_panel, "snps_iter", iter + 1, ".gz"),
                     true);
    const auto n_lines = static_cast<std::size_t>(diploid == 1 ? run.panels[2].n_ind : run.panels[2].n_hap);
    const auto n_states = static_cast<std::size_t>(run.models.k_states[mode][updated][cond]);
    for (std::size_t line = 0; line < n_lines; ++line) {
        if (line < records.size()) write_states(file, records[line], n_states, diploid == 1);
        file.end_line();
    }
    for (copy_state_record& record : records) record = {};
}
