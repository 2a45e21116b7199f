#include "output/concordance_table.h"

#include "output_fixture.h"

namespace {

class concordance_table : public output_fixture {
  protected:
    // A study of one typed site; each individual's genotype and masked sums of genotypes 1 and 2 over 4 iterations.
    struct individual {
        int genotype;
        double one, two;
    };
    void give_individuals(const std::vector<individual>& individuals, std::size_t set) {
        if (run.panels[2].n_ind == 0) give_study(static_cast<int>(individuals.size()));
        snp& site = add_site(150, 2);
        for (const individual& who : individuals) add_genotypes(site, {who.genotype});
        allocate();
        run.plan.selfcheck_iters = {0, 1, 2, 3};
        for (std::size_t i = 0; i < individuals.size(); ++i) {
            add_masked_sums(set, site, i, individuals[i].one, individuals[i].two);
        }
    }
    static std::string introduction(const std::string& plural, const std::string& are, int n) {
        return "\n--------------------------------\n Imputation accuracy assessment "
               "\n--------------------------------\n\n"
               "The table" +
               plural + " below " + are +
               " based on an internal cross-validation that is performed during each ORVIDE2 run. For this analysis, "
               "the "
               "program masks the genotypes of one variant at a time in the study data (Panel 2) and imputes the "
               "masked "
               "genotypes by using the remaining study and reference data. The imputed genotypes are then compared "
               "with "
               "the original genotypes to produce the concordance statistics shown in the table" +
               plural +
               ". You can learn more about this procedure and the contents of the table at docs/accuracy.md.\n\n"
               "In the current analysis, ORVIDE2 masked, imputed, and evaluated " +
               std::to_string(n) +
               " genotypes that were called with high confidence (maximum probability >= 0.900) in the Panel 2 input "
               "file "
               "(-g or -known_haps_g).\n";
    }
    static std::string table_head(const std::string& panels) {
        return "\nWhen the masked study genotypes were imputed with reference data from Panel" + panels +
               ", the concordance between original and imputed genotypes was as follows:\n\n"
               "  Interval  #Genotypes %Concordance         Interval  %Called %Concordance\n";
    }
    static constexpr const char* empty_table =
        "  [0.0-0.1]          0          0.0         [ >= 0.0]    -nan          0.0\n"
        "  [0.1-0.2]          0          0.0         [ >= 0.1]    -nan          0.0\n"
        "  [0.2-0.3]          0          0.0         [ >= 0.2]    -nan          0.0\n"
        "  [0.3-0.4]          0          0.0         [ >= 0.3]    -nan          0.0\n"
        "  [0.4-0.5]          0          0.0         [ >= 0.4]    -nan          0.0\n"
        "  [0.5-0.6]          0          0.0         [ >= 0.5]    -nan          0.0\n"
        "  [0.6-0.7]          0          0.0         [ >= 0.6]    -nan          0.0\n"
        "  [0.7-0.8]          0          0.0         [ >= 0.7]    -nan          0.0\n"
        "  [0.8-0.9]          0          0.0         [ >= 0.8]    -nan          0.0\n"
        "  [0.9-1.0]          0          0.0         [ >= 0.9]    -nan          0.0\n";
};

TEST_F(concordance_table, nothing_is_printed_under_mc_impute_or_without_reference_types) {
    run.params.mc_impute = true;
    print_concordance_tables(results);
    run.params.mc_impute = false;
    run.plan.output_types = {false, false, true, true};
    print_concordance_tables(results);
    EXPECT_EQ(terminal(), "");
}

TEST_F(concordance_table, one_panel_has_one_table_on_terminal_and_summary) {
    run.plan.output_types = {true, false, true, true};
    // largest values 1, 0.5, 0.5, 0.75; the last genotype is missing
    give_individuals({{0, 0.0, 0.0}, {1, 2.0, 0.0}, {1, 2.0, 2.0}, {0, 1.0, 3.0}, {3, 0.0, 0.0}}, 0);
    print_concordance_tables(results);
    const std::string expected = introduction("", "is", 4) + table_head(" 0") +
                                 "  [0.0-0.1]          0          0.0         [ >= 0.0]   100.0         50.0\n"
                                 "  [0.1-0.2]          0          0.0         [ >= 0.1]   100.0         50.0\n"
                                 "  [0.2-0.3]          0          0.0         [ >= 0.2]   100.0         50.0\n"
                                 "  [0.3-0.4]          0          0.0         [ >= 0.3]   100.0         50.0\n"
                                 "  [0.4-0.5]          0          0.0         [ >= 0.4]   100.0         50.0\n"
                                 "  [0.5-0.6]          2         50.0         [ >= 0.5]   100.0         50.0\n"
                                 "  [0.6-0.7]          0          0.0         [ >= 0.6]    50.0         50.0\n"
                                 "  [0.7-0.8]          1          0.0         [ >= 0.7]    50.0         50.0\n"
                                 "  [0.8-0.9]          0          0.0         [ >= 0.8]    25.0        100.0\n"
                                 "  [0.9-1.0]          1        100.0         [ >= 0.9]    25.0        100.0\n";
    EXPECT_EQ(terminal(), expected);
    EXPECT_EQ(summary(), expected);
}

TEST_F(concordance_table, two_sets_have_two_tables_in_order) {
    run.params.g_ref_file = "ref.gen";
    give_individuals({}, 0);
    print_concordance_tables(results);
    EXPECT_EQ(terminal(),
              introduction("s", "are", 0) + table_head(" 0") + empty_table + table_head("s 0+1") + empty_table);
}

TEST_F(concordance_table, second_haplotype_file_makes_two_sets_too) {
    run.params.h_files = {"a", "b"};
    run.plan.output_types = {false, true, true, true};
    print_concordance_tables(results);
    EXPECT_EQ(terminal(), introduction("", "is", 0) + table_head("s 0+1") + empty_table);
}

TEST_F(concordance_table, genotype_panel_alone_is_panel_1) {
    run.params.h_files.clear();
    run.params.g_ref_file = "ref.gen";
    run.plan.output_types = {false, true, true, true};
    print_concordance_tables(results);
    EXPECT_EQ(terminal(), introduction("", "is", 0) + table_head(" 1") + empty_table);
}

TEST_F(concordance_table, panel_0_table_is_hidden_when_panel_1_imputes_its_sites) {
    run.params.g_ref_file = "ref.gen";
    run.params.use_panel1_for_type0_imputation = true;
    give_individuals({{0, 0.0, 0.0}}, 0);
    print_concordance_tables(results);
    EXPECT_TRUE(terminal().starts_with(introduction("s", "are", 1) + table_head("s 0+1")));
    EXPECT_EQ(terminal().find("Panel 0,"), std::string::npos);
}

TEST_F(concordance_table, bounds_of_the_bins_and_the_top_bin) {
    run.plan.output_types = {true, false, true, true};
    // largest values 1 (its place 10 is brought down to the top bin), 0.9 by two parts, 0.375 (three near-equal
    // chances)
    give_individuals({{2, 0.0, 4.0}, {1, 3.625, 0.0}, {0, 1.5, 1.25}}, 0);
    print_concordance_tables(results);
    EXPECT_NE(terminal().find("  [0.9-1.0]          2        100.0 "), std::string::npos);
    EXPECT_NE(terminal().find("  [0.3-0.4]          1          0.0 "), std::string::npos);
}

TEST_F(concordance_table, haploids_halve_genotype_and_call) {
    give_ploidies(2, {1, 1});
    run.plan.output_types = {true, false, true, true};
    give_individuals({{2, 3.0, 3.0}, {0, 3.0, 0.5}}, 0);
    print_concordance_tables(results);
    EXPECT_NE(terminal().find("  [0.7-0.8]          1        100.0 "), std::string::npos);
    EXPECT_NE(terminal().find("  [0.8-0.9]          1        100.0 "), std::string::npos);
}

TEST_F(concordance_table, only_typed_sites_in_the_interval_without_placeholder_count) {
    give_study(1);
    for (const long position : {90L, 110L, 120L, 130L, 210L})
        add_genotypes(add_site(position, position == 130 ? 3 : 2), {0});
    run.sites.in_order[2]->panel1_placeholder = true;
    allocate();
    run.plan.selfcheck_iters = {0};
    run.plan.output_types = {true, false, true, true};
    print_concordance_tables(results);
    EXPECT_NE(terminal().find(" evaluated 1 genotypes"), std::string::npos);
}

TEST_F(concordance_table, call_threshold_has_three_decimals) {
    run.params.call_thresh = 0.55;
    print_concordance_tables(results);
    EXPECT_NE(terminal().find("(maximum probability >= 0.550)"), std::string::npos);
}

// A hundred people at a site of frequency 0, all without allele 1, whose masked genotypes are imputed as heterozygous.
TEST_F(concordance_table, table_below_a_guess_by_frequency_is_warned_of) {
    run.plan.output_types = {true, false, true, true};
    give_individuals(std::vector<individual>(100, {0, 4.0, 0.0}), 0);
    snp& site = run.sites.store.find(150)->second;
    site.labels[0] = {"A", "C", "*", 0.0};
    print_concordance_tables(results);
    const std::string text =
        "Of the masked genotypes 0.0 % are concordant when imputed from Panel 0, and 100.0 % would be when guessed "
        "from its "
        "allele frequencies alone. Reference and study do not fit each other: look at genome build, alleles, map and "
        "ancestry, and at the info measures, before using the results.\n";
    EXPECT_EQ("orvide: warning: " + text, capture.notes.str());
    EXPECT_EQ("", warnings());
    EXPECT_EQ(std::string::npos, terminal().find("WARNING"));
    run.params.strict = true;
    print_concordance_tables(results);
    EXPECT_EQ("WARNING: " + text, warnings());
    EXPECT_NE(std::string::npos, terminal().find("\nWARNING: " + text));
}

TEST_F(concordance_table, few_masked_genotypes_may_be_poor) {
    run.plan.output_types = {true, false, true, true};
    give_individuals(std::vector<individual>(99, {0, 4.0, 0.0}), 0);
    run.sites.store.find(150)->second.labels[0] = {"A", "C", "*", 0.0};
    print_concordance_tables(results);
    EXPECT_EQ("", capture.notes.str());
}

}  // namespace
