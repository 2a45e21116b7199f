#include "io/result_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/iostreams/categories.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/filtering_stream.hpp>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>

#include "io/run_log.h"
#include "io/text.h"

namespace {

constexpr std::size_t flush_size = std::size_t{1} << 20;
constexpr std::array<double, 9> powers_of_ten{1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};

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

// Writes a value of at least 0 and below 1 in fixed notation; the end, or null when it is too near to a tie of rounding
// to be settled by a multiplication.
char* write_fraction(char* to, double value, int decimals) {
    const double scaled = value * powers_of_ten[static_cast<std::size_t>(decimals)];
    auto digits = static_cast<unsigned>(scaled);
    const double rest = scaled - digits;
    if (std::abs(rest - 0.5) < 1e-6) return nullptr;
    if (rest > 0.5) ++digits;
    char* const end = to + 2 + decimals;
    for (char* p = end; p != to + 2; digits /= 10) *--p = static_cast<char>('0' + digits % 10);
    if (digits != 0) return nullptr;  // rounded up to 1
    to[0] = '0';
    to[1] = '.';
    return end;
}

}  // namespace

struct result_file::chain {
    boost::iostreams::filtering_ostream stream;
};

result_file::result_file(run_log& log, std::string name, bool gzipped) : log_(log), name_(std::move(name)) {
    const int descriptor = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        failed(concat("cannot write [", name_, "]: ", std::strerror(errno)));
        return;
    }
    chain_ = std::make_unique<chain>();
    if (gzipped) {
        // Defaults: level -1, method 8, window bits 15, memory level 8; no name, comment or time.
        chain_->stream.push(boost::iostreams::gzip_compressor(boost::iostreams::gzip_params(), 4096));
    }
    chain_->stream.push(descriptor_sink(descriptor, write_error_), 1 << 16);
    chain_->stream.exceptions(std::ios_base::badbit | std::ios_base::failbit);
    open_ = true;
}

result_file::~result_file() {
    close();
}

void result_file::failed(std::string_view what) {
    if (!failed_) log_.result_failed(what);
    failed_ = true;
}

void result_file::integer(long value) {
    std::array<char, 24> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    buffer_.append(digits.data(), result.ptr);
}

void result_file::fixed(double value, int decimals) {
    if (std::isnan(value)) {  // no result file holds a NaN
        buffer_ += "-1";
        return;
    }
    constexpr std::size_t longest_whole = 320;  // digits before the point, sign and point
    const std::size_t start = buffer_.size();
    buffer_.resize(start + longest_whole + static_cast<std::size_t>(std::max(decimals, 0)));
    const auto result = std::to_chars(buffer_.data() + start, buffer_.data() + buffer_.size(), value,
                                      std::chars_format::fixed, decimals);
    buffer_.resize(static_cast<std::size_t>(result.ptr - buffer_.data()));
}

void result_file::number(double value) {
    buffer_ += std::isnan(value) ? "-1" : default_text(value);
}

void result_file::probability(double value, int decimals, double low) {
    if (value < low) {
        buffer_ += '0';
    } else if (value > 1.0 - low) {
        buffer_ += '1';
    } else {
        fixed(value, decimals);
    }
}

void result_file::probabilities(std::span<const double> values, int decimals, double low) {
    const double high = 1.0 - low;
    const bool short_values = decimals > 0 && static_cast<std::size_t>(decimals) < powers_of_ten.size();
    constexpr std::ptrdiff_t longest = 11;  // blank, zero, point and eight decimals
    std::array<char, 128> text;             // NOLINT: written before it is read
    char* to = text.data();
    const auto flush = [&] {
        buffer_.append(text.data(), static_cast<std::size_t>(to - text.data()));
        to = text.data();
    };
    for (const double value : values) {
        if (text.data() + text.size() - to < longest) flush();
        *to++ = ' ';
        if (value < low) {
            *to++ = '0';
        } else if (value > high) {
            *to++ = '1';
        } else if (char* const end = short_values && value <= high ? write_fraction(to, value, decimals) : nullptr) {
            to = end;
        } else {
            flush();
            fixed(value, decimals);
        }
    }
    flush();
}

void result_file::end_line() {
    buffer_ += '\n';
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
}
