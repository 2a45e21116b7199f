#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/reader_fixture.h"
#include "input/readers.h"
#include "support/run_builder.h"

namespace {

class distance_matrix : public reader_fixture {
  protected:
    void SetUp() override {
        reader_fixture::SetUp();
        set_haplotypes(run.panels, {1, 0, 4});
        set_individuals(run.panels, {0, 0, 2});
    }
    void read_matrix(bool by_hap) { distances = read_distances(run.log, run.params, run.panels, by_hap); }
    std::string read(const std::string& text, bool by_hap = false) {
        (by_hap ? run.params.distances_by_hap_file : run.params.distances_file) = write("dist", text);
        return said([this, by_hap] { read_matrix(by_hap); });
    }
    void expect_wrong_size(const std::string& text) {
        run.params.distances_file = write("dist", text);
        expect_fatal(
            "ERROR: The distance matrix does not contain the correct number of entries. If you used the -distances "
            "option, "
            "the matrix should have dimension N x N, where N is the number of 'individuals' (whether haploid or "
            "diploid) "
            "across all panels. If you used the -distances_by_hap option, the matrix should still have dimension N x "
            "N, "
            "but in this case N is the total number of haplotypes in the dataset.",
            [this] { read_matrix(false); });
        capture.open(run.log);
    }
    using matrix = std::vector<std::vector<double>>;
    matrix distances;
};

TEST_F(distance_matrix, has_a_row_an_individual) {
    EXPECT_EQ("\n-reading distance matrix\n --filename=[" + files().name("dist") + "]\n",
              read("0 1 2.5\n1 0\t3\n2.5 3e0 0\n"));
    EXPECT_EQ((matrix{{0, 1, 2.5}, {1, 0, 3}, {2.5, 3, 0}}), distances);
    EXPECT_EQ("", notes());
}

TEST_F(distance_matrix, has_a_row_a_haplotype) {
    read("1 2 3 4 5\n1 2 3 4 5\n1 2 3 4 5\n1 2 3 4 5\n1 2 3 4 5\n", true);
    ASSERT_EQ(5U, distances.size());
    EXPECT_EQ((std::vector<double>{1, 2, 3, 4, 5}), distances[4]);
}

TEST_F(distance_matrix, row_ends_at_what_is_no_number) {
    read("1 2 x\n1 y 3\n1 2 3\n");
    EXPECT_EQ((matrix{{1, 2, 0}, {1, 0, 0}, {1, 2, 3}}), distances);
    EXPECT_EQ("orvide: note: The row has fewer numbers than the matrix has columns, in line 1 of the file [" +
                  files().name("dist") + "]: the others are 0.\n",
              notes());
}

TEST_F(distance_matrix, missing_rows_are_zero) {
    read("1 2 3\n");
    EXPECT_EQ((matrix{{1, 2, 3}, {0, 0, 0}, {0, 0, 0}}), distances);
    EXPECT_NE(std::string::npos, notes().find("There are fewer lines than the matrix has rows"));
}

TEST_F(distance_matrix, blank_lines_are_skipped) {
    read("\n1 2 3\n\n4 5 6\n7 8 9\n\n");
    EXPECT_EQ((matrix{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}), distances);
}

TEST_F(distance_matrix, surplus_entries_are_refused) {
    expect_wrong_size("1 2 3 4\n");
    expect_wrong_size("1 2 3\n1 2 3\n1 2 3\n1 2 3\n");
}

TEST_F(distance_matrix, compressed_matrix_is_read) {
    run.params.distances_file = files().write_compressed("dist.gz", "1 2 3\n4 5 6\n7 8 9\n");
    read_matrix(false);
    EXPECT_EQ(9.0, distances[2][2]);
}

TEST_F(distance_matrix, missing_files) {
    expect_fatal("ERROR: The -distances file you specified does not exist.", [this] { read_matrix(false); });
    capture.open(run.log);
    expect_fatal("ERROR: The -distances_by_hap file you specified does not exist.", [this] { read_matrix(true); });
}

TEST_F(distance_matrix, file_that_cannot_be_opened) {
    run.params.distances_file = files().name(".");
    expect_fatal("ERROR: The distance matrix file [" + files().name(".") + "] could not be opened.",
                 [this] { read_matrix(false); });
}

}  // namespace
