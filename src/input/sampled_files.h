#pragma once

// The files of -hap_samp_in_g, -hap_samp_in_g_ref and -hap_samp_in_h: one an iteration.

#include <cstddef>
#include <string>

#include "input/formats/format_table.h"
#include "model/parameters.h"

// The option that names the files of a panel.
std::string sampled_option(std::size_t panel);
// "-reading sampled haplotypes for Panel ..."
std::string sampled_stage_text(std::size_t panel);
// The file of an iteration counted from 1: the plain one if it is there, else the compressed one.
source_request request_sampled(const parameters& params, std::size_t panel, std::size_t iteration);
