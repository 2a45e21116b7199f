#include "io/run_log.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/log_capture.h"

namespace {

class run_channels : public ::testing::Test {
  protected:
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
    std::string terminal() const { return capture.terminal.str(); }
    // Both channels hold this text.
    void expect_both(const std::string& text) {
        EXPECT_EQ(text, terminal());
        EXPECT_EQ(text, capture.summary()) << "summary, before it is closed";
    }
};

TEST_F(run_channels, a_line_goes_to_terminal_and_summary_at_once) {
    capture.open(log);
    log.line("first");
    expect_both("first\n");
    log.line("");
    log.line(" --second");
    expect_both("first\n\n --second\n");
    EXPECT_EQ("", capture.warnings());
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(run_channels, a_stage_has_an_empty_line_before_it) {
    capture.open(log);
    log.stage("-reading");
    log.line(" --filename=[x]");
    log.stage("-next");
    expect_both("\n-reading\n --filename=[x]\n\n-next\n");
}

TEST_F(run_channels, a_header_stands_between_two_rules) {
    capture.open(log);
    log.header("---", " Title ");
    expect_both("\n---\n Title \n---\n");
}

TEST_F(run_channels, each_channel_can_be_used_alone) {
    capture.open(log);
    log.terminal_line("seen");
    log.summary_line("kept");
    log.terminal_text("\rprogress");
    EXPECT_EQ("seen\n\rprogress", terminal());
    EXPECT_EQ("kept\n", capture.summary());
}

TEST_F(run_channels, warnings_are_written_and_counted) {
    capture.open(log);
    EXPECT_TRUE(log.warnings_on());
    EXPECT_EQ(0, log.warning_count());
    log.warn("WARNING: one");
    log.warn("WARNING: two");
    EXPECT_EQ(2, log.warning_count());
    EXPECT_EQ("WARNING: one\nWARNING: two\n", capture.warnings());
    EXPECT_EQ("", terminal());
    EXPECT_EQ("", capture.summary());
}

TEST_F(run_channels, warnings_that_are_off_are_neither_written_nor_counted) {
    capture.open(log, false);
    EXPECT_FALSE(log.warnings_on());
    log.warn("WARNING: one");
    EXPECT_EQ(0, log.warning_count());
    EXPECT_FALSE(capture.files.has("warnings"));
    EXPECT_FALSE(capture.files.has("NULL"));
}

TEST_F(run_channels, warnings_before_the_files_are_open_are_off) {
    EXPECT_FALSE(log.warnings_on());
    log.warn("WARNING: one");
    EXPECT_EQ(0, log.warning_count());
}

TEST_F(run_channels, a_fatal_text_is_framed_and_ends_the_run) {
    capture.open(log);
    log.line("before");
    try {
        log.fatal("ERROR: it is over.");
        FAIL() << "the run went on";
    } catch (const run_end& end) {
        EXPECT_EQ(1, end.status);
    }
    expect_both("before\n\nERROR: it is over.\n\n");
    EXPECT_FALSE(log.any_result_failed());
}

TEST_F(run_channels, an_early_end_may_have_status_zero_and_several_lines) {
    capture.open(log);
    try {
        log.fatal("nothing\nto do", 0);
        FAIL() << "the run went on";
    } catch (const run_end& end) {
        EXPECT_EQ(0, end.status);
    }
    expect_both("\nnothing\nto do\n\n");
}

TEST_F(run_channels, a_fatal_text_may_read_differently_in_the_summary) {
    capture.open(log);
    try {
        log.fatal("on the terminal", "in the summary", 1);
        FAIL() << "the run went on";
    } catch (const run_end& end) {
        EXPECT_EQ(1, end.status);
    }
    EXPECT_EQ("\non the terminal\n\n", terminal());
    EXPECT_EQ("\nin the summary\n\n", capture.summary());
}

TEST_F(run_channels, a_fatal_text_before_the_files_are_open_reaches_the_terminal) {
    EXPECT_THROW(log.fatal("ERROR: early."), run_end);
    EXPECT_EQ("\nERROR: early.\n\n", terminal());
    EXPECT_FALSE(capture.files.has("summary"));
}

TEST_F(run_channels, notes_go_to_standard_error_alone) {
    capture.open(log);
    log.note("look here");
    EXPECT_EQ("orvide: look here\n", capture.notes.str());
    EXPECT_EQ("", terminal());
    EXPECT_EQ("", capture.summary());
    EXPECT_FALSE(log.any_result_failed());
}

TEST_F(run_channels, odd_input_is_noted_and_under_strict_it_is_an_error) {
    capture.open(log);
    log.odd_input("[x] was taken as 0.");
    EXPECT_EQ("orvide: note: [x] was taken as 0.\n", capture.notes.str());
    expect_both("");
    log.set_strict(true);
    EXPECT_THROW(log.odd_input("[y] was taken as 0."), run_end);
    EXPECT_EQ("\nERROR: [y] was taken as 0.\n\n", terminal());
    EXPECT_EQ(terminal() + "failed: [y] was taken as 0.\n", capture.summary());
}

TEST_F(run_channels, a_failed_result_is_noted_and_remembered) {
    log.result_failed("cannot write [x]");
    EXPECT_EQ("orvide: cannot write [x]\n", capture.notes.str());
    EXPECT_TRUE(log.any_result_failed());
}

TEST_F(run_channels, a_summary_that_cannot_be_opened_is_named_and_its_lines_are_lost) {
    const std::string name = capture.files.name("no_such_folder") + "/summary";
    log.open(name, capture.files.name("warnings"));
    EXPECT_EQ("orvide: cannot write [" + name + "]: No such file or directory\n", capture.notes.str());
    EXPECT_TRUE(log.any_result_failed());
    log.line("on the terminal only");
    log.warn("WARNING: still written");
    log.close();
    EXPECT_EQ("on the terminal only\n", terminal());
    EXPECT_EQ("WARNING: still written\n", capture.warnings());
    EXPECT_EQ("orvide: cannot write [" + name + "]: No such file or directory\n", capture.notes.str()) << "said once";
}

TEST_F(run_channels, a_warnings_file_that_cannot_be_opened_is_named_and_warnings_count_on) {
    const std::string name = capture.files.name("");  // a folder
    log.open(capture.files.name("summary"), name);
    EXPECT_NE(std::string::npos, capture.notes.str().find("orvide: cannot write [" + name + "]: "));
    EXPECT_TRUE(log.any_result_failed());
    log.warn("WARNING: lost");
    EXPECT_EQ(1, log.warning_count());
}

TEST_F(run_channels, a_summary_that_cannot_be_written_to_its_end_is_named_when_it_is_closed) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP();
    log.open("/dev/full", "NULL");
    EXPECT_FALSE(log.any_result_failed());
    log.line("lost");
    log.close();
    EXPECT_TRUE(log.any_result_failed());
    EXPECT_EQ(0U, capture.notes.str().find("orvide: cannot write [/dev/full] to its end: ")) << capture.notes.str();
}

TEST_F(run_channels, files_are_begun_anew) {
    capture.files.write("summary", "old\n");
    capture.files.write("warnings", "old\n");
    capture.open(log);
    log.close();
    EXPECT_EQ("", capture.summary());
    EXPECT_EQ("", capture.warnings());
}

TEST_F(run_channels, closing_twice_or_before_opening_says_nothing) {
    log.close();
    capture.open(log);
    log.line("text");
    log.close();
    log.close();
    EXPECT_EQ("text\n", capture.summary());
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(run_channels, messages_show_bytes_that_would_move_the_cursor) {
    capture.open(log);
    log.note("[\x1b[2J]");
    EXPECT_EQ("orvide: [\\x1b[2J]\n", capture.notes.str());
    EXPECT_THROW(log.fatal("ERROR: two\nlines \r"), run_end);
    expect_both("\nERROR: two\nlines \\x0d\n\n");
}

TEST_F(run_channels, summary_of_a_strict_run_ends_with_how_it_ended) {
    log.set_strict(true);
    capture.open(log);
    log.line("text");
    log.close();
    EXPECT_EQ("text\n\nfinished\n", capture.summary());

    capture.open(log);
    EXPECT_THROW(log.fatal("ERROR: It does not fit.\nTry again."), run_end);
    EXPECT_EQ("\nERROR: It does not fit.\nTry again.\n\nfailed: It does not fit.\n", capture.summary());

    capture.open(log);
    log.result_failed("cannot write [x]");
    log.close();
    EXPECT_EQ("\nfailed: a result could not be written; standard error names it\n", capture.summary());
}

TEST_F(run_channels, summary_of_another_run_has_no_such_line) {
    capture.open(log);
    log.line("text");
    log.close("failure");
    EXPECT_EQ("text\n", capture.summary());
}

}  // namespace
