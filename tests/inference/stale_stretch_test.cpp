#include "inference/stale_stretch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// What a walk does at each site from the right: "+" and a place where it leaves its values, "-" and a place where it
// reads them, "k" for the leftmost checkpoint, "." elsewhere.
std::string walk(std::size_t n_sites, std::size_t interval) {
    const stale_stretch stale(n_sites, interval);
    aligned_buffer store;
    std::string text;
    for (std::size_t v = n_sites; v-- > 0;) {
        EXPECT_FALSE(stale.reads(v) && stale.leaves(v));
        if (!stale.reads(v) && !stale.leaves(v)) {
            text += v == stale.length() ? "k" : ".";
            continue;
        }
        const double* values = stale.values(store, v, 3);
        EXPECT_EQ(3 * stale.length(), store.size());
        text += (stale.reads(v) ? "-" : "+") + std::to_string((values - store.data()) / 3);
    }
    return text;
}

TEST(stale_stretch, reads_what_as_many_sites_right_of_the_leftmost_checkpoint_leave) {
    EXPECT_EQ("..+1+0k-1-0", walk(7, 4));
    EXPECT_EQ("......+1+0k-1-0", walk(11, 4));
    EXPECT_EQ(".+2+1+0k-2-1-0", walk(8, 4));
    EXPECT_EQ(".....+0k-0", walk(8, 3));
}

TEST(stale_stretch, is_empty_where_the_first_site_is_a_checkpoint) {
    EXPECT_EQ("....k", walk(5, 4));
    EXPECT_EQ("....k", walk(5, 2));
    EXPECT_EQ("....k", walk(5, 1));
    EXPECT_EQ("k", walk(1, 6));
}

TEST(stale_stretch, is_empty_without_memory_saving_and_without_sites) {
    EXPECT_EQ("....k", walk(5, 0));
    EXPECT_EQ("", walk(0, 4));
    EXPECT_EQ("", walk(0, 0));
}

TEST(stale_stretch, without_a_second_checkpoint_reads_what_nobody_left) {
    EXPECT_EQ("k-1-0", walk(3, 4));
    EXPECT_EQ("k-2-1-0", walk(4, 4));
    EXPECT_EQ("k-0", walk(2, 9));
}

TEST(stale_stretch, finds_values_of_an_earlier_walk) {
    aligned_buffer store;
    const stale_stretch first(11, 4), second(7, 4);
    for (std::size_t v = 0; v < 2; ++v) *first.values(store, 3 + v, 1) = 5.0 + static_cast<double>(v);
    for (std::size_t v = 0; v < 2; ++v) EXPECT_EQ(5.0 + static_cast<double>(v), *second.values(store, v, 1));
}

}  // namespace
