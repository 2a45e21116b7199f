#pragma once

// The temporary files "_tmpsamp" of -mem_save_2, which keep the sampled alleles of the study out of memory until
// consensus phasing asks for them.

#include "output/result_inputs.h"

// Makes a directory for the files, which only the user may enter, below TMPDIR or else /tmp, unless -mem_save_str says
// where they go; completes the names. Ends the run if that fails. However the run ends, directory and files are
// removed.
void place_temporary_haplotypes(run_log& log, parameters& params);

// (output_current_haps_to_tmp) iter counts from 0.
void write_temporary_haplotypes(const result_inputs& run, int iter);

// (read_current_haps_from_tmp) Reads one file back into the store of sampled alleles. Ends the run if the file cannot
// be opened or is not that of the run's sites.
void read_temporary_haplotypes(const result_inputs& run, int iter, sample_bits& samples);

// Reads the files of all stored iterations back, unless the store holds them.
void load_temporary_haplotypes(const result_inputs& run, sample_bits& samples);

// (remove_tmp_sampled_haps) Removes the files, or the directory that the program made for them; warns of what stays.
void remove_temporary_haplotypes(const result_inputs& run);
