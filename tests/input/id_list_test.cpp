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
    const id_set ids = read("rs12\n");
    const std::string_view line = "rs123 150";
    EXPECT_TRUE(ids.contains(line.substr(0, 4)));
    EXPECT_FALSE(ids.contains(line.substr(0, 5)));
}

}  // namespace
