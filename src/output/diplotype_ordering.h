#pragma once

// The file "_diplotype_ordering": which study individuals were modelled by ordered haplotypes.

#include "output/result_inputs.h"

// (print_diplotype_ordering_states)
void write_diplotype_ordering(const result_inputs& run);
