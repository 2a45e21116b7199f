#include "input/formats/number_scanner.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "io/text.h"

number_scanner::outcome number_scanner::next(double& value) {
    while (next_ != end_ && is_separator(*next_)) ++next_;
    if (next_ == end_) return outcome::end;
    const char* const start = next_;
    // At most 15 digits are exact, and so is a power of ten up to 22: their quotient is the rounded value of the
    // decimal.
    constexpr std::array<double, 16> powers{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    std::int64_t digits = 0;
    std::ptrdiff_t n_digits = 0, n_decimals = 0;
    bool decimal = false;
    for (; next_ != end_ && n_digits <= 15; ++next_) {
        if (*next_ == '.' && !decimal) {
            decimal = true;
            continue;
        }
        const auto digit = static_cast<unsigned>(*next_ - '0');
        if (digit > 9) break;
        digits = 10 * digits + static_cast<int>(digit);
        ++n_digits;
        n_decimals += decimal ? 1 : 0;
    }
    if (n_digits > 0 && n_digits <= 15 && (next_ == end_ || is_separator(*next_))) {
        value = static_cast<double>(digits) / powers[static_cast<std::size_t>(n_decimals)];
        return outcome::number;
    }
    while (next_ != end_ && !is_separator(*next_)) ++next_;
    const std::string_view field(start, static_cast<std::size_t>(next_ - start));
    if (parse_double(field, value)) return outcome::number;
    bad_field_ = field;
    return outcome::bad;
}

bool number_scanner::next_digits(probability_triple& triple) {
    if (next_ != end_ && is_separator(*next_)) ++next_;
    const char* const c = next_;
    if (end_ - c < 5 || !is_separator(c[1]) || !is_separator(c[3]) || (end_ - c > 5 && !is_separator(c[5])))
        return false;
    const int a = c[0] - '0', b = c[2] - '0', d = c[4] - '0';
    if (((a | b | d) & ~1) != 0 || a + b + d > 1) return false;
    triple = {static_cast<float>(a), static_cast<float>(b), static_cast<float>(d)};
    next_ += 5;
    return true;
}
