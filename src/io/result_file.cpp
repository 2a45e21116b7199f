#include "io/result_file.h"

#include <unistd.h>

#include <boost/iostreams/categories.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/filtering_stream.hpp>
#include <cerrno>
#include <cstring>
#include <exception>

#include "io/run_log.h"
#include "io/text.h"

namespace {

constexpr std::size_t flush_size = std::size_t{1} << 20;

// The end of the chain. It keeps the first error for the result file, since a stream that is being closed loses what
// its devices throw.
class descriptor_sink {
  public:
    using char_type = char;
    struct category : boost::iostreams::sink_tag, boost::iostreams::closable_tag {};

    descriptor_sink(int descriptor, int& error) : descriptor_(descriptor), error_(&error) {}

    std::streamsize write(const char* text, std::streamsize n) {
        for (std::streamsize done = 0; done < n && *error_ == 0;) {
            const ssize_t written = ::write(descriptor_, text + done, static_cast<std::size_t>(n - done));
            if (written >= 0) {
                done += written;
            } else if (errno != EINTR) {
                *error_ = errno;
            }
        }
        return n;
    }

    void close() {
        if (::close(descriptor_) != 0 && *error_ == 0) *error_ = errno;
    }

  private:
    int descriptor_;
    int* error_;
};

}  // namespace

struct result_file::chain {
    boost::iostreams::filtering_ostream stream;
};

result_file::result_file(run_log& log, std::string name, bool gzipped, file_life life)
    : log_(log), name_(std::move(name)), file_(name_, life), n_exceptions_(std::uncaught_exceptions()) {
    if (file_.error() != 0) {
        failed(concat("cannot write [", name_, "]: ", std::strerror(file_.error())));
        return;
    }
    chain_ = std::make_unique<chain>();
    if (gzipped) {
        // Defaults: level -1, method 8, window bits 15, memory level 8; no name, comment or time.
        chain_->stream.push(boost::iostreams::gzip_compressor(boost::iostreams::gzip_params(), 4096));
    }
    chain_->stream.push(descriptor_sink(file_.descriptor(), write_error_), 1 << 16);
    chain_->stream.exceptions(std::ios_base::badbit | std::ios_base::failbit);
    open_ = true;
}

result_file::~result_file() {
    if (std::uncaught_exceptions() > n_exceptions_ && !keeps_beginning_) failed_ = true;
    close();
}

void result_file::failed(std::string_view what) {
    if (!failed_) log_.result_failed(what);
    failed_ = true;
}

void result_file::end_line() {
    result_text::end_line();
    flush();
}

void result_file::append(std::string_view lines) {
    buffer_ += lines;
    flush();
}

void result_file::flush() {
    if (buffer_.size() >= flush_size) write_buffer();
}

void result_file::report_write_error() {
    if (write_error_ != 0) failed(concat("cannot write [", name_, "] to its end: ", std::strerror(write_error_)));
}

void result_file::write_buffer() {
    if (open_ && !failed_) {
        try {
            chain_->stream.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        } catch (const std::exception& failure) {
            failed(concat("cannot write [", name_, "] to its end: ", failure.what()));
        }
        report_write_error();
    }
    buffer_.clear();
}

void result_file::close() {
    if (!open_) return;
    write_buffer();
    open_ = false;
    try {
        chain_->stream.reset();
    } catch (const std::exception& failure) {
        failed(concat("cannot write [", name_, "] to its end: ", failure.what()));
    }
    report_write_error();
    if (failed_) return;
    const int error = file_.publish();
    if (error != 0) failed(concat("cannot write [", name_, "]: ", std::strerror(error)));
}
