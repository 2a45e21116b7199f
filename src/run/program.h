#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "model/program_version.h"

// Runs the program with the entries of a command line, the program's path first: standard output goes to terminal,
// standard error to notes. Returns the exit status: 0 after a finished run, 1 after any reported error.
int run_program(const std::vector<std::string>& entries, std::ostream& terminal, std::ostream& notes);
