#include "run/help.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "run/command_line.h"

namespace {

using texts = std::vector<std::string>;

command_line read(const texts& words) {
    texts entries{"bin/orvide"};
    entries.insert(entries.end(), words.begin(), words.end());
    return read_command_line(entries);
}

texts lines_of(const std::string& text) {
    std::istringstream stream(text);
    texts lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// The lines of the full help that tell an option.
texts option_lines() {
    texts lines = lines_of(full_help_text());
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("  -"); });
    return lines;
}

TEST(help, fits_on_a_screen) {
    const texts lines = lines_of(help_text());
    EXPECT_GE(24U, lines.size());
    for (const std::string& line : lines) EXPECT_GE(80U, line.size()) << line;
    EXPECT_EQ(0U, lines.front().find("Usage: orvide -h "));
}

TEST(help, names_known_options_only) {
    std::istringstream text(help_text());
    std::set<std::string> names;
    for (std::string word; text >> word;) {
        if (word.ends_with(',') || word.ends_with(';')) word.pop_back();
        if (word.starts_with('-') && !word.starts_with("--")) names.insert(word);
    }
    EXPECT_LT(20U, names.size());
    for (const std::string& name : names) EXPECT_TRUE(read({name, "1", "1"}).unknown.empty()) << name;
}

TEST(full_help, groups_the_options) {
    const texts lines = lines_of(full_help_text());
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(), "Study data ([default])"));
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(), "Output files ([default])"));
}

TEST(full_help, has_a_line_for_each_option) {
    std::set<std::string> names;
    for (const std::string& line : option_lines()) {
        ASSERT_EQ("  -", line.substr(0, 3)) << line;
        const std::string name = line.substr(2, line.find(' ', 2) - 2);
        EXPECT_TRUE(names.insert(name).second) << name << " stands twice";
        const command_line known = read({name, "1", "1"});
        EXPECT_TRUE(known.unknown.empty()) << name;
        EXPECT_TRUE(known.valueless.empty()) << name;
    }
    EXPECT_LT(100U, names.size());
}

TEST(full_help, explains_all_options_in_one_column) {
    for (const std::string& line : option_lines()) {
        EXPECT_EQ(42U, line.find_first_not_of(' ', line.find(' ', 2))) << line;
    }
}

TEST(full_help, ends_with_help_and_version) {
    const texts lines = option_lines();
    ASSERT_LT(2U, lines.size());
    EXPECT_EQ(0U, lines[lines.size() - 2].find("  --help "));
    EXPECT_EQ(0U, lines.back().find("  --version "));
}

}  // namespace
