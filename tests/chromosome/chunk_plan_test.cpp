#include "chromosome/chunk_plan.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<long> evenly(long first, long last, long step) {
    std::vector<long> positions;
    for (long p = first; p <= last; p += step) positions.push_back(p);
    return positions;
}

std::size_t sum_of_typed(const std::vector<chunk>& chunks) {
    std::size_t n = 0;
    for (const chunk& part : chunks) n += part.n_typed;
    return n;
}

TEST(plan_chunks, parts_a_stretch_into_the_fewest_equal_chunks) {
    const auto typed = evenly(1'000'000, 61'000'000, 5'000);
    const auto chunks = plan_chunks(typed, {});
    ASSERT_EQ(chunks.size(), 13u);  // 60.5 Mb
    EXPECT_EQ(chunks.front().lower, 750'000);
    EXPECT_EQ(chunks.back().upper, 61'250'000);
    EXPECT_EQ(sum_of_typed(chunks), typed.size());
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        EXPECT_LE(chunks[i].upper - chunks[i].lower + 1, 5'000'000);
        EXPECT_GE(chunks[i].upper - chunks[i].lower + 1, 4'600'000);
        if (i > 0) {
            EXPECT_EQ(chunks[i].lower, chunks[i - 1].upper + 1);
        }
    }
}

TEST(plan_chunks, crosses_no_gap) {
    auto typed = evenly(1'000'000, 4'000'000, 5'000);
    const auto right = evenly(7'000'000, 9'000'000, 5'000);
    typed.insert(typed.end(), right.begin(), right.end());
    const auto chunks = plan_chunks(typed, {});
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].upper, 4'250'000);
    EXPECT_EQ(chunks[1].lower, 6'750'000);
}

TEST(plan_chunks, reaches_to_the_middle_of_a_narrow_gap) {
    const std::vector<long> typed{1'000, 2'000, 2'101, 3'000};
    const auto chunks = plan_chunks(typed, {5'000, 1, 100, 400});
    EXPECT_EQ(chunks[0].upper, 1'400);
    EXPECT_EQ(chunks[0].arm, 0u);
    EXPECT_EQ(chunks[1].lower, 1'600);
    EXPECT_EQ(chunks[1].upper, 2'050);
    EXPECT_EQ(chunks[2].arm, 2u);
    EXPECT_EQ(chunks[2].lower, 2'051);
}

TEST(plan_chunks, moves_borders_so_that_each_chunk_has_enough_typed_sites) {
    // 8 Mb, two chunks: nearly all typed sites lie in the last 4 Mb.
    auto typed = evenly(1'000'000, 4'900'000, 100'000);
    const auto dense = evenly(5'000'000, 9'000'000, 5'000);
    typed.insert(typed.end(), dense.begin(), dense.end());
    plan_limits limits;
    limits.min_typed = 45;
    const auto chunks = plan_chunks(typed, limits);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_GE(chunks[0].n_typed, 45u);
    EXPECT_LE(chunks[0].upper - chunks[0].lower + 1, 5'000'000);
}

TEST(plan_chunks, joins_a_small_end_to_its_neighbour) {
    // 4 Mb with many typed sites, then 800 kb with few.
    auto typed = evenly(1'000'000, 5'000'000, 5'000);
    const auto end = evenly(5'100'000, 5'400'000, 100'000);
    typed.insert(typed.end(), end.begin(), end.end());
    EXPECT_EQ(plan_chunks(typed, {}).size(), 1u);
}

TEST(plan_chunks, keeps_a_short_arm_although_it_has_few_typed_sites) {
    const std::vector<long> typed{5'000'000, 9'000'000, 9'000'010};
    const auto chunks = plan_chunks(typed, {});
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].n_typed, 1u);
    EXPECT_EQ(chunks[1].n_typed, 2u);
}

TEST(plan_chunks, begins_at_the_first_base_at_the_earliest) {
    const std::vector<long> typed{10'000, 20'000};
    EXPECT_EQ(plan_chunks(typed, {}).front().lower, 1);
}

TEST(plan_chunks, is_empty_without_typed_sites) {
    EXPECT_TRUE(plan_chunks({}, {}).empty());
}

}  // namespace
