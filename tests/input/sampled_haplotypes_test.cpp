#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/reader_fixture.h"
#include "input/readers.h"

namespace {

class sampled_haplotypes_file : public reader_fixture {
  protected:
    void SetUp() override {
        reader_fixture::SetUp();
        run.params.hap_samp_in_g = run.params.hap_samp_in_g_ref = run.params.hap_samp_in_h = base;
    }
    std::string read(const std::string& text, std::size_t panel = 2) {
        write("samp_hapsamp1", text);
        return said([&] { read_first_sampled_haplotypes(rooms, context, panel); });
    }
    void expect_refused(const std::string& text, const std::string& message, std::size_t panel = 2) {
        write("samp_hapsamp1", text);
        expect_fatal(message, [&] { read_first_sampled_haplotypes(rooms, context, panel); });
        capture.open(run.log);
    }
    std::string report(const std::string& option, int panel, const std::string& columns, int n_read,
                       const std::string& rest = "") const {
        return "\n-reading sampled haplotypes for Panel " + std::to_string(panel) + " from " + option +
               " file\n --filename=[" + base + "_hapsamp1]\n" + columns + " --read " + std::to_string(n_read) +
               " SNPs in the analysis interval+buffer region\n" + rest;
    }
    const std::string base = files().name("samp");
};

TEST_F(sampled_haplotypes_file, stand_in_for_the_genotypes_of_the_study) {
    run.map.positions = {0, 1000};
    run.map.scaled = {0.0, 1000.0};
    EXPECT_EQ(report("-hap_samp_in_g", 2, " --detected 6 haplotypes\n", 2),
              read("s r 99 A C 000000\ns1 r1 100 A C 001011\ns2 r2 200 G T 111111\ns r 201 A C x\n"));
    const snp& site = site_at(100);
    EXPECT_EQ("s1", site.snp_id);
    EXPECT_EQ("r1", site.rs_id);
    EXPECT_DOUBLE_EQ(100.0, site.gen_pos);
    EXPECT_EQ("A", site.labels[2].a0);
    EXPECT_DOUBLE_EQ(0.5, site.labels[2].freq);
    EXPECT_EQ("001011", text_of(site.haps[2]));
    EXPECT_EQ("012", text_of(site.gtypes[2]));
    EXPECT_TRUE(site.gtype_probs[2].empty());
    EXPECT_EQ(3, site.type);
    EXPECT_EQ(3, site.top_panel);
    EXPECT_EQ(3, run.panels[2].n_ind);
    EXPECT_EQ(6, run.panels[2].n_hap);
}

TEST_F(sampled_haplotypes_file, triples_are_kept_where_the_run_needs_them) {
    run.params.store_input_probs = {true, false};
    read("s r 150 A C 0111\n");
    EXPECT_EQ((std::vector<float>{0, 1, 0, 0, 0, 1}), site_at(150).gtype_probs[2]);
}

TEST_F(sampled_haplotypes_file, excluded_people_are_dropped) {
    context.exclude_flags = flags("010");
    EXPECT_EQ(
        report("-hap_samp_in_g", 2, " --detected 6 haplotypes\n --excluded 2 haplotypes, leaving 4 for analysis\n", 1),
        read("s r 150 A C 001011\n"));
    EXPECT_EQ("0011", text_of(site_at(150).haps[2]));
    EXPECT_EQ("02", text_of(site_at(150).gtypes[2]));
}

TEST_F(sampled_haplotypes_file, haploid_study_has_one_character_each) {
    run.params.haploid_g = run.panels[2].all_haploid = true;
    EXPECT_EQ(report("-hap_samp_in_g", 2, " --detected 3 haplotypes\n", 1), read("s r 150 A C 010\n"));
    EXPECT_EQ("010", text_of(site_at(150).haps[2]));
    EXPECT_EQ("020", text_of(site_at(150).gtypes[2]));
    EXPECT_DOUBLE_EQ(1.0 / 3.0, site_at(150).labels[2].freq);
    EXPECT_EQ(3, run.panels[2].n_hap);
}

TEST_F(sampled_haplotypes_file, male_has_one_allele_and_a_dash) {
    give_sexes(2, "121");
    context.exclude_flags = flags("000");
    EXPECT_EQ(report("-hap_samp_in_g", 2, " --detected 4 haplotypes\n", 1), read("s r 150 A C 1-010-\n"));
    EXPECT_EQ("1010", text_of(site_at(150).haps[2]));
    EXPECT_EQ("210", text_of(site_at(150).gtypes[2]));
    EXPECT_DOUBLE_EQ(0.5, site_at(150).labels[2].freq);
    EXPECT_EQ("", notes());
}

TEST_F(sampled_haplotypes_file, chrx_needs_the_sexes) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    expect_refused(
        "s r 150 A C 1-01\n",
        "ERROR: When performing imputation on chromosome X, you must provide a sample file for each -g, -g_ref, "
        "and/or -known_haps_g input file.",
        1);
}

TEST_F(sampled_haplotypes_file, other_characters_read_as_one_with_a_note) {
    read("s r 150 A C 0x?0\n");
    EXPECT_EQ("0110", text_of(site_at(150).haps[2]));
    EXPECT_EQ(
        "orvide: note: A haplotype is neither 0 nor 1, in line 1 of the file [" + base + "_hapsamp1]: it reads as 1.\n",
        notes());
}

TEST_F(sampled_haplotypes_file, exclusions_and_duplicates_are_as_in_genotypes) {
    give_panel0();
    context.exclude_snps[2] = {"r1"};
    EXPECT_EQ(report("-hap_samp_in_g", 2, " --detected 2 haplotypes\n", 3,
                     " --excluded 2 SNPs, leaving 1 SNPs for analysis\n"
                     "   --1 SNPs excluded due to presence on exclusion list\n"),
              read("s r1 150 A C 01\ns r2 160 A A 01\ns r3 160 A C 01\n"));
    EXPECT_EQ("A", site_at(160).labels[2].a1);  // equal labels are not tested in the study
    EXPECT_EQ(
        "WARNING: Position 160 occurs multiple times in Panel 2. The first instance of this SNP will be used for "
        "inference, while all subsequent instances will be ignored and omitted from output files.\n",
        warnings());
}

TEST_F(sampled_haplotypes_file, nobody_left_means_no_data) {
    context.exclude_flags = flags("1");
    read("s r1 150 A C 01\n");
    EXPECT_TRUE(run.sites.store.empty());
    EXPECT_EQ(
        "WARNING: SNP r1 at position 150 is missing all of its Panel 2 genotypes and will be treated as if it had not "
        "been "
        "included in the -hap_samp_in_g file.\n",
        warnings());
    run.log.close();
    capture.open(run.log);
    read("s r1 150 A C 01\n", 1);
    EXPECT_EQ(
        "WARNING: SNP r1 at position 150 is missing all of its Panel 1 genotypes and will be treated as if it had not "
        "been "
        "included in the -hap_samp_in_g_ref file.\n",
        warnings());
    run.params.counts_per_iter = true;
    read("s r1 150 A C 01\n");
    EXPECT_EQ(1U, run.sites.store.size());
}

TEST_F(sampled_haplotypes_file, odd_strings_are_refused) {
    for (const std::size_t panel : {2, 1}) {
        expect_refused("s r 150 A C 011\n",
                       "ERROR: The Panel " + std::to_string(panel) + " hapsamp file [" + base +
                           "_hapsamp1] does not contain a valid number of columns. Please review the documentation and "
                           "try again.",
                       panel);
    }
    EXPECT_NE(std::string::npos, read("s r 150 A C 011\n", 0).find(" --detected 3 haplotypes\n"));
}

TEST_F(sampled_haplotypes_file, columns_must_be_those_of_the_sample_file) {
    context.exclude_flags = flags("000");
    expect_refused("s r 150 A C 0111\n",
                   "ERROR: The number of individuals in the Panel 2 hapsamp file (2) does not match the number of "
                   "individuals in the sample file (3).");
    expect_refused("s r 150 A C 0111\n",
                   "ERROR: The number of individuals in the Panel 1 hapsamp file (2) does not match the number of "
                   "individuals in the sample file (3).",
                   1);
    expect_refused("s r 150 A C 0111\n",
                   "ERROR: The number of haplotypes in the Panel 0 hapsamp file (4) does not match the number of "
                   "haplotypes in the sample file (3).",
                   0);
}

TEST_F(sampled_haplotypes_file, strings_must_have_one_length) {
    expect_refused(
        "s r 150 A C 01\ns r 160 A C 0\n",
        "ERROR: There are fewer haplotypes than in the first line, in line 2 of the file [" + base + "_hapsamp1].");
    run.sites.store.clear();
    expect_refused(
        "s r 150 A C 01\ns r 160 A C 0111\n",
        "ERROR: There are more haplotypes than in the first line, in line 2 of the file [" + base + "_hapsamp1].");
    expect_refused("s r 150 A C\n", "ERROR: There are no haplotypes, in line 1 of the file [" + base + "_hapsamp1].");
}

TEST_F(sampled_haplotypes_file, compressed_file_is_found_if_it_is_the_only_one) {
    files().write_compressed("samp_hapsamp1.gz", "s r 150 A C 01\n");
    const std::string text = said([this] { read_first_sampled_haplotypes(rooms, context, 2); });
    EXPECT_NE(std::string::npos, text.find(" --filename=[" + base + "_hapsamp1.gz]\n"));
    EXPECT_EQ(1U, run.sites.store.size());
}

TEST_F(sampled_haplotypes_file, plain_file_wins) {
    files().write_compressed("samp_hapsamp1.gz", "s r 150 A C 01\n");
    EXPECT_NE(std::string::npos, read("s r 160 A C 01\n").find(" --filename=[" + base + "_hapsamp1]\n"));
    EXPECT_EQ(160, run.sites.store.begin()->first);
}

TEST_F(sampled_haplotypes_file, missing_files) {
    const char* const options[] = {"-hap_samp_in_h", "-hap_samp_in_g_ref", "-hap_samp_in_g"};
    for (const std::size_t panel : {0, 1, 2}) {
        expect_fatal(std::string("ERROR: The ") + options[panel] + " file you specified does not exist.",
                     [&] { read_first_sampled_haplotypes(rooms, context, panel); });
        capture.open(run.log);
    }
}

TEST_F(sampled_haplotypes_file, files_that_cannot_be_opened) {
    std::filesystem::create_directory(files().name("samp_hapsamp1"));
    for (const std::size_t panel : {0, 1, 2}) {
        expect_fatal(
            "ERROR: The Panel " + std::to_string(panel) + " hapsamp file [" + base + "_hapsamp1] could not be opened.",
            [&] { read_first_sampled_haplotypes(rooms, context, panel); });
        capture.open(run.log);
    }
}

// --- reference panels ------------------------------------------------------------------------------------------------

TEST_F(sampled_haplotypes_file, panel1_joins_the_study) {
    give_panel1_genotypes();
    context.strand_map = {{150, "-"}};
    label(add_site(150), 2, "A", "C");
    EXPECT_EQ(report("-hap_samp_in_g_ref", 1, " --detected 4 haplotypes\n", 2),
              read("s r 150 T G 0111\ns r 160 A C 0000\n", 1));
    const snp& site = site_at(150);
    EXPECT_EQ("A", site.labels[1].a0);
    EXPECT_EQ("+", site.labels[1].strand);
    EXPECT_EQ("0111", text_of(site.haps[1]));
    EXPECT_EQ("12", text_of(site.gtypes[1]));
    EXPECT_EQ(2, site.type);
    EXPECT_EQ(1, site_at(160).type);
    EXPECT_EQ(2, run.panels[1].n_ind);
    EXPECT_EQ(4, run.panels[1].n_hap);
}

TEST_F(sampled_haplotypes_file, panel1_does_not_ask_for_a_haploid_study) {
    run.params.haploid_g = run.panels[2].all_haploid = true;
    read("s r 150 A C 0111\n", 1);
    EXPECT_EQ("12", text_of(site_at(150).gtypes[1]));
}

TEST_F(sampled_haplotypes_file, panel0_joins_the_study_or_makes_sites) {
    give_panel0();
    label(add_site(150), 2, "A", "C");
    EXPECT_EQ(report("-hap_samp_in_h", 0, " --detected 3 haplotypes\n", 2),
              read("s r 150 C A 011\ns r 160 A C 001\n", 0));
    EXPECT_EQ(2, site_at(150).type);
    EXPECT_EQ("C", site_at(150).labels[0].a0);
    EXPECT_EQ("011", text_of(site_at(150).haps[0]));
    EXPECT_EQ(0, site_at(160).type);
    EXPECT_EQ("s", site_at(160).snp_id);
    EXPECT_DOUBLE_EQ(1.0 / 3.0, site_at(160).labels[0].freq);
    EXPECT_EQ(3, run.panels[0].n_hap);
}

TEST_F(sampled_haplotypes_file, panel0_needs_type_0_put_out_for_new_sites) {
    run.plan.output_types[0] = false;
    EXPECT_NE(std::string::npos,
              read("s r 150 C A 011\n", 0).find(" --excluded 1 SNPs, leaving 0 SNPs for analysis\n"));
    EXPECT_TRUE(run.sites.store.empty());
}

TEST_F(sampled_haplotypes_file, reference_snp_with_one_label_is_dropped) {
    read("s r 150 C C 01\n", 1);
    read("s r 150 C C 01\n", 0);
    EXPECT_TRUE(run.sites.store.empty());
    const std::string end =
        " file has only one unique allele (C); all reference SNPs must have two distinct alleles, so this SNP will be "
        "ignored.\n";
    EXPECT_EQ("WARNING: The SNP at position 150 in the -hap_samp_in_g_ref" + end +
                  "WARNING: The SNP at position 150 in the -hap_samp_in_h" + end,
              warnings());
}

}  // namespace
