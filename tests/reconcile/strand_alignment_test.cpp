#include "reconcile/strand_alignment.h"

#include <algorithm>
#include <set>
#include <utility>

#include "io/text.h"
#include "reconcile/stages.h"
#include "reconcile_fixture.h"

namespace {

panel_labels panel(const std::string& a0, const std::string& a1, double freq = 0.5, const std::string& strand = "*") {
    return {a0, a1, strand, freq};
}

// --- the rules -------------------------------------------------------------------------------------------------------

TEST(check_strand_test, flips_where_only_the_flipped_labels_fit) {
    const std::vector<std::string> bases{"A", "C", "G", "T"};
    int n_flips = 0;
    for (const auto& x0 : bases) {
        for (const auto& x1 : bases) {
            for (const auto& r0 : bases) {
                for (const auto& r1 : bases) {
                    if (r0 == r1) continue;
                    const std::set<std::string> tested{x0, x1};
                    const std::set<std::string> flipped{flip(x0), flip(x1)};
                    const std::set<std::string> reference{r0, r1};
                    const auto fits = [&reference](const std::set<std::string>& alleles) {
                        return std::includes(reference.begin(), reference.end(), alleles.begin(), alleles.end());
                    };
                    const bool flips = !fits(tested) && fits(flipped);
                    EXPECT_EQ(flips ? strand_check::mismatch : strand_check::no_flip,
                              check_strand(panel(x0, x1), panel(r0, r1), false))
                        << x0 << x1 << " against " << r0 << r1;
                    n_flips += flips ? 1 : 0;
                }
            }
        }
    }
    EXPECT_EQ(4 * 2 * 2 + 8 * 2, n_flips);
}

TEST(check_strand_test, an_explicit_strand_loses_against_the_labels) {
    EXPECT_EQ(strand_check::mismatch, check_strand(panel("A", "C", 0.5, "+"), panel("G", "T"), false));
}

TEST(check_strand_test, leaves_labels_that_no_flip_can_mend) {
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "C"), panel("A", "G"), true));
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "AT"), panel("G", "T"), true));
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("AT", "A"), panel("A", "AT"), true));
}

TEST(check_strand_test, symmetric_labels_flip_by_opposite_frequencies) {
    for (const auto& [a0, a1] : {std::pair{"A", "T"}, {"T", "A"}, {"C", "G"}, {"G", "C"}}) {
        EXPECT_EQ(strand_check::frequency, check_strand(panel(a0, a1, 0.1), panel(a0, a1, 0.8), true)) << a0 << a1;
        EXPECT_EQ(strand_check::no_flip, check_strand(panel(a0, a1, 0.8), panel(a0, a1, 0.8), true)) << a0 << a1;
        // The same alleles in the other order have the complementary frequency.
        EXPECT_EQ(strand_check::no_flip, check_strand(panel(a0, a1, 0.2), panel(a1, a0, 0.8), true)) << a0 << a1;
        EXPECT_EQ(strand_check::frequency, check_strand(panel(a0, a1, 0.8), panel(a1, a0, 0.8), true)) << a0 << a1;
    }
}

TEST(check_strand_test, a_tie_of_frequencies_does_not_flip) {
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "T", 0.5), panel("A", "T", 0.5), true));
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "T", 0.5), panel("A", "T", 0.75), true));
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "T", 0.75), panel("T", "A", 0.5), true));
}

TEST(check_strand_test, frequencies_are_not_asked_without_the_option) {
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "T", 0.0), panel("A", "T", 1.0), false));
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "A", 0.0), panel("A", "T", 1.0), false));
}

TEST(check_strand_test, frequencies_are_not_asked_with_an_explicit_strand) {
    for (const char* strand : {"+", "-"}) {
        EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "T", 0.0, strand), panel("A", "T", 1.0), true));
        EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "A", 0.0, strand), panel("A", "T", 1.0), true));
    }
}

TEST(check_strand_test, symmetric_labels_are_never_a_mismatch) {
    for (const char* other : {"C", "G"}) {
        EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "T", 0.8), panel("A", other, 0.2), false));
    }
    // The allele that the frequencies speak of is T; the reference has it as allele 0 only.
    EXPECT_EQ(strand_check::frequency, check_strand(panel("A", "T", 0.9), panel("C", "G", 0.9), true));
}

TEST(check_strand_test, a_single_allele_at_a_symmetric_site_is_held_against_the_major_one) {
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("T", "T", 0.0), panel("A", "T", 0.5), true));
    EXPECT_EQ(strand_check::frequency, check_strand(panel("A", "A", 0.0), panel("A", "T", 0.5), true));
    EXPECT_EQ(strand_check::frequency, check_strand(panel("T", "T", 0.0), panel("A", "T", 0.49), true));
    EXPECT_EQ(strand_check::no_flip, check_strand(panel("A", "A", 0.0), panel("A", "T", 0.49), true));
    EXPECT_EQ(strand_check::frequency, check_strand(panel("A", "A", 0.0), panel("C", "G", 0.2), true));
}

// --- the stages ------------------------------------------------------------------------------------------------------

class strand_stages : public reconcile_fixture {
  protected:
    void give_all_panels() {
        give_panel0(4);
        give_panel1(2);
        give_study(2);
    }
    static std::string label_text(const snp& site, std::size_t p) { return site.labels[p].a0 + site.labels[p].a1; }
};

TEST_F(strand_stages, panel_1_is_flipped_to_panel_0) {
    give_all_panels();
    for (const int type : {0, 1, 2, 3}) {
        snp& site = add_site(110 + type, type);
        label(site, 0, "A", "C", 0.3);
        label(site, 1, "T", "G", 0.4);
        label(site, 2, "T", "G");
    }
    check_strand_of_panel1(run.log, run.params, run.sites);
    EXPECT_EQ("TG", label_text(site_at(110), 1));
    EXPECT_EQ("AC", label_text(site_at(111), 1));
    EXPECT_EQ("AC", label_text(site_at(112), 1));
    EXPECT_EQ("TG", label_text(site_at(113), 1));
    EXPECT_EQ("TG", label_text(site_at(112), 2));
    EXPECT_EQ(0.4, site_at(112).labels[1].freq);
    EXPECT_FALSE(site_at(112).allele_flipped[1]);
    expect_log(
        "\n-checking strand alignment between Panel 1 and Panel 0 by allele labels\n"
        " --flipped strand due to allele mismatch at 2 out of 2 SNPs in Panel 1\n");
    EXPECT_EQ("", warnings_text());
}

TEST_F(strand_stages, panel_1_sites_with_an_unknown_label_count_and_stay) {
    give_all_panels();
    snp& no_panel0 = add_site(110, 1);
    label(no_panel0, 1, "T", "G");
    snp& half_known = add_site(111, 1);
    label(half_known, 0, "A", no_label);
    label(half_known, 1, "T", "G");
    snp& no_panel1 = add_site(112, 1);
    label(no_panel1, 0, "A", "C");
    check_strand_of_panel1(run.log, run.params, run.sites);
    EXPECT_EQ("TG", label_text(no_panel0, 1));
    EXPECT_EQ("TG", label_text(half_known, 1));
    EXPECT_EQ("", label_text(no_panel1, 1));
    EXPECT_NE(std::string::npos, terminal_text().find(" at 0 out of 3 SNPs in Panel 1\n"));
}

TEST_F(strand_stages, panel_1_by_frequency_has_lines_of_its_own) {
    give_all_panels();
    run.params.align_by_maf_g_ref = true;
    snp& site = add_site(110, 2);
    label(site, 0, "A", "T", 0.1);
    label(site, 1, "A", "T", 0.9);
    check_strand_of_panel1(run.log, run.params, run.sites);
    EXPECT_EQ("TA", label_text(site, 1));
    EXPECT_EQ(0.9, site.labels[1].freq);
    expect_log(
        "\n-checking strand alignment between Panel 1 and Panel 0 by allele labels\n"
        " --flipped strand due to allele mismatch at 0 out of 1 SNPs in Panel 1\n"
        "\n-checking strand alignment between Panel 1 and Panel 0 by MAF at A/T and C/G SNPs lacking explicit strand"
        " info\n"
        " --flipped strand due to allele frequency discordance at 1 out of 1 SNPs in Panel 1\n");
}

TEST_F(strand_stages, each_panel_has_its_own_frequency_option) {
    give_all_panels();
    run.params.align_by_maf_g = true;
    snp& site = add_site(110, 2);
    label(site, 0, "A", "T", 0.1);
    label(site, 1, "A", "T", 0.9);
    label(site, 2, "A", "T", 0.9);
    check_strand_of_panel1(run.log, run.params, run.sites);
    check_strand_of_panel2(run.log, run.params, run.sites);
    EXPECT_EQ("AT", label_text(site, 1));
    EXPECT_EQ("TA", label_text(site, 2));
}

TEST_F(strand_stages, panel_1_conflict_with_an_explicit_strand_is_warned_of) {
    give_all_panels();
    snp& site = add_site(110, 1);
    label(site, 0, "A", "C");
    label(site, 1, "T", "G", 0.5, "-");
    check_strand_of_panel1(run.log, run.params, run.sites);
    EXPECT_EQ("AC", label_text(site, 1));
    EXPECT_EQ("-", site.labels[1].strand);
    EXPECT_EQ(
        "WARNING: An explicit +/- strand alignment was provided for the SNP at position 110 in Panel 1, but this"
        " alignment conflicts with the observed alleles in Panel 1 and Panel 0. ORVIDE2 will perform the alignment"
        " itself and ignore the input strand info at this site.\n",
        warnings_text());
    EXPECT_EQ(1, run.log.warning_count());
}

TEST_F(strand_stages, panel_2_is_flipped_to_panel_0_first) {
    give_all_panels();
    snp& site = add_site(110, 2);
    label(site, 0, "A", "C");
    label(site, 1, "T", "G");
    label(site, 2, "T", "G");
    check_strand_of_panel2(run.log, run.params, run.sites);
    EXPECT_EQ("AC", label_text(site, 2));
    EXPECT_EQ("TG", label_text(site, 1));
    expect_log(
        "\n-checking strand alignment between Panel 2 and Panel 0+1 by allele labels\n"
        " --flipped strand due to allele mismatch at 1 out of 1 SNPs in Panel 2\n");
}

TEST_F(strand_stages, panel_2_is_flipped_to_panel_1_where_panel_0_has_no_labels) {
    give_panel1(2);
    give_study(2);
    snp& site = add_site(110, 2);
    label(site, 1, "A", "C");
    label(site, 2, "G", "T", 0.5, "+");
    check_strand_of_panel2(run.log, run.params, run.sites);
    EXPECT_EQ("CA", label_text(site, 2));
    EXPECT_NE(std::string::npos, terminal_text().find("between Panel 2 and Panel 1 by allele labels\n"));
    EXPECT_EQ(
        "WARNING: An explicit +/- strand alignment was provided for the SNP at position 110 in Panel 2, but this"
        " alignment conflicts with the observed alleles in Panel 2 and 1. ORVIDE2 will perform the alignment itself"
        " and ignore the input strand info at this site.\n",
        warnings_text());
}

TEST_F(strand_stages, panel_2_total_counts_sites_without_reference) {
    give_panel0(4);
    give_study(2);
    label(add_site(105, 0), 0, "A", "C");
    snp& shared = add_site(110, 2);
    label(shared, 0, "A", "C");
    label(shared, 2, "A", "C");
    label(add_site(120, 3), 2, "T", "G");
    run.params.align_by_maf_g = true;
    check_strand_of_panel2(run.log, run.params, run.sites);
    EXPECT_EQ("TG", label_text(site_at(120), 2));
    expect_log(
        "\n-checking strand alignment between Panel 2 and Panel 0 by allele labels\n"
        " --flipped strand due to allele mismatch at 0 out of 2 SNPs in Panel 2\n"
        "\n-checking strand alignment between Panel 2 and Panel 0 by MAF at A/T and C/G SNPs lacking explicit strand"
        " info\n"
        " --flipped strand due to allele frequency discordance at 0 out of 2 SNPs in Panel 2\n");
}

TEST_F(strand_stages, a_second_haplotype_file_counts_as_panel_1) {
    give_panel0(4);
    give_second_haplotypes(2);
    give_study(2);
    snp& site = add_site(110, 2);
    label(site, 0, "A", "C");
    label(site, 2, "T", "G", 0.5, "+");
    check_strand_of_panel2(run.log, run.params, run.sites);
    EXPECT_NE(std::string::npos, terminal_text().find("between Panel 2 and Panel 0+1 by allele labels\n"));
    EXPECT_NE(std::string::npos, warnings_text().find(" in Panel 2 and 0+1. ORVIDE2 will"));
}

TEST_F(strand_stages, flips_are_silent_without_warnings) {
    give_panel0(4);
    give_study(2);
    run.log.close();
    capture.open(run.log, false);
    snp& site = add_site(110, 2);
    label(site, 0, "A", "C");
    label(site, 2, "T", "G", 0.5, "+");
    check_strand_of_panel2(run.log, run.params, run.sites);
    EXPECT_EQ("AC", label_text(site, 2));
    EXPECT_EQ(0, run.log.warning_count());
}

}  // namespace
