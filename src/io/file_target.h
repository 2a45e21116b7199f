#pragma once

// What a file name leads to: whether two names are one file can be told by it, and where a result is to be put.

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>

struct file_target {
    std::string path;  // absolute, behind all symbolic links; also of a file that does not exist yet
    // A device, a pipe, or a descriptor of the process such as /dev/stdout: bytes go straight to it, and it may well be
    // named twice.
    bool is_stream = false;
    std::optional<std::pair<dev_t, ino_t>> identity;  // of a file that exists
};

// The name "-" leads to standard input.
file_target target_of(const std::string& name);

// Whether two targets are one file.
bool same_file(const file_target& a, const file_target& b);

// 0 if a result could be written to the target, else the error number: its directory is missing, not a directory or not
// writable, or the target is a directory or not writable itself.
int why_not_writable(const file_target& target);
