#include "io/result_file.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "io/run_log.h"
#include "support/log_capture.h"

namespace {

// More than a megabyte in lines that do not compress too well.
const std::vector<std::string>& many_lines() {
    static const std::vector<std::string> lines = [] {
        input_source source(1);
        std::vector<std::string> made(11000);
        for (std::string& line : made) {
            while (line.size() < 100) line += std::to_string(source.word());
        }
        return made;
    }();
    return lines;
}

// A device on which every write fails.
bool has_full_disk() {
    return std::filesystem::exists("/dev/full");
}

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

class result : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(log); }
    // What a file holds after these writes.
    std::string written(const std::function<void(result_file&)>& write) {
        {
            result_file file(log, capture.files.name("out"), false);
            write(file);
        }
        EXPECT_EQ("", capture.notes.str());
        return capture.files.read("out");
    }
    std::string probability(double value, int decimals) {
        return written([&](result_file& f) { f.probability(value, decimals, smallest_printed(decimals)); });
    }
    std::string probabilities(const std::vector<double>& values, int decimals) {
        return written([&](result_file& f) { f.probabilities(values, decimals, smallest_printed(decimals)); });
    }
    std::string unpacked(const std::string& name) {
        boost::iostreams::filtering_istream stream;
        stream.push(boost::iostreams::gzip_decompressor());
        stream.push(boost::iostreams::file_source(capture.files.name(name), std::ios::binary));
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
};

TEST_F(result, text_is_written_as_it_comes) {
    EXPECT_EQ("ab c\n1 -2\n9223372036854775807\n", written([](result_file& f) {
                  f.text("ab");
                  f.character(' ');
                  f.text("c");
                  f.end_line();
                  f.integer(1);
                  f.character(' ');
                  f.integer(-2);
                  f.end_line();
                  f.integer(std::numeric_limits<long>::max());
                  f.end_line();
              }));
}

TEST_F(result, a_last_line_needs_no_end) {
    EXPECT_EQ("abc", written([](result_file& f) { f.text("abc"); }));
    EXPECT_EQ("", written([](result_file&) {}));
}

TEST_F(result, what_stood_in_the_file_is_gone) {
    capture.files.write("out", "a long old text");
    EXPECT_EQ("new", written([](result_file& f) { f.text("new"); }));
}

TEST_F(result, numbers_have_a_fixed_or_the_default_notation) {
    const auto text = [this](double value, int decimals) {
        return written([&](result_file& f) { f.fixed(value, decimals); });
    };
    EXPECT_EQ("0.500", text(0.5, 3));
    EXPECT_EQ("-1.2", text(-1.25, 1));  // ties go to the even digit
    EXPECT_EQ("2", text(2.5, 0));
    EXPECT_EQ("0.000", text(0.0, 3));
    EXPECT_EQ("100000000000000000000.0", text(1e20, 1));
    EXPECT_EQ(311U, text(std::numeric_limits<double>::max(), 1).size());
    EXPECT_EQ("0.33333", written([](result_file& f) { f.number(0.33333); }));
    EXPECT_EQ("0.333333 1e-10 1234.5", written([](result_file& f) {
                  f.number(1.0 / 3);
                  f.character(' ');
                  f.number(1e-10);
                  f.character(' ');
                  f.number(1234.5);
              }));
}

TEST_F(result, an_undefined_number_prints_as_minus_one) {
    EXPECT_EQ("-1 -1 -1", written([](result_file& f) {
                  f.fixed(not_a_number, 3);
                  f.character(' ');
                  f.number(-not_a_number);
                  f.character(' ');
                  f.probability(not_a_number, 3, 0.001);
              }));
    EXPECT_EQ(" -1 0.500 -1", probabilities({not_a_number, 0.5, not_a_number}, 3));
}

TEST_F(result, probabilities_near_the_ends_are_one_digit) {
    EXPECT_EQ("0", probability(0.0, 3));
    EXPECT_EQ("0", probability(0.00099, 3));
    EXPECT_EQ("0", probability(-1.0, 3));
    EXPECT_EQ("0.001", probability(0.001, 3));
    EXPECT_EQ("1", probability(1.0, 3));
    EXPECT_EQ("1", probability(0.99901, 3));
    EXPECT_EQ("0.999", probability(0.9985, 3));
    EXPECT_EQ("0.500", probability(0.5, 3));
    EXPECT_EQ("0.333333", probability(1.0 / 3, 6));
    EXPECT_EQ("0", probability(0.05, 1));
    EXPECT_EQ("0.1", probability(0.1, 1));
    EXPECT_EQ("1", probability(0.95, 1));
}

TEST_F(result, a_row_of_probabilities_is_the_single_ones_behind_blanks) {
    input_source source(4);
    for (const int decimals : {0, 1, 2, 3, 6, 8, 9, 12, 17}) {
        const double low = smallest_printed(decimals);
        std::vector<double> values{0.0,
                                   1.0,
                                   0.5,
                                   low,
                                   1.0 - low,
                                   low * 0.999,
                                   low * 1.5,
                                   1.0 - low * 1.5,
                                   0.125,
                                   0.0625,
                                   std::nextafter(low, 0.0),
                                   std::nextafter(1.0 - low, 1.0),
                                   std::nextafter(1.0 - low, 0.0),
                                   1.0 - low * 0.5,
                                   -0.25,
                                   1.5};
        for (int i = 0; i < 500; ++i) values.push_back(source.uniform());
        // Numbers on or next to a tie of rounding.
        for (int i = 0; i < 200; ++i) {
            const double tie = (source.integer(0, 999) + 0.5) * std::pow(10.0, -std::min(decimals, 3));
            for (const double value : {tie, std::nextafter(tie, 0.0), std::nextafter(tie, 1.0), tie * (1 + 1e-12)}) {
                values.push_back(value < 1.0 ? value : 0.5);
            }
        }
        std::string expected;
        for (const double value : values) {
            char text[64];
            std::snprintf(text, sizeof text, "%.*f", decimals, value);
            expected += ' ';
            expected += value < low ? "0" : value > 1.0 - low ? "1" : text;
        }
        EXPECT_EQ(expected, probabilities(values, decimals)) << decimals << " decimals";
        EXPECT_EQ(expected, written([&](result_file& f) {
                      for (const double value : values) {
                          f.character(' ');
                          f.probability(value, decimals, low);
                      }
                  }))
            << decimals << " decimals, one by one";
    }
}

TEST_F(result, an_empty_row_is_empty) {
    EXPECT_EQ("", probabilities({}, 3));
}

TEST_F(result, large_files_come_out_whole) {
    std::string expected;
    const std::string text = written([&](result_file& f) {
        for (const std::string& line : many_lines()) {
            f.text(line);
            f.end_line();
            expected += line + "\n";
        }
    });
    EXPECT_TRUE(expected == text);
    EXPECT_GT(text.size(), 1100000U);
}

TEST_F(result, a_compressed_file_unpacks_to_the_same_text) {
    std::string expected;
    {
        result_file file(log, capture.files.name("out.gz"), true);
        for (const std::string& line : many_lines()) {
            file.text(line);
            file.end_line();
            expected += line + "\n";
        }
    }
    EXPECT_EQ("", capture.notes.str());
    EXPECT_TRUE(expected == unpacked("out.gz"));
    const std::string packed = capture.files.read("out.gz");
    EXPECT_LT(packed.size(), expected.size());
    ASSERT_GT(packed.size(), 10U);
    EXPECT_EQ(std::string("\x1f\x8b\x08\x00\x00\x00\x00\x00", 8), packed.substr(0, 8)) << "no name, no time";
}

TEST_F(result, lines_made_elsewhere_are_written_as_they_are) {
    std::string text;
    for (const std::string& line : many_lines()) text += line + "\n";
    EXPECT_TRUE("head\n" + text + "end" == written([&text](result_file& f) {
                    f.text("head");
                    f.end_line();
                    f.append(text);
                    f.append("end");
                }));
}

TEST_F(result, a_compressed_empty_file_is_a_whole_one) {
    { result_file file(log, capture.files.name("out.gz"), true); }
    EXPECT_GT(capture.files.read("out.gz").size(), 10U);
    EXPECT_EQ("", unpacked("out.gz"));
}

TEST_F(result, the_name_does_not_decide_on_compression) {
    {
        result_file file(log, capture.files.name("out.gz"), false);
        file.text("plain\n");
    }
    EXPECT_EQ("plain\n", capture.files.read("out.gz"));
}

TEST_F(result, closing_writes_everything_and_later_text_is_lost) {
    result_file file(log, capture.files.name("out"), false);
    file.text("kept\n");
    file.close();
    EXPECT_EQ("kept\n", capture.files.read("out"));
    file.close();
    EXPECT_EQ("", capture.notes.str());
    EXPECT_FALSE(log.any_result_failed());
}

TEST_F(result, a_file_that_cannot_be_opened_is_named_and_the_run_goes_on) {
    const std::string name = capture.files.name("no_such_folder") + "/out";
    for (const bool gzipped : {false, true}) {
        result_file file(log, name, gzipped);
        for (int i = 0; i < 3; ++i) {
            file.text(std::string(1 << 20, 'x'));
            file.end_line();
        }
        file.close();
    }
    const std::string note = "orvide: cannot write [" + name + "]: No such file or directory\n";
    EXPECT_EQ(note + note, capture.notes.str());
    EXPECT_TRUE(log.any_result_failed());
    EXPECT_EQ("", capture.terminal.str());
}

TEST_F(result, a_folder_cannot_be_written) {
    const std::string name = capture.files.name("");
    { result_file file(log, name, false); }
    EXPECT_EQ("orvide: cannot write [" + name + "]: Is a directory\n", capture.notes.str());
    EXPECT_TRUE(log.any_result_failed());
}

TEST_F(result, an_exception_leaves_the_older_file) {
    capture.files.write("out", "old");
    try {
        result_file file(log, capture.files.name("out"), false);
        file.text("new");
        file.end_line();
        throw run_end{1};
    } catch (const run_end&) {
    }
    EXPECT_EQ("old", capture.files.read("out"));
    EXPECT_EQ("", capture.notes.str());
    EXPECT_FALSE(log.any_result_failed());
}

TEST_F(result, an_exception_leaves_the_beginning_that_shall_be_kept) {
    try {
        result_file file(log, capture.files.name("out"), false);
        file.keep_beginning();
        file.text("new");
        throw run_end{1};
    } catch (const run_end&) {
    }
    EXPECT_EQ("new", capture.files.read("out"));
}

TEST_F(result, a_full_disk_is_named_once) {
    if (!has_full_disk()) GTEST_SKIP();
    for (const bool gzipped : {false, true}) {
        capture.notes.str("");
        {
            result_file file(log, "/dev/full", gzipped);
            EXPECT_EQ("", capture.notes.str());
            for (int repeat = 0; repeat < 3; ++repeat) {
                for (const std::string& line : many_lines()) {
                    file.text(line);
                    file.end_line();
                }
            }
        }
        EXPECT_EQ("orvide: cannot write [/dev/full] to its end: No space left on device\n", capture.notes.str());
    }
    EXPECT_TRUE(log.any_result_failed());
}

TEST_F(result, a_full_disk_is_noticed_when_a_small_file_is_closed) {
    if (!has_full_disk()) GTEST_SKIP();
    {
        result_file file(log, "/dev/full", false);
        file.text("x\n");
        EXPECT_FALSE(log.any_result_failed());
    }
    EXPECT_TRUE(log.any_result_failed());
}

TEST_F(result, probabilities_print_as_the_standard_library_rounds_them) {
    std::mt19937_64 generator(11);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::vector<double> values{0.0005, 0.001,      0.0015, 0.0625, 0.125, 0.5,
                               0.9995, 0.99949999, 0.999,  1.0,    0.0,   0.00099999};
    for (int k = 0; k < 20000; ++k) values.push_back(uniform(generator));
    for (int k = 0; k < 2000; ++k)
        values.push_back(std::round(uniform(generator) * 4096.0) / 4096.0);  // many exact ties
    for (const int decimals : {0, 1, 3, 4, 8, 9, 12}) {
        const double low = smallest_printed(decimals);
        std::string expected;
        for (const double value : values) {
            std::array<char, 64> text{};
            std::snprintf(text.data(), text.size(), " %.*f", decimals, value);
            expected += value < low ? " 0" : value > 1.0 - low ? " 1" : text.data();
        }
        EXPECT_TRUE(probabilities(values, decimals) == expected) << decimals;
    }
}

}  // namespace
