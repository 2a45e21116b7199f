#pragma once

// The options of the command line: names, kinds of values, where values go, and a line of help each.

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
    heading,       // no option, but the title of those that follow
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

// All options in the order of the help, with the headings of their groups.
std::span<const option> all_options();
// Null for an entry that is no option.
const option* find_option(std::string_view entry);
