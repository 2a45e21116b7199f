#include "output/merged_reference.h"

#include "output_fixture.h"

namespace {

class merged_reference : public output_fixture {
  protected:
    void SetUp() override {
        output_fixture::SetUp();
        run.params.g_ref_file = "ref.gen";
        run.params.merge_ref_panels_output_ref = file("merged");
        run.params.merge_ref_panels_output_gen = file("merged");
        run.panels[0].n_hap = 4;
        set_diploids(run.panels[1], 2);
    }
    void add_two_sites() {
        snp& zero = add_site(110, 0);
        snp& two = add_site(120, 2);
        allocate();
        set_alleles(0, zero, "0110");
        set_alleles(1, zero, "0001");
        set_alleles(0, two, "1100");
        set_alleles(1, two, "1011");
    }
    std::string merged(const std::string& ending) { return text_of(file("merged") + ending); }
};

TEST_F(merged_reference, haplotypes_and_legend) {
    add_two_sites();
    write_merged_haplotypes(results);
    EXPECT_EQ(merged(".hap"), "0 1 1 0 0 0 0 1\n1 1 0 0 1 0 1 1\n");
    EXPECT_EQ(merged(".legend"), "id position a0 a1\nrs110 110 a0 b0\nrs120 120 a0 b0\n");
    EXPECT_EQ(notes(), "");
}

TEST_F(merged_reference, without_individuals_of_panel_1_panel_0_stands_alone) {
    run.params.g_ref_file = "NULL";
    run.params.h_files = {"a", "b"};
    run.panels[1].n_ind = 0;
    add_two_sites();
    write_merged_haplotypes(results);
    EXPECT_EQ(merged(".hap"), "0 1 1 0\n1 1 0 0\n");
    EXPECT_EQ(
        notes(),
        "orvide: note: the merged reference panel holds Panel 0 alone, since Panel 1 has no individuals when it is "
        "read from a second -h file\n");
    write_merged_genotypes(results);
    EXPECT_EQ(merged(".gen"), "--- rs110 110 a0 b0 0 1 0 0 1 0\nSNP120 rs120 120 a0 b0 0 0 1 1 0 0\n");
}

TEST_F(merged_reference, haploid_member_has_a_dash_for_the_second) {
    give_ploidies(1, {1, 2, 1});
    add_two_sites();
    write_merged_haplotypes(results);
    EXPECT_EQ(merged(".hap"), "0 1 1 0 0 - 0 0 1 -\n1 1 0 0 1 - 0 1 1 -\n");
}

TEST_F(merged_reference, both_names_end_in_gz_under_o_gz) {
    add_two_sites();
    run.params.o_gz = true;
    write_merged_haplotypes(results);
    EXPECT_EQ(gzip_text_of(file("merged.hap.gz")), "0 1 1 0 0 0 0 1\n1 1 0 0 1 0 1 1\n");
    EXPECT_EQ(gzip_text_of(file("merged.legend.gz")), "id position a0 a1\nrs110 110 a0 b0\nrs120 120 a0 b0\n");
}

TEST_F(merged_reference, sites_outside_the_range_or_the_models_are_left_out) {
    for (const long position : {60L, 110L, 120L, 230L}) add_site(position, position == 120 ? 3 : 0);
    allocate();
    run.plan.output_types = {};  // of no bearing
    write_merged_haplotypes(results);
    EXPECT_EQ(merged(".legend"), "id position a0 a1\nrs110 110 a0 b0\n");
    run.params.include_buffer_in_output = true;
    write_merged_haplotypes(results);
    EXPECT_EQ(merged(".legend"), "id position a0 a1\nrs60 60 a0 b0\nrs110 110 a0 b0\nrs230 230 a0 b0\n");
}

TEST_F(merged_reference, genotypes_are_those_of_pairs) {
    add_two_sites();
    run.params.o_gz = true;  // this file stays plain
    write_merged_genotypes(results);
    EXPECT_EQ(merged(".gen"),
              "--- rs110 110 a0 b0 0 1 0 0 1 0 1 0 0 0 1 0\nSNP120 rs120 120 a0 b0 0 0 1 1 0 0 0 1 0 0 0 1\n");
}

TEST_F(merged_reference, haploid_member_counts_as_a_homozygote_in_the_genotypes) {
    give_ploidies(1, {1, 2, 1});
    add_two_sites();
    write_merged_genotypes(results);
    EXPECT_EQ(fields_of(file("merged.gen"), 1, 11), "0 0 1 0 1 0 0 0 1");
}

TEST_F(merged_reference, odd_panel_0_makes_no_genotype_file) {
    run.panels[0].n_hap = 3;
    add_site(110, 0);
    allocate();
    write_merged_genotypes(results);
    EXPECT_EQ(merged(".gen"), "(no file)");
    EXPECT_EQ(
        warnings(),
        "WARNING: The -merge_ref_panels_output_gen option cannot produce a .gen file for the merged reference panel "
        "when Panel 0 contains an odd number of haplotypes (3)\n");
    EXPECT_EQ(run.log.warning_count(), 1);
}

}  // namespace
