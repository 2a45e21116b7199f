#include "input/formats/format_table.h"

#include <gtest/gtest.h>

#include "input/formats/format_fixture.h"

namespace {

class formats : public format_fixture {};

TEST_F(formats, plain_text_is_what_the_option_says) {
    EXPECT_EQ(1U, open_genotypes(log, request_for("s r 1 A C 0 1 0\n"))->n_columns());
    EXPECT_EQ(3U, open_haplotypes(log, request_for("0 1 0\n"))->n_columns());
    EXPECT_EQ(1U, open_phased(log, request_for("s r 1 A C 0 1\n"))->n_columns());
    EXPECT_EQ("01", open_sampled(log, request_for("s r 1 A C 01\n"))->first_characters());
}

TEST_F(formats, files_open_once_and_may_be_compressed) {
    source_request request = request_for("");
    request.file = capture.files.write_compressed("data.gz", "s r 1 A C 0 1 0\n");
    EXPECT_EQ(1U, open_genotypes(log, request)->n_columns());
}

TEST_F(formats, file_that_is_not_there_or_cannot_be_opened_ends_the_run) {
    source_request request = request_for("");
    request.file = capture.files.name("none");
    expect_fatal("missing", [&] { open_genotypes(log, request); });
    expect_fatal("missing", [&] { open_haplotypes(log, request); });
    request.file = capture.files.name(".");
    const std::string text = "ERROR: The data file [" + request.file + "] could not be opened.";
    expect_fatal(text, [&] { open_genotypes(log, request); });
    expect_fatal(text, [&] { open_haplotypes(log, request); });
    expect_fatal(text, [&] { open_phased(log, request); });
    expect_fatal(text, [&] { open_sampled(log, request); });
}

}  // namespace
