#pragma once

// The options of each panel: their names and where their values are kept.

#include <cstddef>
#include <string>

#include "model/parameters.h"

struct panel_options {
    const char* suffix;  // what the panel's options end in, as in -exclude_snps_g_ref
    std::string parameters::*strand_file;
    std::string parameters::*exclude_snps_file;
    std::string parameters::*exclude_samples_file;
    std::string parameters::*include_samples_file;
    std::string parameters::*sample_file;
    std::string parameters::*sampled_haplotypes;  // -hap_samp_in_*, without "_hapsamp" and iteration
};

inline bool is_panel(std::size_t panel) {
    return panel <= 2;
}
// panel is 0, 1 or 2.
const panel_options& options_of_panel(std::size_t panel);
