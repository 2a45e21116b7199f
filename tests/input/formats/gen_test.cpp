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
    EXPECT_EQ("orvide: note: There are fewer genotypes than in the first line: the line ends at person 1 of 2" +
                  in_line(2).substr(0, in_line(2).size() - 1) + ": what is missing reads as zeros.\n",
              capture.notes.str());
    source.next(site);
    expect_fatal("ERROR: There are more genotypes than in the first line" + in_line(3), [&] { read(source); });
}

TEST_F(gen, short_site_is_refused_under_strict) {
    log.set_strict(true);
    gen_file source = open<gen_file>("s r 150 A C 1 0 0 1 0 0\ns r 160 A C 0 1 0 0 1\n");
    site_fields site;
    source.next(site);
    source.next(site);
    EXPECT_THROW(read(source), run_end);
    const std::string text =
        "\nERROR: There are fewer genotypes than in the first line: the line ends at person 2 of 2";
    EXPECT_EQ(0U, capture.terminal.str().find(text)) << capture.terminal.str();
}

TEST_F(gen, values_that_are_no_probabilities_are_refused) {
    const std::string expected = "; expected are three probabilities from 0 to 1 that sum to 1 at most";
    const auto refuses = [&](const std::string& genotype, const std::string& said) {
        gen_file source = open<gen_file>("s r 150 A C 0 1 0 " + genotype + "\n");
        site_fields site;
        source.next(site);
        expect_fatal("ERROR: The genotype of person 2 is " + said + expected + in_line(1), [&] { read(source); });
    };
    refuses("-0.001 1 0", "-0.001 1 0");
    refuses("0 0 1.001", "0 0 1.001");
    refuses("0.021 1 0", "0.021 1 0");
    refuses("0.5 0.5 0.03", "0.5 0.5 0.03");
    refuses("2 0 0", "2 0 0");
}

TEST_F(gen, haplotypes_in_place_of_genotypes_are_named) {
    gen_file source = open<gen_file>("s r 150 A C 0 1 0 1 1 0\n");
    site_fields site;
    source.next(site);
    expect_fatal(
        "ERROR: The genotype of person 2 is 1 1 0; expected are three probabilities from 0 to 1 that sum to 1 at "
        "most; haplotypes are read by -known_haps_g" +
            in_line(1),
        [&] { read(source); });
}

TEST_F(gen, rounded_probabilities_may_sum_to_a_little_more_or_less_than_one) {
    gen_file source = open<gen_file>("s r 150 A C 0.02 1 0 0.5 0.25 0\n");
    site_fields site;
    source.next(site);
    EXPECT_EQ((triples{{0.02F, 1, 0}, {0.5F, 0.25F, 0}}), read(source));
}

TEST_F(gen, field_that_is_no_number_is_refused) {
    gen_file source = open<gen_file>("s r 150 A C 1 x 0\n");
    site_fields site;
    source.next(site);
    expect_fatal("ERROR: The genotype field 'x' of person 1 is not a number" + in_line(1), [&] { read(source); });
}

TEST_F(gen, labels_may_be_lacking_but_a_position_not) {
    gen_file source = open<gen_file>("s r 150 A\ns r\n");
    site_fields site;
    ASSERT_TRUE(source.next(site));
    EXPECT_TRUE(site.a1.empty());
    expect_fatal("ERROR: There are fewer fields than a SNP needs" + in_line(2), [&] { source.next(site); });
}

}  // namespace
