#include "run/diagnostics.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>

#include "inference/model_run.h"

namespace {

// Sites of types 0, 1 and 2, one of type 0 that comes from Panel 1, and one of no model.
class diagnostics : public ::testing::Test, protected model_run {
  protected:
    void SetUp() override {
        capture.open(run.log);
        add_site(100, 0);
        add_site(110, 1);
        add_site(120, 2);
        add_site(130, 3);
        add_site(140, 0, 1);
        list_sites();
        give_haplotypes({3, 0, 4});
        run.plan.n_panels = 3;
        run.plan.int_lower_bp = 100;
        run.plan.int_upper_bp = 150;
        run.params.o_file = capture.files.name("out");
        run.params.outdp = 3;
        in.emplace(run.inputs());
        written.emplace(run.log, *in, std::pair<std::size_t, std::size_t>{1, 5});
    }
    std::string read(const std::string& name) const { return capture.files.read_compressed("out" + name); }

    std::optional<inference_inputs> in;
    std::optional<pass_diagnostics> written;
    imputed_alleles imputed{5};
};

TEST_F(diagnostics, tell_imputed_genotypes_before_they_are_weighed) {
    run.params.debug_weighting = true;
    run.params.weight_imputed_gt = 0;
    for (const std::size_t s : {0U, 4U}) {
        imputed.chance[0][s] = 0.25;
        imputed.chance[1][s] = 0.5;
    }
    imputed.chance[0][1] = 1.0;
    imputed.chance[1][1] = 0.5;
    imputed.log10_likelihood = {{{-12.34567, -100.0}, {-3.0, -0.00004}}};
    written->open_for_imputation(4, true);
    written->write_imputed({1, 2, true, false, 0}, imputed);
    written->write_imputed({0, 0, false, false, 0}, imputed);
    written->close();
    EXPECT_EQ(
        "indiv snp_type snp_pos hap1_like hap2_like pr_gt0 pr_gt1 pr_gt2\n"
        "1 0 100 -12.3457 -100.0000 0.3750 0.5000 0.1250\n"
        "1 1 110 -3.0000 -0.0000 0.0000 0.5000 0.5000\n"
        "1 1 140 -3.0000 -0.0000 0.3750 0.5000 0.1250\n"
        "0 0 100 -12.3457 -100.0000 0.7500 0.0000 0.2500\n"
        "0 1 110 -3.0000 -0.0000 0.0000 0.0000 1.0000\n"
        "0 1 140 -3.0000 -0.0000 0.7500 0.0000 0.2500\n",
        read("_debug_wt_haploid_iter5.gz"));
}

TEST_F(diagnostics, tell_no_genotypes_without_weighting) {
    run.params.debug_weighting = true;
    written->open_for_imputation(0, true);
    written->write_imputed({1, 2, true, false, 0}, imputed);
    written->close();
    EXPECT_EQ("indiv snp_type snp_pos hap1_like hap2_like pr_gt0 pr_gt1 pr_gt2\n", read("_debug_wt_haploid_iter1.gz"));
}

TEST_F(diagnostics, tell_the_likelihood_of_an_individual) {
    run.params.debug_weighting = true;
    written->open_for_updates(0, false);
    written->write_likelihood(3, -1234.5678);
    written->close();
    EXPECT_EQ("indiv dip_like\n3 -1234.57\n", read("_debug_wt_diploid_iter1.gz"));
}

TEST_F(diagnostics, tell_what_a_haplotype_copies_at_the_sites_of_the_main_output) {
    run.params.show_ref_copy_probs = true;
    run.models.chains[0][2][0].site = {0, 2};
    run.models.k_states[0][2][0] = 2;
    conditioning_states states;
    states.add(0, 0);
    states.add(0, 2);
    haploid_update update;
    update.ind = 1;
    update.strand = 1;
    update.panel = 2;
    haploid_result result;
    written->open_for_imputation(0, false);
    result.copying = {1.0, 1.0, 3.0, 1.0};
    written->write_copying(update, states, result);
    written->open_for_imputation(0, true);
    written->write_copying(update, states, result);
    result.copying.clear();
    written->write_copying(update, states, result);
    written->close();
    EXPECT_EQ("3 120 0.750 0 0.250\n", read("_ref_copy_probs_iter1.gz")) << "on iterations that count";
}

TEST_F(diagnostics, tell_what_an_individual_copies_at_typed_sites) {
    run.params.show_all_copy_probs = true;
    run.models.chains[1][2][2].site = {2, 3};
    run.models.k_states[1][2][2] = 2;
    conditioning_states states;
    states.add(0, 1);
    states.add(2, 0);
    pair_update update;
    update.ind = 1;
    update.hap = 2;
    update.panel = 2;
    pair_result result;
    result.copying = {1.0, 3.0, 1.0, 1.0};
    written->open_for_updates(0, true);
    written->write_copying(update, states, result);
    written->close();
    EXPECT_EQ("1-120 0 0.250 0 0.750 0\n", read("_all_copy_probs_iter1.gz"));
}

TEST_F(diagnostics, write_no_file_that_is_not_asked_for) {
    written->open_for_updates(0, true);
    written->open_for_imputation(0, true);
    written->write_likelihood(0, -1.0);
    written->write_imputed({}, imputed);
    written->close();
    for (const char* name : {"_debug_wt_diploid_iter1.gz", "_debug_wt_haploid_iter1.gz", "_all_copy_probs_iter1.gz",
                             "_ref_copy_probs_iter1.gz"}) {
        EXPECT_FALSE(std::filesystem::exists(run.params.o_file + name)) << name;
    }
}

}  // namespace
