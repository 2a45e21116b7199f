#include "threads/processors.h"

#include <sched.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;
using limit = std::optional<std::size_t>;

limit stricter(limit a, limit b) {
    return !a ? b : !b ? a : std::min(a, b);
}

// In microseconds; a quota that is no number, or is below 0, limits nothing.
limit processors_of(const std::string& quota, long period) {
    if (quota.empty() || quota.find_first_not_of("0123456789") != std::string::npos || period <= 0) return std::nullopt;
    const long long time = std::strtoll(quota.c_str(), nullptr, 10);
    return static_cast<std::size_t>(std::max(1LL, (time + period - 1) / period));
}

// Version 2 says both in one file, version 1 in two.
limit limit_of(const fs::path& group) {
    std::string quota;
    long period = 0;
    if (std::ifstream both(group / "cpu.max"); both >> quota >> period) return processors_of(quota, period);
    std::ifstream first(group / "cpu.cfs_quota_us"), second(group / "cpu.cfs_period_us");
    if (first >> quota && second >> period) return processors_of(quota, period);
    return std::nullopt;
}

// Of a group and of those that it is in. Inside a container the path may be that outside of it, and not be there.
limit limit_up_from(const fs::path& root, const fs::path& group) {
    limit found = limit_of(root);
    fs::path path = root;
    for (const fs::path& part : group.relative_path()) {
        path /= part;
        found = stricter(found, limit_of(path));
    }
    return found;
}

bool names_cpu(const std::string& controllers) {
    return ("," + controllers + ",").find(",cpu,") != std::string::npos;
}

}  // namespace

limit control_group_processors(const fs::path& membership, const fs::path& mounted) {
    std::ifstream lines(membership);
    limit found;
    for (std::string line; std::getline(lines, line);) {  // number:controllers:path
        const std::size_t first = line.find(':'), second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos) continue;
        const std::string controllers = line.substr(first + 1, second - first - 1), path = line.substr(second + 1);
        if (controllers.empty()) found = stricter(found, limit_up_from(mounted, path));
        if (!names_cpu(controllers)) continue;
        found = stricter(found, limit_up_from(mounted / controllers, path));
        if (controllers != "cpu") found = stricter(found, limit_up_from(mounted / "cpu", path));
    }
    return found;
}

std::size_t usable_processors() {
    std::size_t n = std::max(1U, std::thread::hardware_concurrency());
    if (cpu_set_t set; sched_getaffinity(0, sizeof set, &set) == 0) {
        n = static_cast<std::size_t>(std::max(1, CPU_COUNT(&set)));
    }
    return *stricter(n, control_group_processors("/proc/self/cgroup", "/sys/fs/cgroup"));
}
