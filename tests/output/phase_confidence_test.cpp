#include "output/phase_confidence.h"

#include "output_fixture.h"

namespace {

class phase_confidence : public output_fixture {
  protected:
    std::string confidence() { return text_of(path("_haps_confidence")); }
    phase_confidences confidences;
};

TEST_F(phase_confidence, confidence_prints_calls_and_marks) {
    give_study(5);
    run.params.phase = true;
    run.panels[2].ordered = {false, true, false, false, false};
    add_site(120, 2);
    allocate();
    confidences = {{-1.0, 1.0, 0.5, 0.9995}};
    write_phase_confidence(results, confidences);
    EXPECT_EQ(confidence(), "SNP120 rs120 120 a0 b0 * - 1 0.500 1\n");
    run.params.outdp = 4;
    confidences = {{0.0, 2.0 / 3.0, 0.00005, 0.99995}};
    write_phase_confidence(results, confidences);
    EXPECT_EQ(confidence(), "SNP120 rs120 120 a0 b0 0 - 0.6667 0 1\n");
}

TEST_F(phase_confidence, confidence_of_study_only_sites_is_a_star) {
    give_study(2);
    run.params.phase = true;
    run.panels[2].ordered = {false, true};
    run.params.include_unphased_sites_in_output_haps = true;
    add_site(120, 3);
    allocate();
    confidences.resize(1);
    write_phase_confidence(results, confidences);
    EXPECT_EQ(confidence(), "SNP120 rs120 120 a2 b2 * -\n");
}

TEST_F(phase_confidence, confidence_needs_phase_and_somebody_without_known_haplotypes) {
    give_study(1);
    write_phase_confidence(results, confidences);
    EXPECT_FALSE(exists(path("_haps_confidence")));
    run.params.phase = true;
    run.panels[2].ordered = {true};
    write_phase_confidence(results, confidences);
    EXPECT_FALSE(exists(path("_haps_confidence")));
}

TEST_F(phase_confidence, file_is_compressed_under_o_gz) {
    give_study(1);
    run.params.phase = run.params.o_gz = true;
    add_site(120, 2);
    allocate();
    confidences = {{0.5}};
    write_phase_confidence(results, confidences);
    EXPECT_EQ(gzip_text_of(path("_haps_confidence.gz")), "SNP120 rs120 120 a0 b0 0.500\n");
}

TEST_F(phase_confidence, columns_are_those_of_the_first_individuals_under_nind) {
    give_study(4);
    run.params.phase = true;
    run.plan.n_study = 2;
    run.panels[2].ordered = {true, false, false, true};
    add_site(120, 2);
    allocate();
    confidences = {{0.75}};
    write_phase_confidence(results, confidences);
    EXPECT_EQ(confidence(), "SNP120 rs120 120 a0 b0 - 0.750\n");
}

}  // namespace
