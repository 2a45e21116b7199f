#pragma once

// Runs of the program on bytes that stand for one of its inputs; the others are small and well formed.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The inputs that bytes can stand for: names of the folders of tests/fuzz/corpus.
std::vector<std::string_view> fuzz_kinds();

// Ends well or with an error that names what is wrong; whatever else happened is returned in words. A kind that does
// not exist is such a thing, too.
std::optional<std::string> fuzz_run(std::string_view kind, std::span<const std::uint8_t> bytes);
