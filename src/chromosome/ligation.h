#pragma once

// Joins phased files of neighbouring chunks. In an overlap the heterozygotes that both files have phased tell how each
// person's haplotypes go on (overlap_phase); the earlier file gives all else of the sites up to the middle of the
// overlap, the later one of those behind it.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "output/variants/variant_result_file.h"

class run_log;

struct seam {
    std::string before, after;    // names of the files
    long lower = 0, upper = 0;    // first and last position of the overlap; 0 when there is none
    std::size_t n_sites = 0;      // in the overlap
    std::size_t n_counted = 0;    // heterozygotes that told
    std::size_t n_agreeing = 0;   // of them, with the decision for their person
    std::size_t n_turned = 0;     // people
    std::size_t n_undecided = 0;  // people whose phase across the seam is not known
};

struct ligation_options {
    variant_format format = variant_format::vcf_gz;
    bool allow_gaps = false;  // files that do not overlap may follow each other
};

// Writes the files, which stand in the order of their positions, as one, and tells of each seam. Ends the command when
// samples or chromosomes differ, a site of an overlap is in one file only, or files overlap that are no neighbours.
void ligate(run_log& log, const std::vector<std::string>& inputs, const std::string& output,
            const ligation_options& options, const std::function<void(const seam&)>& tell);
