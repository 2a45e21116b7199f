#pragma once

// The named settings of -preset: other options with values, which docs/recipes.md compares.

#include <string>
#include <string_view>
#include <vector>

// The options of a preset and their values, as they would stand on the command line; empty for a name that is none.
std::vector<std::string> preset_options(std::string_view name);

// The names of all presets, as a message lists them.
std::string preset_names();
