#pragma once

// Which sites a result holds, and the five columns at the head of their lines.

#include <cstddef>
#include <utility>
#include <vector>

#include "io/result_file.h"
#include "output/result_inputs.h"

// The labels under which a site of a type (0 to 3) is written: those of the lowest panel that such a site has.
const panel_labels& output_labels(const parameters& params, const snp& site, std::size_t type);

// SNP ID, rs ID, position and two labels, with blanks between and none after the last.
void write_site_columns(result_text& file, const snp& site, long position, const panel_labels& labels);
// The same for a site by its index, with the labels of its type.
void write_site_columns(result_text& file, const result_inputs& run, std::size_t s);

// Whether sites of the type of this one are asked for (-os).
inline bool type_is_output(const result_inputs& run, const snp& site) {
    return run.plan.output_types[site.type];
}

// The indices of the sites in an interval (base pairs, both ends included) for which wanted(site) holds.
template <typename Wanted>
std::vector<std::size_t> select_sites(const site_table& sites, std::pair<long, long> interval, Wanted wanted) {
    std::vector<std::size_t> selected;
    const auto [first, last] = sites.range(interval);
    for (std::size_t s = first; s < last; ++s) {
        if (wanted(*sites.in_order[s])) selected.push_back(s);
    }
    return selected;
}
