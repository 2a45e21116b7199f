#include "output/copy_probabilities.h"

#include "model/conditioning_states.h"
#include "output_fixture.h"

namespace {

class copy_probabilities : public output_fixture {
  protected:
    conditioning_states states;
    void ref(const std::vector<double>& posterior, std::size_t n_expected, int outdp = 3) {
        result_file file(run.log, path("_ref"), false);
        output_ref_copy_probs(file, run.log, 3, 1, 1234567, states, posterior, 4, n_expected, outdp);
    }
    void all(const std::vector<double>& posterior, std::size_t first_own, std::size_t n_own, std::size_t n_expected) {
        result_file file(run.log, path("_all"), false);
        output_all_copy_probs(file, run.log, 3, 1234567, first_own, n_own, states, posterior, {2, 1, 4}, n_expected, 3);
    }
};

TEST_F(copy_probabilities, reference_line_places_the_states_and_scales_them) {
    states.add(0, 3);
    states.add(0, 1);
    ref({1.0, 3.0}, 2);
    EXPECT_EQ(text_of(path("_ref")), "7 1234567 0 0.750 0 0.250\n");
}

TEST_F(copy_probabilities, values_print_as_digits_only_beyond_the_last_decimal) {
    states.add(0, 0);
    states.add(0, 1);
    states.add(0, 2);
    ref({0.9991, 0.0009, 0.0}, 3);
    EXPECT_EQ(text_of(path("_ref")), "7 1234567 1 0 0 0\n");
    ref({0.75, 0.125, 0.125}, 3, 1);
    EXPECT_EQ(text_of(path("_ref")), "7 1234567 0.8 0.1 0.1 0\n");
}

TEST_F(copy_probabilities, value_of_exactly_the_smallest_printed_has_its_decimals) {
    states.add(0, 0);
    states.add(0, 1);
    ref({999.0, 1.0}, 2);  // 0.999 and 0.001, the bounds themselves
    EXPECT_EQ(text_of(path("_ref")), "7 1234567 0.999 0.001 0 0\n");
}

TEST_F(copy_probabilities, reference_states_of_another_number_end_the_run) {
    states.add(0, 0);
    states.add(1, 0);
    expect_fatal("ERROR: In trying to print reference copy probabilities, found 1 states when expecting 2 states.",
                 [&] {
                     ref({1.0, 1.0}, 2);
                 });
}

TEST_F(copy_probabilities, line_of_all_panels_leaves_out_the_own_haplotypes) {
    states.add(0, 1);
    states.add(1, 0);
    states.add(2, 3);
    all({1.0, 2.0, 1.0}, 0, 2, 3);
    EXPECT_EQ(text_of(path("_all")), "3-1234567 0 0.250 0.500 0 0.250\n");
    states.clear();
    states.add(2, 0);
    states.add(0, 0);
    all({3.0, 1.0}, 2, 2, 2);
    EXPECT_EQ(text_of(path("_all")), "3-1234567 0.250 0 0 0.750 0\n");
}

TEST_F(copy_probabilities, line_of_all_panels_can_leave_out_one_own_haplotype) {
    states.add(0, 0);
    all({1.0}, 1, 1, 1);
    EXPECT_EQ(text_of(path("_all")), "3-1234567 1 0 0 0 0 0\n");
}

TEST_F(copy_probabilities, states_of_all_panels_of_another_number_end_the_run) {
    states.add(0, 0);
    expect_fatal("ERROR: In trying to print all copy probabilities, found 1 states when expecting 5 states.",
                 [&] { all({1.0}, 0, 2, 5); });
}

}  // namespace
