#pragma once

// How much memory the process has, and may have.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

struct memory_use {
    std::size_t resident = 0;  // bytes in memory
    std::size_t mapped = 0;    // bytes of all addresses in use
    std::size_t data = 0;      // those of them that the process has for itself
};
memory_use memory_in_use();

struct memory_limit {
    std::string what;       // "physical memory", "the limit of the control group", "the limit of ulimit -v"
    std::size_t bytes = 0;  // in all
    std::size_t used = 0;   // of them, by this process
};
// All limits that the system tells: physical memory with swap, control groups of either version, and those of the
// shell.
std::vector<memory_limit> memory_limits();

// The least limit of the control groups of a process and of those above them, bytes; nobody when none is set. groups:
// the text of /proc/self/cgroup; root: where the groups are mounted.
std::optional<std::size_t> group_limit(const std::string& groups, const std::string& root);
