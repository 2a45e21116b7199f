#include "run/presets.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run/command_line.h"

namespace {

TEST(presets, stand_for_options_with_one_value_each) {
    for (const char* name : {"fast", "balanced", "accurate"}) {
        const std::vector<std::string> words = preset_options(name);
        ASSERT_FALSE(words.empty()) << name;
        EXPECT_EQ(0U, words.size() % 2) << name;
        const command_line line = read_command_line(words);
        EXPECT_TRUE(line.unknown.empty() && line.valueless.empty()) << name;
        EXPECT_GT(line.params.iter, line.params.burnin) << name;
    }
}

TEST(presets, are_listed_for_messages) {
    EXPECT_EQ("fast, balanced or accurate", preset_names());
    EXPECT_TRUE(preset_options("best").empty());
}

}  // namespace
