#include "input/panel_options.h"

#include <gtest/gtest.h>

namespace {

TEST(panel_option_names, belong_to_the_panels) {
    EXPECT_STREQ("h", options_of_panel(0).suffix);
    EXPECT_STREQ("g_ref", options_of_panel(1).suffix);
    EXPECT_STREQ("g", options_of_panel(2).suffix);
    EXPECT_TRUE(is_panel(2));
    EXPECT_FALSE(is_panel(3));
    parameters params;
    params.sample_g_ref_file = "x";
    EXPECT_EQ("x", params.*options_of_panel(1).sample_file);
}

}  // namespace
