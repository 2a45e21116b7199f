#pragma once

// The command orvide-plan: the chunks of a chromosome as a table.

#include <iosfwd>
#include <string>
#include <vector>

// Runs the command on its words, without its name. The table goes to `table` unless -o names a file. Returns the exit
// status.
int run_plan_command(const std::vector<std::string>& words, std::ostream& table, std::ostream& notes);
