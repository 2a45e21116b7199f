#include "input/formats/haplotype_row.h"

#include <algorithm>

#include "io/text.h"

namespace {

// "a b c d " with digits 0 and 1 gives the bits a, b, c, d, from the lowest one; 16 when the text has another shape.
unsigned pack_four(std::uint64_t text) {
    constexpr std::uint64_t shape_mask = 0xfffefffefffefffeULL;
    constexpr std::uint64_t blanks = 0x2030203020302030ULL;
    constexpr std::uint64_t tabs = 0x0930093009300930ULL;
    const std::uint64_t shape = text & shape_mask;
    if (shape != blanks && shape != tabs) return 16;
    // One bit in each 16; the product brings them together in the highest 16 bits, without a carry.
    const std::uint64_t digits = text & 0x0001000100010001ULL;
    return static_cast<unsigned>((digits * 0x0001000200040008ULL) >> 48) & 15U;
}

}  // namespace

std::vector<std::uint64_t> gather(const std::vector<std::uint64_t>& words, const std::vector<std::size_t>& columns) {
    std::vector<std::uint64_t> gathered(bits::words_for(columns.size()), 0);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::uint64_t bit = (words[columns[i] / bits::word_bits] >> (columns[i] % bits::word_bits)) & 1U;
        gathered[i / bits::word_bits] |= bit << (i % bits::word_bits);
    }
    return gathered;
}

haplotype_row_reader::haplotype_row_reader(std::size_t n_columns, const std::vector<bool>& exclude_flags,
                                           bool question_is_missing)
    : n_columns_(n_columns), question_is_missing_(question_is_missing) {
    if (std::find(exclude_flags.begin(), exclude_flags.end(), true) == exclude_flags.end()) return;
    dropped_ = exclude_flags;
    for (std::size_t column = 0; column < n_columns; ++column) {
        if (!dropped_[column]) kept_columns_.push_back(column);
    }
}

void haplotype_row_reader::begin_row() {
    ones_.assign(bits::words_for(n_columns_), 0);
    missing_.clear();
    any_missing_ = false;
}

void haplotype_row_reader::finish_row(allele_row& row) {
    if (!any_missing_) missing_.clear();
    if (dropped_.empty()) {
        row.assign(n_columns_, ones_, missing_);
    } else {
        row.assign(kept_columns_.size(), gather(ones_, kept_columns_),
                   any_missing_ ? gather(missing_, kept_columns_) : missing_);
    }
}

bool haplotype_row_reader::put(std::size_t column, char c) {
    if (c == '1') {
        bits::set(ones_.data(), column, true);
    } else if (c == '?' && question_is_missing_) {
        if (!any_missing_) missing_.assign(ones_.size(), 0);
        any_missing_ = true;
        bits::set(missing_.data(), column, true);
    } else if (c == '?') {
        question_seen_ = true;
    } else if (c != '0') {
        return false;
    }
    return true;
}

haplotype_row_reader::outcome haplotype_row_reader::read(std::string_view line, allele_row& row) {
    if (line.size() + 1 == 2 * n_columns_ && read_characters(line, row)) return outcome::good;
    return read_fields(line, row);
}

// One character a column and a blank or tab between two.
bool haplotype_row_reader::read_characters(std::string_view line, allele_row& row) {
    begin_row();
    const std::size_t n_fours = (n_columns_ - 1) / 4;  // the last column has no separator behind it
    for (std::size_t i = 0; i < n_fours; ++i) {
        const unsigned four = pack_four(load_eight(line.data() + 8 * i));
        if (four <= 15) {
            ones_[i / 16] |= std::uint64_t{four} << (4 * (i % 16));
        } else if (!put_four(line, 4 * i)) {
            return false;
        }
    }
    if (!put_four(line, 4 * n_fours)) return false;
    finish_row(row);
    return true;
}

bool haplotype_row_reader::put_four(std::string_view line, std::size_t first_column) {
    const std::size_t end = std::min(first_column + 4, n_columns_);
    for (std::size_t column = first_column; column < end; ++column) {
        const char c = line[2 * column];
        if (is_separator(c)) return false;
        if (column + 1 < n_columns_ && !is_separator(line[2 * column + 1])) return false;
        if (!dropped_.empty() && dropped_[column]) continue;
        if (!put(column, c)) return false;
    }
    return true;
}

haplotype_row_reader::outcome haplotype_row_reader::read_fields(std::string_view line, allele_row& row) {
    begin_row();
    field_scanner fields(line);
    std::string_view field;
    for (std::size_t column = 0; column < n_columns_; ++column) {
        if (!fields.next(field)) return outcome::too_few;
        if (!dropped_.empty() && dropped_[column]) continue;
        // The carriage return of a line end is no part of a digit.
        if (fields.rest().empty() && (field == "0\r" || field == "1\r")) field.remove_suffix(1);
        if (field.size() == 1 && put(column, field[0])) continue;
        bad_field_ = field;
        bad_column_ = column + 1;
        return outcome::bad_allele;
    }
    if (fields.next(field)) return outcome::too_many;
    finish_row(row);
    return outcome::good;
}

void pack_characters(std::string_view characters, std::uint64_t* words) {
    std::fill_n(words, bits::words_for(characters.size()), 0);
    std::size_t i = 0;
    for (; i + 8 <= characters.size(); i += 8) {
        const std::uint64_t differs = load_eight(characters.data() + i) ^ 0x3030303030303030ULL;
        if ((differs & ~0x0101010101010101ULL) != 0) {  // neither 0 nor 1 somewhere
            for (std::size_t j = i; j < i + 8; ++j) bits::set(words, j, characters[j] != '0');
            continue;
        }
        words[i / 64] |= ((differs * 0x0102040810204080ULL) >> 56) << (i % 64);
    }
    for (; i < characters.size(); ++i) bits::set(words, i, characters[i] != '0');
}
