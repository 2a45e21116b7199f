#include "chromosome/plan_command.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "support/temporary_folder.h"

namespace {

struct plan_command : testing::Test {
    temporary_folder files;
    std::ostringstream table, notes;
    std::string map = files.write("map", "position rate cM\n1000 1 0\n2001000 1 2\n");
    std::string typed = files.write("gen", "S r1 1001000 A G 1 0 0 0 1 0\nS r2 1501000 A G 1 0 0 0 1 0\n");

    int run(const std::vector<std::string>& words) { return run_plan_command(words, table, notes); }
    void expect_error(const std::vector<std::string>& words, const std::string& message) {
        EXPECT_EQ(run(words), 1);
        EXPECT_NE(notes.str().find("ERROR: " + message), std::string::npos) << notes.str();
        EXPECT_EQ(table.str(), "");
    }
    const std::string header =
        "chr\tchunk\tarm\tlower\tupper\ttyped\tpanel_sites\tcM\tphase_seconds\tphase_MB\timpute_seconds\timpute_MB\n";
};

TEST_F(plan_command, prints_chunks_of_text_files) {
    EXPECT_EQ(run({"-m", map, "-g", typed, "-chr", "7", "-min_typed", "1"}), 0);
    EXPECT_EQ(table.str(), header + "7\t1\t1\t751000\t1751000\t2\t.\t1.000\t.\t.\t.\t.\n");
    EXPECT_EQ(notes.str(), "");
}

TEST_F(plan_command, counts_arms_and_notes_chunks_with_few_typed_sites) {
    EXPECT_EQ(run({"-m", map, "-g", typed, "-gap_kb", "400"}), 0);
    EXPECT_NE(table.str().find(".\t1\t1\t751000\t1250999\t1\t"), std::string::npos) << table.str();
    EXPECT_NE(table.str().find(".\t2\t2\t1251000\t1751000\t1\t"), std::string::npos) << table.str();
    EXPECT_NE(notes.str().find("chunk 2 (1251000 to 1751000) has 1 typed sites, fewer than 100"), std::string::npos);
}

TEST_F(plan_command, reads_variants_and_estimates_costs_with_a_panel) {
    const std::string study =
        files.write("s.vcf",
                    "##fileformat=VCFv4.2\n##contig=<ID=7>\n##contig=<ID=8>\n"
                    "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"g\">\n#"
                    "CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\ta\tb\n"
                    "7\t900000\t.\tA\tG\t.\t.\t.\tGT\t0/1\t0/0\n8\t5\t.\tA\tG\t.\t.\t.\tGT\t0/1\t0/0\n");
    const std::string legend = files.write("l", "id position a0 a1\nx 850000 A G\ny 950000 A G\nz 1900000 A G\n");
    const std::string haplotypes = files.write("h", "0 1 0 1\n0 1 1 1\n0 0 0 1\n");
    EXPECT_EQ(run({"-m", map, "-g", study, "-chr", "7", "-h", haplotypes, "-l", legend, "-min_typed", "1"}), 0);
    EXPECT_EQ(table.str(), header + "7\t1\t1\t650000\t1150000\t1\t2\t0.500\t0\t30\t0\t30\n");
    notes.str("");
    table.str("");
    expect_error({"-m", map, "-g", study},
                 "The file [" + study + "] has several chromosomes (7, 8); name one of them by -chr.");
    expect_error({"-m", map, "-g", study, "-chr", "9"}, "The file [" + study + "] has no site on chromosome 9.");
}

TEST_F(plan_command, writes_the_table_to_a_file) {
    EXPECT_EQ(run({"-m", map, "-g", typed, "-o", files.name("plan"), "-min_typed", "1"}), 0);
    EXPECT_EQ(table.str(), "");
    EXPECT_TRUE(files.read("plan").starts_with(header));
    EXPECT_EQ(run({"-m", map, "-g", typed, "-o", files.name("no/plan")}), 1);
    EXPECT_NE(notes.str().find("cannot write [" + files.name("no/plan") + "]"), std::string::npos) << notes.str();
}

TEST_F(plan_command, leaves_an_older_table_as_it_was_when_it_fails) {
    const std::string older = files.write("plan", "older\n");
    expect_error({"-m", map, "-g", files.name("none"), "-o", older}, "Could not open the file [");
    EXPECT_EQ(files.read("plan"), "older\n");
}

TEST_F(plan_command, does_not_write_into_its_input) {
    const std::string link = files.name("link");
    std::filesystem::create_symlink(map, link);
    const std::string index = files.write("gen.csi", "index");
    const std::string legend = files.write("l", "id position a0 a1\nx 850000 A G\n");
    const std::string haplotypes = files.write("h", "0 1\n");
    for (const std::string& output : {map, typed, link, index, legend, haplotypes}) {
        expect_error({"-m", map, "-g", typed, "-h", haplotypes, "-l", legend, "-o", output},
                     "The file [" + output + "] cannot be read and written at once.");
        notes.str("");
    }
    EXPECT_TRUE(files.read("map").starts_with("position"));
    EXPECT_EQ(run({"-m", map, "-known_haps_g", typed, "-o", typed}), 1);
    EXPECT_NE(notes.str().find("cannot be read and written at once"), std::string::npos);
}

TEST_F(plan_command, prints_help) {
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_NE(table.str().find("orvide-plan -m MAP"), std::string::npos);
}

TEST_F(plan_command, tells_what_is_missing_or_wrong) {
    expect_error({"-g", typed}, "A genetic map is needed (-m).");
    expect_error({"-m", map}, "Typed sites are needed, from one of -g and -known_haps_g.");
    expect_error({"-m", map, "-g", typed, "-l", typed}, "The option -l needs -h.");
    expect_error({"-m", map, "-g", typed, "word"}, "The word [word] is no option.");
    expect_error({"-m", map, "-g", files.name("none")}, "Could not open the file [");
    expect_error({"-m", files.name("none"), "-g", typed}, "Could not");
    expect_error({"-m", files.write("bad", "position rate cM\n5 1 0\n4 1 0\n"), "-g", typed},
                 "The genetic map [" + files.name("bad") + "] is not sorted by position.");
    expect_error({"-m", map, "-g", files.write("text", "S r1 here A G 1 0 0\n")},
                 "there is no position, in line 1 of the file");
    expect_error({"-m", map, "-g", files.write("back", "S r 9 A G 1 0 0\nS r 8 A G 1 0 0\n")},
                 "The file [" + files.name("back") + "] is not sorted by position: 8 stands behind 9.");
}

TEST_F(plan_command, refuses_a_damaged_variant_file) {
    expect_error({"-m", map, "-g", files.write("cut.vcf", "##fileformat=VCFv4.2\nnothing\n")},
                 "Could not read the header of [");
}

}  // namespace
