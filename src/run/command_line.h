#pragma once

// The command line: its table of options, and the one pass that reads it.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "model/parameters.h"

// What an option does with the entries that follow it.
enum class option_kind {
    text,          // one value, kept as text
    real,          // one value, a double
    integer,       // one value, an int
    interval,      // two values, the analysis interval
    texts,         // all values up to the next entry that begins with "-", appended
    integers,      // likewise, integers
    state_counts,  // likewise; the first one replaces element 0
    seed,          // one value, the seed
    flag,          // no value
};

struct option {
    std::string_view name;
    option_kind kind;
    // Where the value goes; a flag writes flag_value.
    std::variant<std::monostate, std::string parameters::*, double parameters::*, int parameters::*, bool parameters::*,
                 std::vector<std::string> parameters::*, std::vector<int> parameters::*>
        target;
    bool flag_value;
    std::string_view echo;  // appended to active_flags; empty for none
    std::string_view help;
};

// All options of the program, in the order of the help text.
std::span<const option> all_options();

struct command_line {
    parameters params;
    std::string echo_text;               // "Command-line input:" and all entries
    int seed = -1;                       // -1: not given
    bool wants_help = false;             // --help
    bool wants_version = false;          // --version
    std::vector<std::string> unknown;    // entries that begin with "-" and are no option
    std::vector<std::string> valueless;  // options that need a value and have none
};

// Reads the entries, the program's path first. Never fails: faults are listed in the result.
command_line read_command_line(const std::vector<std::string>& entries);

// The text of --help.
std::string help_text();
