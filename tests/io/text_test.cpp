#include "io/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "support/temporary_folder.h"

namespace {

using texts = std::vector<std::string>;

// --- allele labels --------------------------------------------------------------------------------------------------

TEST(flip, turns_single_bases_over) {
    EXPECT_EQ("T", flip("A"));
    EXPECT_EQ("A", flip("T"));
    EXPECT_EQ("G", flip("C"));
    EXPECT_EQ("C", flip("G"));
}

TEST(flip, leaves_everything_else) {
    for (const char* label : {"a", "t", "c", "g", "AT", "*", "-", "", "N", "0", "A ", "TTT", "D", "I"}) {
        EXPECT_EQ(label, flip(label));
    }
}

TEST(allele_comb, does_not_depend_on_the_order) {
    for (const std::string a : {"A", "C", "G", "T"}) {
        for (const std::string b : {"A", "C", "G", "T"}) EXPECT_EQ(allele_comb(a, b), allele_comb(b, a)) << a << b;
    }
}

TEST(allele_comb, puts_pairs_in_alphabetical_order) {
    EXPECT_EQ("AT", allele_comb("T", "A"));
    EXPECT_EQ("AT", allele_comb("A", "T"));
    EXPECT_EQ("CG", allele_comb("C", "G"));
    EXPECT_EQ("CG", allele_comb("G", "C"));
    EXPECT_EQ("AC", allele_comb("C", "A"));
    EXPECT_EQ("AG", allele_comb("G", "A"));
    EXPECT_EQ("CT", allele_comb("T", "C"));
    EXPECT_EQ("GT", allele_comb("T", "G"));
    EXPECT_EQ("AA", allele_comb("A", "A"));
}

TEST(allele_comb, joins_longer_labels_as_they_come) {
    EXPECT_EQ("ATG", allele_comb("AT", "G"));
    EXPECT_EQ("GAT", allele_comb("G", "AT"));
    EXPECT_EQ("ta", allele_comb("t", "a"));
    EXPECT_EQ("**", allele_comb("*", "*"));
    EXPECT_EQ("", allele_comb("", ""));
    EXPECT_EQ("AT", allele_comb("TA", "")) << "the whole text is looked at";
    EXPECT_EQ("TAA", allele_comb("TA", "A"));
}

// --- files ----------------------------------------------------------------------------------------------------------

TEST(is_gzipped, goes_by_the_end_of_the_name) {
    EXPECT_TRUE(is_gzipped("a.gz"));
    EXPECT_TRUE(is_gzipped("dir/file.hap.gz"));
    EXPECT_TRUE(is_gzipped("/.gz"));
    EXPECT_FALSE(is_gzipped(".gz"));
    EXPECT_FALSE(is_gzipped("gz"));
    EXPECT_FALSE(is_gzipped(""));
    EXPECT_FALSE(is_gzipped("a.GZ"));
    EXPECT_FALSE(is_gzipped("a.gz "));
    EXPECT_FALSE(is_gzipped("a.gzip"));
    EXPECT_FALSE(is_gzipped("agz"));
}

TEST(count_lines, counts_newline_characters) {
    const temporary_folder folder;
    EXPECT_EQ(0, countLines(folder.write("empty", ""), false));
    EXPECT_EQ(2, countLines(folder.write("two", "a\nb\n"), false));
    EXPECT_EQ(1, countLines(folder.write("open_end", "a\nb"), false));
    EXPECT_EQ(3, countLines(folder.write("blank", "\n\n\n"), false));
    EXPECT_EQ(1, countLines(folder.write("returns", "a\r\nb\r"), false));
    std::string large;
    for (int i = 0; i < 50000; ++i) large += "line\n";
    EXPECT_EQ(50000, countLines(folder.write("large", large), false));
}

TEST(count_lines, reads_through_gzip_when_told_to) {
    const temporary_folder folder;
    EXPECT_EQ(3, countLines(folder.write_compressed("plain_name", "a\nb\nc\n"), true));
    std::string large;
    for (int i = 0; i < 50000; ++i) large += "line " + std::to_string(i) + "\n";
    EXPECT_EQ(50000, countLines(folder.write_compressed("large.gz", large), true));
    EXPECT_EQ(2, countLines(folder.write("plain.gz", "a\nb\n"), false)) << "the name does not matter";
}

TEST(count_lines, of_a_file_that_cannot_be_opened_is_zero) {
    const temporary_folder folder;
    EXPECT_EQ(0, countLines(folder.name("missing"), false));
}

// --- splitting ------------------------------------------------------------------------------------------------------

texts split(const std::string& text, char delimiter) {
    texts pieces{"old"};
    strsplit(text, delimiter, pieces);
    return pieces;
}
texts split(const std::string& text, const std::string& delimiter, bool keep_empty) {
    texts pieces{"old"};
    strsplit(text, delimiter, pieces, keep_empty);
    return pieces;
}

TEST(strsplit_by_a_character, keeps_empty_pieces) {
    EXPECT_EQ((texts{"a", "b", "c"}), split("a,b,c", ','));
    EXPECT_EQ((texts{"a", "", "c"}), split("a,,c", ','));
    EXPECT_EQ((texts{"", "a"}), split(",a", ','));
    EXPECT_EQ((texts{"abc"}), split("abc", ','));
    EXPECT_EQ((texts{"a b"}), split("a b", ','));
}

TEST(strsplit_by_a_character, gives_no_trailing_empty_piece) {
    EXPECT_EQ((texts{"a"}), split("a,", ','));
    EXPECT_EQ((texts{""}), split(",", ','));
    EXPECT_EQ((texts{"a", ""}), split("a,,", ','));
    EXPECT_EQ(texts{}, split("", ','));
}

TEST(strsplit_by_a_text, keeps_empty_pieces_if_told_to) {
    EXPECT_EQ((texts{"a", "b"}), split("a<=b", "<=", true));
    EXPECT_EQ((texts{"a", ""}), split("a<=", "<=", true));
    EXPECT_EQ((texts{"a"}), split("a<=", "<=", false));
    EXPECT_EQ((texts{"", "3"}), split("==3", "==", true));
    EXPECT_EQ((texts{"3"}), split("==3", "==", false));
    EXPECT_EQ((texts{"a", "b", "c"}), split("a==b==c", "==", false));
    EXPECT_EQ((texts{"", ""}), split("==", "==", true));
    EXPECT_EQ(texts{}, split("==", "==", false));
    EXPECT_EQ((texts{""}), split("", "==", true));
    EXPECT_EQ(texts{}, split("", "==", false));
    EXPECT_EQ((texts{"a", "", "b"}), split("a====b", "==", true));
    EXPECT_EQ((texts{"a", "=b"}), split("a===b", "==", true)) << "the search goes on past a match";
}

TEST(strsplit_by_a_text, with_an_empty_delimiter_gives_the_whole) {
    EXPECT_EQ((texts{"abc"}), split("abc", "", false));
    EXPECT_EQ((texts{""}), split("", "", false));
}

TEST(field_scanner, takes_fields_between_blanks_and_tabs) {
    field_scanner scanner("  a\tbc \t d");
    std::string_view field;
    ASSERT_TRUE(scanner.next(field));
    EXPECT_EQ("a", field);
    EXPECT_EQ("\tbc \t d", scanner.rest());
    ASSERT_TRUE(scanner.next(field));
    EXPECT_EQ("bc", field);
    ASSERT_TRUE(scanner.next(field));
    EXPECT_EQ("d", field);
    EXPECT_FALSE(scanner.next(field));
    EXPECT_EQ("", field);
    EXPECT_EQ("", scanner.rest());
}

TEST(field_scanner, leaves_a_carriage_return_on_its_field) {
    field_scanner scanner("a b\r");
    std::string_view field;
    scanner.next(field);
    ASSERT_TRUE(scanner.next(field));
    EXPECT_EQ("b\r", field);
}

TEST(field_scanner, skips_fields) {
    field_scanner scanner("a b c");
    EXPECT_TRUE(scanner.skip(0));
    EXPECT_TRUE(scanner.skip(2));
    std::string_view field;
    ASSERT_TRUE(scanner.next(field));
    EXPECT_EQ("c", field);
    EXPECT_FALSE(field_scanner("a b").skip(3));
    EXPECT_TRUE(field_scanner("a b").skip(2));
}

TEST(fields, are_counted_and_split) {
    EXPECT_EQ(0, count_fields(""));
    EXPECT_EQ(0, count_fields(" \t "));
    EXPECT_EQ(1, count_fields("a"));
    EXPECT_EQ(3, count_fields("\ta  b\tc "));
    EXPECT_EQ((texts{"a", "b", "c\r"}), split_fields("\ta  b\tc\r"));
    EXPECT_EQ(texts{}, split_fields("   "));
}

// --- numbers --------------------------------------------------------------------------------------------------------

template <typename Number, typename Parse>
void expect_number(Parse parse, std::string_view field, Number expected) {
    Number value = static_cast<Number>(-77);
    EXPECT_TRUE(parse(field, value)) << field;
    EXPECT_EQ(expected, value) << field;
}
template <typename Number, typename Parse>
void expect_none(Parse parse, std::string_view field) {
    Number value = static_cast<Number>(-77);
    EXPECT_FALSE(parse(field, value)) << field;
    EXPECT_EQ(static_cast<Number>(-77), value) << field << " changed the value";
}

TEST(parse_long, takes_whole_numbers) {
    expect_number(parse_long, "0", 0L);
    expect_number(parse_long, "12", 12L);
    expect_number(parse_long, "-12", -12L);
    expect_number(parse_long, "+12", 12L);
    expect_number(parse_long, "007", 7L);
    expect_number(parse_long, "7\r", 7L);  // of the end of a line
    expect_number(parse_long, "9223372036854775807", std::numeric_limits<long>::max());
    expect_number(parse_long, "-9223372036854775808", std::numeric_limits<long>::min());
}

TEST(parse_long, refuses_everything_else) {
    for (const char* field : {"", "-", "+", "+-1", "-+1", "--1", "++1", "1.0", "1e3", "12a", "a12", " 1", "1 ", "0x10",
                              "\r", "1\r\r", "9223372036854775808", "-9223372036854775809", "nan"}) {
        expect_none<long>(parse_long, field);
    }
}

TEST(parse_double, takes_numbers_in_any_notation) {
    expect_number(parse_double, "0", 0.0);
    expect_number(parse_double, "1.5", 1.5);
    expect_number(parse_double, "-1.5", -1.5);
    expect_number(parse_double, "+1.5", 1.5);
    expect_number(parse_double, ".5", 0.5);
    expect_number(parse_double, "0.333\r", 0.333);  // of the end of a line
    expect_number(parse_double, "5.", 5.0);
    expect_number(parse_double, "-.25", -0.25);
    expect_number(parse_double, "1e3", 1000.0);
    expect_number(parse_double, "1E+3", 1000.0);
    expect_number(parse_double, "25e-2", 0.25);
    expect_number(parse_double, "1e-400", 0.0);
    expect_number(parse_double, "0.1", 0.1);
    expect_number(parse_double, "1.7976931348623157e308", std::numeric_limits<double>::max());
}

TEST(parse_double, refuses_everything_else) {
    for (const char* field :
         {"",     "-",    "+",   ".",      "e5",    "1e",     "1e+", "1.5x",  "x1.5",   "1,5", "1.2.3",
          "1.5 ", " 1.5", "--1", "+-1",    "-+1",   "0x10",   "inf", "-inf",  "+inf",   "INF", "infinity",
          "nan",  "-nan", "NaN", "nan(1)", "1e400", "-1e400", "\r",  "1\r\r", "1e-400x"}) {
        expect_none<double>(parse_double, field);
    }
}

TEST(parse_double, refuses_a_number_too_large_for_a_double_in_plain_digits) {
    const std::string digits(400, '9');
    double value = -77.0;
    EXPECT_FALSE(parse_double(digits, value));
    EXPECT_FALSE(parse_leading_double(digits, value));
    EXPECT_EQ(-77.0, value);
}

TEST(parse_double, takes_a_tiny_number_in_plain_digits_as_zero) {
    expect_number(parse_double, "0." + std::string(400, '0') + "1", 0.0);
}

TEST(parse_double, reads_back_what_is_printed) {
    input_source source(1);
    for (int i = 0; i < 300; ++i) {
        const double value = (source.uniform() - 0.5) * std::pow(10.0, source.integer(-30, 30));
        std::ostringstream text;
        text.precision(17);
        text << value;
        expect_number(parse_double, text.str(), value);
    }
}

TEST(parse_leading_double, is_content_with_a_number_at_the_start) {
    expect_number(parse_leading_double, "1.5x", 1.5);
    expect_number(parse_leading_double, "1e", 1.0);
    expect_number(parse_leading_double, "1.2.3", 1.2);
    expect_number(parse_leading_double, "+3%", 3.0);
    expect_number(parse_leading_double, "-3,5", -3.0);
    expect_number(parse_leading_double, "0.5", 0.5);
    for (const char* field : {"", "x1", "-", "+", ".", "inf", "nan", "e5", "1e400"}) {
        expect_none<double>(parse_leading_double, field);
    }
}

TEST(string_to_double, reads_the_number_at_the_start) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(1.5, string_to_double("1.5"));
    EXPECT_EQ(1.5, string_to_double("  1.5 rest"));
    EXPECT_EQ(-2000.0, string_to_double("-2e3x"));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(string_to_double, says_so_when_there_is_none) {
    for (const char* text : {"", "x", "-"}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(0.0, string_to_double(text));
        EXPECT_EQ("\nERROR: Bad conversion from string to double.\n\n", testing::internal::GetCapturedStderr());
    }
}

TEST(timeval_print, writes_seconds_and_microseconds) {
    timeval value{};
    value.tv_sec = 12;
    value.tv_usec = 34;
    testing::internal::CaptureStderr();
    EXPECT_EQ(9, timeval_print(&value));
    EXPECT_EQ("12.000034", testing::internal::GetCapturedStderr());
}

TEST(number_text, is_that_of_a_stream) {
    input_source source(2);
    std::vector<double> values{0.0,      -0.0,      1.0,   0.5,        0.125,  2.5,   1e-7,
                               123456.0, 1234567.0, 1e100, -3.0000005, 0.0005, 0.9995};
    for (int i = 0; i < 300; ++i) values.push_back((source.uniform() - 0.5) * std::pow(10.0, source.integer(-12, 12)));
    for (const double value : values) {
        for (const int decimals : {0, 3, 6}) {
            std::ostringstream text;
            text.setf(std::ios::fixed);
            text.precision(decimals);
            text << value;
            EXPECT_EQ(text.str(), fixed_text(value, decimals));
        }
        std::ostringstream text;
        text << value;
        EXPECT_EQ(text.str(), default_text(value));
    }
    EXPECT_EQ("0.900", fixed_text(0.9, 3));
    EXPECT_EQ("20000", default_text(20000.0));
    EXPECT_EQ("1e+06", default_text(1000000.0));
    EXPECT_EQ(std::numeric_limits<double>::max_exponent10 + 1U,
              fixed_text(std::numeric_limits<double>::max(), 0).size());
}

TEST(numbers_in_text, megabytes_are_rounded_up) {
    EXPECT_EQ("0 MB", megabytes(0.0));
    EXPECT_EQ("1 MB", megabytes(1.0));
    EXPECT_EQ("3 MB", megabytes(2000001.0));
}

TEST(concat, joins_texts_characters_and_integers) {
    const std::string text = "text";
    EXPECT_EQ("a text [x] 12 -7 4294967296",
              concat("a ", text, " [", std::string_view("x"), "] ", 12, ' ', -7L, ' ', std::size_t{4294967296}));
    EXPECT_EQ("c", concat('c'));
}

TEST(printable, leaves_text_as_it_is) {
    EXPECT_EQ("a b\\[1]", printable("a b\\[1]"));
    EXPECT_EQ("\u2013 \u00e9 \U0001f9ec", printable("\u2013 \u00e9 \U0001f9ec"));
}

TEST(printable, shows_other_bytes_by_their_numbers) {
    EXPECT_EQ("\\x1b[0m\\x0d\\x7f\\x00", printable(std::string_view("\x1b[0m\r\x7f\0", 7)));
    EXPECT_EQ("\\xff\\x80\\xe2\\x80", printable("\xff\x80\xe2\x80"));
    EXPECT_EQ("\\xc2\\x9b", printable("\xc2\x9b")) << "a control character in two bytes";
}

TEST(printable, cuts_a_long_text) {
    EXPECT_EQ(std::string(200, 'a') + "...", printable(std::string(201, 'a')));
    EXPECT_EQ(std::string(200, 'a'), printable(std::string(200, 'a')));
}

}  // namespace
