#pragma once

// What the readers of data::read_data hand on to each other and nobody needs afterwards.

#include <array>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

// IDs of a list; can be asked with a view of a line.
using id_set = std::set<std::string, std::less<>>;

// How often the strand file of the panel in hand was applied.
struct strand_use {
    long flipped = 0;
    long handled = 0;
};

struct reading_context {
    std::map<long, std::string> strand_map;  // strand by position, of the panel in hand
    strand_use strands;
    std::array<id_set, 3> exclude_snps;  // -exclude_snps_h, -exclude_snps_g_ref, -exclude_snps_g, by panel
    // One flag a column of the data file of the panel in hand, true for a column to drop; empty keeps all columns.
    std::vector<bool> exclude_flags;
    // For each person of the known-haplotypes sample file the index among the -g individuals or -1; empty without a
    // map.
    std::vector<int> known_hap_index_map;

    // Forgets what belongs to one panel only.
    void start_panel() {
        strand_map.clear();
        strands = {};
        exclude_flags.clear();
    }
};
