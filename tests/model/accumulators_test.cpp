#include "model/accumulators.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

const std::vector<int> columns{-1, 0, -1, 1, 2};  // sites 1, 3 and 4 have a column

TEST(sample_bits, keep_one_bit_an_iteration_haplotype_and_slot) {
    for (const std::size_t n_iterations : {1U, 64U, 65U, 200U}) {
        sample_bits kept;
        kept.allocate(3, columns, 3, n_iterations);
        const auto bit = [](std::size_t slot, int h, std::size_t s, std::size_t it) {
            return (slot * 7 + static_cast<std::size_t>(h) * 3 + s * 5 + it * it) % 3 == 0;
        };
        for (std::size_t slot = 0; slot < 3; ++slot) {
            for (int h = 0; h < 2; ++h) {
                for (std::size_t s = 0; s < 6; ++s) {
                    for (std::size_t it = 0; it < n_iterations; ++it) {
                        ASSERT_FALSE(kept.get(slot, h, s, it));
                        kept.set(slot, h, s, it, true);
                        kept.set(slot, h, s, it, bit(slot, h, s, it));
                    }
                }
            }
        }
        for (std::size_t slot = 0; slot < 3; ++slot) {
            for (int h = 0; h < 2; ++h) {
                for (std::size_t s = 0; s < 6; ++s) {
                    for (std::size_t it = 0; it < n_iterations; ++it) {
                        ASSERT_EQ(kept.has(s) && bit(slot, h, s, it), kept.get(slot, h, s, it));
                    }
                }
            }
        }
    }
}

TEST(sample_bits, have_nothing_before_they_are_allocated) {
    sample_bits kept;
    EXPECT_FALSE(kept.has(0));
    kept.set(0, 0, 0, 0, true);
    EXPECT_FALSE(kept.get(0, 0, 0, 0));
}

TEST(sample_tally, counts_at_the_running_entry) {
    sample_tally tally;
    tally.miss_counts = {std::vector<int>(3, 0), std::vector<int>(3, 0)};
    tally.count(0, 1);
    tally.advance();
    tally.count(1, 2);
    tally.count(1, 0);
    tally.advance();
    tally.advance();
    EXPECT_EQ(0U, tally.miss_idx) << "back at the first entry";
    tally.count(0, 5);
    EXPECT_EQ((std::vector<int>{6, 0, 0}), tally.miss_counts[0]);
    EXPECT_EQ((std::vector<int>{0, 2, 0}), tally.miss_counts[1]);
}

TEST(sample_tally, of_one_entry_stays_there) {
    sample_tally tally;
    tally.miss_counts = {std::vector<int>(1, 0), std::vector<int>(1, 0)};
    for (int i = 0; i < 4; ++i) {
        tally.count(1, 1);
        tally.advance();
        EXPECT_EQ(0U, tally.miss_idx);
    }
    EXPECT_EQ(4, tally.miss_counts[1][0]);
}

}  // namespace
