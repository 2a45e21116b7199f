#include "model/allele_row.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "support/alleles.h"

namespace {

const std::vector<std::size_t> sizes{1, 2, 63, 64, 65, 127, 128, 129, 200};

// No bit past the last allele is set.
void expect_clear_tail(const allele_row& row) {
    for (const auto* words : {&row.ones(), &row.missing()}) {
        for (std::size_t i = row.size(); i < words->size() * bits::word_bits; ++i) {
            ASSERT_FALSE(bits::get(words->data(), i)) << "bit " << i << " of " << row.size();
        }
    }
}

TEST(allele_row, begins_empty) {
    const allele_row row;
    EXPECT_TRUE(row.empty());
    EXPECT_EQ(0U, row.size());
    EXPECT_FALSE(row.any_missing());
}

TEST(allele_row, of_one_code_has_it_everywhere) {
    for (const std::size_t n : sizes) {
        for (const int code : {0, 1, 2}) {
            const allele_row row(n, code);
            ASSERT_EQ(n, row.size());
            EXPECT_FALSE(row.empty());
            for (std::size_t i = 0; i < n; ++i) ASSERT_EQ(code, row[i]);
            EXPECT_EQ(code == 2, row.any_missing());
            expect_clear_tail(row);
        }
    }
    EXPECT_TRUE(allele_row(0, 1).empty());
}

TEST(allele_row, keeps_any_sequence_of_codes) {
    input_source source(1);
    for (const std::size_t n : sizes) {
        allele_row row(n, 0);
        std::string expected(n, '0');
        for (int change = 0; change < 400; ++change) {
            const auto i = static_cast<std::size_t>(source.integer(0, static_cast<int>(n) - 1));
            const int code = source.integer(0, 2);
            row.set(i, code);
            expected[i] = static_cast<char>('0' + code);
        }
        EXPECT_EQ(expected, text_of(row));
        EXPECT_EQ(expected.find('2') != std::string::npos, row.any_missing());
        for (std::size_t i = 0; i < n; ++i) {
            EXPECT_EQ(expected[i] == '1', bits::get(row.ones().data(), i)) << "a missing allele has its bit clear";
        }
        expect_clear_tail(row);
    }
}

TEST(allele_row, has_a_second_row_only_where_something_was_missing) {
    allele_row row(10, 0);
    row.set(3, 1);
    EXPECT_TRUE(row.missing().empty());
    row.set(4, 2);
    EXPECT_FALSE(row.missing().empty());
    row.set(4, 0);
    EXPECT_FALSE(row.any_missing());
    EXPECT_EQ(0, row[4]);
}

TEST(allele_row, takes_ready_bits) {
    allele_row row(3, 2);
    row.assign(66, {0x5, 0x2}, {});
    EXPECT_EQ(66U, row.size());
    EXPECT_EQ(1, row[0]);
    EXPECT_EQ(0, row[1]);
    EXPECT_EQ(1, row[2]);
    EXPECT_EQ(0, row[64]);
    EXPECT_EQ(1, row[65]);
    EXPECT_FALSE(row.any_missing());
    row.assign(66, {0x5, 0x0}, {0x2, 0x2});
    EXPECT_EQ(2, row[1]);
    EXPECT_EQ(2, row[65]);
    EXPECT_TRUE(row.any_missing());
}

TEST(allele_row, replaces_what_it_held) {
    allele_row row(100, 2);
    row.assign(5, 1);
    EXPECT_EQ("11111", text_of(row));
    EXPECT_FALSE(row.any_missing());
    row.clear();
    EXPECT_TRUE(row.empty());
    EXPECT_TRUE(row.ones().empty());
    EXPECT_FALSE(row.any_missing());
}

TEST(allele_row, inverted_has_the_other_allele_and_keeps_the_missing_ones) {
    input_source source(2);
    for (const std::size_t n : sizes) {
        for (const int highest : {1, 2}) {
            std::string text, inverted;
            for (std::size_t i = 0; i < n; ++i) {
                const int code = source.integer(0, highest);
                text += static_cast<char>('0' + code);
                inverted += code == 2 ? '2' : static_cast<char>('1' - code);
            }
            allele_row row = alleles(text);
            row.invert();
            EXPECT_EQ(inverted, text_of(row));
            for (std::size_t i = 0; i < n; ++i) EXPECT_EQ(inverted[i] == '1', bits::get(row.ones().data(), i));
            expect_clear_tail(row);
            row.invert();
            EXPECT_EQ(text, text_of(row));
        }
    }
    allele_row none;
    none.invert();
    EXPECT_TRUE(none.empty());
}

TEST(bit_rows, take_as_many_words_as_they_need) {
    EXPECT_EQ(0U, bits::words_for(0));
    EXPECT_EQ(1U, bits::words_for(1));
    EXPECT_EQ(1U, bits::words_for(64));
    EXPECT_EQ(2U, bits::words_for(65));
}

}  // namespace
