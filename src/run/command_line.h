#pragma once

// The command line: its table of options, and the one pass that reads it.

#include <string>
#include <vector>

#include "model/parameters.h"

struct command_line {
    parameters params;
    std::string echo_text;               // "Command-line input:" and all entries
    int seed = -1;                       // -1: not given
    bool wants_help = false;             // --help
    bool wants_all_help = false;         // --help all
    bool wants_version = false;          // --version
    std::vector<std::string> unknown;    // entries that begin with "-" and are no option
    std::vector<std::string> valueless;  // options that need a value and have none
};

// Reads the entries, the program's path first. Never fails: faults are listed in the result.
command_line read_command_line(const std::vector<std::string>& entries);

// The text of --help: the main options on a screen of 24 lines of 80 characters.
std::string help_text();
// The text of --help all: a line for each option.
std::string full_help_text();
