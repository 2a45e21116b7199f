#include "input/columns.h"

#include <algorithm>

#include "io/run_log.h"
#include "io/text.h"

std::string bad_columns_text(std::string_view what, const std::string& name) {
    return concat("ERROR: The ", what, " [", name,
                  "] does not contain a valid number of columns. Please review the documentation and try again.");
}

void check_against_sample_file(run_log& log, const std::vector<bool>& exclude_flags, std::size_t n_columns,
                               std::string_view unit, std::string_view file_words) {
    if (exclude_flags.empty() || exclude_flags.size() == n_columns) return;
    log.fatal(concat("ERROR: The number of ", unit, " in the ", file_words, " (", n_columns,
                     ") does not match the number of ", unit, " in the sample file (", exclude_flags.size(), ")."));
}

std::size_t count_excluded(const std::vector<bool>& exclude_flags) {
    return static_cast<std::size_t>(std::count(exclude_flags.begin(), exclude_flags.end(), true));
}

void report_columns(run_log& log, std::size_t n_detected, std::size_t n_excluded, std::string_view unit) {
    log.line(concat(" --detected ", n_detected, " ", unit));
    if (n_excluded == 0) return;
    log.line(concat(" --excluded ", n_excluded, " ", unit, ", leaving ", n_detected - n_excluded, " for analysis"));
}

void settle_individuals(run_log& log, panel_data& panel, std::size_t n_columns,
                        const std::vector<bool>& exclude_flags) {
    const std::size_t n_excluded = count_excluded(exclude_flags);
    panel.n_ind = n_columns - n_excluded;
    panel.n_hap = panel.count_haplotypes(panel.n_ind);
    report_columns(log, n_columns, n_excluded, "individuals");
}
