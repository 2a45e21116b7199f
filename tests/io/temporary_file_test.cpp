#include "io/temporary_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>

#include "io/run_log.h"
#include "support/temporary_folder.h"

namespace {

class temporary_file_in : public ::testing::Test {
  protected:
    void SetUp() override { std::filesystem::create_directory(folder); }
    static std::string fault(const std::function<void()>& work) {
        try {
            work();
        } catch (const run_fault& one) {
            return one.what();
        }
        return "none";
    }
    temporary_folder place;
    const std::string folder = place.name("folder");
};

TEST_F(temporary_file_in, a_folder_has_no_name_there) {
    const temporary_file file(folder, 1000);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(temporary_file_in, a_folder_is_of_zeros_until_it_is_written) {
    temporary_file file(folder, 10);
    file.write(3, "abc", 3);
    std::string bytes(10, 'x');
    file.read(0, bytes.data(), 10);
    EXPECT_EQ(std::string("\0\0\0abc\0\0\0\0", 10), bytes);
}

TEST_F(temporary_file_in, a_folder_may_have_no_bytes) {
    temporary_file file(folder, 0);
    file.write(0, "", 0);
    file.read(0, nullptr, 0);
}

TEST_F(temporary_file_in, a_folder_that_is_not_there_cannot_be_made) {
    EXPECT_EQ("ERROR: A temporary file of 3 MB cannot be made in [" + folder +
                  "/none]: No such file or directory. Please make room there, or set TMPDIR to another directory.",
              fault([this] { const temporary_file file(folder + "/none", 3000000); }));
}

TEST_F(temporary_file_in, a_folder_without_room_cannot_be_made_and_leaves_nothing) {
    constexpr std::size_t too_many = std::numeric_limits<long>::max() / 2;
    const std::string text = fault([this] { const temporary_file file(folder, too_many); });
    EXPECT_EQ(0U, text.find("ERROR: A temporary file of 4611686018428 MB cannot be made in [" + folder + "]: "))
        << text;
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(temporary_file_in, a_folder_has_an_end) {
    const temporary_file file(folder, 100);
    char byte = 0;
    EXPECT_EQ("ERROR: A temporary file in [" + folder + "] cannot be read: Input/output error.",
              fault([&] { file.read(100, &byte, 1); }));
}

TEST_F(temporary_file_in, a_folder_that_takes_no_more_is_a_fault) {
    temporary_file file(folder, 100);
    struct rlimit before {};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    struct rlimit small = before;
    small.rlim_cur = 100;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    const std::string text = fault([&] { file.write(100, "a", 1); });
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ("ERROR: A temporary file in [" + folder + "] cannot be written: File too large.", text);
}

TEST_F(temporary_file_in, the_folder_of_TMPDIR_or_tmp) {
    const char* const chosen = std::getenv("TMPDIR");
    const std::string before = chosen == nullptr ? "" : chosen;
    setenv("TMPDIR", folder.c_str(), 1);
    EXPECT_EQ(folder, temporary_directory());
    setenv("TMPDIR", "", 1);
    EXPECT_EQ("/tmp", temporary_directory());
    unsetenv("TMPDIR");
    EXPECT_EQ("/tmp", temporary_directory());
    if (!before.empty()) setenv("TMPDIR", before.c_str(), 1);
}

TEST_F(temporary_file_in, memory_is_known_by_its_file_system) {
    std::ifstream mounts("/proc/self/mounts");
    std::string device, point, kind, rest;
    bool any = false;
    while (mounts >> device >> point >> kind && std::getline(mounts, rest)) {
        if (point == "/dev/shm" && kind == "tmpfs") any = true;
    }
    EXPECT_EQ(any, lies_in_memory("/dev/shm"));
    EXPECT_FALSE(lies_in_memory("/proc"));
    EXPECT_FALSE(lies_in_memory(folder + "/none"));
}

}  // namespace
