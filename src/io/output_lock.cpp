#include "io/output_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>

#include "io/file_target.h"
#include "io/removal_list.h"

namespace {

// Whether the descriptor is of an empty file that has the name; another run may have removed what it was opened as.
bool is_lock_file(int descriptor, const std::string& name) {
    struct stat opened {
    }, named{};
    return fstat(descriptor, &opened) == 0 && lstat(name.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino && S_ISREG(named.st_mode) && named.st_size == 0;
}

}  // namespace

output_lock::output_lock(const std::string& output) {
    const file_target target = target_of(output);
    if (target.is_stream) return;
    const std::filesystem::path path = target.path;
    name_ = (path.parent_path() / ("." + path.filename().string() + ".lock")).string();
    constexpr int most_tries = 100;  // each one lost to a run that has just ended
    for (int i = 0; i < most_tries && try_once(); ++i) continue;
}

// Whether to try again.
bool output_lock::try_once() {
    descriptor_ = open(name_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
    if (descriptor_ < 0) return false;
    if (flock(descriptor_, LOCK_EX | LOCK_NB) == 0) {
        if (is_lock_file(descriptor_, name_)) {
            removal_ = removal_list::add(name_);
            return false;
        }
    } else {
        refused_ = errno == EWOULDBLOCK;  // else the file system has no locks
    }
    close(descriptor_);
    descriptor_ = -1;
    return !refused_;
}

output_lock::~output_lock() {
    if (descriptor_ < 0) return;
    if (is_lock_file(descriptor_, name_)) unlink(name_.c_str());
    removal_list::take_back(*removal_);
    close(descriptor_);
}

output_locks::output_locks(const std::vector<std::string>& outputs) {
    std::map<std::string, std::size_t> by_path;
    for (std::size_t i = 0; i < outputs.size(); ++i) by_path.emplace(target_of(outputs[i]).path, i);
    for (const auto& [path, i] : by_path) {
        locks_.push_back(std::make_unique<output_lock>(outputs[i]));
        if (locks_.back()->is_refused()) {
            refused_ = i;
            return;
        }
    }
}
