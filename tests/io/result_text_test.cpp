#include "io/result_text.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(result_text, holds_its_lines) {
    result_text lines;
    EXPECT_EQ("", lines.view());
    lines.text("rs1");
    lines.character(' ');
    lines.integer(-12);
    lines.end_line();
    lines.fixed(0.5, 3);
    lines.character(' ');
    lines.number(1e-7);
    lines.character(' ');
    lines.probability(0.0001, 3, smallest_printed(3));
    lines.probabilities(std::array{0.25, 1.0}, 2, smallest_printed(2));
    lines.end_line();
    EXPECT_EQ("rs1 -12\n0.500 1e-07 0 0.25 1\n", lines.view());
}

}  // namespace
