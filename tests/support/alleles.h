#pragma once

// Alleles and genotypes as short texts.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "model/allele_row.h"

// "0120": one digit a haplotype, 2 for missing.
inline std::string text_of(const allele_row& row) {
    std::string text;
    for (std::size_t i = 0; i < row.size(); ++i) text += static_cast<char>('0' + row[i]);
    return text;
}
inline allele_row alleles(const std::string& text) {
    allele_row row(text.size(), 0);
    for (std::size_t i = 0; i < text.size(); ++i) row.set(i, text[i] - '0');
    return row;
}
// "0123": one digit an individual, 3 for missing.
inline std::string text_of(const std::vector<std::uint8_t>& codes) {
    std::string text;
    for (const std::uint8_t code : codes) text += static_cast<char>('0' + code);
    return text;
}
inline std::vector<std::uint8_t> genotypes(const std::string& text) {
    std::vector<std::uint8_t> codes;
    for (const char c : text) codes.push_back(static_cast<std::uint8_t>(c - '0'));
    return codes;
}
// "0110": one digit a flag.
inline std::string text_of(const std::vector<bool>& flags) {
    std::string text;
    for (const bool flag : flags) text += flag ? '1' : '0';
    return text;
}
inline std::vector<bool> flags(const std::string& text) {
    std::vector<bool> values;
    for (const char c : text) values.push_back(c == '1');
    return values;
}
