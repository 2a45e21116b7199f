#pragma once

// The columns of a data file: checked against the sample file, counted into the panel, reported.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "model/panel.h"

class run_log;

// "ERROR: The " what " [" name "] does not contain a valid number of columns. ..."
std::string bad_columns_text(std::string_view what, const std::string& name);
// Ends the run when there are flags and their number is not n_columns. unit: "individuals" or "haplotypes"; file_words:
// as in "Panel 2 genotypes file".
void check_against_sample_file(run_log& log, const std::vector<bool>& exclude_flags, std::size_t n_columns,
                               std::string_view unit, std::string_view file_words);
std::size_t count_excluded(const std::vector<bool>& exclude_flags);
inline bool is_dropped(const std::vector<bool>& exclude_flags, std::size_t column) {
    return !exclude_flags.empty() && exclude_flags[column];
}
// " --detected ..." and, if any are excluded, " --excluded ..."
void report_columns(run_log& log, std::size_t n_detected, std::size_t n_excluded, std::string_view unit);
// The columns that are left are the panel's individuals; reports them.
void settle_individuals(run_log& log, panel_data& panel, std::size_t n_columns, const std::vector<bool>& exclude_flags);
