#pragma once

// Packs the alleles of one line of text into bits.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "model/allele_row.h"

// Eight bytes as one number, the first one in the lowest byte.
inline std::uint64_t load_eight(const void* from) {
    std::uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word;
}

// Lines of a haplotype file: one field a column, exactly "0" or "1". The usual shape, one digit and one blank a column,
// is packed a word at a time.
class haplotype_row_reader {
  public:
    // Columns with their flag set are dropped; empty flags keep all. "?" is a missing allele if question_is_missing,
    // and reads as 0 otherwise.
    haplotype_row_reader(std::size_t n_columns, const std::vector<bool>& exclude_flags, bool question_is_missing);

    enum class outcome { good, too_few, too_many, bad_allele };
    // Fills the row with the alleles of the kept columns; the row is unspecified unless the outcome is good.
    outcome read(std::string_view line, allele_row& row);
    // The field that was the bad allele of the last call, and its column from 1; valid as long as the line.
    std::string_view bad_field() const { return bad_field_; }
    std::size_t bad_column() const { return bad_column_; }
    // Whether a "?" has been read as 0.
    bool question_seen() const { return question_seen_; }

  private:
    bool read_characters(std::string_view line, allele_row& row);
    // Four columns that are not four digits with blanks between; false when a column is not one character wide.
    bool put_four(std::string_view line, std::size_t first_column);
    outcome read_fields(std::string_view line, allele_row& row);
    // Sets the allele of a column; false if the text is no allele.
    bool put(std::size_t column, char c);
    void begin_row();
    void finish_row(allele_row& row);

    std::size_t n_columns_;
    std::vector<bool> dropped_;              // empty when all columns are kept
    std::vector<std::size_t> kept_columns_;  // likewise
    bool question_is_missing_;
    bool question_seen_ = false;
    std::string_view bad_field_;
    std::size_t bad_column_ = 0;
    std::vector<std::uint64_t> ones_, missing_;  // of all columns
    bool any_missing_ = false;
};

// Packs characters that stand without separators; a character is 0 if it is '0' and 1 otherwise. words is large enough
// and is overwritten; the bits past the last character are clear.
void pack_characters(std::string_view characters, std::uint64_t* words);

// The bits of some columns, side by side.
std::vector<std::uint64_t> gather(const std::vector<std::uint64_t>& words, const std::vector<std::size_t>& columns);
