#include "io/run_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ostream>
#include <utility>

#include "io/last_words.h"
#include "io/text.h"

run_log::run_log(std::ostream& terminal, std::ostream& notes) : terminal_(terminal), notes_(notes) {}

void run_log::open_one(std::ofstream& file, const std::string& name) {
    errno = 0;
    file.open(name, std::ios::out | std::ios::trunc);
    if (!file) result_failed(concat("cannot write [", name, "]: ", std::strerror(errno)));
}

void run_log::open(const std::string& summary_name, const std::string& warnings_name) {
    summary_name_ = summary_name;
    warnings_name_ = warnings_name;
    warnings_on_ = warnings_name != "NULL";
    open_one(summary_file, summary_name);
    if (warnings_on_) open_one(warnings_file, warnings_name);
    if (strict_) open_last_words();
}

void run_log::open_last_words() {
    if (!summary_file) return;
    last_words_ = ::open(summary_name_.c_str(), O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC);
    last_words::leave_in(last_words_);
}

void run_log::write_last_line(std::string_view failure) {
    constexpr std::string_view error_mark = "ERROR: ";
    if (!strict_ || !summary_file.is_open()) return;
    if (failure.empty() && result_failed_) failure = "a result could not be written; standard error names it";
    if (failure.starts_with(error_mark)) failure.remove_prefix(error_mark.size());
    const std::string first_line = printable_lines(failure.substr(0, failure.find('\n')));
    summary_line("");
    summary_line(failure.empty() ? "finished" : "failed: " + first_line);
}

void run_log::close_one(std::ofstream& file, const std::string& name) {
    if (!file.is_open()) return;
    errno = 0;
    file.close();
    if (!file) result_failed(concat("cannot write [", name, "] to its end: ", std::strerror(errno != 0 ? errno : EIO)));
}

void run_log::close(std::string_view failure) {
    last_words::leave_in(-1);
    if (last_words_ >= 0) ::close(std::exchange(last_words_, -1));
    write_last_line(failure);
    close_one(summary_file, summary_name_);
    if (warnings_on_) close_one(warnings_file, warnings_name_);
}

void run_log::line(std::string_view text) {
    terminal_line(text);
    summary_line(text);
}

void run_log::stage(std::string_view text) {
    line("");
    line(text);
}

void run_log::header(std::string_view rule, std::string_view title) {
    line("");
    line(rule);
    line(title);
    line(rule);
}

void run_log::terminal_line(std::string_view text) {
    terminal_ << text << std::endl;
}

void run_log::summary_line(std::string_view text) {
    summary_file << text << std::endl;
}

void run_log::terminal_text(std::string_view text) {
    terminal_ << text << std::flush;
}

void run_log::warn(std::string_view text) {
    if (!warnings_on_) return;
    warnings_file << text << std::endl;
    ++warning_count_;
}

void run_log::fatal(std::string_view text, int status) {
    fatal(text, text, status);
}

void run_log::fatal(std::string_view terminal, std::string_view summary, int status) {
    terminal_line("");
    terminal_line(printable_lines(terminal));
    terminal_line("");
    summary_line("");
    summary_line(printable_lines(summary));
    if (!strict_) summary_line("");
    close(status == 0 ? std::string_view() : summary);
    throw run_end{status};
}

void run_log::note(std::string_view text) {
    notes_ << "orvide: " << printable_lines(text) << std::endl;
}

void run_log::odd_input(std::string_view text) {
    if (strict_) fatal(concat("ERROR: ", text));
    note(concat("note: ", text));
}

void run_log::result_failed(std::string_view text) {
    note(text);
    result_failed_ = true;
}
