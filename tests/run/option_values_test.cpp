#include "run/option_values.h"

#include <gtest/gtest.h>

namespace {

TEST(option_values, are_the_numbers_that_their_text_begins_with) {
    EXPECT_EQ(20, whole_number_of("20,000"));
    EXPECT_EQ(0, whole_number_of("many"));
    EXPECT_EQ(0.25, real_number_of("0.25kb"));
    EXPECT_EQ(0.0, real_number_of(""));
}

TEST(option_values, may_be_a_lone_dash_where_a_file_stands) {
    EXPECT_TRUE(stands_for_file({"orvide", "-g", "-"}, 2));
    EXPECT_TRUE(stands_for_file({"orvide", "-h", "a", "-"}, 3));
    EXPECT_FALSE(stands_for_file({"orvide", "-g", "a", "-"}, 3));
    EXPECT_FALSE(stands_for_file({"orvide", "-phase", "-"}, 2));
}

}  // namespace
