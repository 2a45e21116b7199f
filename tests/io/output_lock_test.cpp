#include "io/output_lock.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/temporary_folder.h"

namespace {

TEST(output_lock, is_refused_while_another_one_lives_and_leaves_nothing) {
    const temporary_folder files;
    std::filesystem::create_symlink("out", files.name("link"));
    {
        const output_lock first(files.name("out"));
        EXPECT_FALSE(first.is_refused());
        EXPECT_TRUE(files.has(".out.lock"));
        EXPECT_TRUE(output_lock(files.name("out")).is_refused());
        EXPECT_TRUE(output_lock(files.name("link")).is_refused());
        EXPECT_FALSE(output_lock(files.name("other")).is_refused());
    }
    EXPECT_FALSE(files.has(".out.lock"));
    EXPECT_FALSE(output_lock(files.name("out")).is_refused());
}

TEST(output_lock, takes_over_the_file_of_a_process_that_was_killed) {
    const temporary_folder files;
    files.write(".out.lock", "");
    EXPECT_FALSE(output_lock(files.name("out")).is_refused());
    EXPECT_FALSE(files.has(".out.lock"));
}

TEST(output_lock, spares_a_file_that_is_no_lock) {
    const temporary_folder files;
    files.write(".out.lock", "text");
    EXPECT_FALSE(output_lock(files.name("out")).is_refused());
    EXPECT_EQ("text", files.read(".out.lock"));
}

TEST(output_locks, are_one_a_file_and_end_at_the_first_that_is_taken) {
    const temporary_folder files;
    const output_locks first({files.name("b"), files.name("a"), files.name("b")});
    EXPECT_FALSE(first.refused().has_value());
    EXPECT_TRUE(files.has(".a.lock"));
    EXPECT_TRUE(files.has(".b.lock"));
    const output_locks second({files.name("c"), files.name("b"), files.name("aa")});
    EXPECT_EQ(1U, second.refused());
    EXPECT_TRUE(files.has(".aa.lock"));
    EXPECT_FALSE(files.has(".c.lock")) << "c comes after b";
}

TEST(output_lock, of_a_stream_or_without_a_directory_is_never_refused) {
    const temporary_folder files;
    const output_lock first("/dev/null"), second("/dev/null");
    EXPECT_FALSE(second.is_refused());
    EXPECT_FALSE(output_lock(files.name("nowhere/out")).is_refused());
}

}  // namespace
