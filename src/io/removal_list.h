#pragma once

// The names of files and directories that must not outlive the run, however it ends.

#include <cstddef>
#include <string>

namespace removal_list {

// A file, or a directory that will be empty when what was added after it is gone. Returns a number to take it back by.
std::size_t add(const std::string& name);
// The name has been removed, or is to stay.
void take_back(std::size_t number);
// Removes what was added and not taken back, the last first. May be called by a signal handler.
void remove_all();

}  // namespace removal_list
