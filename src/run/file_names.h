#pragma once

// The table of the files that a run reads and writes.

#include <string>
#include <vector>

#include "model/parameters.h"
#include "model/run_plan.h"

struct run_file {
    std::string name;
    std::string what;    // "main output", "run summary" ...; empty for an input
    std::string option;  // that names it, or begins its name
};

// What the command line names as input, with the indexes beside these files, and in sampled haplotypes the files of
// all iterations. Whether the run reads it is not asked.
std::vector<run_file> input_files(const parameters& params);

// The names that outputs go by, one an option, for the locks of a run: files, and what names of several begin with.
std::vector<run_file> locked_names(const parameters& params);

// Summary and warnings.
std::vector<run_file> log_files(const parameters& params);

// All that the run may leave or write on its way, one entry a file, the logs first. For settings that process_input has
// completed, and the plan that it has made.
std::vector<run_file> output_files(const parameters& params, const run_plan& plan);

// Those of them that appear when they are whole: without the logs and the list of people.
std::vector<run_file> result_files(const parameters& params, const run_plan& plan);
