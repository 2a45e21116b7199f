#pragma once

// Takes numbers out of a line of text.

#include <string_view>

#include "input/genotype_calls.h"

// Takes the numbers of a line in place. Digits that stand alone and short decimals, the usual fields, are read without
// a general conversion; the values are those of a correctly rounded conversion all the same.
class number_scanner {
  public:
    explicit number_scanner(std::string_view line) : next_(line.data()), end_(line.data() + line.size()) {}
    enum class outcome { number, end, bad };
    outcome next(double& value);
    // Takes three numbers at once when they are digits, at most one of them 1 and the others 0, with one blank or tab
    // between; else takes nothing.
    bool next_digits(probability_triple& triple);
    // The field that was no number.
    std::string_view bad_field() const { return bad_field_; }

  private:
    const char* next_;
    const char* end_;
    std::string_view bad_field_;
};
