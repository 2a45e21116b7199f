#include "input/formats/site_line.h"

#include <gtest/gtest.h>

#include "input/formats/format_fixture.h"

namespace {

class site_line : public format_fixture {
  protected:
    // A source that yields the sites and what stands behind them.
    class named_sites : public site_line_file<site_source> {
      public:
        using site_line_file::content;
        using site_line_file::first_line;
        using site_line_file::site_line_file;
    };
    // The site of a line, as the first one of a file.
    site_fields take(const std::string& line, bool with_snp_id) {
        text_input file(log, request_for(line).file, "missing", "unopened");
        std::string_view same;
        file.next_line(same);
        return take_site(file, line, with_snp_id, rest);
    }
    std::string_view rest;
};

TEST_F(site_line, names_the_site_before_its_content) {
    const std::string line = "s1 r1\t150 A  C 0 1";
    EXPECT_EQ("s1 r1 150 A C", names(take(line, true)));
    EXPECT_EQ(" 0 1", rest);
}

TEST_F(site_line, may_lack_the_snp_id) {
    const std::string line = "r1 150 A C x";
    EXPECT_EQ("--- r1 150 A C", names(take(line, false)));
    EXPECT_EQ(" x", rest);
}

TEST_F(site_line, may_end_before_the_labels) {
    const std::string with_one = "s r 150 A", with_none = "s r 150";
    EXPECT_EQ("s r 150 A ", names(take(with_one, true)));
    EXPECT_EQ("", rest);
    EXPECT_EQ("s r 150  ", names(take(with_none, true)));
    EXPECT_EQ("", rest);
}

TEST_F(site_line, without_a_position_ends_the_run) {
    expect_fatal("ERROR: There are fewer fields than a SNP needs" + in_line(1), [this] { take("s r", true); });
    expect_fatal("ERROR: The position 'A' is not a number" + in_line(1), [this] { take("s r A C", true); });
    expect_fatal("ERROR: The position '12x' is not a number" + in_line(1), [this] { take("r 12x A C", false); });
}

TEST_F(site_line, counts_the_fields_of_its_content) {
    EXPECT_EQ(3U, count_content_fields("s r 150 A C 0 1\t0 "));
    EXPECT_EQ(0U, count_content_fields("s r 150 A C"));
    EXPECT_EQ(0U, count_content_fields("s r 150"));
    EXPECT_EQ(0U, count_content_fields(""));
}

TEST_F(site_line, of_a_file_follows_empty_lines) {
    named_sites source = open<named_sites>("\ns r 150 A C 0 1\n \nt q 160 G T\n");
    site_fields site;
    ASSERT_TRUE(source.next(site));
    EXPECT_EQ("s r 150 A C", names(site));
    EXPECT_EQ(" 0 1", source.content());
    ASSERT_TRUE(source.next(site));
    EXPECT_EQ("t q 160 G T", names(site));
    EXPECT_EQ("", source.content());
    EXPECT_FALSE(source.next(site));
}

TEST_F(site_line, of_a_file_is_shown_before_it_is_taken) {
    named_sites source = open<named_sites>("\ns r 150 A C 0 1\n");
    EXPECT_EQ("s r 150 A C 0 1", source.first_line());
    site_fields site;
    ASSERT_TRUE(source.next(site));
    EXPECT_EQ("s r 150 A C", names(site));
    EXPECT_EQ("", open<named_sites>("\n").first_line());
}

TEST_F(site_line, of_a_file_says_where_it_stands) {
    named_sites source = open<named_sites>("s r 150 A C\nt q 160 A C\n");
    site_fields site;
    source.next(site);
    source.next(site);
    source.note("odd");
    EXPECT_EQ("orvide: note: [" + capture.files.name("data") + "], line 2: odd\n", capture.notes.str());
    expect_fatal("ERROR: It is wrong" + in_line(2), [&source] { source.fail("It is wrong"); });
}

}  // namespace
