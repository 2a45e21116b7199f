#include "input/formats/hap_legend.h"

#include <gtest/gtest.h>

#include <memory>

#include "input/formats/format_fixture.h"
#include "support/alleles.h"

namespace {

class hap_legend : public format_fixture {
  protected:
    std::unique_ptr<hap_legend_pair> open(const std::string& alleles, const std::string& legend, bool free = true) {
        source_request request = request_for(alleles);
        request.legend = capture.files.write("legend", legend);
        request.legend_words = "legend file";
        request.legend_missing_text = "no legend";
        request.question_is_missing = request.further_values = free;
        return std::make_unique<hap_legend_pair>(log, request, open_input(log, request));
    }
    // Alleles of the site in hand; "end" when there are none.
    static std::string read(haplotype_source& source) {
        allele_row row;
        return source.read_alleles(row) ? text_of(row) : "end";
    }
    site_fields site;
    const std::string header = "id position a0 a1\n";
};

TEST_F(hap_legend, columns_are_known_before_the_legend_is_opened) {
    const auto source = open("0 1 -\n1 0 1\n", header + "r1 110 A C\nr2 120 G T\n");
    EXPECT_EQ(3U, source->n_columns());
    EXPECT_EQ("001", text_of(source->absent_columns()));
    source->start(source->absent_columns());
    ASSERT_TRUE(source->next(site));
    EXPECT_EQ("--- r1 110 A C", names(site));
    EXPECT_EQ("01", read(*source));
    ASSERT_TRUE(source->next(site));
    EXPECT_EQ("10", read(*source));
    EXPECT_FALSE(source->next(site));
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(hap_legend, no_column_is_absent_where_all_have_alleles) {
    EXPECT_TRUE(open("0 1\n", header)->absent_columns().empty());
}

TEST_F(hap_legend, site_that_is_passed_over_takes_its_alleles_along) {
    const auto source = open("0 0\nnonsense\n1 1\n", header + "r1 110 A C\nr2 120 A C\nr3 130 A C\n");
    source->start({});
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(source->next(site));
    EXPECT_EQ("11", read(*source));
}

TEST_F(hap_legend, question_mark_is_missing_or_reads_as_zero_with_a_note) {
    const auto first = open("? 1\n", header + "r1 110 A C\n");
    first->start({});
    first->next(site);
    EXPECT_EQ("21", read(*first));
    const auto second = open("? 1\n", header + "r1 110 A C\n", false);
    second->start({});
    second->next(site);
    EXPECT_EQ("01", read(*second));
    EXPECT_EQ("orvide: note: There is a '?', in line 1 of the file [" + capture.files.name("data") +
                  "]: it reads as allele 0 in this panel.\n",
              capture.notes.str());
}

TEST_F(hap_legend, columns_behind_the_fourth_are_further_values) {
    const auto source = open("0\n0\n", "id position a0 a1 maf type\nr1 110 A C 0.1 snp more\nr2 120 A C 0.1\n");
    source->start({});
    EXPECT_EQ((std::vector<std::string>{"maf", "type"}), source->value_names());
    source->next(site);
    EXPECT_EQ((std::vector<std::string>{"0.1", "snp", "more"}), source->values());
    source->next(site);
    expect_fatal("ERROR: There are fewer columns than in the header, in line 3 of the file [" +
                     capture.files.name("legend") + "].",
                 [&] { source->values(); });
}

TEST_F(hap_legend, header_has_four_columns_or_more_where_they_are_allowed) {
    const std::string file = "ERROR: The legend file [" + capture.files.name("legend") + "] ",
                      end = " Please review the documentation and try again.";
    expect_fatal(file + "must contain at least four columns." + end, [&] { open("0\n", "a b c\n")->start({}); });
    expect_fatal(file + "does not conform to the required four-column format." + end,
                 [&] { open("0\n", "a b c d e\n", false)->start({}); });
    EXPECT_EQ((std::vector<std::string>{}), [&] {
        const auto source = open("0\n", header, false);
        source->start({});
        return source->value_names();
    }());
}

TEST_F(hap_legend, header_that_is_data_is_refused) {
    expect_fatal(
        "ERROR: The second word of the first line is the number 110; expected is a header such as 'id position "
        "a0 a1', in line 1 of the file [" +
            capture.files.name("legend") + "].",
        [&] { open("0\n", "r1 110 A C\nr2 120 A C\n")->start({}); });
}

TEST_F(hap_legend, alleles_that_go_on_behind_the_legend_are_refused) {
    const auto longer = open("0\n1\n0\n", header + "r1 110 A C\nr2 120 A C\n");
    longer->start({});
    longer->next(site);
    longer->next(site);
    expect_fatal("ERROR: There are more lines than sites in the legend [" + capture.files.name("legend") +
                     "], which has 2; both must have one for each site in the same order" + in_line(3),
                 [&] { longer->next(site); });
}

TEST_F(hap_legend, alleles_that_end_before_the_legend_are_odd) {
    const auto shorter = open("0\n", header + "r1 110 A C\nr2 120 A C\n");
    shorter->start({});
    shorter->next(site);
    shorter->next(site);
    EXPECT_EQ("end", read(*shorter));
    EXPECT_EQ("orvide: note: The haplotypes end before their legend, in line 1 of the file [" +
                  capture.files.name("data") + "]: what begins with site 2 of the legend [" +
                  capture.files.name("legend") + "] is left out.\n",
              capture.notes.str());
}

TEST_F(hap_legend, faults_of_alleles_name_their_place) {
    const auto source = open("0 1\n0\n0 1 1\n0 3\n", header + "r1 1 A C\nr2 2 A C\nr3 3 A C\nr4 4 A C\n");
    source->start({});
    source->next(site);
    source->next(site);
    expect_fatal("ERROR: There are fewer haplotypes than in the first line" + in_line(2), [&] { read(*source); });
    source->next(site);
    expect_fatal("ERROR: There are more haplotypes than in the first line" + in_line(3), [&] { read(*source); });
    source->next(site);
    expect_fatal("ERROR: The allele '3' in column 2 is not valid" + in_line(4), [&] { read(*source); });
}

}  // namespace
