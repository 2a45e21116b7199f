#include "io/memory_limits.h"

#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "io/text.h"

namespace {

std::string text_of(const std::string& name) {
    std::ifstream file(name);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// "max", and what no memory has, is no limit.
void take_least(std::optional<std::size_t>& least, const std::string& file) {
    constexpr std::size_t beyond_any = std::size_t{1} << 60U;
    std::istringstream text(text_of(file));
    std::size_t bytes = 0;
    if (text >> bytes && bytes < beyond_any) least = std::min(least.value_or(bytes), bytes);
}

void add_shell_limit(std::vector<memory_limit>& limits, int kind, const char* what, std::size_t used) {
    struct rlimit limit {};
    if (getrlimit(static_cast<__rlimit_resource>(kind), &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return;
    limits.push_back({what, limit.rlim_cur, used});
}

}  // namespace

memory_use memory_in_use() {
    std::istringstream text(text_of("/proc/self/statm"));
    std::size_t mapped = 0, resident = 0, shared = 0, code = 0, unused = 0, data = 0;
    text >> mapped >> resident >> shared >> code >> unused >> data;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return {resident * page, mapped * page, data * page};
}

std::optional<std::size_t> group_limit(const std::string& groups, const std::string& root) {
    std::optional<std::size_t> least;
    std::istringstream lines(groups);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> fields;  // number, controllers, path
        strsplit(line, ":", fields, true);
        if (fields.size() < 3) continue;
        const bool second_version = fields[1].empty();
        if (!second_version && fields[1].find("memory") == std::string::npos) continue;
        const std::string top = second_version ? root : root + "/memory";
        const char* const file = second_version ? "/memory.max" : "/memory.limit_in_bytes";
        // A path that is not there is that of a group outside of a container.
        for (std::filesystem::path path = fields[2];; path = path.parent_path()) {
            take_least(least, top + (path == "/" ? "" : path.string()) + file);
            if (path == path.parent_path()) break;
        }
    }
    return least;
}

std::vector<memory_limit> memory_limits() {
    const memory_use used = memory_in_use();
    std::vector<memory_limit> limits;
    struct sysinfo system {};
    if (sysinfo(&system) == 0) {
        limits.push_back(
            {"the memory of the machine", (system.totalram + system.totalswap) * system.mem_unit, used.resident});
    }
    if (const auto group = group_limit(text_of("/proc/self/cgroup"), "/sys/fs/cgroup")) {
        limits.push_back({"the limit of the control group", *group, used.resident});
    }
    add_shell_limit(limits, RLIMIT_AS, "the limit of addresses (ulimit -v)", used.mapped);
    add_shell_limit(limits, RLIMIT_DATA, "the limit of data (ulimit -d)", used.data);
    return limits;
}
