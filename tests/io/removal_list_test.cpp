#include "io/removal_list.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/temporary_folder.h"

namespace {

TEST(removal, takes_files_and_then_their_directory) {
    const temporary_folder files;
    std::filesystem::create_directory(files.name("d"));
    removal_list::add(files.name("d"));
    removal_list::add(files.write("d/a", "text"));
    removal_list::add(files.write("d/b", "text"));
    removal_list::remove_all();
    EXPECT_FALSE(files.has("d"));
}

TEST(removal, spares_what_was_taken_back_and_what_others_put_there) {
    const temporary_folder files;
    std::filesystem::create_directory(files.name("d"));
    removal_list::add(files.name("d"));
    removal_list::take_back(removal_list::add(files.write("a", "text")));
    files.write("d/of_others", "text");
    removal_list::remove_all();
    EXPECT_TRUE(files.has("a"));
    EXPECT_TRUE(files.has("d/of_others"));
}

TEST(removal, takes_each_name_once) {
    const temporary_folder files;
    removal_list::add(files.write("a", "text"));
    removal_list::remove_all();
    files.write("a", "of somebody else");
    removal_list::remove_all();
    EXPECT_TRUE(files.has("a"));
}

}  // namespace
