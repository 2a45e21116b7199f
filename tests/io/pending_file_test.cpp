#include "io/pending_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>

#include "support/temporary_folder.h"

namespace {

class pending : public ::testing::Test {
  protected:
    static void fill(const pending_file& file, const std::string& text) {
        ASSERT_EQ(0, file.error());
        ASSERT_EQ(static_cast<ssize_t>(text.size()), write(file.descriptor(), text.data(), text.size()));
        ASSERT_EQ(0, close(file.descriptor()));
    }
    // Writes a file and puts it under its name.
    void publish(const std::string& name, const std::string& text) {
        pending_file file(files.name(name));
        fill(file, text);
        ASSERT_EQ(0, file.publish());
    }
    mode_t mode(const std::string& name) {
        struct stat status {};
        EXPECT_EQ(0, stat(files.name(name).c_str(), &status));
        return status.st_mode & 07777;
    }
    std::size_t n_files() {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(files.name(".")), {}));
    }
    temporary_folder files;
};

TEST_F(pending, file_appears_when_it_is_published) {
    files.write("out", "old");
    pending_file file(files.name("out"));
    fill(file, "new");
    EXPECT_EQ("old", files.read("out"));
    EXPECT_EQ(0, file.publish());
    EXPECT_EQ("new", files.read("out"));
    EXPECT_EQ(1U, n_files());
}

TEST_F(pending, file_that_is_not_published_leaves_nothing) {
    files.write("out", "old");
    { fill(pending_file(files.name("out")), "new"); }
    EXPECT_EQ("old", files.read("out"));
    EXPECT_EQ(1U, n_files());
}

TEST_F(pending, file_has_the_permissions_of_an_opened_one) {
    const mode_t before = umask(0027);
    publish("new", "text");
    umask(before);
    EXPECT_EQ(0640U, mode("new"));
    files.write("old", "text");
    std::filesystem::permissions(files.name("old"), std::filesystem::perms(0604));
    publish("old", "new");
    EXPECT_EQ(0604U, mode("old"));
}

TEST_F(pending, link_stays_a_link) {
    std::filesystem::create_directory(files.name("d"));
    std::filesystem::create_symlink("d/x", files.name("out"));
    publish("out", "new");
    EXPECT_TRUE(std::filesystem::is_symlink(files.name("out")));
    EXPECT_EQ("new", files.read("d/x"));
    publish("out", "newer");
    EXPECT_TRUE(std::filesystem::is_symlink(files.name("out")));
    EXPECT_EQ("newer", files.read("d/x"));
}

TEST_F(pending, stream_is_written_itself) {
    ASSERT_EQ(0, mkfifo(files.name("pipe").c_str(), 0600));
    // Open for both ends, so that nobody waits.
    const int reader = open(files.name("pipe").c_str(), O_RDWR | O_NONBLOCK);
    publish("pipe", "text");
    std::string got(10, '\0');
    EXPECT_EQ(4, read(reader, got.data(), got.size()));
    close(reader);
    EXPECT_TRUE(std::filesystem::is_fifo(files.name("pipe")));
    EXPECT_EQ(1U, n_files());
}

TEST_F(pending, file_of_the_longest_name_can_be_written) {
    const std::string name(255, 'x');
    publish(name, "text");
    EXPECT_EQ("text", files.read(name));
}

TEST_F(pending, file_without_a_place_has_an_error) {
    EXPECT_EQ(ENOENT, pending_file(files.name("nowhere/out")).error());
    EXPECT_EQ(EISDIR, pending_file(files.name(".")).error());
}

TEST_F(pending, file_whose_place_has_gone_is_not_published) {
    std::filesystem::create_directory(files.name("d"));
    pending_file file(files.name("d/out"));
    fill(file, "text");
    std::filesystem::remove_all(files.name("d"));
    EXPECT_EQ(ENOENT, file.publish());
}

}  // namespace
