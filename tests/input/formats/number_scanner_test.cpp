#include "input/formats/number_scanner.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using triple = probability_triple;

class number_fields : public ::testing::Test {
  protected:
    static double number(const std::string& text) {
        number_scanner scanner(text);
        double value = -7.0;
        EXPECT_EQ(number_scanner::outcome::number, scanner.next(value)) << text;
        return value;
    }
};

TEST_F(number_fields, are_taken_in_order) {
    number_scanner scanner(" 1\t0.25  3e-2");
    double value = 0.0;
    EXPECT_EQ(number_scanner::outcome::number, scanner.next(value));
    EXPECT_EQ(1.0, value);
    EXPECT_EQ(number_scanner::outcome::number, scanner.next(value));
    EXPECT_EQ(0.25, value);
    EXPECT_EQ(number_scanner::outcome::number, scanner.next(value));
    EXPECT_EQ(3e-2, value);
    EXPECT_EQ(number_scanner::outcome::end, scanner.next(value));
}

TEST_F(number_fields, short_decimals_are_rounded_correctly) {
    for (int i = 0; i <= 100000; i += 7) {
        char text[32];
        std::snprintf(text, sizeof text, "%.5f", i / 100000.0);
        EXPECT_EQ(std::strtod(text, nullptr), number(text));
    }
    for (const char* text : {"0.123456789012345", "0.1234567890123456789", "123456789012345678", ".5", "5.", "-0.25",
                             "+1", "1e0", "0.5\r"}) {
        EXPECT_EQ(std::strtod(text, nullptr), number(text)) << text;
    }
}

TEST_F(number_fields, other_text_is_no_number) {
    for (const char* text : {"x", "0.5x", ".", "1 2x", "nan", "--1", "1.2.3"}) {
        number_scanner scanner(text);
        double value = 0.0;
        auto outcome = scanner.next(value);
        if (text[1] == ' ') outcome = scanner.next(value);
        EXPECT_EQ(number_scanner::outcome::bad, outcome) << text;
        EXPECT_FALSE(scanner.bad_field().empty());
    }
}

TEST_F(number_fields, three_digits_are_taken_at_once) {
    number_scanner scanner("0 1 0\t0 0 1 1 0 0");
    triple t{};
    ASSERT_TRUE(scanner.next_digits(t));
    EXPECT_EQ((triple{0, 1, 0}), t);
    ASSERT_TRUE(scanner.next_digits(t));
    EXPECT_EQ((triple{0, 0, 1}), t);
    ASSERT_TRUE(scanner.next_digits(t));
    EXPECT_EQ((triple{1, 0, 0}), t);
    EXPECT_FALSE(scanner.next_digits(t));
}

TEST_F(number_fields, other_shapes_are_left_for_the_general_scan) {
    for (const char* text : {"0 1 0.5", "0 2 0", "0  1 0", "0 1", "0 1 05", "01 0 0", ""}) {
        number_scanner scanner(text);
        triple t{};
        EXPECT_FALSE(scanner.next_digits(t)) << text;
        double value = 0.0;
        const auto expected = text[0] == '\0' ? number_scanner::outcome::end : number_scanner::outcome::number;
        EXPECT_EQ(expected, scanner.next(value)) << text;
    }
}

}  // namespace
