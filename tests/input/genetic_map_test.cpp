#include <gtest/gtest.h>

#include <vector>

#include "input/reader_fixture.h"
#include "input/readers.h"

namespace {

class genetic_map_file : public reader_fixture {
  protected:
    void SetUp() override {
        reader_fixture::SetUp();
        run.params.Ne = 2500.0;  // 4 Ne Morgans: 100 units a cM
    }
    void read_map() { reading = read_genetic_map(run.log, run.params, run.plan); }
    std::string read(const std::string& lines) {
        run.params.m_file = write("map", "position rate cM\n" + lines);
        return said([this] { read_map(); });
    }
    std::string report(int n) const {
        return "\n-reading genetic map from -m file\n --filename=[" + run.params.m_file + "]\n --read " +
               std::to_string(n) + " SNPs in the analysis interval+buffer region\n";
    }
    void expect_refused(const std::string& lines, const std::string& text) {
        run.params.m_file = write("map", lines);
        expect_fatal(text, [this] { read_map(); });
    }
    map_reading reading;
    using positions = std::vector<long>;
    using values = std::vector<double>;
};

TEST_F(genetic_map_file, keeps_one_point_on_each_side) {
    EXPECT_EQ(report(3), read("10 1 0.1\n90 1 0.2\n100 1 0.3\n150 1 0.4\n200 1 0.5\n300 1 0.6\n400 1 0.7\n"));
    EXPECT_EQ((positions{90, 100, 150, 200, 300}), reading.map.positions);
    ASSERT_EQ(5U, reading.map.scaled.size());
    EXPECT_DOUBLE_EQ(20.0, reading.map.scaled[0]);
    EXPECT_DOUBLE_EQ(60.0, reading.map.scaled[4]);
}

TEST_F(genetic_map_file, map_that_starts_inside_has_no_point_to_the_left) {
    EXPECT_EQ(report(1), read("150 1 0.5\n250 1 0.7\n"));
    EXPECT_EQ((positions{150, 250}), reading.map.positions);
    EXPECT_DOUBLE_EQ(50.0 - 4 * 2500.0 * 1e-8 * 40, reading.map.at(110));
}

TEST_F(genetic_map_file, map_that_ends_inside_is_read_to_its_end) {
    EXPECT_EQ(report(2), read("90 1 0.1\n110 1 0.5\n150 1 0.7\n"));
    EXPECT_EQ((positions{90, 110, 150}), reading.map.positions);
    EXPECT_DOUBLE_EQ(70.0 + 4 * 2500.0 * 1e-8 * 50, reading.map.at(200));
}

TEST_F(genetic_map_file, rest_of_the_file_behind_the_region_is_not_looked_at) {
    EXPECT_EQ(report(0), read("90 1 0.1\n300 1 0.5\n200 1 nonsense\n"));
    EXPECT_EQ((positions{90, 300}), reading.map.positions);
}

TEST_F(genetic_map_file, header_alone_gives_no_map) {
    EXPECT_EQ(report(0), read(""));
    EXPECT_TRUE(reading.map.positions.empty());
    EXPECT_EQ(0.0, reading.map.at(150));
}

TEST_F(genetic_map_file, positions_are_interpolated) {
    read("100 1 0.1\n200 1 0.5\n");
    EXPECT_DOUBLE_EQ(20.0, reading.map.at(125));
    EXPECT_DOUBLE_EQ(10.0, reading.map.at(100));
    EXPECT_DOUBLE_EQ(50.0, reading.map.at(200));
}

TEST_F(genetic_map_file, chrx_has_three_quarters_of_the_size) {
    run.params.chrX = true;
    read("100 1 1.0\n150 1 2.0\n");
    EXPECT_DOUBLE_EQ(75.0, reading.map.scaled[0]);
    EXPECT_DOUBLE_EQ(150.0 + 3 * 2500.0 * 1e-8 * 50, reading.map.at(200));
}

TEST_F(genetic_map_file, switch_rate_stretches_the_map_inside_and_outside) {
    run.params.switch_rate = 4.0;
    read("100 1 0.1\n200 1 0.5\n");
    EXPECT_DOUBLE_EQ(40.0, reading.map.at(100));
    EXPECT_DOUBLE_EQ(80.0, reading.map.at(125));
    EXPECT_DOUBLE_EQ(200.0 + 4 * 4 * 2500.0 * 1e-8 * 50, reading.map.at(250));
}

TEST_F(genetic_map_file, pseudo_autosomal_region_is_reduced_outside_the_map_only) {
    run.params.chrX = run.params.Xpar = true;
    read("100 1 1.0\n150 1 2.0\n");
    EXPECT_DOUBLE_EQ(100.0, reading.map.scaled[0]);
    EXPECT_DOUBLE_EQ(200.0 + 3 * 2500.0 * 1e-8 * 50, reading.map.at(200));
}

TEST_F(genetic_map_file, compressed_map_is_read) {
    run.params.m_file = files().write_compressed("map.gz", "p r c\n100 1 0.1\n");
    EXPECT_EQ(report(1), said([this] { read_map(); }));
}

TEST_F(genetic_map_file, missing_file) {
    expect_fatal("ERROR: The -m file you specified does not exist.", [this] { read_map(); });
    EXPECT_NE(std::string::npos, capture.terminal.str().find(" --filename=[NULL]\n"));
}

TEST_F(genetic_map_file, file_that_cannot_be_opened) {
    run.params.m_file = files().name(".");
    expect_fatal("ERROR: The genetic map file [" + run.params.m_file + "] could not be opened.",
                 [this] { read_map(); });
}

TEST_F(genetic_map_file, header_needs_three_columns) {
    for (const char* text : {"", "a b\n1 1 1\n", "a b c d\n1 1 1\n"}) {
        expect_refused(text, "ERROR: The genetic map file [" + files().name("map") +
                                 "] does not conform to the required three-column format. Please review the online "
                                 "documentation and try again.");
        capture.open(run.log);
    }
}

TEST_F(genetic_map_file, positions_must_ascend) {
    expect_refused(
        "p r c\n50 1 0.1\n50 1 0.2\n",
        "ERROR: The physical positions in the genetic map file (first column) are not strictly increasing and "
        "unique, as seen from consecutive positions 50 and 50.");
}

TEST_F(genetic_map_file, map_positions_must_not_fall) {
    expect_refused("p r c\n50 1 0.25\n60 1 0.125\n",
                   "ERROR: The genetic map positions in the genetic map file (third column) are not strictly "
                   "increasing, as seen from consecutive positions 0.2500000000 and 0.1250000000.");
}

TEST_F(genetic_map_file, header_of_numbers_is_odd) {
    run.params.m_file = write("map", "110 1 0.1\n120 1 0.2\n");
    read_map();
    EXPECT_EQ((positions{120}), reading.map.positions);
    EXPECT_EQ("orvide: note: There are numbers in place of a header, in line 1 of the file [" + run.params.m_file +
                  "]: the line counts as the header, and its point is left out.\n",
              notes());
}

TEST_F(genetic_map_file, map_without_a_point_is_odd) {
    read("");
    EXPECT_EQ("orvide: note: The genetic map file [" + run.params.m_file +
                  "] has no point: all sites are taken to be at one genetic position.\n",
              notes());
    EXPECT_EQ("", reading.out_of_reach);
}

TEST_F(genetic_map_file, map_left_of_the_region_is_odd_for_a_run_with_sites) {
    read("10 1 0.1\n90 1 0.2\n");
    EXPECT_EQ("The genetic map file [" + run.params.m_file +
                  "] covers the positions 10 to 90, and the region of the run with its buffer is 100 to 200: all sites "
                  "are taken "
                  "to be at one genetic position. Give the map of the same chromosome and genome build as the data.",
              reading.out_of_reach);
}

TEST_F(genetic_map_file, map_right_of_the_region_is_odd) {
    read("210 1 0.1\n290 1 0.2\n");
    EXPECT_EQ(
        "orvide: note: The genetic map file [" + run.params.m_file +
            "] begins at position 210, and the region of the run with its buffer is 100 to 200: the rate there is "
            "taken for 1 cM per Mb.\n",
        notes());
}

TEST_F(genetic_map_file, equal_map_positions_pass) {
    EXPECT_EQ(report(1), read("50 1 0.25\n60 1 0.25\n110 1 0.25\n"));
    EXPECT_EQ((positions{60, 110}), reading.map.positions);
}

TEST_F(genetic_map_file, disorder_inside_the_region_stays_and_is_noted) {
    EXPECT_EQ(report(3), read("50 1 0.1\n120 1 0.5\n110 1 0.3\n110 1 0.2\n"));
    EXPECT_EQ((positions{50, 120, 110, 110}), reading.map.positions);
    EXPECT_EQ(
        "orvide: note: The position 110 or the map position 0.3 is not above that of the line before, in line 4 of "
        "the file [" +
            run.params.m_file + "]: the map stays as it stands.\n",
        notes());
}

TEST_F(genetic_map_file, points_inside_are_compared_with_the_last_one_before) {
    expect_refused("p r c\n50 1 0.5\n120 1 0.6\n130 1 0.4\n",
                   "ERROR: The genetic map positions in the genetic map file (third column) are not strictly "
                   "increasing, as seen from consecutive positions 0.5000000000 and 0.4000000000.");
}

TEST_F(genetic_map_file, trailing_blank_line_inside_the_region_repeats_the_last_point) {
    EXPECT_EQ(report(2), read("110 1 0.5\n\n"));
    EXPECT_EQ((positions{110, 110}), reading.map.positions);
    EXPECT_NE(
        std::string::npos,
        notes().find("orvide: note: The line does not hold the numbers position, rate and map position, in line 3 "));
}

TEST_F(genetic_map_file, blank_line_left_of_the_region_is_fatal) {
    expect_refused(
        "p r c\n50 1 0.5\n\n",
        "ERROR: The physical positions in the genetic map file (first column) are not strictly increasing and "
        "unique, as seen from consecutive positions 50 and 50.");
}

TEST_F(genetic_map_file, more_columns_in_a_line_are_ignored) {
    EXPECT_EQ(report(1), read("110 rate 0.5 and more\n"));
    EXPECT_DOUBLE_EQ(50.0, reading.map.scaled[0]);
}

}  // namespace
