#pragma once

#include <string>
#include <vector>

class run_log;

// Ends the command if its output is one of its inputs or an index beside one, by whatever name. Devices and pipes may
// be both.
void refuse_to_overwrite_input(run_log& log, const std::string& output, const std::vector<std::string>& inputs);
