// What fuzzing found worth keeping, once more with every build: no input of the corpus ends a run in an unforeseen way.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/fuzz_run.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::uint8_t> bytes_of(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class fuzz_corpus : public testing::TestWithParam<std::string_view> {};

TEST_P(fuzz_corpus, ends_well_or_with_an_error) {
    const fs::path folder = fs::path(ORVIDE_SOURCE_DIR) / "tests/fuzz/corpus" / GetParam();
    std::size_t n = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const auto fault = fuzz_run(GetParam(), bytes_of(entry.path()));
        EXPECT_FALSE(fault.has_value()) << entry.path() << ": " << fault.value_or("");
        ++n;
    }
    EXPECT_GT(n, 0u) << "no inputs in " << folder;
}

INSTANTIATE_TEST_SUITE_P(kinds, fuzz_corpus, testing::ValuesIn(fuzz_kinds()),
                         [](const auto& one) { return std::string(one.param); });

TEST(fuzz_run, a_kind_that_does_not_exist_is_a_fault) {
    EXPECT_EQ(fuzz_run("nothing", {}), "there is no kind nothing");
}

}  // namespace
