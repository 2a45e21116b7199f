#pragma once

// What is said of a file before it is read, and when it cannot be.

#include <string>
#include <string_view>

class run_log;

bool file_exists(const std::string& name);
// Ends the run with the message when there is no such file.
void require_file(run_log& log, const std::string& name, std::string_view message);
// " --filename=[name]"
void print_file_name(run_log& log, const std::string& name);
// A stage line and the file name.
void announce(run_log& log, std::string_view stage, const std::string& name);
// "ERROR: The " option " file you specified does not exist."
std::string missing_text(std::string_view option);
// "ERROR: The " what " [" name "] could not be opened."
std::string unopened_text(std::string_view what, const std::string& name);
