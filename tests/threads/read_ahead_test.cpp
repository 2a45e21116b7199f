#include "threads/read_ahead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>

namespace {

// Gives a text block by block; throws behind so many bytes.
struct text_source {
    std::string text;
    std::size_t fails_at = std::string::npos;
    std::size_t place = 0;

    std::size_t operator()(char* to, std::size_t n) {
        if (place + n > fails_at) throw std::runtime_error("damaged");
        const std::size_t n_read = text.copy(to, n, place);
        place += n_read;
        return n_read;
    }
};

std::string letters(std::size_t n) {
    std::string text(n, ' ');
    for (std::size_t i = 0; i < n; ++i) text[i] = static_cast<char>('a' + i % 23);
    return text;
}

std::string read_all(read_ahead& file, std::size_t step) {
    std::string text, part(step, ' ');
    while (const std::size_t n = file.read(part.data(), step)) text.append(part, 0, n);
    return text;
}

TEST(read_ahead, gives_the_same_bytes_whatever_is_asked_for) {
    for (const std::size_t n : {0, 1, 9, 10, 11, 20, 137}) {
        for (const std::size_t step : {1, 7, 10, 33, 1000}) {
            for (const std::size_t n_blocks : {1, 2, 5}) {
                read_ahead file(text_source{letters(n)}, 10, n_blocks);
                EXPECT_EQ(letters(n), read_all(file, step)) << n << " bytes by " << step;
            }
        }
    }
}

TEST(read_ahead, fills_what_is_asked_for_before_the_end) {
    read_ahead file(text_source{letters(25)}, 10, 2);
    std::string part(40, ' ');
    EXPECT_EQ(17U, file.read(part.data(), 17));
    EXPECT_EQ(8U, file.read(part.data(), 40));
    EXPECT_EQ(0U, file.read(part.data(), 40));
    EXPECT_EQ(0U, file.read(part.data(), 40));
}

TEST(read_ahead, fails_when_it_comes_to_the_damage) {
    read_ahead file(text_source{letters(100), 30}, 10, 16);
    std::string part(40, ' ');
    EXPECT_EQ(25U, file.read(part.data(), 25));
    EXPECT_EQ(letters(25), part.substr(0, 25));
    EXPECT_THROW(file.read(part.data(), 6), std::runtime_error);
    EXPECT_THROW(file.read(part.data(), 1), std::runtime_error);
}

TEST(read_ahead, holds_few_blocks) {
    std::atomic<int> n_read = 0;
    const auto endless = [&n_read](char* to, std::size_t n) {
        std::fill_n(to, n, 'x');
        ++n_read;
        return n;
    };
    std::string part(10, ' ');
    {
        read_ahead file(endless, 10, 3);
        for (int i = 0; i < 20; ++i) file.read(part.data(), 10);
    }
    EXPECT_GE(n_read, 20);
    EXPECT_LE(n_read, 23);
}

}  // namespace
