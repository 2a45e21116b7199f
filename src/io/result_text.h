#pragma once

// Text of a result: lines with numbers in their notations.

#include <cmath>
#include <span>
#include <string>
#include <string_view>

// 10^-decimals: a probability below it prints as the digit 0, one above 1 less it as the digit 1.
inline double smallest_printed(int decimals) {
    return std::pow(10.0, -decimals);
}

class result_text {
  public:
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
    void end_line() { buffer_ += '\n'; }
    // What was written so far.
    std::string_view view() const { return buffer_; }

  protected:
    std::string buffer_;
};
