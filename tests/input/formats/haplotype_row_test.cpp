#include "input/formats/haplotype_row.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/alleles.h"

namespace {

using outcome = haplotype_row_reader::outcome;

// Alleles with one separator between two.
std::string spaced(const std::string& alleles, char separator = ' ') {
    std::string text;
    for (const char c : alleles) {
        if (!text.empty()) text += separator;
        text += c;
    }
    return text;
}

class haplotype_row : public ::testing::Test {
  protected:
    // The alleles that a line gives, or the outcome.
    static std::string read(const std::string& line, std::size_t n, const std::string& dropped = "",
                            bool question_is_missing = true) {
        haplotype_row_reader reader(n, flags(dropped), question_is_missing);
        allele_row row;
        switch (reader.read(line, row)) {
            case outcome::good:
                return text_of(row);
            case outcome::too_few:
                return "too few";
            case outcome::too_many:
                return "too many";
            case outcome::bad_allele:
                break;
        }
        return "bad " + std::string(reader.bad_field()) + " " + std::to_string(reader.bad_column());
    }
    static std::string random_alleles(std::size_t n, std::mt19937& generator, const std::string& letters = "01") {
        std::string text;
        for (std::size_t i = 0; i < n; ++i) text += letters[generator() % letters.size()];
        return text;
    }
    static std::string coded(std::string alleles) {
        for (char& c : alleles) c = c == '?' ? '2' : c;
        return alleles;
    }
};

TEST_F(haplotype_row, every_length_is_packed) {
    std::mt19937 generator(1);
    for (std::size_t n = 1; n < 300; ++n) {
        const std::string alleles = random_alleles(n, generator);
        EXPECT_EQ(alleles, read(spaced(alleles), n));
        EXPECT_EQ(alleles, read(spaced(alleles, '\t'), n));
        EXPECT_EQ(alleles, read(" " + spaced(alleles) + "  ", n));
        EXPECT_EQ(alleles, read(spaced(alleles) + "\r", n));
    }
}

TEST_F(haplotype_row, missing_alleles_are_packed_beside) {
    std::mt19937 generator(2);
    for (std::size_t n = 1; n < 200; ++n) {
        const std::string alleles = random_alleles(n, generator, "0011?");
        EXPECT_EQ(coded(alleles), read(spaced(alleles), n));
        EXPECT_EQ(coded(alleles), read(spaced(alleles) + " ", n));
    }
}

TEST_F(haplotype_row, dropped_columns_leave_no_gap) {
    std::mt19937 generator(3);
    for (std::size_t n = 1; n < 200; ++n) {
        const std::string alleles = random_alleles(n, generator, "01?");
        const std::string dropped = random_alleles(n, generator);
        std::string text, kept;
        for (std::size_t i = 0; i < n; ++i) {
            text += dropped[i] == '1' ? "-x01?"[generator() % 5] : alleles[i];
            if (dropped[i] == '0') kept += alleles[i];
        }
        EXPECT_EQ(coded(kept), read(spaced(text), n, dropped));
        EXPECT_EQ(coded(kept), read(spaced(text) + " ", n, dropped));
    }
}

TEST_F(haplotype_row, row_without_missing_alleles_has_no_second_row) {
    haplotype_row_reader reader(3, {}, true);
    allele_row row;
    ASSERT_EQ(outcome::good, reader.read("0 ? 1", row));
    EXPECT_TRUE(row.any_missing());
    ASSERT_EQ(outcome::good, reader.read("0 1 1", row));
    EXPECT_TRUE(row.missing().empty());
}

TEST_F(haplotype_row, question_mark_reads_as_zero_where_nothing_is_missing) {
    EXPECT_EQ("0010", read("? 0 1 ?", 4, "", false));
    haplotype_row_reader reader(2, {}, false);
    allele_row row;
    reader.read("0 1", row);
    EXPECT_FALSE(reader.question_seen());
    reader.read("0 ?", row);
    EXPECT_TRUE(reader.question_seen());
}

TEST_F(haplotype_row, allele_is_one_character) {
    EXPECT_EQ("bad 00 1", read("00 1 0 1", 4));
    EXPECT_EQ("bad 01 3", read("0 1 01 1", 4));
    EXPECT_EQ("bad +0 4", read("0 1 1 +0", 4));
    EXPECT_EQ("bad 1.0 2", read("0 1.0", 2));
    EXPECT_EQ("01", read("0 1\r", 2));  // the end of the line, not of the allele
    EXPECT_EQ("bad 0\r 1", read("0\r 1", 2));
    EXPECT_EQ("bad ?\r 2", read("0 ?\r", 2));
    EXPECT_EQ("too few", read("0 1\r", 3));
}

TEST_F(haplotype_row, ragged_lines_are_found) {
    EXPECT_EQ("too few", read("0 1 0", 4));
    EXPECT_EQ("too few", read("", 4));
    EXPECT_EQ("too many", read("0 1 0 1 0", 4));
    EXPECT_EQ("too few", read("0 1 0  ", 4));  // as long as four alleles
    EXPECT_EQ("too few", read(std::string(199, ' '), 100));
}

TEST_F(haplotype_row, other_alleles_are_found) {
    EXPECT_EQ("bad 2 3", read("0 1 2 1", 4));
    EXPECT_EQ("bad - 1", read("- 1 0 1", 4));
    EXPECT_EQ("bad x 4", read("0 1 0 x", 4));
    EXPECT_EQ("bad 0.5 2", read("0 0.5 1", 3));
    EXPECT_EQ("bad 10 2", read("0 10 1", 3));
    EXPECT_EQ("bad ?? 1", read("?? 1", 2));
    std::string line = spaced(std::string(100, '0'));
    line[100] = '3';
    EXPECT_EQ("bad 3 51", read(line, 100));
}

TEST_F(haplotype_row, separator_inside_a_word_is_required) {
    EXPECT_EQ("bad 0x1 1", read("0x1 0 1", 4));
}

TEST_F(haplotype_row, characters_without_separators_are_packed) {
    std::mt19937 generator(4);
    for (std::size_t n = 0; n < 200; ++n) {
        const std::string text = random_alleles(n, generator, "000111-");
        std::vector<std::uint64_t> words(bits::words_for(n) + 1, ~std::uint64_t{0});
        pack_characters(text, words.data());
        for (std::size_t i = 0; i < n; ++i) {
            EXPECT_EQ(text[i] != '0', bits::get(words.data(), i));
        }
        for (std::size_t i = n; i < n + (64 - n % 64) % 64; ++i) EXPECT_FALSE(bits::get(words.data(), i));
    }
}

}  // namespace
