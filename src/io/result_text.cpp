#include "io/result_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "io/text.h"

namespace {

constexpr std::array<double, 9> powers_of_ten{1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};

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

void result_text::integer(long value) {
    std::array<char, 24> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    buffer_.append(digits.data(), result.ptr);
}

void result_text::fixed(double value, int decimals) {
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

void result_text::number(double value) {
    buffer_ += std::isnan(value) ? "-1" : default_text(value);
}

void result_text::probability(double value, int decimals, double low) {
    if (value < low) {
        buffer_ += '0';
    } else if (value > 1.0 - low) {
        buffer_ += '1';
    } else {
        fixed(value, decimals);
    }
}

void result_text::probabilities(std::span<const double> values, int decimals, double low) {
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
