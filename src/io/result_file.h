#pragma once

// A result file: buffered text, plain or gzip, whose failures are reported when it is opened or closed.

#include <memory>
#include <string>
#include <string_view>

#include "io/result_text.h"

class run_log;

class result_file : public result_text {
  public:
    // Opens the file for writing, truncating it. A failure is named on standard error, the text is lost, and the run
    // will end with status 1.
    result_file(run_log& log, std::string name, bool gzipped);
    result_file(const result_file&) = delete;
    result_file& operator=(const result_file&) = delete;
    ~result_file();

    // Ends the line; the buffer goes out when it has grown large.
    void end_line();
    // Lines that were made elsewhere.
    void append(std::string_view lines);
    // Writes out what is left and closes; failures are reported. Done by the destructor if it was not called.
    void close();

  private:
    // The filter chain; its library stays out of this header.
    struct chain;

    void flush();
    void write_buffer();
    void report_write_error();
    void failed(std::string_view what);

    run_log& log_;
    std::string name_;
    std::unique_ptr<chain> chain_;
    int write_error_ = 0;  // error number of the first write that failed; the sink at the end of the stream sets it
    bool open_ = false;
    bool failed_ = false;
};
