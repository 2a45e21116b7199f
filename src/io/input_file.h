#pragma once

// An input that has been opened once, a file or a pipe, and can be looked at before anything is read from it.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "io/file_kind.h"

struct hFILE;
class run_log;

// The name that stands for standard input.
inline bool is_standard_input(std::string_view name) {
    return name == "-";
}

class input_file {
  public:
    // Opens the file. The two messages are what is said when it does not exist, and when it cannot be opened (a
    // directory counts as that); both end the run.
    input_file(run_log& log, std::string name, std::string_view missing_message, std::string_view unopened_message);
    input_file(input_file&& other) noexcept;
    ~input_file();

    const std::string& name() const { return name_; }
    // Whether it can be read from any place and again; a pipe cannot.
    bool is_regular() const { return is_regular_; }
    // Whether its content is VCF, plain or compressed, or BCF. Nothing is taken from the input.
    bool holds_variants() const;

    // What kind of file it is by its first bytes. Nothing is taken from the input.
    file_kind kind() const { return kind_of(stream_); }

    // The next bytes, as many as there are up to n; 0 at the end. Throws std::ios_base::failure when reading fails.
    std::size_t read(char* to, std::size_t n);
    // Gives the stream away, to be closed by the taker.
    hFILE* release();

  private:
    std::string name_;
    hFILE* stream_ = nullptr;
    bool is_regular_ = false;
};

// Says on standard error why a file that the run is about to refuse is not there or cannot be opened: its name, and the
// system's words for the error number.
void note_unopened(run_log& log, const std::string& name, int error);

// Whether what comes under a name can be read once only: standard input, or a pipe.
bool is_pipe(const std::string& name);

// Whether a name is that of a regular file that holds VCF or BCF; false for everything else, of which nothing is taken.
bool is_variant_file(const std::string& name);
