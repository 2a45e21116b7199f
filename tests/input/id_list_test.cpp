#include "input/id_list.h"

#include <gtest/gtest.h>

#include "io/text_input.h"
#include "support/log_capture.h"

namespace {

id_set read(const std::string& text) {
    const log_capture capture;
    std::ostringstream terminal, notes;
    run_log log(terminal, notes);
    text_input file(log, capture.files.write("ids", text), "missing", "unopened");
    return read_first_fields(file);
}

TEST(id_list, takes_the_first_field_of_a_line) {
    EXPECT_EQ((id_set{"rs1", "rs2", "rs3"}), read("rs1\n  rs2 rs9\nrs3\tx"));
}

TEST(id_list, passes_over_empty_lines) {
    EXPECT_EQ((id_set{"a", "b"}), read("\na\n  \t\n\nb\n\n"));
    EXPECT_EQ(id_set{}, read(""));
}

TEST(id_list, holds_a_name_once) {
    EXPECT_EQ(id_set{"a"}, read("a\na 1\na 2\n"));
}

TEST(id_list, is_asked_with_a_piece_of_a_line) {
    id_set ids = read("rs12\n");
    const std::string_view line = "rs123 150";
    EXPECT_TRUE(ids.contains(line.substr(0, 4)));
    EXPECT_FALSE(ids.contains(line.substr(0, 5)));
}

TEST(id_list, tells_what_was_not_found) {
    id_set ids{"a", "b", "c", "d", "e", "f", "g"};
    EXPECT_FALSE(ids.was_asked());
    ids.contains("c");
    ids.contains("x");
    EXPECT_TRUE(ids.was_asked());
    EXPECT_EQ(1U, ids.n_found());
    EXPECT_EQ("a, b, d, e, f and 1 more", ids.not_found());
    ids.contains("g");
    EXPECT_EQ("a, b, d, e, f", ids.not_found());
}

class found_entries : public ::testing::Test {
  protected:
    std::string report(const id_set& ids, bool needed, const std::string& remark = "") {
        report_found(log, ids, "-x", "file", needed, remark);
        return capture.notes.str();
    }
    void SetUp() override { capture.open(log); }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
};

TEST_F(found_entries, are_counted_on_standard_error) {
    id_set ids{"a", "b"};
    ids.contains("b");
    EXPECT_EQ("orvide: note: 1 of 2 entries of the list [file] (-x) were found; not found: a; remark\n",
              report(ids, true, "; remark"));
    EXPECT_EQ("", capture.terminal.str());
}

TEST_F(found_entries, that_are_none_are_odd_where_the_list_acts) {
    const id_set ids{"a", "b"};
    EXPECT_EQ("orvide: note: 0 of 2 entries of the list [file] (-x) were found; not found: a, b\n", report(ids, false));
    capture.notes.str("");
    EXPECT_EQ(
        "orvide: note: Nothing of the list [file] (-x) was found in the data, and it excludes nothing: a, b. Its "
        "entries "
        "must be equal to IDs of the data, to the letter.\n",
        report(ids, true));
}

TEST_F(found_entries, may_be_none_in_an_empty_list) {
    EXPECT_EQ("orvide: note: the list [file] (-x) is empty\n", report({}, true));
}

}  // namespace
