#include "output/variants/bgzf_blocks.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace {

struct stream_end {
    void operator()(BGZF* stream) const { bgzf_close(stream); }
};
using bgzf_stream = std::unique_ptr<BGZF, stream_end>;

// Numbers in lines of up to 40,000 characters, so that lines lie across borders of blocks.
std::vector<std::string> some_lines(std::size_t n) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < n; ++i) {
        std::string line;
        while (line.size() < (i * 7919) % 40000) line += std::to_string(i * line.size()) + "\t";
        lines.push_back(line + "\n");
    }
    return lines;
}

class text_in_blocks : public ::testing::TestWithParam<std::size_t> {
  protected:
    void SetUp() override { workers.start(GetParam()); }
    bgzf_stream open(const std::string& name, const std::string& head) const {
        bgzf_stream stream(bgzf_open(files.name(name).c_str(), "w"));
        if (!stream || bgzf_write(stream.get(), head.data(), head.size()) < 0) throw std::runtime_error(name);
        return stream;
    }
    temporary_folder files;
    worker_pool workers;
};

TEST_P(text_in_blocks, has_the_bytes_and_the_places_of_a_stream_that_is_written_by_itself) {
    for (const std::size_t n : {0U, 1U, 2U, 200U}) {
        const std::string head = "head\n";
        std::vector<std::uint64_t> expected, places;
        {
            const bgzf_stream plain = open("plain", head), parted = open("parted", head);
            bgzf_blocks blocks(parted.get(), workers);
            for (const std::string& line : some_lines(n)) {
                ASSERT_EQ(bgzf_write(plain.get(), line.data(), line.size()), static_cast<ssize_t>(line.size()));
                expected.push_back(static_cast<std::uint64_t>(bgzf_tell(plain.get())));
                ASSERT_TRUE(blocks.write(line));
                ASSERT_TRUE(blocks.mark([&places](std::uint64_t place) {
                    places.push_back(place);
                    return true;
                }));
            }
            ASSERT_TRUE(blocks.finish());
        }
        EXPECT_EQ(expected, places) << n;
        EXPECT_TRUE(files.read("plain") == files.read("parted")) << n;
    }
}

TEST_P(text_in_blocks, ends_where_a_place_is_not_taken) {
    const bgzf_stream stream = open("x", "");
    bgzf_blocks blocks(stream.get(), workers);
    EXPECT_TRUE(blocks.write("line\n"));
    EXPECT_FALSE(blocks.mark([](std::uint64_t) { return false; }));
}

TEST_P(text_in_blocks, tells_of_a_device_that_is_full) {
    const bgzf_stream stream(bgzf_open("/dev/full", "w"));
    ASSERT_TRUE(stream);
    bgzf_blocks blocks(stream.get(), workers);
    bool good = true;
    unsigned number = 1;
    for (std::size_t i = 0; good && i < 5000; ++i) {
        std::string line;
        for (std::size_t k = 0; k < 500; ++k) line += std::to_string(number = number * 1664525U + 1013904223U);
        good = blocks.write(line);
    }
    EXPECT_FALSE(good && blocks.finish());
    EXPECT_EQ(errno, ENOSPC);
}

INSTANTIATE_TEST_SUITE_P(threads, text_in_blocks, ::testing::Values(1, 2, 4));

}  // namespace
