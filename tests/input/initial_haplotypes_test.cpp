#include <gtest/gtest.h>

#include <string>

#include "input/reader_fixture.h"
#include "input/readers.h"

namespace {

class initial_haplotypes_file : public reader_fixture {
  protected:
    // A study with one site at each position, A and C, everybody with the genotypes.
    void give_study(const std::string& codes, std::initializer_list<long> positions = {150}) {
        give_genotypes(codes, positions);
    }
    std::string read(const std::string& text) {
        run.params.hap_init_g_file = write("init", text);
        return said([this] { read_initial_haplotypes(rooms, context); });
    }
    void expect_refused(const std::string& text, const std::string& message) {
        run.params.hap_init_g_file = write("init", text);
        expect_fatal(message, [this] { read_initial_haplotypes(rooms, context); });
        capture.open(run.log);
    }
    std::string report(int n_read, const std::string& rest = "") const {
        return "\n-reading initial Panel 2 haplotypes from -hap_init_g file\n --filename=[" + files().name("init") +
               "]\n --read " + std::to_string(n_read) + " SNPs in the analysis interval+buffer region\n" + rest;
    }
    static std::string updated(int n) {
        return " --updated " + std::to_string(n) + " existing SNPs with initial haplotype info\n";
    }
    std::string haps(long position = 150) { return text_of(site_at(position).haps[2]); }
    std::string init(long position = 150) { return text_of(site_at(position).hap_init_flags); }
};

TEST_F(initial_haplotypes_file, give_alleles_and_flags) {
    give_study("102");
    EXPECT_EQ(report(1, updated(1)), read("s r 150 A C 1 0 0 0 1 1\n"));
    EXPECT_EQ("100011", haps());
    EXPECT_EQ("111", init());
    EXPECT_EQ("", warnings());
}

TEST_F(initial_haplotypes_file, crossed_labels_swap_the_alleles) {
    give_study("1");
    read("s r 150 C A 1 0\n");
    EXPECT_EQ("01", haps());
}

TEST_F(initial_haplotypes_file, region_is_kept_and_other_positions_pass_in_silence) {
    give_study("1", {100, 200});
    EXPECT_EQ(report(3, updated(2)),
              read("s r 99 A C 1 0\ns r 100 A C 1 0\ns r 150 A C 1 0\ns r 200 A C 0 1\ns r 201 A C x y\n"));
    EXPECT_EQ("10", haps(100));
    EXPECT_EQ("01", haps(200));
    EXPECT_EQ("", warnings());
}

TEST_F(initial_haplotypes_file, other_labels_are_warned_about) {
    give_study("1");
    EXPECT_EQ(report(1, "   --ignored 1 SNPs with incompatible alleles in -g file\n"), read("s r 150 A G 1 0\n"));
    EXPECT_EQ(
        "WARNING: The -hap_init_g alleles AG are not compatible with the -g alleles at position 150; the -hap_init_g "
        "info "
        "will be ignored at this SNP.\n",
        warnings());
    EXPECT_EQ("22", haps());
    EXPECT_EQ("", init());
}

TEST_F(initial_haplotypes_file, site_without_haplotypes_is_warned_about) {
    give_study("1");
    site_at(150).haps[2].clear();
    read("s r 150 A C 1 0\n");
    EXPECT_EQ(1, run.log.warning_count());
    EXPECT_EQ("", init());
}

TEST_F(initial_haplotypes_file, genotype_that_differs_is_ignored) {
    give_study("012");
    EXPECT_EQ(report(1, updated(1) + "   --ignored 3 genotypes with incompatible values in -g file\n"),
              read("s rsx 150 A C 0 1 1 1 0 0\n"));
    const std::string end =
        " (1-indexed) at SNP rsx (position 150); the -hap_init_g info will be ignored at this genotype.\n";
    EXPECT_EQ("WARNING: The -hap_init_g genotype AC is not compatible with the -g genotype AA for sample 1" + end +
                  "WARNING: The -hap_init_g genotype CC is not compatible with the -g genotype AC for sample 2" + end +
                  "WARNING: The -hap_init_g genotype AA is not compatible with the -g genotype CC for sample 3" + end,
              warnings());
    EXPECT_EQ("000", init());
}

TEST_F(initial_haplotypes_file, genotypes_are_ignored_and_counted_without_warnings) {
    silence_warnings();
    give_study("0");
    EXPECT_NE(std::string::npos,
              read("s r 150 A C 0 1\n").find("   --ignored 1 genotypes with incompatible values in -g file\n"));
    EXPECT_EQ(0, run.log.warning_count());
}

TEST_F(initial_haplotypes_file, missing_genotype_takes_any) {
    give_study("3");
    read("s r 150 A C 0 1\n");
    EXPECT_EQ("01", haps());
    EXPECT_EQ("1", init());
}

TEST_F(initial_haplotypes_file, probabilities_are_not_compared) {
    give_study("0");
    site_at(150).gtypes[2].clear();
    run.params.prob_g = true;
    read("s r 150 A C 0 1\n");
    EXPECT_EQ("01", haps());
}

TEST_F(initial_haplotypes_file, people_behind_a_skipped_one_move_up) {
    give_study("3112");
    read("s r 150 A C ? ? 0 1 1 0 1 1\n");
    EXPECT_EQ("01101122", haps());
    EXPECT_EQ("0111", init());
    EXPECT_EQ("orvide: note: Person 1 has '? ?' in place of two alleles 0 or 1, in line 1 of the file [" +
                  files().name("init") +
                  "]: the person is skipped, and the alleles of those behind it stand one person further left.\n",
              notes());
}

TEST_F(initial_haplotypes_file, people_behind_an_ignored_genotype_move_up) {
    give_study("01");
    read("s r 150 A C 1 1 0 1\n");
    EXPECT_EQ("0122", haps());
    EXPECT_EQ("01", init());
}

TEST_F(initial_haplotypes_file, excluded_columns_are_passed_over) {
    context.exclude_flags = flags("100");
    give_study("11");
    read("s r 150 A C x y 0 1 1 0\n");
    EXPECT_EQ("0110", haps());
}

TEST_F(initial_haplotypes_file, haploid_study_has_one_field_each) {
    run.params.haploid_g = run.panels[2].all_haploid = true;
    give_study("022");
    read("s r 150 A C 0 1 0\n");
    EXPECT_EQ("012", haps());  // the third one differs from its genotype
    EXPECT_EQ("110", init());
    EXPECT_NE(std::string::npos, warnings().find("genotype A is not compatible with the -g genotype CC for sample 3 "));
}

TEST_F(initial_haplotypes_file, second_field_of_a_male_is_not_looked_at) {
    give_sexes(2, "12");
    give_study("21");
    read("s r 150 A C 1 - 0 1\n");
    EXPECT_EQ("101", haps());
    EXPECT_EQ("11", init());
}

TEST_F(initial_haplotypes_file, female_needs_two_alleles) {
    give_sexes(2, "12");
    give_study("21");
    const std::string message =
        "ERROR: Individual 2 (1-indexed) is marked as female but has a '-' allele, which is reserved for males.";
    expect_refused("s r 150 A C 1 - 0 -\n", message);
    expect_refused("s r 150 A C 1 - - 0\n", message);
}

TEST_F(initial_haplotypes_file, columns_of_a_female_are_counted_with_the_excluded_ones) {
    give_sexes(2, "2");
    context.exclude_flags = flags("10");
    give_study("1");
    expect_refused(
        "s r 150 A C 1 0 0 -\n",
        "ERROR: Individual 2 (1-indexed) is marked as female but has a '-' allele, which is reserved for males.");
}

TEST_F(initial_haplotypes_file, columns_come_in_pairs) {
    give_study("1");
    expect_refused("s r 150 A C 1 0 1\n",
                   "ERROR: The Panel 2 initial haplotypes file [" + files().name("init") +
                       "] does not contain a valid number of columns. Please review the documentation and try again.");
}

TEST_F(initial_haplotypes_file, columns_must_be_those_of_the_sample_file) {
    give_study("1");
    context.exclude_flags = flags("00");
    expect_refused(
        "s r 150 A C 1 0\n",
        "ERROR: The number of individuals in the Panel 2 initial haplotypes file (1) does not match the number "
        "of individuals in the sample file (2).");
}

TEST_F(initial_haplotypes_file, people_must_be_those_of_the_genotypes) {
    give_study("1");
    context.exclude_flags = flags("00");
    expect_refused(
        "s r 150 A C 1 0 0 1\n",
        "ERROR: The number of individuals in the Panel 2 initial haplotypes file (2) does not match the number "
        "of individuals in the Panel 2 genotypes file (1).");
}

TEST_F(initial_haplotypes_file, ragged_lines_are_refused) {
    give_study("1", {150, 160});
    expect_refused(
        "s r 150 A C 1 0\ns r 160 A C 1\n",
        "ERROR: There are fewer alleles than in the first line, in line 2 of the file [" + files().name("init") + "].");
    expect_refused(
        "s r 150 A C 1 0\ns r 160 A C 1 0 1\n",
        "ERROR: There are more alleles than in the first line, in line 2 of the file [" + files().name("init") + "].");
}

TEST_F(initial_haplotypes_file, missing_file) {
    run.params.hap_init_g_file = files().name("none");
    expect_fatal("ERROR: The -hap_init_g file you specified does not exist.",
                 [this] { read_initial_haplotypes(rooms, context); });
}

TEST_F(initial_haplotypes_file, file_that_cannot_be_opened) {
    run.params.hap_init_g_file = files().name(".");
    expect_fatal("ERROR: The Panel 2 initial haplotypes file [" + files().name(".") + "] could not be opened.",
                 [this] { read_initial_haplotypes(rooms, context); });
}

}  // namespace
