#pragma once

// The one pass that reads the command line.

#include <string>
#include <vector>

#include "model/parameters.h"

struct command_line {
    parameters params;
    std::string echo_text;                   // "Command-line input:" and all entries
    int seed = -1;                           // -1: not given
    bool wants_help = false;                 // --help
    bool wants_all_help = false;             // --help all
    bool wants_version = false;              // --version
    std::vector<std::string> unknown;        // entries that begin with "-" and are no option
    std::vector<std::string> unknown_hints;  // of each of them, what may have been meant
    std::vector<std::string> valueless;      // options that need a value and have none
    std::vector<std::string> odd_words;      // what is probably not what was meant, and what was taken for what
};

// Reads the entries, the program's path first. Never fails: faults are listed in the result.
command_line read_command_line(const std::vector<std::string>& entries);
