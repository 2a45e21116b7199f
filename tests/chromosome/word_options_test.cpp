#include "chromosome/word_options.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace {

struct read_words : testing::Test {
    log_capture capture;
    run_log log{capture.terminal, capture.notes};

    word_options read(const std::vector<std::string>& words) {
        return {log, words, {{"-o", 1}, {"-flag", 0}, {"-n", 1}}};
    }
    std::string error_of(const std::function<void()>& action) {
        EXPECT_THROW(action(), run_end);
        return capture.terminal.str();
    }
};

TEST_F(read_words, values_flags_and_loose_words) {
    const word_options options = read({"a", "-o", "file", "-flag", "b", "-n", "7"});
    EXPECT_EQ(options.value("-o"), "file");
    EXPECT_TRUE(options.has("-flag"));
    EXPECT_EQ(options.number(log, "-n", 3, 1), 7);
    EXPECT_EQ(options.loose(), (std::vector<std::string>{"a", "b"}));
}

TEST_F(read_words, what_is_not_given_has_its_default) {
    const word_options options = read({});
    EXPECT_EQ(options.value("-o", "else"), "else");
    EXPECT_EQ(options.number(log, "-n", 3, 1), 3);
}

TEST_F(read_words, an_unknown_option_is_an_error) {
    EXPECT_EQ(error_of([&] { read({"-x"}); }), "\nERROR: There is no option -x; --help tells which there are.\n\n");
}

TEST_F(read_words, an_option_without_its_value_is_an_error) {
    EXPECT_EQ(error_of([&] { read({"-o"}); }), "\nERROR: The command-line option -o needs a value.\n\n");
}

TEST_F(read_words, a_number_that_is_none_or_too_small_is_an_error) {
    EXPECT_EQ(error_of([&] {
                  read({"-n", "many"}).number(log, "-n", 3, 1);
              }),
              "\nERROR: The option -n needs a whole number of at least 1, not [many].\n\n");
    capture.terminal.str("");
    EXPECT_EQ(error_of([&] {
                  read({"-n", "0"}).number(log, "-n", 3, 1);
              }),
              "\nERROR: The option -n needs a whole number of at least 1, not [0].\n\n");
}

}  // namespace
