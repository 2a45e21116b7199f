#include "run/program.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>

#include "random/random.h"
#include "support/temporary_folder.h"

namespace {

// A stream whose first character fails in a way that nobody foresaw.
class failing_buffer : public std::streambuf {
  public:
    explicit failing_buffer(std::function<void()> failure) : failure_(std::move(failure)) {}

  protected:
    int_type overflow(int_type c) override {
        failure_();
        return c;
    }

  private:
    std::function<void()> failure_;
};

// What a run says last, on terminal and in the summary, when it fails while it writes a note.
std::string last_words(const std::function<void()>& failure) {
    const temporary_folder folder;
    failing_buffer buffer(failure);
    std::ostream notes(&buffer);
    notes.exceptions(std::ios_base::badbit);
    std::ostringstream terminal;
    Random* const old_generator = Random::RNG;
    // An interval that ends before it begins has a note of its own.
    EXPECT_EQ(1,
              run_program({"orvide", "-g", "study.gen", "-int", "2000", "1000", "-seed", "1", "-o", folder.name("out")},
                          terminal, notes));
    Random::RNG = old_generator;
    EXPECT_EQ(terminal.str(), folder.read("out_summary"));
    const std::string text = terminal.str();
    const std::size_t start = text.find("\n\nERROR: ");
    return start == std::string::npos ? text : text.substr(start);
}

TEST(program, exhausted_memory_ends_it_with_a_message) {
    EXPECT_EQ("\n\nERROR: The memory is exhausted.\n\n", last_words([] { throw std::bad_alloc(); }));
}

TEST(program, a_failure_that_nobody_foresaw_ends_it_with_a_message) {
    EXPECT_EQ("\n\nERROR: The run failed: out of paper.\n\n",
              last_words([] { throw std::runtime_error("out of paper"); }));
}

}  // namespace
