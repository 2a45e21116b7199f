#pragma once

// Adds one individual's results of a stored iteration to the sums.

struct data;

void store_counts_or_haps(data& run, int ind, int hap, int diploid, int panel, int stored_count, bool selfcheck_iter,
                          int known_index, int unknown_index, bool known);
