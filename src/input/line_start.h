#pragma once

// What the readers of genotypes and of sampled haplotypes do with a line before they look at its people.

#include <string_view>

#include "input/reader_common.h"
#include "input/site_placement.h"

enum class line_fate { read, skip, stop };

struct started_line {
    line_fate fate = line_fate::skip;
    snp site;  // IDs and the panel's labels, on the strand that the strand file says
    site_match match;
    long position = 0;
    std::string_view rest;  // the fields of the people
};

// Tests the region, the exclusion lists and, by panel, duplicates or equal labels; counts the line; looks for the
// reference SNP's entry in the store. option is the one that names the file.
started_line start_line(data& run, reading_context& context, const text_input& file, region_test& region, int panel,
                        std::string_view option, reading_counts& counts, std::string_view line);
