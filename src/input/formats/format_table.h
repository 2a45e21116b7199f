#pragma once

// Which formats there are, and which one a file has: the only place that knows.

#include <limits>
#include <memory>
#include <string>

#include "input/site_source.h"
#include "io/input_file.h"

class run_log;
struct parameters;
struct run_plan;

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
    bool read_ahead = false;           // unpack a file beside the work on what was read

    // Formats that hold several chromosomes or have an index read no more than this: base pairs, both ends included.
    std::string option;                                        // that names the file, as in "-g"
    std::string chromosome = "NULL";                           // -chr
    long lower = 0, upper = std::numeric_limits<long>::max();  // the region with its buffer
    long interval_lower = lower, interval_upper = upper;       // the interval in it
    bool probabilities = false;  // genotypes: likelihoods rather than calls, where a format has both
};

// The region and what is said of the file that an option names.
source_request request_for(const parameters& params, const run_plan& plan, std::string option, std::string file,
                           std::string words);

// Opens the file of a request. One that is not there or cannot be opened ends the run with the words of the request.
input_file open_input(run_log& log, const source_request& request);

// Open a file in the format that it has, told by its content. A file whose columns make no
// sense ends the run, as does one that cannot be opened.
std::unique_ptr<genotype_source> open_genotypes(run_log& log, const source_request& request);
std::unique_ptr<haplotype_source> open_haplotypes(run_log& log, const source_request& request);
std::unique_ptr<phased_source> open_phased(run_log& log, const source_request& request);
std::unique_ptr<sampled_source> open_sampled(run_log& log, const source_request& request);
