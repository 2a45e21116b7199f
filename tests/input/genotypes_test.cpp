#include <gtest/gtest.h>

#include <string>

#include "input/reader_fixture.h"
#include "input/readers.h"
#include "support/scripted_draws.h"

namespace {

class genotype_file : public reader_fixture {
  protected:
    std::string read(const std::string& text, std::size_t panel = 2) {
        write("gen", text);
        (panel == 2 ? run.params.g_file : run.params.g_ref_file) = name;
        return said([&] { read_genotypes(rooms, context, panel); });
    }
    void expect_refused(const std::string& text, const std::string& message, std::size_t panel = 2) {
        write("gen", text);
        (panel == 2 ? run.params.g_file : run.params.g_ref_file) = name;
        expect_fatal(message, [&] { read_genotypes(rooms, context, panel); });
        capture.open(run.log);
    }
    std::string stage(std::size_t panel = 2) const {
        return "\n-reading Panel " + std::to_string(panel) + " genotypes from -g" + (panel == 2 ? "" : "_ref") +
               " file\n --filename=[" + name + "]\n";
    }
    static std::string read_line(int n) {
        return " --read " + std::to_string(n) + " SNPs in the analysis interval+buffer region\n";
    }
    const std::string name = files().name("gen");
};

TEST_F(genotype_file, lines_in_the_region_become_sites) {
    run.map.positions = {0, 1000};
    run.map.scaled = {0.0, 1000.0};
    const std::string text =
        read("s0 r0 99 A C 1 0 0 0 1 0\ns1 r1 100 A C 1 0 0 0 1 0\ns2 r2 200 G T 0 0 1 0 0 0\ns3 r3 201 A C x\n");
    EXPECT_EQ(stage() + " --detected 2 individuals\n" + read_line(2), text);
    ASSERT_EQ(2U, run.sites.store.size());
    const snp& first = site_at(100);
    EXPECT_EQ("s1", first.snp_id);
    EXPECT_EQ("r1", first.rs_id);
    EXPECT_DOUBLE_EQ(100.0, first.gen_pos);
    EXPECT_EQ("A", first.labels[2].a0);
    EXPECT_EQ("C", first.labels[2].a1);
    EXPECT_EQ("*", first.labels[2].strand);
    EXPECT_EQ(no_label, first.labels[1].a0);
    EXPECT_DOUBLE_EQ(0.25, first.labels[2].freq);
    EXPECT_EQ("01", text_of(first.gtypes[2]));
    EXPECT_EQ("2222", text_of(first.haps[2]));
    EXPECT_TRUE(first.gtype_probs[2].empty());
    EXPECT_EQ(3, first.type);
    EXPECT_EQ(3, first.top_panel);
    EXPECT_EQ("23", text_of(site_at(200).gtypes[2]));
    EXPECT_DOUBLE_EQ(1.0, site_at(200).labels[2].freq);
    EXPECT_EQ(2, run.panels[2].n_ind);
    EXPECT_EQ(4, run.panels[2].n_hap);
    EXPECT_EQ("", warnings());
    EXPECT_EQ("", notes());
}

TEST_F(genotype_file, call_threshold_decides_what_is_missing) {
    read("s r 150 A C 0.2 0.3 0.5 0.05 0.05 0.9 0.9 0.1 0\n");
    EXPECT_EQ("320", text_of(site_at(150).gtypes[2]));
    EXPECT_DOUBLE_EQ(0.5, site_at(150).labels[2].freq);
}

TEST_F(genotype_file, one_individual_has_eight_fields) {
    EXPECT_NE(std::string::npos, read("s r 150 A C 0 1 0\n").find(" --detected 1 individuals\n"));
    EXPECT_EQ("1", text_of(site_at(150).gtypes[2]));
}

TEST_F(genotype_file, excluded_columns_are_read_and_dropped) {
    context.exclude_flags = flags("010");
    EXPECT_EQ(stage() + " --detected 3 individuals\n --excluded 1 individuals, leaving 2 for analysis\n" + read_line(1),
              read("s r 150 A C 1 0 0 0 1 0 0 0 1\n"));
    EXPECT_EQ("02", text_of(site_at(150).gtypes[2]));
    EXPECT_EQ(4, run.panels[2].n_hap);
    EXPECT_DOUBLE_EQ(0.5, site_at(150).labels[2].freq);
}

TEST_F(genotype_file, triples_are_kept_where_the_run_needs_them) {
    run.params.store_input_probs = {false, true};
    read("s r 150 A C 1 0 0 0.25 0.5 0.25 0 0 0\n");
    EXPECT_EQ((std::vector<float>{1, 0, 0, 0.25F, 0.5F, 0.25F, 0.33333334F, 0.33333334F, 0.33333334F}),
              site_at(150).gtype_probs[2]);
    EXPECT_EQ("033", text_of(site_at(150).gtypes[2]));
}

TEST_F(genotype_file, haploid_study_has_one_haplotype_each) {
    run.params.haploid_g = run.panels[2].all_haploid = true;
    run.params.store_input_probs = {true, false};
    read("s r 150 A C 1 0 0 0 1 0 0 0 1\n");
    EXPECT_EQ("032", text_of(site_at(150).gtypes[2]));
    EXPECT_EQ("222", text_of(site_at(150).haps[2]));
    EXPECT_EQ(3, run.panels[2].n_hap);
    EXPECT_DOUBLE_EQ(0.5, site_at(150).labels[2].freq);
    EXPECT_EQ((std::vector<float>{1, 0, 0, 0.5F, 0, 0.5F, 0, 0, 1}), site_at(150).gtype_probs[2]);
}

TEST_F(genotype_file, male_of_chrx_is_never_heterozygous) {
    give_sexes(2, "12");
    context.exclude_flags = flags("00");
    run.params.store_input_probs = {true, false};
    read("s r 150 A C 0 1 0 0 1 0\ns r 160 A C 0 0 1 0 1 0\n");
    EXPECT_EQ("31", text_of(site_at(150).gtypes[2]));
    EXPECT_EQ((std::vector<float>{0.5F, 0, 0.5F, 0, 1, 0}), site_at(150).gtype_probs[2]);
    EXPECT_EQ(3, run.panels[2].n_hap);
    EXPECT_EQ("222", text_of(site_at(150).haps[2]));
    EXPECT_DOUBLE_EQ((1.0 + 1.0) / 3.0, site_at(160).labels[2].freq);
}

TEST_F(genotype_file, diploid_form_of_chrx_counts_males_twice) {
    give_sexes(2, "12", false);
    context.exclude_flags = flags("00");
    run.params.store_input_probs = {true, false};
    read("s r 150 A C 0 1 0 0 1 0\ns r 160 A C 0 0 1 0 1 0\n");
    EXPECT_EQ((std::vector<float>{0.5F, 0, 0.5F, 0, 1, 0}), site_at(150).gtype_probs[2]);
    EXPECT_EQ(4, run.panels[2].n_hap);
    EXPECT_DOUBLE_EQ(3.0 / 4.0, site_at(160).labels[2].freq);
}

TEST_F(genotype_file, excluded_snps_are_counted) {
    context.exclude_snps[2] = {"s1", "r2", "170"};
    EXPECT_EQ(stage() + " --detected 1 individuals\n" + read_line(4) +
                  " --excluded 3 SNPs, leaving 1 SNPs for analysis\n"
                  "   --3 SNPs excluded due to presence on exclusion list\n",
              read("s1 r1 150 A C 0 1 0\ns2 r2 160 A C 0 1 0\ns3 r3 170 A C 0 1 0\ns4 r4 180 A C 0 1 0\n"));
    EXPECT_EQ(1U, run.sites.store.size());
}

TEST_F(genotype_file, second_snp_at_a_position_is_dropped_beside_a_reference) {
    give_panel0();
    EXPECT_EQ(
        stage() + " --detected 1 individuals\n" + read_line(2) + " --excluded 1 SNPs, leaving 1 SNPs for analysis\n",
        read("s1 r1 150 A C 0 1 0\ns2 r2 150 G T 0 1 0\n"));
    EXPECT_EQ("s1", site_at(150).snp_id);
    EXPECT_EQ(
        "WARNING: Position 150 occurs multiple times in Panel 2. The first instance of this SNP will be used for "
        "inference, while all subsequent instances will be ignored and omitted from output files.\n",
        warnings());
    EXPECT_EQ(1, run.log.warning_count());
}

TEST_F(genotype_file, second_snp_at_a_position_stays_without_a_reference) {
    read("s1 r1 150 A C 0 1 0\ns2 r2 150 A C 0 1 0\n");
    ASSERT_EQ(2U, run.sites.store.count(150));
    EXPECT_EQ("s1", run.sites.store.begin()->second.snp_id);
    EXPECT_EQ("", warnings());
}

TEST_F(genotype_file, snp_without_data_is_dropped) {
    EXPECT_EQ(stage() + " --detected 1 individuals\n" + read_line(2) +
                  " --excluded 1 SNPs, leaving 1 SNPs for analysis\n   --1 SNPs excluded for having no data\n",
              read("s1 r1 150 A C 0 0 0\ns2 r2 160 A C 0 1 0\n"));
    EXPECT_EQ(
        "WARNING: SNP r1 at position 150 is missing all of its Panel 2 genotypes and will be treated as if it had not "
        "been included in the -g file.\n",
        warnings());
}

TEST_F(genotype_file, no_data_counts_without_warnings_too) {
    silence_warnings();
    EXPECT_NE(std::string::npos, read("s1 r1 150 A C 0 0 0\n").find("   --1 SNPs excluded for having no data\n"));
    EXPECT_EQ(0, run.log.warning_count());
}

TEST_F(genotype_file, snp_without_data_stays_for_counts) {
    run.params.counts_per_iter = true;
    read("s1 r1 150 A C 0 0 0\n");
    EXPECT_EQ("3", text_of(site_at(150).gtypes[2]));
    EXPECT_EQ(-1.0, site_at(150).labels[2].freq);
    EXPECT_EQ("", warnings());
}

TEST_F(genotype_file, probabilities_keep_triples_and_take_a_draw_a_snp) {
    run.params.prob_g = true;
    const listed_draws draws({0.3, 0.6});
    read("s1 r1 150 A C 0.5 0.5 0\ns2 r2 160 A C 0 0.25 0.5\n");
    EXPECT_EQ(2U, draws.n_taken());
    EXPECT_TRUE(site_at(150).gtypes[2].empty());
    EXPECT_EQ((std::vector<float>{0, 0.25F, 0.5F}), site_at(160).gtype_probs[2]);  // not normalised
    EXPECT_EQ("22", text_of(site_at(150).haps[2]));
    EXPECT_GT(site_at(150).labels[2].freq, 0.0);
}

TEST_F(genotype_file, probabilities_above_a_threshold_give_the_frequency) {
    run.params.prob_g = true;
    run.params.prob_g_thresh = 0.8;
    const listed_draws draws;
    read("s1 r1 150 A C 0 0.0625 0.4375 0.5 0.25 0.25\n");
    EXPECT_EQ((std::vector<float>{0, 0.125F, 0.875F, 0.5F, 0.25F, 0.25F}), site_at(150).gtype_probs[2]);
    EXPECT_DOUBLE_EQ(1.875 / 2.0, site_at(150).labels[2].freq);
}

TEST_F(genotype_file, probabilities_under_a_threshold_of_zero_give_none) {
    run.params.prob_g = true;
    run.params.prob_g_thresh = 0.0;
    EXPECT_NE(std::string::npos, read("s1 r1 150 A C 0 0 1\n").find("   --1 SNPs excluded for having no data\n"));
}

TEST_F(genotype_file, short_line_reads_as_zeros_with_one_note) {
    read("s1 r1 150 A C 0 1 0 0 1 0\ns2 r2 160 A C 0 1 0 1\ns3 r3 170 A C 0 1\n");
    EXPECT_EQ("10", text_of(site_at(160).gtypes[2]));
    EXPECT_EQ("13", text_of(site_at(170).gtypes[2]));
    EXPECT_EQ(
        "orvide: note: There are fewer genotypes than in the first line: the line ends at person 2 of 2, in line 2 of "
        "the file [" +
            name + "]: what is missing reads as zeros.\n",
        notes());
}

TEST_F(genotype_file, long_line_is_refused) {
    expect_refused(
        "s1 r1 150 A C 0 1 0\ns2 r2 160 A C 0 1 0 1\n",
        "ERROR: There are more genotypes than in the first line, in line 2 of the file [" + files().name("gen") + "].");
}

TEST_F(genotype_file, field_that_is_no_number_is_refused) {
    expect_refused("s1 r1 150 A C 0 1 0\ns2 r2 160 A C 0 1x 0\n",
                   "ERROR: The genotype field '1x' of person 1 is not a number, in line 2 of the file [" +
                       files().name("gen") + "].");
    expect_refused("s1 r1 here A C 0 1 0\n",
                   "ERROR: The position 'here' is not a number, in line 1 of the file [" + files().name("gen") + "].");
    expect_refused("s1 r1 150 A\n", "ERROR: There are fewer fields than a SNP needs, in line 1 of the file [" +
                                        files().name("gen") + "].");
    expect_refused("s1 r1\n", "ERROR: There are fewer fields than a SNP needs, in line 1 of the file [" +
                                  files().name("gen") + "].");
}

TEST_F(genotype_file, columns_come_in_threes) {
    expect_refused("s1 r1 150 A C 0 1 0 1\n",
                   "ERROR: The Panel 2 genotypes file [" + files().name("gen") +
                       "] does not contain a valid number of columns. Please review the documentation and try again.");
    expect_refused("s1 r1 150 A C 0 1\n",
                   "ERROR: The Panel 1 genotypes file [" + files().name("gen") +
                       "] does not contain a valid number of columns. Please review the documentation and try again.",
                   1);
}

TEST_F(genotype_file, columns_must_be_those_of_the_sample_file) {
    context.exclude_flags = flags("00");
    expect_refused("s1 r1 150 A C 0 1 0\n",
                   "ERROR: The number of individuals in the Panel 2 genotypes file (1) does not match the number of "
                   "individuals in the sample file (2).");
    expect_refused("s1 r1 150 A C 0 1 0\n",
                   "ERROR: The number of individuals in the Panel 1 genotypes file (1) does not match the number of "
                   "individuals in the sample file (2).",
                   1);
}

TEST_F(genotype_file, empty_file_has_nobody) {
    const std::string text = read("");
    EXPECT_EQ(stage() + " --detected 0 individuals\n" + read_line(0), text);
    EXPECT_EQ(0, run.panels[2].n_ind);
}

TEST_F(genotype_file, blank_lines_are_skipped) {
    read("\ns1 r1 150 A C 0 1 0\n \n\ns2 r2 160 A C 0 1 0\n\n");
    EXPECT_EQ(2U, run.sites.store.size());
    EXPECT_EQ(1, run.panels[2].n_ind);
}

TEST_F(genotype_file, unsorted_file_is_read_as_it_stands_with_one_note) {
    read("s1 r1 150 A C 0 1 0\ns2 r2 140 A C 0 1 0\ns3 r3 130 A C 0 1 0\n");
    EXPECT_EQ(3U, run.sites.store.size());
    EXPECT_EQ("orvide: note: The position 140 is below the one before, 150, in line 2 of the file [" + name +
                  "]: the file must be sorted; sites behind the first one above the region are lost.\n",
              notes());
}

TEST_F(genotype_file, numbers_above_one_are_odd_where_they_are_likelihoods) {
    run.params.prob_g = true;
    run.params.prob_g_thresh = 0.0;
    read("s1 r1 150 A C 1 0.5 0.25\n");
    EXPECT_EQ(
        "orvide: note: The genotype of person 1 is 1 0.5 0.25; expected are three probabilities from 0 to 1 that sum "
        "to 1 at "
        "most, in line 1 of the file [" +
            name + "]: they are taken as they stand, here and in what follows.\n",
        notes());
    expect_refused(
        "s1 r1 150 A C 1 -0.5 0.25\n",
        "ERROR: The genotype of person 1 is 1 -0.5 0.25; expected are three probabilities from 0 to 1 that sum to "
        "1 at most, in line 1 of the file [" +
            files().name("gen") + "].");
}

TEST_F(genotype_file, return_into_the_region_loses_lines_with_a_note) {
    read("s1 r1 150 A C 0 1 0\ns3 r3 300 A C 0 1 0\ns4 r4 160 A C 0 1 0\ns4 r4 170 A C 0 1 0\n");
    EXPECT_EQ(1U, run.sites.store.size());
    EXPECT_EQ(
        "orvide: note: The position 160 comes back into the region, which ended before position 300; the file must be "
        "sorted, "
        "in line 3 of the file [" +
            name + "]: the site is left out, and so are all such sites.\n",
        notes());
}

TEST_F(genotype_file, carriage_return_does_not_spoil_the_last_number) {
    read("s1 r1 150 A C 0 1 0\r\n");
    EXPECT_EQ("1", text_of(site_at(150).gtypes[2]));
}

TEST_F(genotype_file, compressed_file_is_read_and_a_damaged_one_refused) {
    std::string text;
    for (int i = 100; i < 200; ++i) text += "s" + std::to_string(i) + " r " + std::to_string(i) + " A C 0 1 0\n";
    run.params.g_file = files().write_compressed("gen.gz", text);
    said([this] { read_genotypes(rooms, context, 2); });
    EXPECT_EQ(100U, run.sites.store.size());
    const std::string bytes = files().read("gen.gz");
    run.params.g_file = write("cut.gz", bytes.substr(0, bytes.size() - 12));
    EXPECT_THROW(read_genotypes(rooms, context, 2), run_end);
    EXPECT_NE(std::string::npos, capture.terminal.str().find("cut.gz] is damaged or cannot be read"));
}

TEST_F(genotype_file, missing_files) {
    run.params.g_file = run.params.g_ref_file = files().name("none");
    expect_fatal("ERROR: The -g file you specified does not exist.", [this] { read_genotypes(rooms, context, 2); });
    capture.open(run.log);
    expect_fatal("ERROR: The -g_ref file you specified does not exist.", [this] { read_genotypes(rooms, context, 1); });
}

TEST_F(genotype_file, files_that_cannot_be_opened) {
    run.params.g_file = run.params.g_ref_file = files().name(".");
    expect_fatal("ERROR: The Panel 2 genotypes file [" + files().name(".") + "] could not be opened.",
                 [this] { read_genotypes(rooms, context, 2); });
    capture.open(run.log);
    expect_fatal("ERROR: The Panel 1 genotypes file [" + files().name(".") + "] could not be opened.",
                 [this] { read_genotypes(rooms, context, 1); });
}

// --- Panel 1 ---------------------------------------------------------------------------------------------------------

TEST_F(genotype_file, panel1_joins_a_site_of_the_study) {
    label(add_site(150), 2, "A", "C");
    const std::string text = read("s r 150 C A 1 0 0 0 1 0\n", 1);
    EXPECT_EQ(stage(1) + " --detected 2 individuals\n" + read_line(1), text);
    const snp& site = site_at(150);
    EXPECT_EQ("snp150", site.snp_id);
    EXPECT_EQ("C", site.labels[1].a0);
    EXPECT_DOUBLE_EQ(0.25, site.labels[1].freq);
    EXPECT_EQ("01", text_of(site.gtypes[1]));
    EXPECT_EQ("2222", text_of(site.haps[1]));
    EXPECT_EQ(2, site.type);
    EXPECT_EQ(2, site.top_panel);
    EXPECT_EQ(2, run.panels[1].n_ind);
    EXPECT_EQ(4, run.panels[1].n_hap);
}

TEST_F(genotype_file, panel1_alone_makes_new_sites) {
    read("s r 150 C A 1 0 0\n", 1);
    EXPECT_EQ(1, site_at(150).type);
    EXPECT_EQ("s", site_at(150).snp_id);
    EXPECT_EQ(no_label, site_at(150).labels[2].a0);
}

TEST_F(genotype_file, panel1_beside_panel0_waits_as_type_3) {
    give_panel0();
    label(add_site(150), 2, "A", "C");
    read("s r 150 C A 1 0 0\ns r 160 C A 1 0 0\n", 1);
    EXPECT_EQ(3, site_at(150).type);
    EXPECT_EQ(3, site_at(160).type);
    EXPECT_EQ(3, site_at(160).top_panel);
}

TEST_F(genotype_file, panel1_keeps_two_snps_at_a_position) {
    read("s1 r 150 C A 1 0 0\ns2 r 150 C G 1 0 0\n", 1);
    EXPECT_EQ(2U, run.sites.store.count(150));
    EXPECT_EQ("", warnings());
}

TEST_F(genotype_file, panel1_snp_with_one_label_is_dropped) {
    EXPECT_NE(std::string::npos,
              read("s1 r 150 C C 1 0 0\n", 1).find(" --excluded 1 SNPs, leaving 0 SNPs for analysis\n"));
    EXPECT_EQ(
        "WARNING: The SNP at position 150 in the -g_ref file has only one unique allele (C); all reference SNPs must "
        "have "
        "two distinct alleles, so this SNP will be ignored.\n",
        warnings());
}

TEST_F(genotype_file, panel1_strand_is_applied_before_the_match) {
    context.strand_map = {{150, "-"}, {160, "+"}};
    label(add_site(150), 2, "A", "C");
    read("s r 150 T G 1 0 0\ns r 160 A G 1 0 0\ns r 170 A G 1 0 0\n", 1);
    EXPECT_EQ("A", site_at(150).labels[1].a0);
    EXPECT_EQ("+", site_at(150).labels[1].strand);
    EXPECT_EQ("+", site_at(160).labels[1].strand);
    EXPECT_EQ("*", site_at(170).labels[1].strand);
    EXPECT_EQ(1, context.strands.flipped);
    EXPECT_EQ(2, context.strands.handled);
}

TEST_F(genotype_file, panel1_snp_without_data_is_dropped) {
    read("s r 150 C A 0 0 0\n", 1);
    EXPECT_TRUE(run.sites.store.empty());
    EXPECT_EQ(
        "WARNING: SNP r at position 150 is missing all of its Panel 1 genotypes and will be treated as if it had not "
        "been "
        "included in the -g_ref file.\n",
        warnings());
}

TEST_F(genotype_file, panel1_snp_without_data_is_a_hole_to_fill) {
    give_panel0();
    run.params.fill_holes = true;
    label(add_site(150), 2, "A", "C");
    read("s r 150 C A 0 0 0\ns r 160 C A 0 0 0\n", 1);
    EXPECT_TRUE(site_at(150).ref_alleles_missing);
    EXPECT_FALSE(site_at(160).ref_alleles_missing);
    EXPECT_EQ(-1.0, site_at(150).labels[1].freq);
    EXPECT_EQ("", warnings());
}

TEST_F(genotype_file, panel1_without_panel0_has_no_holes) {
    run.params.fill_holes = true;
    read("s r 150 C A 0 0 0\n", 1);
    EXPECT_TRUE(run.sites.store.empty());
}

TEST_F(genotype_file, panel1_excludes_by_its_own_list_and_by_that_of_the_study) {
    context.exclude_snps[1] = {"s1"};
    context.exclude_snps[2] = {"s2"};
    read("s1 r 150 C A 1 0 0\ns2 r 160 C A 1 0 0\n", 1);
    EXPECT_TRUE(run.sites.store.empty());
    run.params.impute_excluded = true;
    read("s1 r 150 C A 1 0 0\ns2 r 160 C A 1 0 0\n", 1);
    EXPECT_EQ("s2", site_at(160).snp_id);
}

TEST_F(genotype_file, panel1_does_not_ask_for_a_haploid_study) {
    run.params.haploid_g = run.panels[2].all_haploid = true;
    read("s r 150 C A 0 1 0\n", 1);
    EXPECT_EQ("1", text_of(site_at(150).gtypes[1]));
    EXPECT_EQ(2, run.panels[1].n_hap);
}

TEST_F(genotype_file, panel1_has_its_own_probabilities) {
    run.params.prob_g_ref = true;
    const listed_draws draws({0.5});
    read("s r 150 C A 0.5 0.5 0\n", 1);
    EXPECT_EQ((std::vector<float>{0.5F, 0.5F, 0}), site_at(150).gtype_probs[1]);
    EXPECT_TRUE(site_at(150).gtypes[1].empty());
}

TEST_F(genotype_file, panel1_keeps_no_triples_for_the_studys_sake) {
    run.params.store_input_probs = {true, true};
    read("s r 150 C A 0 1 0\n", 1);
    EXPECT_TRUE(site_at(150).gtype_probs[1].empty());
}

}  // namespace
