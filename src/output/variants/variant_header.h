#pragma once

// The head of a main output in VCF or BCF.

#include <string>
#include <vector>

#include "io/hts_objects.h"
#include "output/result_inputs.h"

// The name of the chromosome: as an input file has it, else that of -chr, else "X" under -chrX, else "0".
std::string contig_name(const result_inputs& run);
// Whether no input and no option names it.
bool contig_is_unnamed(const result_inputs& run);

// The names of the study individuals in the file: ID_2 of the sample file where those differ, else ID_1 where those do,
// else both with "_" between; id1, id2, ... where no file names them.
std::vector<std::string> sample_names(const result_inputs& run);

// Null if htslib refuses it. The sample names have to differ.
hts_header make_variant_header(const result_inputs& run);
