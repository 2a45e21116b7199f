#include "io/memory_limits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/temporary_folder.h"

namespace {

class group_limits : public ::testing::Test {
  protected:
    void set(const std::string& file, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(root.name(file)).parent_path());
        root.write(file, text);
    }
    std::optional<std::size_t> limit(const std::string& groups) const { return group_limit(groups, root.name("")); }
    temporary_folder root;
};

TEST_F(group_limits, of_the_second_version_are_the_least_on_the_way_up) {
    set("memory.max", "max\n");
    set("a/memory.max", "3000\n");
    set("a/b/memory.max", "max\n");
    EXPECT_EQ(3000U, limit("0::/a/b\n"));
    set("a/b/memory.max", "2000\n");
    EXPECT_EQ(2000U, limit("0::/a/b\n"));
}

TEST_F(group_limits, of_the_first_version_are_those_of_the_memory_controller) {
    set("memory/memory.limit_in_bytes", "9223372036854771712\n");
    set("memory/job/memory.limit_in_bytes", "5000\n");
    set("job/memory.max", "7\n");
    EXPECT_EQ(5000U, limit("8:pids:/job\n4:memory:/job\n"));
}

TEST_F(group_limits, are_none_where_none_is_set) {
    EXPECT_FALSE(limit("0::/\n"));
    EXPECT_FALSE(limit(""));
    set("memory.max", "max\n");
    EXPECT_FALSE(limit("0::/elsewhere\n"));
}

TEST_F(group_limits, at_the_top_count_for_a_group_that_is_not_seen) {
    set("memory.max", "4000\n");
    EXPECT_EQ(4000U, limit("0::/outside/of/the/container\n"));
}

TEST(memory, of_the_process_is_told) {
    const memory_use use = memory_in_use();
    EXPECT_LT(1U << 20U, use.resident);
    EXPECT_LE(use.resident, use.mapped);
    EXPECT_LT(0U, use.data);
}

TEST(memory, of_the_machine_is_a_limit) {
    const std::vector<memory_limit> limits = memory_limits();
    ASSERT_FALSE(limits.empty());
    EXPECT_EQ("the memory of the machine", limits[0].what);
    EXPECT_LT(limits[0].used, limits[0].bytes);
}

}  // namespace
