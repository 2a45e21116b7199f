#include "output/info_by_sample.h"

#include "output_fixture.h"

namespace {

class info_by_sample : public output_fixture {
  protected:
    std::string by_sample() { return text_of(path("_info_by_sample")); }
};

TEST_F(info_by_sample, file_is_not_written_under_mc_impute) {
    run.params.mc_impute = true;
    write_info_by_sample(results);
    EXPECT_FALSE(exists(path("_info_by_sample")));
}

TEST_F(info_by_sample, file_without_comparisons_is_an_empty_line) {
    give_study(2);
    write_info_by_sample(results);
    EXPECT_EQ(by_sample(), "\n");
}

TEST_F(info_by_sample, compares_along_the_typed_sites_of_the_interval) {
    give_study(2);
    snp& outside = add_site(90, 2);
    snp& first = add_site(110, 2);
    snp& other = add_site(120, 3);
    snp& second = add_site(130, 2);
    for (snp* site : {&outside, &first, &other, &second}) add_genotypes(*site, {site == &second ? 2 : 0, 3});
    allocate();
    run.params.pgs = true;
    run.plan.selfcheck_iters = {3};
    add_sums(first, 0, 0.4, 0.0);
    add_sums(second, 0, 1.6, 0.4);  // called 1
    add_masked_sums(1, second, 0, 0.0, 1.0);
    add_masked_sums(0, first, 0, 0.5, 0.0);
    add_masked_sums(0, second, 0, 0.5, 0.0);
    write_info_by_sample(results);
    EXPECT_EQ(by_sample(),
              "concord_type2 r2_type2 concord_type1 r2_type1 concord_type0 r2_type0\n"
              "0.500 1.000 1.000 1.000 0.500 -1.000\n"
              "-1 -1 -1 -1 -1 -1\n");
}

TEST_F(info_by_sample, head_follows_the_type_bits) {
    give_study(1);
    run.plan.selfcheck_iters = {3};
    run.plan.output_types = {false, true, true, true};
    write_info_by_sample(results);
    EXPECT_EQ(by_sample(), "concord_type1 r2_type1\n-1 -1\n");
    run.plan.output_types = {true, false, true, true};
    run.params.snp_qc_info = false;  // of no bearing here
    write_info_by_sample(results);
    EXPECT_EQ(by_sample(), "concord_type0 r2_type0\n-1 -1\n");
}

TEST_F(info_by_sample, has_a_line_for_each_of_many_individuals) {
    give_study(150);
    snp& site = add_site(150, 2);
    for (int i = 0; i < 150; ++i) add_genotypes(site, {i % 3 == 0 ? 2 : 0});
    allocate();
    run.params.pgs = true;
    for (std::size_t i = 0; i < 150; ++i) add_sums(site, i, 0.0, i % 2 == 0 ? 2.0 : 0.0);
    write_info_by_sample(results);
    for (std::size_t i = 0; i < 150; ++i) {
        const bool agree = (i % 3 == 0) == (i % 2 == 0);
        ASSERT_EQ(fields_of(path("_info_by_sample"), i + 1, 0), agree ? "1.000 -1.000" : "0.000 -1.000") << i;
    }
    EXPECT_EQ(fields_of(path("_info_by_sample"), 151, 0), "(no line)");
}

}  // namespace
