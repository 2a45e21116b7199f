#pragma once

#include <iosfwd>
#include <string>
#include <vector>

// The version of the program.
inline constexpr const char* program_version = "2.3.2";

// Runs the program with the entries of a command line, the program's path first: standard output goes to terminal,
// standard error to notes. Returns the exit status: 0 after a finished run, 1 after any reported error.
int run_program(const std::vector<std::string>& entries, std::ostream& terminal, std::ostream& notes);
