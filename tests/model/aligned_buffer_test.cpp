#include "model/aligned_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace {

TEST(aligned_buffer, begins_at_a_64_byte_boundary_with_zeros) {
    for (std::size_t n = 1; n < 200; n += 13) {
        const aligned_buffer buffer(n);
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(buffer.data()) % 64);
        EXPECT_EQ(static_cast<std::ptrdiff_t>(n), std::count(buffer.begin(), buffer.end(), 0.0));
    }
}

TEST(aligned_buffer, grows_when_it_must_and_keeps_its_values) {
    aligned_buffer buffer;
    ensure_size(buffer, 5);
    ASSERT_EQ(5U, buffer.size());
    buffer[4] = 2.5;
    ensure_size(buffer, 3);
    EXPECT_EQ(5U, buffer.size());
    ensure_size(buffer, 1000);
    ASSERT_EQ(1000U, buffer.size());
    EXPECT_EQ(2.5, buffer[4]);
    EXPECT_EQ(0.0, buffer[999]);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(buffer.data()) % 64);
}

// So a buffer may take over the storage of another one, whatever allocator made it.
TEST(aligned_buffer, storage_may_be_given_back_through_any_allocator) {
    aligned_allocator<double> one, other;
    other.deallocate(one.allocate(100), 100);
    EXPECT_TRUE(one == other);
}

}  // namespace
