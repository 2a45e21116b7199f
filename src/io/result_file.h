#pragma once

// A result file: buffered text, plain or gzip, whose failures are reported when it is opened or closed.

#include <cmath>
#include <memory>
#include <span>
#include <string>
#include <string_view>

class run_log;

// 10^-decimals: a probability below it prints as the digit 0, one above 1 less it as the digit 1.
inline double smallest_printed(int decimals) {
    return std::pow(10.0, -decimals);
}

class result_file {
  public:
    // Opens the file for writing, truncating it. A failure is named on standard error, the text is lost, and the run
    // will end with status 1.
    result_file(run_log& log, std::string name, bool gzipped);
    result_file(const result_file&) = delete;
    result_file& operator=(const result_file&) = delete;
    ~result_file();

    void text(std::string_view text) { buffer_ += text; }
    void character(char c) { buffer_ += c; }
    void integer(long value);
    // Fixed notation.
    void fixed(double value, int decimals);
    // The default notation of a stream (6 significant digits).
    void number(double value);
    // A probability v: the digit 0 below low, the digit 1 above 1 - low, else fixed notation; low is 10^-decimals.
    void probability(double value, int decimals, double low);
    // Each value as a probability behind a blank.
    void probabilities(std::span<const double> values, int decimals, double low);
    // Ends the line; the buffer goes out when it has grown large.
    void end_line();
    // Writes out what is left and closes; failures are reported. Done by the destructor if it was not called.
    void close();

  private:
    // The filter chain; its library stays out of this header.
    struct chain;

    void write_buffer();
    void report_write_error();
    void failed(std::string_view what);

    run_log& log_;
    std::string name_;
    std::string buffer_;
    std::unique_ptr<chain> chain_;
    int write_error_ = 0;  // error number of the first write that failed; the sink at the end of the stream sets it
    bool open_ = false;
    bool failed_ = false;
};
