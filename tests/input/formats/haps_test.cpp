#include "input/formats/haps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "input/formats/format_fixture.h"

namespace {

class haps : public format_fixture {
  protected:
    // "0|1 0*|1*" of the next site, and how many pairs it said it had.
    static std::string read(phased_source& source, std::size_t& n) {
        site_fields site;
        EXPECT_TRUE(source.next(site));
        std::vector<allele_pair> pairs(source.n_columns());
        n = source.read_pairs(pairs);
        std::string text;
        for (std::size_t i = 0; i < std::min(n, pairs.size()); ++i) {
            text += std::string(i > 0 ? " " : "") + std::string(pairs[i].first) + "|" + std::string(pairs[i].second);
        }
        return text;
    }
    std::size_t n = 0;
};

TEST_F(haps, fields_stand_in_pairs) {
    haps_file source = open<haps_file>("s r 150 A C 0 1 0* 1*\ns r 160 A C ? ? 1 -\n");
    EXPECT_EQ(2U, source.n_columns());
    EXPECT_EQ("0|1 0*|1*", read(source, n));
    EXPECT_EQ(2U, n);
    EXPECT_EQ("?|? 1|-", read(source, n));
}

TEST_F(haps, carriers_of_one_haplotype_have_one_field) {
    source_request request = request_for("s r 150 A C 0 1 ?\n");
    request.one_haplotype = true;
    haps_file source(log, request, open_input(log, request));
    EXPECT_EQ(3U, source.n_columns());
    EXPECT_EQ("0|. 1|. ?|.", read(source, n));
    EXPECT_EQ(3U, n);
}

TEST_F(haps, ragged_sites_say_how_many_pairs_they_have) {
    haps_file source = open<haps_file>("s r 150 A C 0 1 1 1\ns r 160 A C 0 1 1\ns r 170 A C\ns r 180 A C 0 1 0 1 1\n");
    read(source, n);
    EXPECT_EQ("0|1", read(source, n));
    EXPECT_EQ(1U, n);
    EXPECT_EQ("", read(source, n));
    EXPECT_EQ(0U, n);
    EXPECT_EQ("0|1 0|1", read(source, n));
    EXPECT_EQ(3U, n);
}

TEST_F(haps, genotypes_in_place_of_haplotypes_are_refused) {
    std::string lines;
    for (int i = 0; i < 4; ++i) {  // 20 people as genotypes: 60 fields, which would be 30 people
        lines += "s r 150 A C";
        for (int person = 0; person < 20; ++person) lines += (person + i) % 5 == 0 ? " 0 1 0" : " 1 0 0";
        lines += "\n";
    }
    haps_file source = open<haps_file>(lines);
    EXPECT_EQ(30U, source.n_columns());
    for (int i = 0; i < 3; ++i) read(source, n);
    expect_fatal(
        "ERROR: The lines so far hold genotypes, three numbers a person with a single 1; expected are haplotypes, "
        "two alleles a person; genotypes are read by -g" +
            in_line(4),
        [&] { read(source, n); });
}

TEST_F(haps, haplotypes_of_rare_alleles_are_no_genotypes) {
    std::string lines;
    for (int i = 0; i < 40; ++i) {
        lines += "s r 150 A C";
        for (int column = 0; column < 60; ++column) lines += (column + i) % 7 == 0 ? " 1" : " 0";
        lines += "\n";
    }
    haps_file source = open<haps_file>(lines);
    for (int i = 0; i < 40; ++i) read(source, n);
    EXPECT_EQ(30U, n);
}

TEST_F(haps, odd_number_of_fields_is_refused) {
    expect_fatal("ERROR: The data file [" + capture.files.name("data") +
                     "] does not contain a valid number of columns. Please review the documentation and try again.",
                 [this] { open<haps_file>("s r 150 A C 0\n"); });
}

}  // namespace
