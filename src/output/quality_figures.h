#pragma once

// The figures of a site's quality: what they are called in "_info" and in VCF, in which runs they are there, their
// value.

#include <optional>
#include <span>

#include "output/result_inputs.h"
#include "output/site_quality.h"

struct quality_figure {
    const char* column;       // of "_info"
    const char* key;          // of the INFO column of VCF
    const char* description;  // in the head of VCF
    bool (*is_there)(const result_inputs& run);
    // Undefined, or not a number, where nothing was compared or nobody counts; a squared correlation of constants is
    // -1.
    std::optional<double> (*value)(const site_quality& quality);
};

// The figures in the order of their columns: of every site, and of typed sites.
std::span<const quality_figure> site_figures();
std::span<const quality_figure> typed_figures();
