#pragma once

// Whether the large files of a run have room on their disks.

#include <cstddef>
#include <string>
#include <vector>

struct data;
class run_log;

// How many bytes files may come to have.
struct file_room {
    double least = 0, usual = 0;
};

// A file of the run that grows with people and sites, or several of one kind side by side.
struct large_output {
    std::string name;  // of the first one
    const char* what;
    std::size_t n_files;
    file_room room;  // of all of them
};
// The files that may come to the size of the main output, which is the first where there is one, with what they take at
// least, when all is certain, and usually. To be asked when the sites are fixed.
std::vector<large_output> large_outputs(data& run);

// Ends the run if the large outputs find less room than they take at least, together on a file system or each by the
// limit of the size of a file; notes it if that is less than they take usually.
void require_space(data& run);
