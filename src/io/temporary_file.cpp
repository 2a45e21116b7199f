#include "io/temporary_file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "io/run_log.h"
#include "io/signals.h"
#include "io/text.h"

namespace {

// 0, or the error.
int open_unnamed(const std::string& directory, int& descriptor) {
    std::string name = directory + "/orvide_XXXXXX";
    const signals_held hold;  // which would leave the name behind
    descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) return errno;
    return unlink(name.c_str()) == 0 ? 0 : errno;
}

int take_room(int descriptor, std::size_t n_bytes) {
    if (n_bytes == 0) return 0;
    int error = EINTR;
    while (error == EINTR) error = posix_fallocate(descriptor, 0, static_cast<off_t>(n_bytes));
    return error;
}

}  // namespace

std::string temporary_directory() {
    const char* const chosen = std::getenv("TMPDIR");
    return chosen != nullptr && *chosen != '\0' ? chosen : "/tmp";
}

bool lies_in_memory(const std::string& directory) {
    struct statfs system {};
    if (statfs(directory.c_str(), &system) != 0) return false;
    return system.f_type == TMPFS_MAGIC || system.f_type == RAMFS_MAGIC;
}

temporary_file::temporary_file(const std::string& directory, std::size_t n_bytes) : directory_(directory) {
    int error = open_unnamed(directory_, descriptor_);
    if (error == 0) error = take_room(descriptor_, n_bytes);
    if (error == 0) return;
    if (descriptor_ >= 0) close(descriptor_);
    const std::string size = n_bytes > 0 ? " of " + megabytes(static_cast<double>(n_bytes)) : "";
    throw run_fault(concat("ERROR: A temporary file", size, " cannot be made in [", directory_, "]: ",
                           std::strerror(error), ". Please make room there, or set TMPDIR to another directory."));
}

temporary_file::~temporary_file() {
    close(descriptor_);
}

// A call may do a part, and one that does nothing has met the end of a file that somebody cut.
void temporary_file::read(std::size_t place, void* to, std::size_t n) const {
    for (std::size_t done = 0; done < n;) {
        const ssize_t part =
            pread(descriptor_, static_cast<char*>(to) + done, n - done, static_cast<off_t>(place + done));
        if (part > 0) done += static_cast<std::size_t>(part);
        if (part > 0 || (part < 0 && errno == EINTR)) continue;
        throw run_fault(concat("ERROR: A temporary file in [", directory_,
                               "] cannot be read: ", std::strerror(part < 0 ? errno : EIO), "."));
    }
}

void temporary_file::write(std::size_t place, const void* from, std::size_t n) {
    for (std::size_t done = 0; done < n;) {
        const ssize_t part =
            pwrite(descriptor_, static_cast<const char*>(from) + done, n - done, static_cast<off_t>(place + done));
        if (part > 0) done += static_cast<std::size_t>(part);
        if (part > 0 || (part < 0 && errno == EINTR)) continue;
        throw run_fault(concat("ERROR: A temporary file in [", directory_,
                               "] cannot be written: ", std::strerror(part < 0 ? errno : EIO), "."));
    }
}
