#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

#include "input/reader_fixture.h"
#include "input/readers.h"

namespace {

class strand_file : public reader_fixture {
  protected:
    std::string read(const std::string& text, std::size_t panel = 2) {
        name = write("strand", text);
        return said([&] { map = read_strand_file(run.log, run.plan, name, panel); });
    }
    std::string name;
    std::map<long, std::string> map;
};

TEST_F(strand_file, keeps_what_lies_in_the_region) {
    EXPECT_EQ("\n-reading strand info for Panel 2 from -strand_g file\n --filename=[" + files().name("strand") +
                  "]\n --read strand info for 2 SNPs in the analysis region\n",
              read("0 +\n99 +\n200 -\n201 -\n100 + more\n"));
    EXPECT_EQ((std::map<long, std::string>{{100, "+"}, {200, "-"}}), map);
}

TEST_F(strand_file, first_line_of_a_position_stands_and_both_count) {
    EXPECT_NE(std::string::npos, read("150 -\n150 +\n").find(" --read strand info for 2 SNPs"));
    EXPECT_EQ("-", map[150]);
    EXPECT_EQ("orvide: note: The position 150 has a strand already, in line 2 of the file [" + files().name("strand") +
                  "]: the first one stands.\n",
              notes());
}

TEST_F(strand_file, other_strands_are_odd) {
    read("150 +\n160 minus\n170 1\n");
    EXPECT_EQ("minus", map[160]);
    EXPECT_EQ("orvide: note: The strand 'minus' is neither + nor -, in line 2 of the file [" + files().name("strand") +
                  "]: alleles there stand as they are, and so at all such lines.\n",
              notes());
}

TEST_F(strand_file, each_panel_has_its_option) {
    EXPECT_NE(std::string::npos, read("", 1).find("for Panel 1 from -strand_g_ref file"));
    EXPECT_NE(std::string::npos, read("", 0).find("for Panel 0 from -strand_h file"));
    EXPECT_NE(std::string::npos, read("", 7).find("for Panel 7 from -strandX file"));
}

TEST_F(strand_file, missing_file) {
    expect_fatal("ERROR: The -strand_g_ref file you specified does not exist.",
                 [this] { map = read_strand_file(run.log, run.plan, files().name("none"), 1); });
}

TEST_F(strand_file, file_that_cannot_be_opened) {
    expect_fatal("ERROR: The strand file [" + files().name(".") + "] could not be opened.",
                 [this] { map = read_strand_file(run.log, run.plan, files().name("."), 1); });
}

TEST_F(strand_file, malformed_lines_end_the_run) {
    write("strand", "150 +\nx +\n");
    expect_fatal("ERROR: The position 'x' is not a number, in line 2 of the file [" + files().name("strand") + "].",
                 [this] { map = read_strand_file(run.log, run.plan, files().name("strand"), 2); });
    capture.open(run.log);
    write("strand", "150\n");
    expect_fatal("ERROR: There is no strand, in line 1 of the file [" + files().name("strand") + "].",
                 [this] { map = read_strand_file(run.log, run.plan, files().name("strand"), 2); });
}

TEST_F(strand_file, study_is_aligned_in_one_pass) {
    for (const long position : {110L, 120L, 130L}) label(add_site(position), 2, "A", "C");
    context.strand_map = {{110, "-"}, {120, "+"}};
    align_study_to_strand_map(context, run.sites);
    EXPECT_EQ("T", site_at(110).labels[2].a0);
    EXPECT_EQ("+", site_at(120).labels[2].strand);
    EXPECT_EQ("*", site_at(130).labels[2].strand);
    EXPECT_EQ("\n-using -strand_g file to align Panel 2 allele labels\n --flipped strand at 1 out of 2 SNPs\n",
              said([this] { report_strand_use(run.log, context, 2); }));
    EXPECT_NE(std::string::npos, said([this] {
                                     report_strand_use(run.log, context, 1);
                                 }).find("-using -strand_g_ref file to align Panel 1 allele labels\n"));
    EXPECT_NE(std::string::npos, said([this] {
                                     report_strand_use(run.log, context, 0);
                                 }).find("-using -strand_h file to align Panel 0 allele labels\n"));
}

class snp_list : public reader_fixture {
  protected:
    std::string read(const std::string& text, std::optional<std::size_t> panel) {
        write("list", text);
        return said([&] { ids = read_snp_list(run.log, files().name("list"), panel); });
    }
    std::string report(const std::string& stage, int n) const {
        return "\n-" + stage + "\n --filename=[" + files().name("list") + "]\n --read " + std::to_string(n) +
               " SNP IDs\n";
    }
    id_set ids;
};

TEST_F(snp_list, first_token_of_a_line_counts) {
    ids = {"old"};
    EXPECT_EQ(report("reading SNP exclusion list for Panel 2 from -exclude_snps_g file", 2), read("a x\nb\n\na\n", 2));
    EXPECT_EQ((id_set{"a", "b"}), ids);
}

TEST_F(snp_list, each_list_has_its_words) {
    EXPECT_EQ(report("reading SNP exclusion list for Panel 1 from -exclude_snps_g_ref file", 0), read("", 1));
    EXPECT_EQ(report("reading SNP exclusion list for Panel 0 from -exclude_snps_h file", 0), read("", 0));
    EXPECT_EQ(report("reading SNP inclusion list for Panel -1 from -include_snps file", 0), read("", std::nullopt));
}

TEST_F(snp_list, missing_file) {
    expect_fatal("ERROR: The -exclude_snps_h file you specified does not exist.",
                 [this] { read_snp_list(run.log, files().name("none"), 0); });
    capture.open(run.log);
    expect_fatal("ERROR: The -include_snps file you specified does not exist.",
                 [this] { read_snp_list(run.log, files().name("none"), std::nullopt); });
}

TEST_F(snp_list, file_that_cannot_be_opened) {
    expect_fatal("ERROR: The SNP exclusion file [" + files().name(".") + "] could not be opened.",
                 [this] { read_snp_list(run.log, files().name("."), 2); });
    capture.open(run.log);
    expect_fatal("ERROR: The SNP inclusion file [" + files().name(".") + "] could not be opened.",
                 [this] { read_snp_list(run.log, files().name("."), std::nullopt); });
}

TEST_F(snp_list, unknown_code) {
    expect_fatal("ERROR: Panel code [3] for SNP exclusion file is not valid.",
                 [this] { read_snp_list(run.log, files().name("list"), 3); });
}

}  // namespace
