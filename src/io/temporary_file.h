#pragma once

// Where temporary files stand, and files without a name there.

#include <cstddef>
#include <string>

// TMPDIR, else "/tmp".
std::string temporary_directory();
// Whether files of a directory take memory: those of tmpfs and ramfs do.
bool lies_in_memory(const std::string& directory);

// A file of fixed size without a name, which goes with the process, however that ends. Its room is taken when it is
// made, so that a disk that becomes full afterwards does not touch it. Any number of threads may read and write at
// different places at once. What fails is thrown as run_fault.
class temporary_file {
  public:
    // Of zeros.
    temporary_file(const std::string& directory, std::size_t n_bytes);
    ~temporary_file();
    temporary_file(const temporary_file&) = delete;
    temporary_file& operator=(const temporary_file&) = delete;

    // n bytes from place on.
    void read(std::size_t place, void* to, std::size_t n) const;
    void write(std::size_t place, const void* from, std::size_t n);

  private:
    const std::string directory_;
    int descriptor_ = -1;
};
