#include "model/site_table.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/run_builder.h"

namespace {

using place = std::pair<std::size_t, std::size_t>;

class site_range : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const long position : {100, 150, 150, 200}) add_site(sites, position);
        list_sites(sites);
    }
    site_table sites;
};

TEST_F(site_range, has_both_ends_included) {
    EXPECT_EQ((place{0, 4}), sites.range({100, 200}));
    EXPECT_EQ((place{1, 3}), sites.range({101, 199}));
}

TEST_F(site_range, has_all_sites_of_a_position) {
    EXPECT_EQ((place{1, 3}), sites.range({150, 150}));
}

TEST_F(site_range, without_a_site_is_empty) {
    EXPECT_EQ((place{1, 1}), sites.range({110, 120}));
    EXPECT_EQ((place{0, 0}), sites.range({1, 99}));
    EXPECT_EQ((place{4, 4}), sites.range({201, 300}));
    EXPECT_EQ((place{0, 0}), site_table().range({1, 300}));
}

TEST_F(site_range, of_an_interval_that_ends_before_it_begins_is_empty) {
    EXPECT_EQ((place{3, 3}), sites.range({200, 100}));
}

}  // namespace
