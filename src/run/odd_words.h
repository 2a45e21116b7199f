#pragma once

// What stands on the command line and is probably not what was meant: it has a meaning all the same, which is told.

#include <cstddef>
#include <string>
#include <vector>

// One sentence or two for each oddity, in the order of the command line, the program's path first: numbers that are
// none to their last character, words that belong to no option, dashes that are no hyphens, options given twice, and
// values that are options.
std::vector<std::string> find_odd_words(const std::vector<std::string>& entries);

// What entry i, which begins with a hyphen and is no option, may have been meant as: the nearest option by the number
// of letters to change, or the value of the option before it.
std::string unknown_option_hint(const std::vector<std::string>& entries, std::size_t i);
