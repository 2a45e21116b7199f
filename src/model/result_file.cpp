#include "model/result_file.h"

#include <array>
#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>
#include <fcntl.h>

#include "model/run_log.h"
#include "model/text.h"

namespace {

constexpr std::size_t flush_size = std::size_t{1} << 20;

}  // namespace

result_file::result_file(run_log& log, std::string name, bool gzipped) : log_(log), name_(std::move(name)) {
    const int descriptor = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        failed(concat("cannot write [", name_, "]: ", std::strerror(errno)));
        return;
    }
    if (gzipped) {
        // Defaults: level -1, method 8, window bits 15, memory level 8; no name, comment or time.
        stream_.push(boost::iostreams::gzip_compressor(boost::iostreams::gzip_params(), 4096));
    }
    stream_.push(boost::iostreams::file_descriptor_sink(descriptor, boost::iostreams::close_handle), 1 << 16);
    stream_.exceptions(std::ios_base::badbit | std::ios_base::failbit);
    open_ = true;
}

result_file::~result_file() { close(); }

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
    std::array<char, 384> digits{};
    if (std::isnan(value)) {  // no result file holds a NaN
        buffer_ += "-1";
        return;
    }
    const auto result =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, decimals);
    buffer_.append(digits.data(), result.ptr);
}

void result_file::number(double value) { buffer_ += std::isnan(value) ? "-1" : default_text(value); }

void result_file::probability(double value, int decimals, double low) {
    if (value < low) {
        buffer_ += '0';
    } else if (value > 1.0 - low) {
        buffer_ += '1';
    } else {
        fixed(value, decimals);
    }
}

void result_file::end_line() {
    buffer_ += '\n';
    if (buffer_.size() >= flush_size) write_buffer();
}

void result_file::write_buffer() {
    if (open_ && !failed_) {
        errno = 0;
        try {
            stream_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        } catch (const std::exception& failure) {
            failed(concat("cannot write [", name_, "] to its end: ", errno != 0 ? std::strerror(errno) : failure.what()));
        }
    }
    buffer_.clear();
}

void result_file::close() {
    if (!open_) return;
    write_buffer();
    open_ = false;
    errno = 0;
    try {
        stream_.strict_sync();
        stream_.reset();
    } catch (const std::exception& failure) {
        failed(concat("cannot write [", name_, "] to its end: ", errno != 0 ? std::strerror(errno) : failure.what()));
    }
}
