#pragma once

// What keeps a run from losing data: no output may be an input or another output, and each must have a place.

#include <optional>
#include <string>

#include "model/parameters.h"
#include "model/run_plan.h"

class run_log;

// The fault, if some output would overwrite an input or another output of the run, by whatever name or link; devices
// and pipes may be named twice. For the settings as the command line gives them, with the names of the logs; nothing
// has to be opened yet, and nothing is written.
std::optional<std::string> find_overwriting(const parameters& params);

// Ends the run if some output cannot be written: its directory is not there or takes no files. For settings that
// process_input has completed.
void require_output_places(run_log& log, const parameters& params, const run_plan& plan);

// Throws run_fault if the temporary files of -mem_save_3 cannot be made; notes it if they would lie in memory.
void require_temporary_place(run_log& log, const parameters& params);
