#pragma once

// What --help and --help all say.

#include <string>

// The text of --help: the main options on a screen of 24 lines of 80 characters.
std::string help_text();
// The text of --help all: a line for each option.
std::string full_help_text();
