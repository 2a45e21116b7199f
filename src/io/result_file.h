#pragma once

// A result file: buffered text, plain or gzip, whose failures are reported when it is opened or closed. It appears
// under its name when it is whole.

#include <memory>
#include <string>
#include <string_view>

#include "io/pending_file.h"
#include "io/result_text.h"

class run_log;

class result_file : public result_text {
  public:
    // Opens the file for writing. A failure is named on standard error, the text is lost, an older file of the name
    // stays, and the run will end with status 1.
    result_file(run_log& log, std::string name, bool gzipped, file_life life = file_life::result);
    result_file(const result_file&) = delete;
    result_file& operator=(const result_file&) = delete;
    ~result_file();

    // Ends the line; the buffer goes out when it has grown large.
    void end_line();
    // Lines that were made elsewhere.
    void append(std::string_view lines);
    // What has been written stays even if an exception ends the writing.
    void keep_beginning() { keeps_beginning_ = true; }
    // Writes out what is left, closes, and puts the file under its name; failures are reported. Done by the destructor
    // if it was not called; but if an exception ends the writing, nothing is left of the file.
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
    pending_file file_;
    const int n_exceptions_;  // on their way when the file was opened
    bool keeps_beginning_ = false;
    std::unique_ptr<chain> chain_;
    int write_error_ = 0;  // error number of the first write that failed; the sink at the end of the stream sets it
    bool open_ = false;
    bool failed_ = false;
};
