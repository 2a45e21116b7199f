#include "output/result_inputs.h"

#include "output_fixture.h"

namespace {

class result_rooms : public output_fixture {};

TEST_F(result_rooms, names_get_gz_under_o_gz_even_twice) {
    run.params.o_file = "x.gz";
    EXPECT_EQ(results.name("_haps"), "x.gz_haps");
    run.params.o_gz = true;
    EXPECT_EQ(results.name(""), "x.gz.gz");
}

TEST_F(result_rooms, haploids_are_everybody_under_haploid_g_and_males_of_a_chrx_run) {
    give_study(2);
    EXPECT_EQ(results.haploid_study(), (std::vector<char>{0, 0}));
    run.params.haploid_g = run.panels[2].all_haploid = true;
    EXPECT_EQ(results.haploid_study(), (std::vector<char>{1, 1}));
    run.params.haploid_g = run.panels[2].all_haploid = false;
    give_ploidies(2, {1, 2, 1});
    EXPECT_EQ(results.haploid_study(), (std::vector<char>{1, 0, 1}));
}

TEST_F(result_rooms, known_haplotypes_of_all_and_any) {
    EXPECT_TRUE(results.all_have_known_haps());
    EXPECT_FALSE(results.any_has_known_haps());
    run.panels[2].ordered = {false, true};
    EXPECT_FALSE(results.all_have_known_haps());
    EXPECT_TRUE(results.any_has_known_haps());
    run.panels[2].ordered = {true, true};
    EXPECT_TRUE(results.all_have_known_haps());
}

}  // namespace
