#pragma once

// The command line of a small command: options with a fixed number of values, and words without an option.

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

class run_log;

struct word_option {
    std::string_view name;
    std::size_t n_values;
};

class word_options {
  public:
    // Ends the command at an option that is not known or lacks a value. words: without the name of the command.
    word_options(run_log& log, const std::vector<std::string>& words, const std::vector<word_option>& known);

    bool has(std::string_view name) const { return values_.contains(name); }
    // The first value of an option, or what stands in.
    std::string value(std::string_view name, std::string_view otherwise = "") const;
    // The same as a whole number from `least` on; ends the command when it is none.
    long number(run_log& log, std::string_view name, long otherwise, long least) const;
    const std::vector<std::string>& loose() const { return loose_; }

  private:
    std::map<std::string, std::vector<std::string>, std::less<>> values_;
    std::vector<std::string> loose_;
};
