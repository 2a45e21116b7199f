#include "model/conditioning_states.h"
#include "output/results.h"
#include "output_fixture.h"

namespace {

class copy_states_file : public output_fixture {
  protected:
    std::vector<copy_state_record> records;
};

TEST_F(copy_states_file, haploid_file_has_a_line_per_haplotype_and_one_distance) {
    give_study(2);
    run.models.k_states[0][2][1] = 2;
    records.resize(4);
    records[0] = {{0, 1}, {7, 3}, {5, 11}, {}};
    records[2] = {{1}, {0}, {2}, {}};
    output_current_copy_states(run, records, 4, 0, 2, 1);
    EXPECT_EQ(gzip_text_of(path("_haploid_copy_states_type1snps_iter5.gz")), "0.7.5 1.3.11\n\n1.0.2\n\n");
}

TEST_F(copy_states_file, type_of_a_haploid_file_is_its_reference_set) {
    give_study(1);
    output_current_copy_states(run, records, 0, 0, 2, 0);
    EXPECT_EQ(gzip_text_of(path("_haploid_copy_states_type0snps_iter1.gz")), "\n\n");
}

TEST_F(copy_states_file, diploid_file_has_a_line_per_individual_and_two_distances) {
    give_study(2);
    run.models.k_states[1][2][2] = 2;
    records.resize(2);
    records[1] = {{0, 2}, {1, 0}, {4, 6}, {5, 7}};
    output_current_copy_states(run, records, 0, 1, 2, 2);
    EXPECT_EQ(gzip_text_of(path("_diploid_copy_states_type2snps_iter1.gz")), "\n0.1.4.5 2.0.6.7\n");
}

TEST_F(copy_states_file, no_more_records_than_states_are_written) {
    give_study(1);
    run.models.k_states[0][2][0] = 1;
    records.resize(2);
    records[0] = {{0, 0}, {1, 2}, {3, 4}, {}};
    output_current_copy_states(run, records, 0, 0, 2, 0);
    EXPECT_EQ(gzip_text_of(path("_haploid_copy_states_type0snps_iter1.gz")), "0.1.3\n\n");
}

TEST_F(copy_states_file, records_are_emptied_when_written) {
    give_study(1);
    run.models.k_states[0][2][0] = 1;
    records.resize(2);
    records[0] = {{0}, {1}, {3}, {}};
    output_current_copy_states(run, records, 0, 0, 2, 0);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_TRUE(records[0].panel.empty() && records[0].hap.empty() && records[0].dist_a.empty());
    output_current_copy_states(run, records, 1, 0, 2, 0);
    EXPECT_EQ(gzip_text_of(path("_haploid_copy_states_type0snps_iter2.gz")), "\n\n");
}

}  // namespace
