#pragma once

// Line by line reading of a text file, plain or gzip by its name.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "io/input_file.h"
#include "threads/read_ahead.h"

class run_log;

class text_input {
  public:
    // Opens the file. The two messages are what the caller says when the file does not exist, and when it cannot be
    // opened (a directory counts as that); both end the run.
    text_input(run_log& log, std::string name, std::string_view missing_message, std::string_view unopened_message);
    // Reads what has been opened. ahead: a thread of its own unpacks a gzip file.
    text_input(run_log& log, input_file&& file, std::string_view unopened_message, bool ahead = false);
    ~text_input();
    text_input(const text_input&) = delete;
    text_input& operator=(const text_input&) = delete;

    // The next line without its newline, valid until the next call; false at the end. A corrupt or truncated gzip
    // stream ends the run. A byte order mark at the beginning is left out, and a line that ends in a carriage return
    // keeps it; both are odd input, said once a file.
    bool next_line(std::string_view& line);
    // As next_line, but lines without any field are passed over.
    bool next_filled_line(std::string_view& line);
    // The number of the line that was returned last, from 1.
    long line_number() const { return line_number_; }
    const std::string& name() const { return name_; }
    // From now on a damaged place is odd input and ends the file: nothing behind it is needed.
    void forgive_damage() { forgives_damage_ = true; }
    // The next call gives the line that was returned last once more.
    void hold_line() { held_ = true; }

    // Ends the run: "ERROR: " what ", in line N of file [name]."
    [[noreturn]] void fail(std::string_view what) const;
    // One line on standard error: what, with file and line.
    void note(std::string_view what) const;
    // Odd input (run_log::odd_input): what, with line and file, and for what it is taken.
    void odd(std::string_view what, std::string_view taken) const;

  private:
    // The filter chain; its library stays out of this header.
    struct chain;

    // Ends the run when the file is of a kind that is no text.
    void check_kind() const;
    bool refill();
    void take_off_mark(std::string_view& line);

    run_log& log_;
    std::string name_;
    std::unique_ptr<chain> chain_;
    std::unique_ptr<read_ahead> ahead_;  // of the chain, or null
    std::vector<char> buffer_;
    std::size_t begin_ = 0;  // the unread part of the buffer
    std::size_t end_ = 0;
    bool at_end_ = false;
    bool held_ = false;
    std::string_view last_line_;
    bool noted_return_ = false;
    bool forgives_damage_ = false;
    long line_number_ = 0;
};
