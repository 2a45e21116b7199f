#pragma once

// The genetic map around the region (data::phys2gen).

#include <vector>

struct genetic_map {
    std::vector<long> positions;  // (map_phys_pos) base pairs
    std::vector<double> scaled;   // (map_gen_pos) units of 4 Ne Morgans
    double rate_outside = 0.0;    // units of 4 Ne Morgans a base pair, outside the map

    // The place of a position on the scaled map: between two points on the line through them, outside by rate_outside.
    double at(long position) const;
};
