#include "input/formats/gen.h"

#include <gtest/gtest.h>

#include <vector>

#include "input/formats/format_fixture.h"

namespace {

class gen : public format_fixture {
  protected:
    using triples = std::vector<probability_triple>;
    static triples read(genotype_source& source) {
        triples values(source.n_columns(), {7, 7, 7});
        source.read_triples(values);
        return values;
    }
};

TEST_F(gen, columns_are_known_before_the_first_site) {
    gen_file source = open<gen_file>("\ns r 150 A C 1 0 0 0 0.25 0.75\ns2 r2 160 G T 0 0 1 0 0 0\n");
    EXPECT_EQ(2U, source.n_columns());
    site_fields site;
    ASSERT_TRUE(source.next(site));
    EXPECT_EQ("s r 150 A C", names(site));
    EXPECT_EQ((triples{{1, 0, 0}, {0, 0.25F, 0.75F}}), read(source));
    ASSERT_TRUE(source.next(site));
    EXPECT_EQ("s2 r2 160 G T", names(site));
    EXPECT_EQ((triples{{0, 0, 1}, {0, 0, 0}}), read(source));
    EXPECT_FALSE(source.next(site));
}

TEST_F(gen, content_may_be_passed_over) {
    gen_file source = open<gen_file>("s r 150 A C 1 0 0\ns2 r2 160 G T nonsense\ns3 r3 170 A C 0 0 1\n");
    site_fields site;
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(source.next(site));
    EXPECT_EQ((triples{{0, 0, 1}}), read(source));
}

TEST_F(gen, empty_file_has_no_columns_and_no_site) {
    gen_file source = open<gen_file>("");
    EXPECT_EQ(0U, source.n_columns());
    site_fields site;
    EXPECT_FALSE(source.next(site));
}

TEST_F(gen, columns_come_in_threes) {
    expect_fatal("ERROR: The data file [" + capture.files.name("data") +
                     "] does not contain a valid number of columns. Please review the documentation and try again.",
                 [this] { open<gen_file>("s r 150 A C 1 0\n"); });
}

TEST_F(gen, short_site_reads_as_zeros_with_a_note_and_a_long_one_is_refused) {
    gen_file source = open<gen_file>("s r 150 A C 1 0 0 1 0 0\ns r 160 A C 0 1\ns r 170 A C 0 1 0 0 1 0 0\n");
    site_fields site;
    source.next(site);
    source.next(site);
    EXPECT_EQ((triples{{0, 1, 0}, {0, 0, 0}}), read(source));
    EXPECT_EQ("orvide: note: [" + capture.files.name("data") +
                  "], line 2: the line has fewer genotypes than the first one; what is missing reads as zeros\n",
              capture.notes.str());
    source.next(site);
    expect_fatal("ERROR: There are more genotypes than in the first line" + in_line(3), [&] { read(source); });
}

TEST_F(gen, field_that_is_no_number_is_refused) {
    gen_file source = open<gen_file>("s r 150 A C 1 x 0\n");
    site_fields site;
    source.next(site);
    expect_fatal("ERROR: The genotype field 'x' is not a number" + in_line(1), [&] { read(source); });
}

TEST_F(gen, labels_may_be_lacking_but_a_position_not) {
    gen_file source = open<gen_file>("s r 150 A\ns r\n");
    site_fields site;
    ASSERT_TRUE(source.next(site));
    EXPECT_TRUE(site.a1.empty());
    expect_fatal("ERROR: There are fewer fields than a SNP needs" + in_line(2), [&] { source.next(site); });
}

}  // namespace
