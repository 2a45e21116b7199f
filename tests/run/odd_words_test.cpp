#include "run/odd_words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using texts = std::vector<std::string>;

// Behind the program's path.
texts odd(texts entries) {
    entries.insert(entries.begin(), "bin/orvide");
    return find_odd_words(entries);
}

TEST(odd_words, are_none_where_every_word_has_its_place) {
    EXPECT_THAT(odd({"-g",  "a b", "-int",   "20.4e6", "20500000",      "-os",   "0",    "2",  "-k_hap",
                     "100", "200", "-phase", "-Ne",    "1.5e4",         "-iter", "+30",  "-h", "a",
                     "-",   "-l",  "b",      "NULL",   "-filt_rules_l", "a<1",   "b==2", "c>3"}),
                IsEmpty());
}

TEST(odd_words, are_numbers_that_are_none_to_their_last_character) {
    EXPECT_THAT(odd({"-Ne", "20,000", "-iter", "1e2", "-call_thresh", "0,9"}),
                ElementsAre("The value [20,000] of -Ne is no number to its last character; it was taken as 20. Please "
                            "write digits, and a point before decimals.",
                            "The value [1e2] of -iter is no whole number to its last character; it was taken as 1. "
                            "Please write digits only.",
                            "The value [0,9] of -call_thresh is no number to its last character; it was taken as 0. "
                            "Please write digits, and a point before decimals."));
}

TEST(odd_words, are_such_numbers_of_every_kind_of_option) {
    EXPECT_THAT(odd({"-seed", "abc", "-int", "20,000,000", "25Mb", "-os", "0,1,2,3", "-k_hap", "100", "2OO", "-k", ""}),
                ElementsAre("The value [abc] of -seed is no whole number to its last character; it was taken as 0. "
                            "Please write digits only.",
                            "The value [20,000,000] of -int is no number to its last character; it was taken as 20. "
                            "Please write digits, and a point before decimals.",
                            "The value [25Mb] of -int is no number to its last character; it was taken as 25. Please "
                            "write digits, and a point before decimals.",
                            "The value [0,1,2,3] of -os is no whole number to its last character; it was taken as 0. "
                            "Please write digits only.",
                            "The value [2OO] of -k_hap is no whole number to its last character; it was taken as 2. "
                            "Please write digits only.",
                            "The value [] of -k is no whole number to its last character; it was taken as 0. Please "
                            "write digits only."));
}

TEST(odd_words, are_numbers_beyond_those_that_can_be) {
    EXPECT_THAT(
        odd({"-seed", "4294967297", "-buffer", "1e999"}),
        ElementsAre("The value [4294967297] of -seed is beyond 2147483647 or below -2147483648; it was taken as "
                    "1.",
                    "The value [1e999] of -buffer is no number to its last character; it was taken as inf. "
                    "Please write digits, and a point before decimals."));
}

TEST(odd_words, are_types_that_no_site_has) {
    EXPECT_THAT(odd({"-os", "2", "4"}),
                ElementsAre("The value [4] of -os is no type of SNP (0, 1, 2 or 3); it was passed over."));
}

TEST(odd_words, are_words_that_no_option_takes) {
    EXPECT_THAT(odd({"stray", "-g", "a", "b", "-phase", "true", "-int", "1", "2", "3"}),
                ElementsAre("The word [stray] belongs to no option; it was passed over.",
                            "The word [b] was passed over: -g takes one value, and [a] was taken.",
                            "The word [true] was passed over: -phase takes no value.",
                            "The word [3] was passed over: -int takes two values, which were taken."));
}

TEST(odd_words, are_dashes_that_are_no_hyphens) {
    EXPECT_THAT(
        odd({"\u2013iter", "10", "-h", "a", "\u2014l", "\u2212k"}),
        ElementsAre("The word [\u2013iter] begins with a dash that is no hyphen; it was passed over. Please "
                    "write [-iter].",
                    "The word [10] belongs to no option; it was passed over.",
                    "The word [\u2014l] begins with a dash that is no hyphen; it was taken as a value of -h. If "
                    "an option is meant, please write [-l].",
                    "The file [\u2212k] is number 3 of -h, which takes two at most; it is not read.",
                    "The word [\u2212k] begins with a dash that is no hyphen; it was taken as a value of -h. If "
                    "an option is meant, please write [-k]."));
}

TEST(odd_words, are_options_that_are_given_twice_with_different_values) {
    EXPECT_THAT(odd({"-g", "a", "-g", "a", "-g", "b", "-int", "1", "2", "-int", "1", "3", "-phase", "-phase"}),
                ElementsAre("The option -g is given again: [b] was taken in place of [a].",
                            "The option -int is given again: [1 3] was taken in place of [1 2]."));
    EXPECT_THAT(odd({"-k_hap", "100", "200", "-k_hap", "300"}),
                ElementsAre("The option -k_hap is given again: [300] was taken in place of [100 200], and what follows "
                            "the first number was added."));
}

TEST(odd_words, are_files_of_a_third_panel) {
    EXPECT_THAT(odd({"-h", "a", "b", "-h", "c"}),
                ElementsAre("The file [c] is number 3 of -h, which takes two at most; it is not read."));
}

TEST(odd_words, are_values_that_are_options) {
    EXPECT_THAT(odd({"-o", "-phase"}), ElementsAre("The word [-phase] was taken as the value of -o and as an option. "
                                                   "Please give -o its value."));
}

TEST(odd_words, are_lists_without_an_entry) {
    EXPECT_THAT(odd({"-h", "-l", "a"}), ElementsAre("The option -h has no value; it was passed over."));
}

TEST(odd_words, show_no_byte_that_would_move_the_cursor) {
    EXPECT_THAT(odd({"-g", "a", "\x1b[2J"}),
                ElementsAre("The word [\\x1b[2J] was passed over: -g takes one value, and [a] was taken."));
}

std::string hint(const std::string& entry) {
    return unknown_option_hint({"bin/orvide", entry}, 1);
}

TEST(unknown_option, is_told_the_nearest_one) {
    EXPECT_EQ("[-itre] is no option; the nearest one is -iter.", hint("-itre"));
    EXPECT_EQ("[--phase] is no option; the nearest one is -phase.", hint("--phase"));
    EXPECT_EQ("[-ne] is no option; the nearest one is -Ne.", hint("-ne"));
    EXPECT_EQ("[-strand] is no option; the nearest one is -strand_g.", hint("-strand"));
}

TEST(unknown_option, is_told_where_options_are_listed_when_none_is_near) {
    EXPECT_EQ("[-xyzzy_plugh] is no option; orvide --help all lists them.", hint("-xyzzy_plugh"));
    EXPECT_EQ("[-foo] is no option; orvide --help all lists them.", hint("-foo"));
}

TEST(unknown_option, may_be_a_value) {
    EXPECT_EQ("[-5] begins with a hyphen and so is read as an option: a value cannot be negative.", hint("-5"));
}

}  // namespace
