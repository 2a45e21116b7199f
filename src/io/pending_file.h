#pragma once

// A file that appears under its name when it is whole: until then it is a temporary file in the same directory, which
// is removed when the run ends before.

#include <cstddef>
#include <optional>
#include <string>

#include "io/file_target.h"

class pending_file {
  public:
    // Opens it for writing. A target that is a stream is opened itself, and so is an existing file in a directory that
    // takes no new ones.
    explicit pending_file(const std::string& name);
    pending_file(const pending_file&) = delete;
    pending_file& operator=(const pending_file&) = delete;
    // Leaves nothing of a file that was not published.
    ~pending_file();

    // 0, or the error number of a failure to open it.
    int error() const { return error_; }
    // To be closed by the taker.
    int descriptor() const { return descriptor_; }
    // Where the bytes are until the file is published.
    const std::string& path() const { return path_; }
    // Puts the file, written and closed, under its name in place of an older one; 0 or the error number.
    int publish();

  private:
    void open_temporary(const file_target& target);
    void open_in_place(const file_target& target);
    void forget();

    std::string target_;
    std::string path_;
    int descriptor_ = -1;
    int error_ = 0;
    std::optional<std::size_t> removal_;  // none where the bytes go straight to the target
};
