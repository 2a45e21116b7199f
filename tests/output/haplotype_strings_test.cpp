#include "output/haplotype_strings.h"

#include "output_fixture.h"

namespace {

class haplotype_strings : public output_fixture {
  protected:
    using layout = std::vector<std::optional<std::size_t>>;
};

TEST_F(haplotype_strings, individuals_have_two_characters_of_which_a_haploid_fills_one) {
    give_ploidies(2, {1, 2});
    EXPECT_EQ(string_layout(results, 2), (layout{0, std::nullopt, 1, 2}));
}

TEST_F(haplotype_strings, haplotypes_without_individuals_have_one_character) {
    run.panels[0].n_hap = 3;
    EXPECT_EQ(string_layout(results, 0), (layout{0, 1, 2}));
    run.panels[1].n_hap = 2;
    EXPECT_EQ(string_layout(results, 1), (layout{0, 1}));
    give_study(2);
    run.params.haploid_g = run.panels[2].all_haploid = true;
    run.panels[2].n_hap = 2;
    EXPECT_EQ(string_layout(results, 2), (layout{0, 1}));
}

TEST_F(haplotype_strings, labels_are_those_of_the_panel_or_of_the_type) {
    const snp& site = add_site(120, 0);
    EXPECT_EQ(panel_labels_of(results, site, 1).a0, "a1");
    EXPECT_EQ(panel_labels_of(results, site, 2).a0, "a0");
}

TEST_F(haplotype_strings, lines_follow_the_sites_and_undo_what_equal_labels_hide) {
    give_study(1);
    snp& first = add_site(110, 2);
    snp& second = add_site(120, 2);
    second.labels[2].a0 = second.labels[2].a1 = "C";
    second.allele_flipped[2] = true;
    allocate();
    set_alleles(2, first, "01");
    set_alleles(2, second, "01");
    const std::string name = path("_strings.gz");
    write_haplotype_strings(results, name, 2, {0, 1}, false);
    EXPECT_EQ(gzip_text_of(name), "SNP110 rs110 110 a2 b2 01\nSNP120 rs120 120 C C 01\n");
    write_haplotype_strings(results, name, 2, {1}, true);
    EXPECT_EQ(gzip_text_of(name), "SNP120 rs120 120 C C 10\n");
}

}  // namespace
