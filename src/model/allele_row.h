#pragma once

// Alleles of a panel's haplotypes at one site, one bit each, with a second bit row only where something is missing.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bits {
constexpr std::size_t word_bits = 64;
constexpr std::size_t words_for(std::size_t n) {
    return (n + word_bits - 1) / word_bits;
}
inline bool get(const std::uint64_t* row, std::size_t i) {
    return ((row[i / word_bits] >> (i % word_bits)) & 1U) != 0;
}
inline void set(std::uint64_t* row, std::size_t i, bool value) {
    const std::uint64_t mask = std::uint64_t{1} << (i % word_bits);
    if (value) {
        row[i / word_bits] |= mask;
    } else {
        row[i / word_bits] &= ~mask;
    }
}
}  // namespace bits

class allele_row {
  public:
    allele_row() = default;
    // n alleles of one code.
    allele_row(std::size_t n, int allele) { assign(n, allele); }

    bool empty() const { return size_ == 0; }
    std::size_t size() const { return size_; }
    // 0, 1, or 2 for missing.
    int operator[](std::size_t i) const {
        if (!missing_.empty() && bits::get(missing_.data(), i)) return 2;
        return bits::get(ones_.data(), i) ? 1 : 0;
    }
    void set(std::size_t i, int allele);
    void assign(std::size_t n, int allele);
    // Takes ready bit rows of n bits; the unused bits of the last word must be clear. missing may be empty.
    void assign(std::size_t n, std::vector<std::uint64_t> ones, std::vector<std::uint64_t> missing);
    void clear();
    bool any_missing() const;
    // 0 becomes 1 and 1 becomes 0; a missing allele stays missing.
    void invert();
    // Bit i set: allele i is 1. A missing allele has its bit clear.
    const std::vector<std::uint64_t>& ones() const { return ones_; }
    // Bit i set: allele i is missing. Empty when none was ever missing.
    const std::vector<std::uint64_t>& missing() const { return missing_; }

  private:
    std::size_t size_ = 0;
    std::vector<std::uint64_t> ones_;
    std::vector<std::uint64_t> missing_;
};
