#include "input/announce.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace {

class announcement : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(log); }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
};

TEST_F(announcement, is_a_stage_with_the_file_name) {
    announce(log, "-reading a file", "a b.txt");
    EXPECT_EQ("\n-reading a file\n --filename=[a b.txt]\n", capture.terminal.str());
    EXPECT_EQ(capture.terminal.str(), capture.summary());
}

TEST_F(announcement, of_a_further_file_is_its_name_alone) {
    print_file_name(log, "b");
    EXPECT_EQ(" --filename=[b]\n", capture.terminal.str());
}

TEST_F(announcement, of_a_missing_file_ends_the_run) {
    const std::string there = capture.files.write("there", "");
    EXPECT_TRUE(file_exists(there));
    EXPECT_TRUE(file_exists(capture.files.name("."))) << "a directory is there, too";
    require_file(log, there, "unsaid");
    EXPECT_EQ("", capture.terminal.str());
    EXPECT_FALSE(file_exists(capture.files.name("gone")));
    expect_end(capture, "It is gone.", 1, [this] { require_file(log, capture.files.name("gone"), "It is gone."); });
}

TEST_F(announcement, has_texts_for_files_that_cannot_be_read) {
    EXPECT_EQ("ERROR: The -m file you specified does not exist.", missing_text("-m"));
    EXPECT_EQ("ERROR: The genetic map file [m.txt] could not be opened.", unopened_text("genetic map file", "m.txt"));
}

}  // namespace
