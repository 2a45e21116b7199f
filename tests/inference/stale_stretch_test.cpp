#include "inference/block_walk.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// What a walk does at each site from the right: "k" for a kept table, the place in the local store for another one,
// with
// "(first+n)" before it where n tables right of first are rebuilt.
std::string walk(const std::string& kept) {
    std::vector<bool> checkpoint;
    for (const char c : kept) checkpoint.push_back(c == 'k');
    block_walk blocks(checkpoint);
    std::string text;
    for (std::size_t v = checkpoint.size(); v-- > 0;) {
        if (blocks.enter(v))
            text += "(" + std::to_string(blocks.first()) + "+" + std::to_string(blocks.n_local()) + ")";
        EXPECT_EQ(kept[v] == 'k', blocks.is_kept(v));
        text += blocks.is_kept(v) ? "k" : std::to_string(blocks.local_index());
    }
    return text;
}

TEST(block_walk, rebuilds_a_block_just_before_it_is_entered) {
    EXPECT_EQ("k(0+2)10k", walk("k..k"));
    EXPECT_EQ("k(3+2)10k(0+2)10k", walk("k..k..k"));
}

TEST(block_walk, rebuilds_nothing_where_every_table_is_kept) {
    EXPECT_EQ("k", walk("k"));
    EXPECT_EQ("kkkk", walk("kkkk"));
}

TEST(block_walk, reads_the_last_block_again_left_of_the_leftmost_checkpoint) {
    EXPECT_EQ("k(2+2)10k10", walk("..k..k"));
    EXPECT_EQ("k(1+2)10k0", walk(".k..k"));
    EXPECT_EQ("k(4+3)210k(0+3)210k", walk("k...k...k"));
    EXPECT_EQ("k(6+3)210k(2+3)210k10", walk("..k...k...k"));
}

TEST(block_walk, without_any_block_reads_what_the_store_holds) {
    EXPECT_EQ("k10", walk("..k"));
    EXPECT_EQ("k0", walk(".k"));
}

TEST(block_walk, takes_blocks_of_any_length) {
    EXPECT_EQ("k(3+1)0kk(0+1)0k", walk("k.kk.k"));
}

}  // namespace
