#include "io/text_input.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "io/text.h"
#include "support/log_capture.h"

namespace {

class text_input_file : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(log); }
    text_input open(const std::string& name, bool ahead = false) {
        return {log, input_file(log, name, "missing", "unopened"), "unopened", ahead};
    }
    std::vector<std::string> lines_of(const std::string& name, bool ahead = false) {
        text_input file = open(name, ahead);
        std::vector<std::string> read;
        std::string_view line;
        while (file.next_line(line)) read.emplace_back(line);
        return read;
    }
    static std::string many_lines() {
        std::string text;
        unsigned state = 1;  // numbers that do not compress too well
        for (int i = 0; i < 40000; ++i) {
            state = state * 1664525U + 1013904223U;
            text += "line " + std::to_string(i) + " " + std::to_string(state) + "\n";
        }
        return text;
    }
    // Reading to the end ends the run with a message that names the file.
    void expect_damaged(const std::string& file, const std::string& bytes) {
        const std::string name = capture.files.write(file, bytes);
        EXPECT_THROW(lines_of(name), run_end) << file;
        const std::string words = "ERROR: The file [" + name + "] is damaged or cannot be read after line ";
        EXPECT_NE(std::string::npos, capture.terminal.str().find("\n" + words)) << file;
        EXPECT_NE(std::string::npos, capture.summary().find("\n" + words)) << file;
        const std::string said = capture.terminal.str();
        start_anew();
        EXPECT_THROW(lines_of(name, true), run_end) << file;
        EXPECT_EQ(said, capture.terminal.str()) << "read ahead";
        start_anew();
    }
    void start_anew() {
        capture.open(log);
        capture.terminal.str("");
    }
    using lines = std::vector<std::string>;
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
};

TEST_F(text_input_file, lines_come_without_their_newline) {
    EXPECT_EQ((lines{"a b", "", " c"}), lines_of(capture.files.write("f", "a b\n\n c\n")));
}

TEST_F(text_input_file, last_line_needs_no_newline) {
    EXPECT_EQ((lines{"a", "b"}), lines_of(capture.files.write("f", "a\nb")));
}

TEST_F(text_input_file, empty_file_has_no_line) {
    EXPECT_EQ(lines{}, lines_of(capture.files.write("f", "")));
}

TEST_F(text_input_file, filled_lines_pass_over_blank_ones_and_count_them) {
    text_input file = open(capture.files.write("f", "\n \t\na\n\r\nb\n"));
    std::string_view line;
    ASSERT_TRUE(file.next_filled_line(line));
    EXPECT_EQ("a", line);
    EXPECT_EQ(3, file.line_number());
    ASSERT_TRUE(file.next_filled_line(line));
    EXPECT_EQ("b", line);
    EXPECT_EQ(5, file.line_number());
    EXPECT_FALSE(file.next_filled_line(line));
}

TEST_F(text_input_file, line_may_be_longer_than_any_buffer) {
    const std::string middle(3000000, 'x');
    EXPECT_EQ((lines{"a", middle, "b"}), lines_of(capture.files.write("f", "a\n" + middle + "\nb\n")));
}

TEST_F(text_input_file, many_lines_arrive_in_order) {
    const std::string text = many_lines();
    std::string joined;
    for (const std::string& line : lines_of(capture.files.write("f", text))) joined += line + "\n";
    EXPECT_EQ(text, joined);
}

TEST_F(text_input_file, carriage_return_stays_and_is_noted_once) {
    const std::string name = capture.files.write("f", "a\nb\r\nc\r\n");
    EXPECT_EQ((lines{"a", "b\r", "c\r"}), lines_of(name));
    EXPECT_EQ("orvide: note: The line ends in a carriage return, in line 2 of the file [" + name +
                  "]: it stays a part of its last field, here and in what follows.\n",
              capture.notes.str());
}

TEST_F(text_input_file, byte_order_mark_is_left_out_and_noted) {
    const std::string name = capture.files.write("f",
                                                 "\xEF\xBB\xBF"
                                                 "a\nb\n");
    EXPECT_EQ((lines{"a", "b"}), lines_of(name));
    EXPECT_EQ("orvide: note: There is a byte order mark, in line 1 of the file [" + name + "]: it is left out.\n",
              capture.notes.str());
}

TEST_F(text_input_file, odd_line_ends_end_a_strict_run) {
    log.set_strict(true);
    const std::string name = capture.files.write("f", "a\r\n");
    EXPECT_THROW(lines_of(name), run_end);
    EXPECT_EQ(0U, capture.terminal.str().find("\nERROR: The line ends in a carriage return, in line 1 of the file ["))
        << capture.terminal.str();
}

TEST_F(text_input_file, damage_behind_what_is_needed_ends_the_file) {
    const std::string whole = capture.files.write_compressed("whole.gz", many_lines());
    const std::string bytes = capture.files.read("whole.gz");
    const std::string name = capture.files.write("cut.gz", bytes.substr(0, bytes.size() / 2));
    text_input file = open(name);
    std::string_view line;
    ASSERT_TRUE(file.next_line(line));
    file.forgive_damage();
    while (file.next_line(line)) {
    }
    EXPECT_NE(std::string::npos,
              capture.notes.str().find(", behind all that is needed of it: it is taken to end there."));
}

TEST_F(text_input_file, held_line_comes_once_more_under_its_number) {
    for (const std::string& name :
         {capture.files.write("f", many_lines()), capture.files.write_compressed("f.gz", many_lines())}) {
        text_input file = open(name);
        std::string_view line;
        for (int i = 0; i < 1000; ++i) {
            ASSERT_TRUE(file.next_line(line));
            const std::string first(line);
            file.hold_line();
            ASSERT_TRUE(file.next_filled_line(line));
            EXPECT_EQ(first, line);
            EXPECT_EQ(i + 1, file.line_number());
        }
    }
}

TEST_F(text_input_file, missing_file_ends_the_run_with_the_callers_words) {
    expect_end(capture, "missing", 1, [this] { open(capture.files.name("nowhere")); });
}

TEST_F(text_input_file, directory_counts_as_not_opened) {
    expect_end(capture, "unopened", 1, [this] { open(capture.files.name(".")); });
}

TEST_F(text_input_file, gz_name_is_decompressed) {
    EXPECT_EQ((lines{"a", "b"}), lines_of(capture.files.write_compressed("f.gz", "a\nb\n")));
}

TEST_F(text_input_file, compressed_file_without_the_suffix_is_read_as_bytes) {
    const std::string name = capture.files.write_compressed("f.GZ", "a\n");
    const std::string bytes = capture.files.read("f.GZ");
    std::string joined;
    for (const std::string& line : lines_of(name)) joined += line + "\n";
    EXPECT_EQ(bytes, joined.substr(0, bytes.size()));
    EXPECT_EQ(0U, capture.notes.str().find("orvide: note: The file [" + name + "] is compressed by gzip"));
}

TEST_F(text_input_file, that_is_no_text_is_refused) {
    expect_end(capture,
               concat("ERROR: The file [", capture.files.name("f"),
                      "] is a zstd file, where text is read. Please unpack it (zstd -d)."),
               1, [this] { open(capture.files.write("f", "\x28\xb5\x2f\xfd")); });
}

TEST_F(text_input_file, name_that_is_only_the_suffix_is_plain) {
    // The rule looks at the whole name that was given, so the folder must not be part of it.
    const auto old_folder = std::filesystem::current_path();
    std::filesystem::current_path(capture.files.name("."));
    capture.files.write(".gz", "a\n");
    EXPECT_EQ((lines{"a"}), lines_of(".gz"));
    std::filesystem::current_path(old_folder);
}

TEST_F(text_input_file, members_of_a_gzip_file_are_joined) {
    capture.files.write_compressed("1.gz", "a\nb");
    capture.files.write_compressed("2.gz", "");
    capture.files.write_compressed("3.gz", "c\nd\n");
    const std::string all = capture.files.read("1.gz") + capture.files.read("2.gz") + capture.files.read("3.gz");
    EXPECT_EQ((lines{"a", "bc", "d"}), lines_of(capture.files.write("all.gz", all)));
}

TEST_F(text_input_file, compressed_nothing_is_an_empty_file) {
    EXPECT_EQ(lines{}, lines_of(capture.files.write_compressed("f.gz", "")));
}

TEST_F(text_input_file, truncated_gzip_never_passes_for_a_short_file) {
    capture.files.write_compressed("whole.gz", many_lines());
    const std::string bytes = capture.files.read("whole.gz");
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{1}, std::size_t{9}, std::size_t{10}, std::size_t{100}, std::size_t{4096},
          bytes.size() / 2, bytes.size() - 9, bytes.size() - 8, bytes.size() - 4, bytes.size() - 1}) {
        expect_damaged("cut" + std::to_string(length) + ".gz", bytes.substr(0, length));
    }
}

TEST_F(text_input_file, truncated_second_member_is_found) {
    capture.files.write_compressed("whole.gz", many_lines());
    const std::string bytes = capture.files.read("whole.gz");
    expect_damaged("cut.gz", bytes + bytes.substr(0, bytes.size() - 20));
}

TEST_F(text_input_file, read_ahead_has_the_same_lines) {
    const std::string packed = capture.files.write_compressed("f.gz", many_lines());
    EXPECT_EQ(lines_of(packed), lines_of(packed, true));
    const std::string plain = capture.files.write("f", "a\nb");
    EXPECT_EQ((lines{"a", "b"}), lines_of(plain, true));
    EXPECT_EQ(lines{}, lines_of(capture.files.write_compressed("empty.gz", ""), true));
}

TEST_F(text_input_file, read_ahead_may_be_left_in_the_middle) {
    text_input file = open(capture.files.write_compressed("f.gz", many_lines()), true);
    std::string_view line;
    EXPECT_TRUE(file.next_line(line));
    EXPECT_EQ(0U, line.find("line 0 "));
}

TEST_F(text_input_file, corrupt_gzip_is_found) {
    capture.files.write_compressed("whole.gz", many_lines());
    std::string bytes = capture.files.read("whole.gz");
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 0x55);
    expect_damaged("middle.gz", bytes);
}

TEST_F(text_input_file, wrong_checksum_is_found) {
    capture.files.write_compressed("whole.gz", many_lines());
    std::string bytes = capture.files.read("whole.gz");
    bytes[bytes.size() - 6] = static_cast<char>(bytes[bytes.size() - 6] ^ 1);
    expect_damaged("checksum.gz", bytes);
}

TEST_F(text_input_file, plain_text_under_a_gz_name_is_refused) {
    expect_end(capture,
               concat("ERROR: The file [", capture.files.name("plain.gz"),
                      "] is not compressed, but its name ends in .gz. Please rename it, or compress it."),
               1, [this] { open(capture.files.write("plain.gz", "a\nb\n")); });
}

TEST_F(text_input_file, failure_names_line_and_file) {
    text_input file = open(capture.files.write("f", "a\nb\n"));
    std::string_view line;
    file.next_line(line);
    file.next_line(line);
    expect_end(capture, "ERROR: It is wrong, in line 2 of the file [" + file.name() + "].", 1,
               [&file] { file.fail("It is wrong"); });
}

TEST_F(text_input_file, note_names_line_and_file) {
    text_input file = open(capture.files.write("f", "a\n"));
    std::string_view line;
    file.next_line(line);
    file.note("odd");
    EXPECT_EQ("orvide: note: [" + file.name() + "], line 1: odd\n", capture.notes.str());
}

}  // namespace
