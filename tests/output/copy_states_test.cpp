#include "output/copy_states.h"

#include "model/conditioning_states.h"
#include "output_fixture.h"

namespace {

class copy_states_file : public output_fixture {};

TEST_F(copy_states_file, haploid_file_has_a_line_per_haplotype_and_one_distance) {
    std::vector<copy_state_record> records(4);
    records[0] = {{0, 1}, {7, 3}, {5, 11}, {}};
    records[2] = {{1}, {0}, {2}, {}};
    write_copy_states(results, 4, false, 1, records, 2);
    EXPECT_EQ(gzip_text_of(path("_haploid_copy_states_type1snps_iter5.gz")), "0.7.5 1.3.11\n\n1.0.2\n\n");
}

TEST_F(copy_states_file, type_of_a_haploid_file_is_its_reference_set) {
    const std::vector<copy_state_record> records(2);
    write_copy_states(results, 0, false, 0, records, 2);
    EXPECT_EQ(gzip_text_of(path("_haploid_copy_states_type0snps_iter1.gz")), "\n\n");
}

TEST_F(copy_states_file, diploid_file_has_a_line_per_individual_and_two_distances) {
    std::vector<copy_state_record> records(2);
    records[1] = {{0, 2}, {1, 0}, {4, 6}, {5, 7}};
    write_copy_states(results, 0, true, 2, records, 2);
    EXPECT_EQ(gzip_text_of(path("_diploid_copy_states_type2snps_iter1.gz")), "\n0.1.4.5 2.0.6.7\n");
}

TEST_F(copy_states_file, no_more_records_than_states_are_written) {
    std::vector<copy_state_record> records(2);
    records[0] = {{0, 0}, {1, 2}, {3, 4}, {}};
    write_copy_states(results, 0, false, 0, records, 1);
    EXPECT_EQ(gzip_text_of(path("_haploid_copy_states_type0snps_iter1.gz")), "0.1.3\n\n");
}

}  // namespace
