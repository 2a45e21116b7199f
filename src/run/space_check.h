#pragma once

// Whether the main output, the largest file of a run, has room on its disk.

#include <cstddef>

struct data;
class run_log;

// How many bytes a file may come to have.
struct file_room {
    double least = 0, usual = 0;
};
// What the main output will take at least, when all genotypes are certain, and what it takes usually. To be asked when
// the sites are fixed. Nothing where it is not written.
file_room main_output_size(const data& run);

// Ends the run if the main output finds less room than it takes at least, on its file system or by the limit of the
// size of a file; notes it if that is less than it takes usually.
void require_space(data& run);
