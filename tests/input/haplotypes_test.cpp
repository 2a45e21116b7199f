#include <gtest/gtest.h>

#include <string>

#include "input/reader_fixture.h"
#include "input/readers.h"

namespace {

class haplotype_pair : public reader_fixture {
  protected:
    // Panel 0 is the first pair, Panel 1 the second one.
    void give(const std::string& haplotypes, const std::string& legend, std::size_t panel = 0) {
        write("hap", haplotypes);
        write("leg", legend);
        run.params.h_files.assign(panel + 1, hap);
        run.params.l_files.assign(panel + 1, leg);
    }
    std::string read(const std::string& haplotypes, const std::string& lines, std::size_t panel = 0) {
        give(haplotypes, header + lines, panel);
        return said([&] { read_haplotypes(rooms, context, panel); });
    }
    void expect_refused(const std::string& haplotypes, const std::string& legend, const std::string& message,
                        std::size_t panel = 0) {
        give(haplotypes, legend, panel);
        expect_fatal(message, [&] { read_haplotypes(rooms, context, panel); });
        capture.open(run.log);
    }
    std::string stage(std::size_t panel = 0) const {
        return "\n-reading Panel " + std::to_string(panel) + " haplotypes from -h and -l files\n --filename=[" + hap +
               "]\n --filename=[" + leg + "]\n";
    }
    static std::string read_line(int n) {
        return " --read " + std::to_string(n) + " SNPs in the analysis interval+buffer region\n";
    }
    const std::string hap = files().name("hap"), leg = files().name("leg");
    const std::string header = "id position a0 a1\n";
};

TEST_F(haplotype_pair, lines_in_the_region_become_sites) {
    run.map.positions = {0, 1000};
    run.map.scaled = {0.0, 1000.0};
    const std::string text =
        read("0 0 0 0\n0 1 1 ?\n1 1 0 1\nnot read\n", "r0 99 A C\nr1 100 A C\nr2 200 G T\nr3 201 A C\n");
    EXPECT_EQ(stage() + " --detected 4 haplotypes\n" + read_line(2), text);
    ASSERT_EQ(2U, run.sites.store.size());
    const snp& site = site_at(100);
    EXPECT_EQ("---", site.snp_id);
    EXPECT_EQ("r1", site.rs_id);
    EXPECT_DOUBLE_EQ(100.0, site.gen_pos);
    EXPECT_EQ("A", site.labels[0].a0);
    EXPECT_EQ("C", site.labels[0].a1);
    EXPECT_EQ("*", site.labels[0].strand);
    EXPECT_DOUBLE_EQ(2.0 / 3.0, site.labels[0].freq);
    EXPECT_EQ("0112", text_of(site.haps[0]));
    EXPECT_EQ(no_label, site.labels[2].a0);
    EXPECT_EQ(0, site.type);
    EXPECT_EQ(0, site.top_panel);
    EXPECT_EQ("1101", text_of(site_at(200).haps[0]));
    EXPECT_EQ(4, run.panels[0].n_hap);
    EXPECT_EQ(0, run.panels[0].n_ind);
    EXPECT_EQ("", notes());
}

TEST_F(haplotype_pair, absent_haplotypes_are_dropped_from_the_whole_file) {
    EXPECT_EQ(stage() + " --detected 5 haplotypes\n --excluded 1 haplotypes, leaving 4 for analysis\n" + read_line(2),
              read("0 1 0 1 -\n1 1 0 0 1\n", "r1 110 A C\nr2 120 A C\n"));
    EXPECT_EQ("00001", text_of(context.exclude_flags));
    EXPECT_EQ("0101", text_of(site_at(110).haps[0]));
    EXPECT_EQ("1100", text_of(site_at(120).haps[0]));
}

TEST_F(haplotype_pair, sample_exclusions_and_absent_haplotypes_add_up) {
    context.exclude_flags = flags("1000");
    EXPECT_EQ(stage() + " --detected 4 haplotypes\n --excluded 2 haplotypes, leaving 2 for analysis\n" + read_line(1),
              read("0 1 - 1\n", "r1 110 A C\n"));
    EXPECT_EQ("11", text_of(site_at(110).haps[0]));
    EXPECT_EQ(2, run.panels[0].n_hap);
}

TEST_F(haplotype_pair, columns_must_be_those_of_the_sample_file) {
    context.exclude_flags = flags("000");
    expect_refused("0 1\n", header,
                   "ERROR: The number of haplotypes in the Panel 0 haplotypes file (2) does not match the number of "
                   "haplotypes in the sample file (3).");
    expect_refused("0 1\n", header,
                   "ERROR: The number of haplotypes in the Panel 1 haplotypes file (2) does not match the number of "
                   "haplotypes in the sample file (3).",
                   1);
}

TEST_F(haplotype_pair, excluded_lines_consume_their_haplotypes) {
    context.exclude_snps[0] = {"r1"};
    context.exclude_snps[2] = {"120"};
    EXPECT_EQ(stage() + " --detected 2 haplotypes\n" + read_line(3) +
                  " --excluded 2 SNPs, leaving 1 SNPs for analysis\n"
                  "   --2 SNPs excluded due to presence on exclusion list\n",
              read("0 0\n0 1\n1 1\n", "r1 110 A C\nr2 120 A C\nr3 130 A C\n"));
    EXPECT_EQ("11", text_of(site_at(130).haps[0]));
}

TEST_F(haplotype_pair, legend_lines_answer_to_the_id_of_dashes) {
    context.exclude_snps[0] = {"---"};
    read("0 1\n", "r1 110 A C\n");
    EXPECT_TRUE(run.sites.store.empty());
}

TEST_F(haplotype_pair, study_list_is_ignored_if_excluded_snps_are_to_be_imputed) {
    context.exclude_snps[2] = {"r1"};
    run.params.impute_excluded = true;
    read("0 1\n", "r1 110 A C\n");
    EXPECT_EQ(1U, run.sites.store.size());
}

TEST_F(haplotype_pair, one_label_consumes_its_haplotypes) {
    EXPECT_EQ(
        stage() + " --detected 2 haplotypes\n" + read_line(2) + " --excluded 1 SNPs, leaving 1 SNPs for analysis\n",
        read("0 0\n0 1\n", "r1 110 A A\nr2 120 A C\n"));
    EXPECT_EQ("01", text_of(site_at(120).haps[0]));
    EXPECT_EQ(
        "WARNING: The SNP at position 110 in the Panel 0 -l file has only one unique allele (A); all reference SNPs "
        "must "
        "have two distinct alleles, so this SNP will be ignored.\n",
        warnings());
    EXPECT_EQ(1, run.log.warning_count());
}

TEST_F(haplotype_pair, silenced_warning_does_not_count) {
    silence_warnings();
    read("0 0\n", "r1 110 A A\n");
    EXPECT_EQ(0, run.log.warning_count());
}

TEST_F(haplotype_pair, strand_is_applied_before_the_match) {
    context.strand_map = {{110, "-"}, {120, "+"}};
    label(add_site(110), 2, "A", "C");
    read("0 1\n0 1\n0 1\n", "r1 110 T G\nr2 120 A C\nr3 130 A C\n");
    EXPECT_EQ("A", site_at(110).labels[0].a0);
    EXPECT_EQ("*", site_at(110).labels[0].strand);  // that of the entry stays
    EXPECT_EQ("+", site_at(120).labels[0].strand);
    EXPECT_EQ("*", site_at(130).labels[0].strand);
    EXPECT_EQ(1, context.strands.flipped);
    EXPECT_EQ(2, context.strands.handled);
}

TEST_F(haplotype_pair, match_with_the_study_is_type_2) {
    label(add_site(110), 2, "A", "C");
    read("0 1\n", "r1 110 C A\n");
    const snp& site = site_at(110);
    EXPECT_EQ("rs110", site.rs_id);
    EXPECT_EQ("C", site.labels[0].a0);
    EXPECT_EQ("01", text_of(site.haps[0]));
    EXPECT_DOUBLE_EQ(0.5, site.labels[0].freq);
    EXPECT_EQ(2, site.type);
    EXPECT_EQ(2, site.top_panel);
}

TEST_F(haplotype_pair, match_beside_panel1_depends_on_its_labels) {
    snp& without = add_site(110);
    label(without, 2, "A", "C");
    snp& all = add_site(120);
    label(all, 2, "A", "C");
    label(all, 1, "A", "C");
    snp& no_study = add_site(130);
    label(no_study, 1, "A", "C");
    snp& settled = add_site(140);
    label(settled, 2, "A", "C");
    settled.type = 2;
    without.top_panel = 1;
    give("0 1\n0 1\n0 1\n0 1\n", header + "r 110 A C\nr 120 A C\nr 130 A C\nr 140 A C\n");
    give_panel1_genotypes();
    said([this] { read_haplotypes(rooms, context, 0); });
    EXPECT_EQ(3, without.type);
    EXPECT_EQ(3, without.top_panel);
    EXPECT_EQ(2, all.type);
    EXPECT_EQ(1, no_study.type);
    EXPECT_EQ(1, no_study.top_panel);
    EXPECT_EQ(2, settled.type);
    EXPECT_EQ(3, settled.top_panel);
}

TEST_F(haplotype_pair, unmatched_sites_need_their_type_put_out) {
    run.plan.output_types[0] = false;
    EXPECT_EQ(
        stage() + " --detected 2 haplotypes\n" + read_line(1) + " --excluded 1 SNPs, leaving 0 SNPs for analysis\n",
        read("0 1\n", "r 110 A C\n"));
    EXPECT_TRUE(run.sites.store.empty());
    EXPECT_EQ("", warnings());
}

TEST_F(haplotype_pair, site_without_alleles_counts_as_not_in_the_file) {
    label(add_site(110), 2, "A", "C");
    EXPECT_EQ(stage() + " --detected 2 haplotypes\n" + read_line(2) +
                  " --excluded 2 SNPs, leaving 0 SNPs for analysis\n   --2 SNPs excluded for having no data\n",
              read("? ?\n? ?\n", "r1 110 A C\nr2 120 A C\n"));
    EXPECT_EQ(3, site_at(110).type);
    EXPECT_EQ(no_label, site_at(110).labels[0].a0);
    EXPECT_EQ(
        "WARNING: SNP r1 at position 110 is missing all of its Panel 0 alleles and will be treated as if it had not "
        "been "
        "included in the -h file.\n"
        "WARNING: SNP r2 at position 120 is missing all of its Panel 0 alleles and will be treated as if it had not "
        "been "
        "included in the -h file.\n",
        warnings());
}

TEST_F(haplotype_pair, matched_site_without_alleles_is_a_hole_to_fill) {
    run.params.fill_holes = true;
    label(add_site(110), 2, "A", "C");
    EXPECT_EQ(stage() + " --detected 2 haplotypes\n" + read_line(2) +
                  " --excluded 1 SNPs, leaving 1 SNPs for analysis\n   --1 SNPs excluded for having no data\n",
              read("? ?\n? ?\n", "r1 110 A C\nr2 120 A C\n"));
    EXPECT_TRUE(site_at(110).ref_alleles_missing);
    EXPECT_EQ("22", text_of(site_at(110).haps[0]));
    EXPECT_EQ(-1.0, site_at(110).labels[0].freq);
    EXPECT_EQ(2, site_at(110).type);
    EXPECT_EQ(1, run.log.warning_count());
}

TEST_F(haplotype_pair, type_0_sites_can_take_part_in_panel1) {
    run.params.use_panel1_for_type0_imputation = true;
    run.panels[1].n_hap = 3;
    read("0 1\n", "r1 110 A C\n");
    const snp& site = site_at(110);
    EXPECT_EQ(0, site.type);
    EXPECT_EQ(1, site.top_panel);
    EXPECT_EQ("A", site.labels[1].a0);
    EXPECT_EQ("+", site.labels[1].strand);
    EXPECT_DOUBLE_EQ(0.5, site.labels[1].freq);
    EXPECT_EQ("000", text_of(site.haps[1]));
    EXPECT_EQ(no_label, site.labels[2].a0);
}

TEST_F(haplotype_pair, type_0_sites_can_take_part_in_the_study_of_stage_one) {
    run.params.use_panel1_for_type0_imputation = run.params.stage_one = true;
    run.panels[2].n_hap = 4;
    read("0 1\n", "r1 110 A C\n");
    const snp& site = site_at(110);
    EXPECT_EQ(0, site.top_panel);
    EXPECT_EQ("C", site.labels[2].a1);
    EXPECT_EQ("+", site.labels[2].strand);
    EXPECT_EQ("0000", text_of(site.haps[2]));
    EXPECT_TRUE(site.haps[1].empty());
}

TEST_F(haplotype_pair, filter_rules_drop_lines) {
    run.params.filt_rules_l = {"maf<0.05", "type==indel"};
    give("0 0\n0 1\n1 0\n1 1\n",
         "id position a0 a1 maf type\nr1 110 A C 0.01 snp\nr2 120 A C 0.2 indel\nr3 130 A C 0.05 snp\n"
         "r4 140 A C 0.5 snp more\n");
    EXPECT_EQ(stage() + " --detected 2 haplotypes\n --parsing legend filters provided via -filt_rules_l\n" +
                  read_line(4) +
                  " --excluded 2 SNPs, leaving 2 SNPs for analysis\n"
                  "   --2 SNPs excluded according to filters specified via -filt_rules_l\n",
              said([this] { read_haplotypes(rooms, context, 0); }));
    EXPECT_EQ("10", text_of(site_at(130).haps[0]));
    EXPECT_EQ("11", text_of(site_at(140).haps[0]));
}

TEST_F(haplotype_pair, rules_mean_nothing_to_a_legend_of_four_columns) {
    run.params.filt_rules_l = {"nonsense", "x>y"};
    EXPECT_EQ(stage() + " --detected 2 haplotypes\n" + read_line(1), read("0 1\n", "r1 110 A C\n"));
}

TEST_F(haplotype_pair, one_label_is_found_before_the_filters) {
    run.params.filt_rules_l = {"maf<0.05"};
    give("0 1\n", "id position a0 a1 maf\nr1 110 A A NA\n");
    said([this] { read_haplotypes(rooms, context, 0); });
    EXPECT_EQ(1, run.log.warning_count());
}

TEST_F(haplotype_pair, filtered_line_needs_all_columns) {
    run.params.filt_rules_l = {"maf<0.05"};
    expect_refused("0 1\n", "id position a0 a1 x maf\nr1 110 A C 0.1\n",
                   "ERROR: There are fewer columns than in the header, in line 2 of the file [" + leg + "].");
}

TEST_F(haplotype_pair, haplotypes_may_end_before_the_legend) {
    EXPECT_EQ(
        stage() + " --detected 2 haplotypes\n" + read_line(2) + " --excluded 1 SNPs, leaving 1 SNPs for analysis\n",
        read("0 1\n", "r1 110 A C\nr2 120 A C\nr3 130 A C\n"));
    EXPECT_EQ("orvide: note: The haplotypes end before their legend, in line 1 of the file [" + hap +
                  "]: what begins with site 2 of the legend [" + leg + "] is left out.\n",
              notes());
}

TEST_F(haplotype_pair, haplotypes_behind_the_legend_are_refused) {
    expect_refused("0 1\n0 1\n", header + "r1 110 A C\n",
                   "ERROR: There are more lines than sites in the legend [" + leg +
                       "], which has 1; both must have one for each site in the same order, in line 2 of the file [" +
                       hap + "].");
}

TEST_F(haplotype_pair, ragged_lines_are_refused) {
    expect_refused("0 1 1\n0 1\n", header + "r1 110 A C\nr2 120 A C\n",
                   "ERROR: There are fewer haplotypes than in the first line, in line 2 of the file [" + hap + "].");
    expect_refused("0 1 1\n0 1 0 1\n", header + "r1 130 A C\nr2 140 A C\n",
                   "ERROR: There are more haplotypes than in the first line, in line 2 of the file [" + hap + "].");
}

TEST_F(haplotype_pair, other_alleles_are_refused) {
    expect_refused("0 1 1\n0 2 1\n", header + "r1 110 A C\nr2 120 A C\n",
                   "ERROR: The allele '2' in column 2 is not valid, in line 2 of the file [" + hap + "].");
    expect_refused("0 1 1\n0 1 -\n", header + "r1 130 A C\nr2 140 A C\n",
                   "ERROR: The allele '-' in column 3 is not valid, in line 2 of the file [" + hap + "].");
}

TEST_F(haplotype_pair, lines_left_of_the_region_are_not_looked_into) {
    read("0 1 1\nanything\n1 1 1\n", "r1 50 A C\nr2 60 A C\nr3 120 A C\n");
    EXPECT_EQ("111", text_of(site_at(120).haps[0]));
}

TEST_F(haplotype_pair, malformed_legend_is_refused) {
    expect_refused("0 1\n", header + "r1 here A C\n",
                   "ERROR: The position 'here' is not a number, in line 2 of the file [" + leg + "].");
    expect_refused("0 1\n", header + "r1 110 A\n",
                   "ERROR: There are fewer fields than a SNP needs, in line 2 of the file [" + leg + "].");
    expect_refused("0 1\n", header + "r1\n",
                   "ERROR: There are fewer fields than a SNP needs, in line 2 of the file [" + leg + "].");
}

TEST_F(haplotype_pair, legend_headers_have_their_columns) {
    expect_refused("0 1\n", "id position a0\n",
                   "ERROR: The Panel 0 legend file [" + leg +
                       "] must contain at least four columns. Please review the documentation and try again.");
    for (const char* text : {"id position a0\n", "id position a0 a1 maf\n"}) {
        expect_refused("0 1\n", text,
                       "ERROR: The Panel 1 legend file [" + leg +
                           "] does not conform to the required four-column format. Please review the documentation and "
                           "try again.",
                       1);
    }
}

TEST_F(haplotype_pair, missing_files) {
    give("0 1\n", header);
    run.params.l_files[0] = files().name("none");
    expect_fatal("ERROR: The -l file you specified does not exist.", [this] { read_haplotypes(rooms, context, 0); });
    capture.open(run.log);
    run.params.h_files[0] = files().name("none");
    expect_fatal("ERROR: The -h file you specified does not exist.", [this] { read_haplotypes(rooms, context, 0); });
}

TEST_F(haplotype_pair, files_that_cannot_be_opened) {
    give("0 1\n", header, 1);
    run.params.l_files = {files().name("."), files().name(".")};
    for (const std::size_t panel : {0, 1}) {
        expect_fatal("ERROR: The Panel " + std::to_string(panel) + " legend file [" + files().name(".") +
                         "] could not be opened.",
                     [this, panel] { read_haplotypes(rooms, context, panel); });
        capture.open(run.log);
    }
    run.params.h_files = {files().name("."), files().name(".")};
    for (const std::size_t panel : {0, 1}) {
        expect_fatal("ERROR: The Panel " + std::to_string(panel) + " haplotypes file [" + files().name(".") +
                         "] could not be opened.",
                     [this, panel] { read_haplotypes(rooms, context, panel); });
        capture.open(run.log);
    }
}

TEST_F(haplotype_pair, empty_haplotype_file_has_no_haplotypes) {
    EXPECT_EQ(
        stage() + " --detected 0 haplotypes\n" + read_line(1) + " --excluded 1 SNPs, leaving 0 SNPs for analysis\n",
        read("", "r1 110 A C\n"));
}

// --- Panel 1 ---------------------------------------------------------------------------------------------------------

TEST_F(haplotype_pair, panel1_counts_haplotypes_and_no_individuals) {
    run.panels[1].n_ind = 7;
    EXPECT_EQ(stage(1) + " --detected 3 haplotypes\n" + read_line(1), read("0 1 1\n", "r1 110 A C\n", 1));
    EXPECT_EQ(3, run.panels[1].n_hap);
    EXPECT_EQ(0, run.panels[1].n_ind);
    const snp& site = site_at(110);
    EXPECT_EQ("---", site.snp_id);
    EXPECT_EQ("011", text_of(site.haps[1]));
    EXPECT_DOUBLE_EQ(2.0 / 3.0, site.labels[1].freq);
    EXPECT_EQ(no_label, site.labels[0].a0);
    EXPECT_EQ(3, site.type);
    EXPECT_EQ(3, site.top_panel);
}

TEST_F(haplotype_pair, panel1_joins_the_study_and_brings_its_strand) {
    context.strand_map = {{110, "+"}};
    label(add_site(110), 2, "A", "C");
    read("0 1 1\n", "r1 110 C A\n", 1);
    EXPECT_EQ("C", site_at(110).labels[1].a0);
    EXPECT_EQ("+", site_at(110).labels[1].strand);
    EXPECT_EQ("011", text_of(site_at(110).haps[1]));
    EXPECT_EQ(3, site_at(110).type);
}

TEST_F(haplotype_pair, panel1_reads_a_question_mark_as_zero_with_a_note) {
    read("? 1 ?\n? 1 1\n", "r1 110 A C\nr2 120 A C\n", 1);
    EXPECT_EQ("010", text_of(site_at(110).haps[1]));
    EXPECT_DOUBLE_EQ(1.0 / 3.0, site_at(110).labels[1].freq);
    EXPECT_EQ(
        "orvide: note: There is a '?', in line 1 of the file [" + hap + "]: it reads as allele 0 in this panel.\n",
        notes());
}

TEST_F(haplotype_pair, panel1_needs_type_1_put_out_for_new_sites) {
    run.plan.output_types[1] = false;
    label(add_site(110), 2, "A", "C");
    read("0 1\n0 1\n", "r1 110 A C\nr2 120 A C\n", 1);
    EXPECT_EQ(1U, run.sites.store.size());
    EXPECT_EQ("A", site_at(110).labels[1].a0);
}

TEST_F(haplotype_pair, panel1_has_its_own_list_and_words) {
    context.exclude_snps[1] = {"r1"};
    read("0 1\n0 1\n", "r1 110 A C\nr2 120 G G\n", 1);
    EXPECT_TRUE(run.sites.store.empty());
    EXPECT_EQ(
        "WARNING: The SNP at position 120 in the Panel 1 -l file has only one unique allele (G); all reference SNPs "
        "must "
        "have two distinct alleles, so this SNP will be ignored.\n",
        warnings());
}

TEST_F(haplotype_pair, panel1_is_never_filtered) {
    run.params.filt_rules_l = {"maf<0.05"};
    read("0 1\n", "r1 110 A C\n", 1);
    EXPECT_EQ(1U, run.sites.store.size());
}

TEST_F(haplotype_pair, compressed_pair_is_read_and_a_damaged_one_refused) {
    std::string haplotypes, legend = header;
    for (int i = 100; i < 200; ++i) {
        haplotypes += "0 1 1 0 0\n";
        legend += "r" + std::to_string(i) + " " + std::to_string(i) + " A C\n";
    }
    run.params.h_files = {files().write_compressed("hap.gz", haplotypes)};
    run.params.l_files = {files().write_compressed("leg.gz", legend)};
    said([this] { read_haplotypes(rooms, context, 0); });
    EXPECT_EQ(100U, run.sites.store.size());
    for (const char* name : {"hap.gz", "leg.gz"}) {
        const std::string bytes = files().read(name);
        write(name, bytes.substr(0, bytes.size() - 9));
        run.sites.store.clear();
        EXPECT_THROW(read_haplotypes(rooms, context, 0), run_end);
        capture.open(run.log);
        write(name, bytes);
    }
}

}  // namespace
