#include "model/zeroed_array.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace {

TEST(zeroed_array, holds_zeros_that_can_be_changed_and_moved) {
    zeroed_array<double> values(1000);
    for (std::size_t i = 0; i < 1000; ++i) EXPECT_EQ(0.0, values[i]);
    values[7] += 2.5;
    const zeroed_array<double> moved = std::move(values);
    EXPECT_EQ(2.5, moved[7]);
    EXPECT_EQ(2.5, moved.data()[7]);
}

TEST(zeroed_array, more_than_there_is_ends_as_exhausted_memory) {
    EXPECT_THROW(zeroed_array<double>(std::numeric_limits<std::size_t>::max() / 16), std::bad_alloc);
}

TEST(zeroed_array, may_be_empty) {
    EXPECT_NE(nullptr, zeroed_array<double>(0).data());
    EXPECT_EQ(nullptr, zeroed_array<double>().data());
}

TEST(zeroed_array, of_many_pages_holds_zeros_to_its_end) {
    constexpr std::size_t n = 700001;  // more than two huge pages
    zeroed_array<double> values(n);
    for (const std::size_t i : {std::size_t{0}, n / 2, n - 1}) {
        EXPECT_EQ(0.0, values[i]);
        values[i] = 1.0;
    }
    EXPECT_EQ(1.0, values[n - 1]);
    values = zeroed_array<double>(n);
    EXPECT_EQ(0.0, values[n - 1]);
}

}  // namespace
