#include "inference/states/cut_alleles.h"

#include <algorithm>
#include <array>
#include <optional>

#include "inference/kernels/kernels.h"

namespace {

using bit_block = std::array<std::uint64_t, bits::word_bits>;

}  // namespace

void cut_columns(const packed_haplotypes& haps, std::size_t first, std::size_t n, const std::vector<std::size_t>& sites,
                 std::uint64_t* columns) {
    bit_block block{};
    std::optional<std::size_t> in_block;  // the word of the rows
    for (std::size_t i = 0; i < sites.size(); ++i) {
        const std::size_t word = sites[i] / bits::word_bits;
        if (in_block != word) {
            block.fill(0);
            for (std::size_t h = 0; h < n; ++h) block[h] = haps.row(first + h)[word];
            kernels::active().transpose(block.data(), block.data());
            in_block = word;
        }
        columns[i] = block[sites[i] % bits::word_bits];
    }
}

void turn_columns(const std::uint64_t* columns, std::size_t words, std::size_t n, std::uint64_t* rows) {
    bit_block block{};
    for (std::size_t w = 0; w < words; ++w) {
        kernels::active().transpose(columns + w * bits::word_bits, block.data());
        for (std::size_t h = 0; h < n; ++h) rows[h * words + w] = block[h];
    }
}
