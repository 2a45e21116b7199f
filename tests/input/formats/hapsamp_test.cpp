#include "input/formats/hapsamp.h"

#include <gtest/gtest.h>

#include "input/formats/format_fixture.h"

namespace {

class hapsamp : public format_fixture {};

TEST_F(hapsamp, string_of_the_first_site_can_be_seen_beforehand) {
    hapsamp_file source = open<hapsamp_file>("s r 150 A C 01-1\r\ns r 160 A C 0000 more\n");
    EXPECT_EQ("01-1", source.first_characters());
    site_fields site;
    ASSERT_TRUE(source.next(site));
    EXPECT_EQ("s r 150 A C", names(site));
    EXPECT_EQ("01-1", source.read_characters());
    ASSERT_TRUE(source.next(site));
    EXPECT_EQ("0000", source.read_characters());
    EXPECT_FALSE(source.next(site));
}

TEST_F(hapsamp, empty_file_has_no_characters) {
    hapsamp_file source = open<hapsamp_file>("\n");
    EXPECT_EQ("", source.first_characters());
}

TEST_F(hapsamp, site_without_a_string_is_refused) {
    hapsamp_file first = open<hapsamp_file>("s r 150 A C\n");
    expect_fatal("ERROR: There are no haplotypes" + in_line(1), [&] { first.first_characters(); });
    hapsamp_file later = open<hapsamp_file>("s r 150 A C 01\ns r 160 A C\n");
    site_fields site;
    later.next(site);
    later.next(site);
    expect_fatal("ERROR: There are no haplotypes" + in_line(2), [&] { later.read_characters(); });
}

}  // namespace
