#pragma once

// Which formats there are, and which one a file has: the only place that knows.

#include <memory>
#include <string>

#include "input/site_source.h"

class run_log;

// What to open, the words for messages about it, and what the content means.
struct source_request {
    std::string file;
    std::string words;         // as in "Panel 2 genotypes file"
    std::string missing_text;  // what is said when there is no such file

    // The file that names the sites, where that is another one; the same words for it.
    std::string legend, legend_words, legend_missing_text;

    bool one_haplotype = false;        // phased: individuals have one allele each
    bool question_is_missing = false;  // haplotypes: "?" is a missing allele; otherwise it reads as 0
    bool further_values = false;       // haplotypes: sites may have values beside their names
};

// Open a file in the format that it has. A file that is not there or cannot be opened ends the run with the words of
// the request; so does one whose columns make no sense.
std::unique_ptr<genotype_source> open_genotypes(run_log& log, const source_request& request);
std::unique_ptr<haplotype_source> open_haplotypes(run_log& log, const source_request& request);
std::unique_ptr<phased_source> open_phased(run_log& log, const source_request& request);
std::unique_ptr<sampled_source> open_sampled(run_log& log, const source_request& request);
