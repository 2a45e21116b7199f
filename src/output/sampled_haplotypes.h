#pragma once

struct data;

// Reads the temporary haplotype files of all stored iterations back into the store of sampled alleles, unless it is
// there.
void load_tmp_haps(data& run);
