#pragma once

// The channels of a run: terminal (standard output), summary file, warnings file, and standard error for notes.

#include <fstream>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>

// Ends the run with an exit status. Thrown after all has been said; caught in main.
struct run_end {
    int status;
};

// What ends the run, as it is found by work that says nothing itself, since others may have to say something first: who
// takes its result passes the words to fatal().
struct run_fault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class run_log {
  public:
    explicit run_log(std::ostream& terminal, std::ostream& notes);

    // Opens the summary file, and the warnings file unless its name is "NULL", which turns warnings off. A file that
    // cannot be opened loses its lines and is named on standard error.
    void open(const std::string& summary_name, const std::string& warnings_name);
    // Closes both; a file that could not be written to its end is named on standard error. From set_strict(true) on,
    // the last line of the summary says "finished", or "failed: " with the failure, or with that of a result.
    void close(std::string_view failure = {});

    // One line on terminal and summary, ended and flushed.
    void line(std::string_view text);
    // An empty line, then the line.
    void stage(std::string_view text);
    // An empty line, a rule, a title, a rule.
    void header(std::string_view rule, std::string_view title);
    // One channel alone.
    void terminal_line(std::string_view text);
    void summary_line(std::string_view text);
    // Text on the terminal without a line end, flushed.
    void terminal_text(std::string_view text);

    // A line of the warnings file, counted; nothing when warnings are off.
    void warn(std::string_view text);
    bool warnings_on() const { return warnings_on_; }
    int warning_count() const { return warning_count_; }

    // An empty line, the text (which may have several lines), an empty line, on terminal and summary; then ends the
    // run.
    [[noreturn]] void fatal(std::string_view text, int status = 1);
    // The same with another wording for the summary.
    [[noreturn]] void fatal(std::string_view terminal, std::string_view summary, int status);

    // A line "orvide: ..." on standard error.
    void note(std::string_view text);
    // Odd input that has a meaning all the same: a note of what was taken for what; from set_strict(true) on, the error
    // that ends the run. A sentence or several, which begin with a capital and end with a full stop.
    void odd_input(std::string_view text);
    void set_strict(bool strict) { strict_ = strict; }
    bool is_strict() const { return strict_; }
    // A note about a result that could not be written: the run will end with status 1.
    void result_failed(std::string_view text);
    bool any_result_failed() const { return result_failed_; }

  private:
    // Where a signal leaves its line.
    void open_last_words();
    void write_last_line(std::string_view failure);
    void open_one(std::ofstream& file, const std::string& name);
    void close_one(std::ofstream& file, const std::string& name);

    std::ostream& terminal_;
    std::ostream& notes_;
    std::ofstream summary_file;
    std::ofstream warnings_file;
    std::string summary_name_;
    std::string warnings_name_;
    bool warnings_on_ = false;
    bool result_failed_ = false;
    bool strict_ = false;
    int warning_count_ = 0;
    int last_words_ = -1;  // a descriptor of the summary, or none
};
