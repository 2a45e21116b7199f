#pragma once

// The files "_hapsamp" of -hap_samp_out_g, -hap_samp_out_g_ref and -hap_samp_out_h: the haplotypes of an iteration.

#include "output/result_inputs.h"

// (output_current_haps) iter counts from 0; -1: before the first iteration.
void write_sampled_haplotypes(const result_inputs& run, int iter);
