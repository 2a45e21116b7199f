#pragma once

// A file that appears under its name when it is whole: until then it is a temporary file in the same directory, which
// is removed when the run ends before.

#include <cstddef>
#include <optional>
#include <string>

#include "io/file_target.h"

// What is to be there after a loss of power, and what the run alone needs.
enum class file_life { result, temporary };

class pending_file {
  public:
    // Opens it for writing. A target that is a stream is opened itself, and so is an existing file in a directory that
    // takes no new ones.
    explicit pending_file(const std::string& name, file_life life = file_life::result);
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
    // Waits until the disk has the bytes of the file, which is written and closed; 0 or the error number. Without it a
    // file system may have the new name on its disk before the bytes, and after a crash an empty file under it.
    int make_durable();
    // Makes the file durable and puts it under its name in place of an older one; 0 or the error number.
    int publish();

  private:
    void open_temporary(const file_target& target);
    void open_in_place(const file_target& target);
    void forget();

    std::string target_;
    std::string path_;
    int descriptor_ = -1;
    int watched_ = -1;  // stays open on the file, so that no error of writing back is missed; -1 if there is none
    int error_ = 0;
    std::optional<std::size_t> removal_;  // none where the bytes go straight to the target
};
