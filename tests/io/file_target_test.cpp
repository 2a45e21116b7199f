#include "io/file_target.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "support/temporary_folder.h"

namespace {

class file_target_of_name : public ::testing::Test {
  protected:
    void link(const std::string& to, const std::string& name) { std::filesystem::create_symlink(to, files.name(name)); }
    std::string path(const std::string& name) { return target_of(files.name(name)).path; }
    temporary_folder files;
};

TEST_F(file_target_of_name, other_ways_to_a_file_have_its_identity) {
    files.write("a", "text");
    std::filesystem::create_directory(files.name("d"));
    std::filesystem::create_hard_link(files.name("a"), files.name("hard"));
    link("a", "soft");
    const file_target a = target_of(files.name("a"));
    ASSERT_TRUE(a.identity.has_value());
    EXPECT_FALSE(a.is_stream);
    for (const char* other : {"d/../a", "hard", "soft"}) EXPECT_EQ(a.identity, target_of(files.name(other)).identity);
    files.write("b", "text");
    EXPECT_NE(a.identity, target_of(files.name("b")).identity);
    EXPECT_TRUE(same_file(a, target_of(files.name("soft"))));
    EXPECT_FALSE(same_file(a, target_of(files.name("b"))));
    EXPECT_FALSE(same_file(a, target_of(files.name("new"))));
}

TEST_F(file_target_of_name, of_a_file_that_does_not_exist_is_its_path_behind_links) {
    std::filesystem::create_directory(files.name("d"));
    link("d", "way");
    link("way/x", "soft");
    link("soft", "second");
    EXPECT_FALSE(target_of(files.name("d/x")).identity.has_value());
    for (const char* other : {"way/x", "soft", "second", "d/../d/x"}) EXPECT_EQ(path("d/x"), path(other));
    EXPECT_NE(path("d/x"), path("d/y"));
    EXPECT_TRUE(same_file(target_of(files.name("soft")), target_of(files.name("d/x"))));
}

TEST_F(file_target_of_name, of_links_in_a_circle_is_found) {
    link("two", "one");
    link("one", "two");
    EXPECT_FALSE(target_of(files.name("one")).identity.has_value());
}

TEST_F(file_target_of_name, devices_pipes_and_descriptors_are_streams) {
    link("/dev/null", "null");
    EXPECT_TRUE(target_of("/dev/null").is_stream);
    EXPECT_TRUE(target_of(files.name("null")).is_stream);
    EXPECT_TRUE(target_of("/dev/stdout").is_stream);
    EXPECT_TRUE(target_of("/dev/fd/0").is_stream);
    EXPECT_TRUE(target_of("-").is_stream);
    EXPECT_FALSE(target_of(files.name(".")).is_stream);
}

TEST_F(file_target_of_name, says_why_it_cannot_be_written) {
    const auto reason = [this](const std::string& name) { return why_not_writable(target_of(files.name(name))); };
    files.write("a", "");
    EXPECT_EQ(0, reason("a"));
    EXPECT_EQ(0, reason("new"));
    EXPECT_EQ(ENOENT, reason("nowhere/new"));
    EXPECT_EQ(ENOTDIR, reason("a/new"));
    EXPECT_EQ(EISDIR, reason("."));
    EXPECT_EQ(0, why_not_writable(target_of("/dev/null")));
}

}  // namespace
