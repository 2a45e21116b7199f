#include "io/file_target.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "io/input_file.h"

namespace fs = std::filesystem;

namespace {

constexpr int most_links = 40;  // as many as the kernel follows

// The name with its directory made canonical, as far as there is one; the last piece stays as it is.
fs::path with_canonical_directory(const fs::path& name) {
    std::error_code error;
    const fs::path absolute = fs::absolute(name, error);
    const fs::path directory = fs::weakly_canonical(absolute.parent_path(), error);
    return error ? absolute : directory / absolute.filename();
}

// Descriptors of a process look like files with a link to what they are open on, which must not be followed.
bool is_descriptor(const fs::path& path) {
    return path.native().starts_with("/proc/");
}

fs::path behind_links(const std::string& name) {
    fs::path path = with_canonical_directory(name);
    std::error_code error;
    for (int i = 0; i < most_links && !is_descriptor(path) && fs::is_symlink(path, error); ++i) {
        path = with_canonical_directory(path.parent_path() / fs::read_symlink(path, error));
    }
    return path;
}

int access_error(const std::string& path, int mode) {
    return faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0 ? 0 : errno;
}

}  // namespace

file_target target_of(const std::string& name) {
    struct stat status {};
    const auto identity = [&status] { return std::pair(status.st_dev, status.st_ino); };
    if (is_standard_input(name)) {
        if (fstat(STDIN_FILENO, &status) != 0) return {name, true, std::nullopt};
        return {name, true, identity()};
    }
    file_target target;
    const fs::path path = behind_links(name);
    target.path = path.string();
    target.is_stream = is_descriptor(path);
    if (stat(name.c_str(), &status) != 0) return target;
    target.identity = identity();
    target.is_stream = target.is_stream || !(S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
    return target;
}

bool same_file(const file_target& a, const file_target& b) {
    if (a.identity || b.identity) return a.identity == b.identity;
    return a.path == b.path;
}

int why_not_writable(const file_target& target) {
    if (target.is_stream) return 0;
    std::error_code error;
    if (target.identity) {
        return fs::is_directory(target.path, error) ? EISDIR : access_error(target.path, W_OK);
    }
    const fs::path directory = fs::path(target.path).parent_path();
    if (fs::exists(directory, error) && !fs::is_directory(directory, error)) return ENOTDIR;
    return access_error(directory.string(), W_OK | X_OK);
}
