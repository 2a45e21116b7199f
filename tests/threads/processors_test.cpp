#include "threads/processors.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/temporary_folder.h"

namespace {

class control_groups : public ::testing::Test {
  protected:
    void give(const std::string& name, const std::string& text) {
        const std::filesystem::path path = files.name(name);
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }
    std::optional<std::size_t> processors() {
        return control_group_processors(files.name("cgroup"), files.name("mounted"));
    }
    temporary_folder files;
};

TEST_F(control_groups, limit_nothing_where_there_are_none) {
    EXPECT_EQ(std::nullopt, processors());
    give("cgroup", "0::/\n");
    EXPECT_EQ(std::nullopt, processors());
}

TEST_F(control_groups, of_version_2_give_quota_by_period_rounded_up) {
    give("cgroup", "0::/job\n");
    give("mounted/job/cpu.max", "200000 100000\n");
    EXPECT_EQ(2U, processors());
    give("mounted/job/cpu.max", "250000 100000\n");
    EXPECT_EQ(3U, processors());
    give("mounted/job/cpu.max", "1000 100000\n");
    EXPECT_EQ(1U, processors());
    give("mounted/job/cpu.max", "max 100000\n");
    EXPECT_EQ(std::nullopt, processors());
}

TEST_F(control_groups, are_limited_by_those_that_they_are_in) {
    give("cgroup", "0::/all/few/job\n");
    give("mounted/all/cpu.max", "800000 100000\n");
    give("mounted/all/few/cpu.max", "300000 100000\n");
    give("mounted/all/few/job/cpu.max", "max 100000\n");
    EXPECT_EQ(3U, processors());
}

TEST_F(control_groups, in_a_container_may_stand_at_the_root) {
    give("cgroup", "0::/outside/of/the/container\n");
    give("mounted/cpu.max", "150000 50000\n");
    EXPECT_EQ(3U, processors());
}

TEST_F(control_groups, of_version_1_have_two_files) {
    give("cgroup", "4:memory:/other\n3:cpu,cpuacct:/job\n1:cpuset:/\n");
    give("mounted/cpu,cpuacct/job/cpu.cfs_quota_us", "400000\n");
    give("mounted/cpu,cpuacct/job/cpu.cfs_period_us", "100000\n");
    EXPECT_EQ(4U, processors());
    give("mounted/cpu,cpuacct/job/cpu.cfs_quota_us", "-1\n");
    EXPECT_EQ(std::nullopt, processors());
    give("mounted/cpu/job/cpu.cfs_quota_us", "200000\n");
    give("mounted/cpu/job/cpu.cfs_period_us", "100000\n");
    EXPECT_EQ(2U, processors());
    give("mounted/memory/other/cpu.max", "100000 100000\n");
    EXPECT_EQ(2U, processors()) << "another controller";
}

TEST(usable_processors, are_at_most_those_of_the_scheduler) {
    cpu_set_t before, one;
    ASSERT_EQ(0, sched_getaffinity(0, sizeof before, &before));
    EXPECT_GE(usable_processors(), 1U);
    EXPECT_LE(usable_processors(), static_cast<std::size_t>(CPU_COUNT(&before)));
    int first = 0;
    while (!CPU_ISSET(first, &before)) ++first;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    ASSERT_EQ(0, sched_setaffinity(0, sizeof one, &one));
    EXPECT_EQ(1U, usable_processors());
    ASSERT_EQ(0, sched_setaffinity(0, sizeof before, &before));
}

}  // namespace
