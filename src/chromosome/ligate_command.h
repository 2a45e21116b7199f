#pragma once

// The command orvide-ligate: phased chunks that overlap become one file.

#include <iosfwd>
#include <string>
#include <vector>

// Runs the command on its words, without its name; the table of seams goes to `seams`. Returns the exit status.
int run_ligate_command(const std::vector<std::string>& words, std::ostream& seams, std::ostream& notes);
