#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "input/reader_fixture.h"
#include "input/readers.h"
#include "support/scripted_draws.h"

namespace {

using index_map = std::vector<std::optional<std::size_t>>;

class known_haplotypes : public reader_fixture {
  protected:
    // A study read from -g, with one site at each position, A and C, everybody with the genotypes.
    void give_study(const std::string& codes, std::initializer_list<long> positions = {150}) {
        run.params.g_file = "study.gen";
        give_genotypes(codes, positions);
    }
    // Starting alleles of everybody.
    void give_initial(const std::string& haps, const std::string& init_flags, long position = 150) {
        site_at(position).haps[2] = alleles(haps);
        site_at(position).hap_init_flags = flags(init_flags);
    }
    std::string read(const std::string& text) {
        run.params.known_haps_g_file = write("known", text);
        return said([this] { read_known_haplotypes(rooms, context); });
    }
    void expect_refused(const std::string& text, const std::string& message) {
        run.params.known_haps_g_file = write("known", text);
        expect_fatal(message, [this] { read_known_haplotypes(rooms, context); });
        capture.open(run.log);
    }
    std::string report(const std::string& columns, int n_read, const std::string& rest = "") const {
        return "\n-reading Panel 2 haplotypes from -known_haps_g file\n --filename=[" + files().name("known") + "]\n" +
               columns + " --read " + std::to_string(n_read) + " SNPs in the analysis interval+buffer region\n" + rest;
    }
    static std::string updated(int n) {
        return " --updated " + std::to_string(n) + " existing SNPs with known haplotype info\n";
    }
    static std::string added(int n) {
        return " --added " + std::to_string(n) + " new SNPs based on known haplotypes\n";
    }
    // "haplotypes genotypes phase-flags haps-flags" of a site.
    std::string content(long position = 150) {
        const snp& site = site_at(position);
        return text_of(site.haps[2]) + " " + text_of(site.gtypes[2]) + " " + text_of(site.known_phase_flags) + " " +
               text_of(site.known_haps_flags);
    }
};

// --- sites of -g -----------------------------------------------------------------------------------------------------

TEST_F(known_haplotypes, update_a_site_of_the_study) {
    give_study("0333");
    EXPECT_EQ(report("", 1, updated(1)), read("s r 150 A C 0 1 1* 0* ? ? 1 1\n"));
    EXPECT_EQ("01102211 1132 1001 1111", content());
    EXPECT_DOUBLE_EQ((1 + 1 + 2) / 6.0, site_at(150).labels[2].freq);
    EXPECT_EQ("snp150", site_at(150).snp_id);
    EXPECT_EQ(3, site_at(150).type);
}

TEST_F(known_haplotypes, genotypes_of_the_study_stay_where_nothing_is_known) {
    give_study("2013");
    read("s r 150 A C ? ? ? 1 0 ? 0 0\n");
    EXPECT_EQ("22222200 2010 0001 1111", content());
    EXPECT_DOUBLE_EQ((2 + 0 + 1 + 0) / 8.0, site_at(150).labels[2].freq);
}

TEST_F(known_haplotypes, crossed_labels_store_the_coding_of_the_site) {
    give_study("333");
    read("s r 150 C A 0 1 0 0 1* 1*\n");
    EXPECT_EQ("101100 120 110 111", content());
    EXPECT_DOUBLE_EQ(0.5, site_at(150).labels[2].freq);
    EXPECT_EQ("A", site_at(150).labels[2].a0);
}

TEST_F(known_haplotypes, triples_of_the_study_stay_in_a_run_of_hard_calls) {
    give_study("3");
    run.params.store_input_probs = {true, false};
    site_at(150).gtype_probs[2] = {0.5F, 0.25F, 0.25F};
    read("s r 150 A C 0 1\n");
    EXPECT_EQ((std::vector<float>{0.5F, 0.25F, 0.25F}), site_at(150).gtype_probs[2]);
}

TEST_F(known_haplotypes, probabilities_become_one_hot_where_known) {
    give_study("333");
    run.params.prob_g = true;
    run.params.prob_g_thresh = 0.8;
    site_at(150).gtypes[2].clear();
    site_at(150).gtype_probs[2] = {1, 0, 0, 0, 0.5F, 3.5F, 0.5F, 0.25F, 0.25F};
    read("s r 150 A C 0 1 ? ? ? ?\n");
    EXPECT_EQ((std::vector<float>{0, 1, 0, 0, 0.125F, 0.875F, 0.5F, 0.25F, 0.25F}), site_at(150).gtype_probs[2]);
    EXPECT_DOUBLE_EQ((1 + 1.875) / 4.0, site_at(150).labels[2].freq);
    EXPECT_EQ("012222", text_of(site_at(150).haps[2]));
}

TEST_F(known_haplotypes, probabilities_without_a_threshold_stay_as_given) {
    give_study("33");
    run.params.prob_g = true;
    site_at(150).gtype_probs[2] = {0, 0.5F, 1.5F, 1, 0, 0};
    const listed_draws draws({0.5});
    read("s r 150 A C ? ? 0 1\n");
    EXPECT_EQ((std::vector<float>{0, 0.5F, 1.5F, 0, 1, 0}), site_at(150).gtype_probs[2]);
    EXPECT_EQ(1U, draws.n_taken());  // one for the frequency
}

TEST_F(known_haplotypes, probabilities_are_normalised_under_a_threshold_unless_that_is_off) {
    for (const bool normalised : {true, false}) {
        run.sites.store.clear();
        give_study("3");
        run.params.prob_g = true;
        run.params.prob_g_thresh = 0.8;
        run.params.prob_g_norm = normalised;
        site_at(150).gtype_probs[2] = {0, 0, 2};
        read("s r 150 A C ? ?\n");
        EXPECT_EQ(normalised ? 1.0F : 2.0F, site_at(150).gtype_probs[2][2]);
    }
}

TEST_F(known_haplotypes, site_that_nobody_knows_is_a_problem) {
    give_study("3");
    expect_refused(
        "s r1 150 A C ? ?\n",
        "ERROR: There was an unexpected problem integrating the genotypes and the known haplotypes at SNP r1 "
        "(position 150). Please contact the developers for assistance.");
}

TEST_F(known_haplotypes, site_with_other_labels_is_replaced_beside_a_reference) {
    give_panel0();
    give_study("0");
    EXPECT_EQ(report("", 1, added(1) + "   --1 of these replace existing SNPs with incompatible alleles\n"),
              read("s r 150 A G 0 1\n"));
    EXPECT_EQ(
        "WARNING: The -known_haps_g alleles AG do not match the -g alleles AC at position 150; the -g data will be "
        "ignored "
        "at this SNP.\n",
        warnings());
    EXPECT_EQ("s", site_at(150).snp_id);
    EXPECT_EQ("G", site_at(150).labels[2].a1);
    EXPECT_EQ("01 1 1 1", content());
}

TEST_F(known_haplotypes, second_site_at_the_position_is_not_expected) {
    give_panel0();
    give_study("0", {150, 150});
    expect_refused("s r 150 A G 0 1\n", "ERROR: Found an unexpected duplicate site (150) in Panel 2.");
}

TEST_F(known_haplotypes, site_with_other_labels_stands_beside_it_without_a_reference) {
    give_study("0");
    EXPECT_EQ(report("", 1, added(1)), read("s r 150 A G 0 1\n"));
    EXPECT_EQ(2U, run.sites.store.count(150));
    EXPECT_EQ(
        "WARNING: The -known_haps_g alleles AG do not match the -g alleles for the variant(s) at position 150; the "
        "-known_haps_g data will be treated as a separate variant.\n",
        warnings());
}

// --- sites of their own ----------------------------------------------------------------------------------------------

TEST_F(known_haplotypes, new_site_is_added) {
    run.map.positions = {0, 1000};
    run.map.scaled = {0.0, 1000.0};
    give_study("00", {});
    EXPECT_EQ(report("", 2, added(2)),
              read("s r 99 A C x y z w\ns r 100 A C 0 1 ? ?\ns r 200 C A 1 1 1* 0*\ns r 201 A C x\n"));
    EXPECT_EQ("0122 13 10 11", content(100));
    EXPECT_DOUBLE_EQ(0.5, site_at(100).labels[2].freq);
    EXPECT_DOUBLE_EQ(100.0, site_at(100).gen_pos);
    EXPECT_EQ("1110 21 10 11", content(200));
    EXPECT_EQ("C", site_at(200).labels[2].a0);
    EXPECT_EQ("*", site_at(200).labels[2].strand);
    EXPECT_EQ(3, site_at(200).top_panel);
    EXPECT_TRUE(site_at(200).gtype_probs[2].empty());
}

TEST_F(known_haplotypes, new_site_gets_triples_in_a_run_that_keeps_them) {
    give_study("00", {});
    run.params.store_input_probs = {false, true};
    read("s r 150 A C 0 1 ? ?\n");
    EXPECT_EQ((std::vector<float>{0, 1, 0, 0.33333334F, 0.33333334F, 0.33333334F}), site_at(150).gtype_probs[2]);
}

TEST_F(known_haplotypes, missing_haploid_carrier_gets_the_uniform_pair) {
    run.params.haploid_g = run.panels[2].all_haploid = true;
    give_study("00", {});
    run.params.store_input_probs = {false, true};
    read("s r 150 A C 1 ?\n");
    EXPECT_EQ((std::vector<float>{0, 0, 1, 0.5F, 0, 0.5F}), site_at(150).gtype_probs[2]);
    EXPECT_EQ("12 23 10 11", content());
}

TEST_F(known_haplotypes, new_site_without_data_is_dropped) {
    give_study("0", {});
    EXPECT_EQ(
        report("", 1, " --excluded 1 SNPs, leaving 0 SNPs for analysis\n   --1 SNPs excluded for having no data\n"),
        read("s r1 150 A C ? ?\n"));
    EXPECT_EQ(
        "WARNING: SNP r1 at position 150 is missing all of its Panel 2 haplotype alleles and will be treated as if it "
        "had "
        "not been included in the -known_haps_g file.\n",
        warnings());
}

TEST_F(known_haplotypes, new_site_without_data_stays_for_counts) {
    give_study("0", {});
    run.params.counts_per_iter = true;
    read("s r1 150 A C ? ?\n");
    EXPECT_EQ(-1.0, site_at(150).labels[2].freq);
}

TEST_F(known_haplotypes, excluded_snps_are_counted) {
    give_study("0", {});
    context.exclude_snps[2] = {"r1"};
    EXPECT_EQ(report("", 2,
                     added(1) + " --excluded 1 SNPs, leaving 1 SNPs for analysis\n"
                                "   --1 SNPs excluded due to presence on exclusion list\n"),
              read("s r1 150 A C 0 1\ns r2 160 A C 0 1\n"));
}

TEST_F(known_haplotypes, second_line_of_a_site_updates_the_first) {
    give_study("00", {});
    EXPECT_EQ(report("", 2, updated(1) + added(1)), read("s r1 150 A C 0 1 1 1\ns r2 150 A C 0 0 ? ?\n"));
    EXPECT_EQ("0022 02 10 11", content());
}

// --- the study without -g --------------------------------------------------------------------------------------------

TEST_F(known_haplotypes, define_the_study_without_genotypes) {
    context.exclude_flags = flags("010");
    EXPECT_EQ(report(" --detected 3 individuals\n --excluded 1 individuals, leaving 2 for analysis\n", 1, added(1)),
              read("s r 150 A C 0 1 x y 1 1\n"));
    EXPECT_EQ(2, run.panels[2].n_ind);
    EXPECT_EQ(4, run.panels[2].n_hap);
    EXPECT_EQ("0111 12 11 11", content());
}

TEST_F(known_haplotypes, define_a_haploid_study) {
    run.params.haploid_g = run.panels[2].all_haploid = true;
    EXPECT_EQ(report(" --detected 3 individuals\n", 1, added(1)), read("s r 150 A C 0 1* ?\n"));
    EXPECT_EQ(3, run.panels[2].n_hap);
    EXPECT_EQ("012 023 110 111", content());
    EXPECT_DOUBLE_EQ(0.5, site_at(150).labels[2].freq);
    EXPECT_EQ(
        "WARNING: Detected 'unphased' allele 1* for haploid individual 2 (1-indexed) at position 150; this allele will "
        "be "
        "treated as 'phased'.\n",
        warnings());
}

TEST_F(known_haplotypes, define_a_study_of_both_sexes) {
    write("sample", "ID_1 ID_2 sex\n0 0 D\na a 1\nb b 2\nc c 1\n");
    run.params.sample_known_haps_g_file = files().name("sample");
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    const std::string text = read("s r 150 A C 1 - 0 1 0* x\n");
    EXPECT_NE(std::string::npos, text.find(" --read 3 sample IDs (1 females, 2 males)\n"));
    EXPECT_NE(std::string::npos, text.find(" --detected 3 individuals\n"));
    EXPECT_EQ(4, run.panels[2].n_hap);
    EXPECT_EQ("1010 210 111 111", content());
    EXPECT_DOUBLE_EQ(0.5, site_at(150).labels[2].freq);
    EXPECT_TRUE(files().has("out_samples"));
}

// --- people ----------------------------------------------------------------------------------------------------------

TEST_F(known_haplotypes, columns_are_those_of_the_genotypes_less_the_excluded) {
    context.exclude_flags = flags("100");
    give_study("33");
    read("s r 150 A C x y 0 1 1 1\n");
    EXPECT_EQ("0111 12 11 11", content());
}

TEST_F(known_haplotypes, people_are_tied_by_either_id) {
    give_study("0000");
    run.params.sample_g_file = "given";
    run.panels[2].sample_ids = {std::vector<std::string>{"a1", "b1", "c1", "d1"},
                                std::vector<std::string>{"a2", "b2", "c2", "d2"}};
    context.exclude_samples[2] = {"d1"};
    run.params.sample_known_haps_g_file =
        write("sample", "ID_1 ID_2 missing\n0 0 0\nx c2 0\nnobody nobody 0\na1 y 0\nd1 d2 0\n");
    const std::string text = read("s r 150 A C 1 1 x y 0 1 1* 0*\n");
    EXPECT_NE(std::string::npos,
              text.find("\n-reading sample list for Panel 2 from -sample_known_haps_g file\n --filename=[" +
                        run.params.sample_known_haps_g_file + "]\n --read 4 sample IDs\n --stored 4/4 sample IDs\n"));
    EXPECT_FALSE(context.exclude_samples[2].was_asked());  // they act on -g
    EXPECT_EQ((index_map{2, std::nullopt, 0, 3}), context.known_hap_index_map);
    EXPECT_EQ("01221110 1021 1010 1011", content());
    EXPECT_FALSE(files().has("out_samples"));
}

TEST(known_people, first_one_who_shares_an_id_is_taken) {
    EXPECT_EQ(
        (index_map{1, 2, std::nullopt, std::nullopt}),
        map_known_haps_to_gtypes({{{"c", "c", "q", "z"}, {"q", "r", "z", "z"}}}, {{{"a", "b", "c"}, {"p", "q", "r"}}}));
}

TEST(known_people, nobody_gives_no_map) {
    EXPECT_TRUE(map_known_haps_to_gtypes({}, {{{"a"}, {"p"}}}).empty());
}

TEST(known_people, first_of_equal_ids_is_taken) {
    EXPECT_EQ((index_map{0}), map_known_haps_to_gtypes({{{"a"}, {"x"}}}, {{{"a", "a"}, {"p", "p"}}}));
}

// --- faults ----------------------------------------------------------------------------------------------------------

TEST_F(known_haplotypes, half_a_starred_pair_is_refused) {
    give_study("0");
    const std::string end =
        ") at position 150 are not in a valid format. Allowed characters are '0', '1', '?', '0*', and '1*', and the "
        "'?'s "
        "and '0*/1*'s must come in pairs.";
    expect_refused("s r 150 A C 0 1*\n", "ERROR: The alleles (0,1*" + end);
    expect_refused("s r 150 A C 1* 0\n", "ERROR: The alleles (1*,0" + end);
}

TEST_F(known_haplotypes, other_alleles_are_refused) {
    give_study("00");
    expect_refused("s r 150 A C 0 1 0 2\n",
                   "ERROR: Individual 2 (1-indexed) has invalid alleles '02' at position 150.");
    expect_refused("s r 150 A C 0 1 - 1\n",
                   "ERROR: Individual 2 (1-indexed) has invalid alleles '-1' at position 150.");
    expect_refused("s r 150 A C 0 0** 0 1\n",
                   "ERROR: Individual 1 (1-indexed) has invalid alleles '00**' at position 150.");
}

TEST_F(known_haplotypes, other_allele_of_a_haploid_study_is_refused) {
    run.params.haploid_g = run.panels[2].all_haploid = true;
    give_study("0");
    expect_refused("s r 150 A C 3\n", "ERROR: Individual 1 (1-indexed) has invalid alleles '3.' at position 150.");
}

TEST_F(known_haplotypes, female_needs_two_alleles) {
    give_sexes(2, "12");
    give_study("00");
    expect_refused(
        "s r 150 A C 0 - 0 -\n",
        "ERROR: Individual 2 (1-indexed) is marked as female but has a '-' allele, which is reserved for males.");
}

TEST_F(known_haplotypes, columns_come_in_pairs) {
    give_study("0");
    expect_refused("s r 150 A C 0\n",
                   "ERROR: The Panel 2 haplotypes file [" + files().name("known") +
                       "] does not contain a valid number of columns. Please review the documentation and try again.");
}

TEST_F(known_haplotypes, columns_must_be_those_of_the_sample_file) {
    give_study("0");
    context.exclude_flags = flags("00");
    expect_refused("s r 150 A C 0 1\n",
                   "ERROR: The number of individuals in the Panel 2 haplotypes file (1) does not match the number of "
                   "individuals in the sample file (2).");
}

TEST_F(known_haplotypes, people_must_be_those_of_the_genotypes) {
    give_study("0");
    expect_refused("s r 150 A C 0 1 1 0\n",
                   "ERROR: The number of individuals in the Panel 2 haplotypes file (2) does not match the number of "
                   "individuals in the Panel 2 genotypes file (1).");
}

TEST_F(known_haplotypes, ragged_lines_are_refused) {
    give_study("0", {});
    expect_refused("s r 150 A C 0 1\ns r 160 A C 0\n",
                   "ERROR: There are fewer alleles than in the first line, in line 2 of the file [" +
                       files().name("known") + "].");
    expect_refused(
        "s r 150 A C 0 1\ns r 160 A C 0 1 1\n",
        "ERROR: There are more alleles than in the first line, in line 2 of the file [" + files().name("known") + "].");
}

TEST_F(known_haplotypes, missing_file) {
    run.params.known_haps_g_file = files().name("none");
    expect_fatal("ERROR: The -known_haps_g file you specified does not exist.",
                 [this] { read_known_haplotypes(rooms, context); });
}

TEST_F(known_haplotypes, file_that_cannot_be_opened) {
    run.params.known_haps_g_file = files().name(".");
    expect_fatal("ERROR: The Panel 2 haplotypes file [" + files().name(".") + "] could not be opened.",
                 [this] { read_known_haplotypes(rooms, context); });
}

// --- beside initial haplotypes ---------------------------------------------------------------------------------------

TEST_F(known_haplotypes, missing_alleles_leave_the_initial_ones) {
    give_study("13");
    give_initial("1001", "11");
    read("s r 150 A C ? ? ? ?\n");
    EXPECT_EQ("1001 13 00 11", content());
    EXPECT_EQ("11", text_of(site_at(150).hap_init_flags));
}

TEST_F(known_haplotypes, take_precedence_over_another_genotype) {
    give_study("3");
    give_initial("10", "1");
    read("s rsx 150 A C 1* 1*\n");
    EXPECT_EQ("11 2 0 1", content());
    EXPECT_EQ("0", text_of(site_at(150).hap_init_flags));
    EXPECT_EQ(
        "WARNING: A -hap_init_g genotype (1) does not match the corresponding -known_haps_g genotype (2) at SNP rsx "
        "(position 150); the -known_haps_g genotype will take precedence.\n",
        warnings());
}

TEST_F(known_haplotypes, take_precedence_over_another_phase) {
    give_study("11");
    give_initial("1001", "11");
    read("s rsx 150 A C 0 1 0 1\n");
    EXPECT_EQ("0101 11 11 11", content());
    EXPECT_EQ("01", text_of(site_at(150).hap_init_flags));
    EXPECT_EQ(
        "WARNING: A phase call in the -hap_init_g file (1|0) does not match the corresponding call in the "
        "-known_haps_g "
        "file (0|1) at SNP rsx (position 150); the -known_haps_g phasing will take precedence.\n",
        warnings());
}

TEST_F(known_haplotypes, leave_the_initial_phase_where_they_have_none) {
    give_study("1");
    give_initial("10", "1");
    read("s r 150 A C 0* 1*\n");
    EXPECT_EQ("10 1 0 1", content());
    EXPECT_EQ("1", text_of(site_at(150).hap_init_flags));
    EXPECT_EQ("", warnings());
}

TEST_F(known_haplotypes, write_over_people_without_initial_alleles) {
    give_study("11");
    give_initial("1010", "10");
    read("s r 150 A C 0* 1* 0* 1*\n");
    EXPECT_EQ("1001 11 00 11", content());
}

TEST_F(known_haplotypes, crossed_labels_compare_the_values_of_the_files) {
    give_study("2211");
    give_initial("11111010", "1111");
    // The first two are the same people's genotypes in both codings, which the values do not show.
    read("s r 150 C A 0 0 1* 1* 1 0 0* 1*\n");
    const snp& site = site_at(150);
    // Stored alleles and genotypes agree: 2, 0 and two heterozygotes.
    EXPECT_EQ("11000110 2011 1010 1111", content());
    EXPECT_EQ("0111", text_of(site.hap_init_flags));
    EXPECT_NE(std::string::npos, warnings().find("A -hap_init_g genotype (2) does not match the corresponding "
                                                 "-known_haps_g genotype (0)"));
    EXPECT_EQ(1, run.log.warning_count());
}

TEST_F(known_haplotypes, warnings_can_be_silenced) {
    silence_warnings();
    give_study("3");
    give_initial("10", "1");
    read("s r 150 A C 1 1\n");
    EXPECT_EQ("11 2 1 1", content());
    EXPECT_EQ(0, run.log.warning_count());
}

}  // namespace
