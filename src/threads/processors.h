#pragma once

// How many processors the process may use.

#include <cstddef>
#include <filesystem>
#include <optional>

// Those that the scheduler may put it on, at most as many as the control groups give it time on; at least 1.
std::size_t usable_processors();

// The time that the CPU controllers of the control groups (version 1 or 2) of a process give, in processors, rounded
// up; none without a limit. membership: what /proc/self/cgroup holds; mounted: where the groups stand, /sys/fs/cgroup.
std::optional<std::size_t> control_group_processors(const std::filesystem::path& membership,
                                                    const std::filesystem::path& mounted);
