// A library for LD_PRELOAD that lets the ORVIDE_FAIL_CALL-th call fail that opens, fills or moves a file of the run for
// writing, or reads a temporary one, counted from 1: "No space left on device". Says "failed" in the file that
// descriptor ORVIDE_FAIL_REPORT is open on when it has done so. Writes to terminal, standard error and devices are left
// alone.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

struct iovec;

namespace {

int number(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? -1 : std::atoi(text);
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool is_file(int descriptor) {
    struct stat status {};
    return descriptor > STDERR_FILENO && fstat(descriptor, &status) == 0 && !S_ISCHR(status.st_mode);
}

// Whether the call is the one to fail.
bool fails() {
    static int n_calls = 0;
    if (++n_calls != number("ORVIDE_FAIL_CALL")) return false;
    if (next<ssize_t(int, const void*, size_t)>("write")(number("ORVIDE_FAIL_REPORT"), "failed", 6) != 6) std::abort();
    errno = ENOSPC;
    return true;
}

// A run without a lock is a good run.
bool is_lock(const char* name) {
    const char* const end = std::strrchr(name, '.');
    return end != nullptr && std::strcmp(end, ".lock") == 0;
}

bool fails_to_open(const char* name, int flags) {
    return (flags & O_ACCMODE) != O_RDONLY && (flags & O_CREAT) != 0 && !is_lock(name) && fails();
}

mode_t mode_of(int flags, va_list rest) {
    return (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
}

}  // namespace

extern "C" {

int open(const char* name, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = mode_of(flags, rest);
    va_end(rest);
    return fails_to_open(name, flags) ? -1 : next<int(const char*, int, ...)>("open")(name, flags, mode);
}

int open64(const char* name, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = mode_of(flags, rest);
    va_end(rest);
    return fails_to_open(name, flags) ? -1 : next<int(const char*, int, ...)>("open64")(name, flags, mode);
}

FILE* fopen64(const char* name, const char* mode) {
    if (std::strpbrk(mode, "wa") != nullptr && fails()) return nullptr;
    return next<FILE*(const char*, const char*)>("fopen64")(name, mode);
}

ssize_t write(int descriptor, const void* bytes, size_t n) {
    if (is_file(descriptor) && fails()) return -1;
    return next<ssize_t(int, const void*, size_t)>("write")(descriptor, bytes, n);
}

ssize_t writev(int descriptor, const iovec* parts, int n) {
    if (is_file(descriptor) && fails()) return -1;
    return next<ssize_t(int, const iovec*, int)>("writev")(descriptor, parts, n);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t n, off_t place) {
    if (is_file(descriptor) && fails()) return -1;
    return next<ssize_t(int, const void*, size_t, off_t)>("pwrite")(descriptor, bytes, n, place);
}

ssize_t pread(int descriptor, void* bytes, size_t n, off_t place) {
    if (is_file(descriptor) && fails()) return -1;
    return next<ssize_t(int, void*, size_t, off_t)>("pread")(descriptor, bytes, n, place);
}

int posix_fallocate(int descriptor, off_t place, off_t n) {
    return fails() ? ENOSPC : next<int(int, off_t, off_t)>("posix_fallocate")(descriptor, place, n);
}

int mkostemp(char* name, int flags) {
    return fails() ? -1 : next<int(char*, int)>("mkostemp")(name, flags);
}

int fdatasync(int descriptor) {
    return is_file(descriptor) && fails() ? -1 : next<int(int)>("fdatasync")(descriptor);
}

int rename(const char* from, const char* to) noexcept {
    return fails() ? -1 : next<int(const char*, const char*)>("rename")(from, to);
}

char* mkdtemp(char* name) noexcept {
    return fails() ? nullptr : next<char*(char*)>("mkdtemp")(name);
}
}
