#pragma once

// What the readers of data::read_data hand on to each other and nobody needs afterwards.

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "input/id_list.h"

// How often the strand file of the panel in hand was applied.
struct strand_use {
    std::size_t flipped = 0;
    std::size_t handled = 0;
};

struct reading_context {
    std::map<long, std::string> strand_map;  // strand by position, of the panel in hand
    strand_use strands;
    std::array<id_set, 3> exclude_snps;  // -exclude_snps_h, -exclude_snps_g_ref, -exclude_snps_g, by panel
    // Sample lists by panel (exclude_samples_h, exclude_samples_g_ref, exclude_samples_g, include_samples_h, ...).
    std::array<id_set, 3> exclude_samples;
    std::array<id_set, 3> include_samples;  // read and counted; they keep nobody out
    // One flag a column of the data file of the panel in hand, true for a column to drop; empty keeps all columns.
    std::vector<bool> exclude_flags;
    // ID_1 and ID_2 of the lines of the sample file of the panel in hand, excluded people included.
    std::vector<std::array<std::string, 2>> sample_rows;
    std::set<std::string, std::less<>> study_ids;  // names of the kept people of the study, where a file tells them
    // [ID_1, ID_2] of the kept people of -sample_known_haps_g (sample_ids_known_haps).
    std::array<std::vector<std::string>, 2> known_haps_ids;
    // For each of them the index among the -g individuals; empty without a map.
    std::vector<std::optional<std::size_t>> known_hap_index_map;

    // Forgets what belongs to one panel only.
    void start_panel() {
        strand_map.clear();
        strands = {};
        exclude_flags.clear();
        sample_rows.clear();
    }
};
