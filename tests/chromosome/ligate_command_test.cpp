#include "chromosome/ligate_command.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "support/temporary_folder.h"

namespace {

struct ligate_command : testing::Test {
    temporary_folder files;
    std::ostringstream seams, notes;
    const std::string head =
        "##fileformat=VCFv4.2\n##FILTER=<ID=PASS,Description=\"All filters "
        "passed\">\n##contig=<ID=7>\n##contig=<ID=8>\n"
        "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"genotype\">\n"
        "##FORMAT=<ID=PQ,Number=1,Type=Integer,Description=\"confidence\">\n"
        "##FORMAT=<ID=HDS,Number=.,Type=Float,Description=\"dosages\">\n";

    // Lines of "position genotype genotype".
    std::string chunk(const std::string& name, const std::string& lines, const std::string& chromosome = "7",
                      const std::string& people = "a\tb", const std::string& format = "GT") {
        std::string text = head + "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\t" + people + "\n";
        std::istringstream in(lines);
        std::string position, first, second;
        while (in >> position >> first >> second) {
            text +=
                chromosome + "\t" + position + "\t.\tA\tG\t.\t.\t.\t" + format + "\t" + first + "\t" + second + "\n";
        }
        return files.write(name, text);
    }
    int run(std::vector<std::string> words) {
        words.insert(words.begin(), {"-o", files.name("out.vcf")});
        return run_ligate_command(words, seams, notes);
    }
    // Position and genotypes of each site of the joined file.
    std::string joined() {
        std::istringstream in(files.read("out.vcf"));
        std::string line, result;
        while (std::getline(in, line)) {
            if (line.starts_with('#')) continue;
            std::istringstream fields(line);
            std::string field;
            for (int i = 0; std::getline(fields, field, '\t'); ++i) {
                if (i == 1) result += field;
                if (i > 8) result += " " + field;
            }
            result += "; ";
        }
        return result;
    }
    void expect_error(const std::vector<std::string>& words, const std::string& message) {
        notes.str("");
        EXPECT_EQ(run(words), 1);
        EXPECT_NE(notes.str().find("ERROR: " + message), std::string::npos) << notes.str();
        EXPECT_FALSE(files.has("out.vcf"));
    }
};

TEST_F(ligate_command, turns_who_stands_the_other_way_round) {
    const auto a = chunk("a.vcf", "10 0|1 0|1 20 0|1 0|1 30 1|0 0|1 40 0|1 0|0");
    const auto b = chunk("b.vcf", "20 1|0 0|1 30 0|1 0|1 40 1|0 0|0 50 1|0 0|1");
    EXPECT_EQ(run({a, b}), 0);
    EXPECT_EQ(joined(), "10 0|1 0|1; 20 0|1 0|1; 30 1|0 0|1; 40 0|1 0|0; 50 0|1 0|1; ");
    EXPECT_EQ(seams.str(), "before\tafter\tlower\tupper\tsites\thets\tagreeing\tturned\tundecided\n" + a + "\t" + b +
                               "\t20\t40\t3\t5\t5\t1\t0\n");
}

TEST_F(ligate_command, carries_a_turn_on_to_the_chunks_behind) {
    const auto a = chunk("a.vcf", "10 0|1 0|1 20 0|1 0|1");
    const auto b = chunk("b.vcf", "20 1|0 0|1 30 0|1 0|1");
    const auto c = chunk("c.vcf", "30 0|1 1|0 40 0|1 0|1");
    EXPECT_EQ(run({a, b, c}), 0);
    EXPECT_EQ(joined(), "10 0|1 0|1; 20 0|1 0|1; 30 1|0 0|1; 40 1|0 1|0; ");
}

TEST_F(ligate_command, takes_each_half_of_an_overlap_from_the_nearer_chunk) {
    const auto a = chunk("a.vcf", "10 0|1 0|0 20 0|1 0|0 30 1|1 0|0 40 1|1 0|0");
    const auto b = chunk("b.vcf", "10 0|1 0|0 20 1|1 0|0 30 0|0 0|0 40 0|0 0|0");
    EXPECT_EQ(run({a, b}), 0);
    EXPECT_EQ(joined(), "10 0|1 0|0; 20 0|1 0|0; 30 0|0 0|0; 40 0|0 0|0; ");
}

TEST_F(ligate_command, exchanges_the_dosages_of_haplotypes_too) {
    const auto a = chunk("a.vcf", "10 0|1:0,1 0|0:0,0", "7", "a\tb", "GT:HDS");
    const auto b = chunk("b.vcf", "10 1|0:1,0 0|0:0,0 20 1|0:0.9,0.1 0|0:0,0", "7", "a\tb", "GT:HDS");
    EXPECT_EQ(run({a, b}), 0);
    EXPECT_EQ(joined(), "10 0|1:0,1 0|0:0,0; 20 0|1:0.1,0.9 0|0:0,0; ");
}

TEST_F(ligate_command, follows_the_chunk_that_is_more_confident_and_tells_by_how_much) {
    const auto a =
        chunk("a.vcf", "10 0|1:99 0|0:. 20 0|1:99 0|0:. 30 1|0:4 0|0:. 40 1|0:70 0|0:.", "7", "a\tb", "GT:PQ");
    const auto b =
        chunk("b.vcf", "20 0|1:99 0|0:. 30 0|1:60 0|0:. 40 0|1:50 0|0:. 50 0|1:20 0|0:.", "7", "a\tb", "GT:PQ");
    EXPECT_EQ(run({a, b}), 0);
    EXPECT_EQ(joined(), "10 0|1:99 0|0:.; 20 0|1:99 0|0:.; 30 0|1:56 0|0:.; 40 0|1:50 0|0:.; 50 0|1:20 0|0:.; ");
}

TEST_F(ligate_command, leaves_unphased_missing_and_haploid_genotypes_as_they_are) {
    const auto a = chunk("a.vcf", "10 0|1 1");
    const auto b = chunk("b.vcf", "10 1|0 1 20 0/1 0 30 .|. .");
    EXPECT_EQ(run({a, b}), 0);
    EXPECT_EQ(joined(), "10 0|1 1; 20 0/1 0; 30 .|. .; ");
    EXPECT_NE(seams.str().find("\t1\t1\t1\t1\t1\n"), std::string::npos) << seams.str();
}

TEST_F(ligate_command, one_chunk_is_copied) {
    EXPECT_EQ(run({chunk("a.vcf", "10 0|1 0|1")}), 0);
    EXPECT_EQ(joined(), "10 0|1 0|1; ");
}

TEST_F(ligate_command, writes_compressed_files_with_an_index) {
    const auto a = chunk("a.vcf", "10 0|1 0|1");
    EXPECT_EQ(run_ligate_command({"-o", files.name("o.vcf.gz"), a}, seams, notes), 0);
    EXPECT_TRUE(files.has("o.vcf.gz.tbi"));
    EXPECT_EQ(run_ligate_command({"-o", files.name("o.bcf"), a}, seams, notes), 0);
    EXPECT_TRUE(files.has("o.bcf.csi"));
    EXPECT_EQ(notes.str(), "");
}

TEST_F(ligate_command, joins_chunks_without_overlap_only_when_told_to) {
    const auto a = chunk("a.vcf", "10 0|1 0|1");
    const auto b = chunk("b.vcf", "20 1|0 0|1");
    expect_error({a, b},
                 "The files [" + a + "] and [" + b + "] do not overlap, so that nothing tells the phase across them");
    EXPECT_EQ(run({"-allow_gaps", a, b}), 0);
    EXPECT_EQ(joined(), "10 0|1 0|1; 20 1|0 0|1; ");
}

TEST_F(ligate_command, refuses_files_that_do_not_fit) {
    const auto a = chunk("a.vcf", "10 0|1 0|1 20 0|1 0|1 30 0|1 0|1");
    expect_error({a, chunk("b.vcf", "20 0|1 0|1 40 0|1 0|1")}, "In the overlap of");
    expect_error({a, chunk("b.vcf", "20 0|1 0|1 25 0|1 0|1 30 0|1 0|1")}, "In the overlap of");
    expect_error(
        {a, chunk("b.vcf", "20 0|1 0|1 30 0|1 0|1", "7", "b\ta")},
        "The files [" + a + "] and [" + files.name("b.vcf") + "] do not have the same samples in the same order.");
    expect_error({a, chunk("b.vcf", "20 0|1 0|1", "8")},
                 "The files [" + a + "] and [" + files.name("b.vcf") + "] are of different chromosomes (7, 8).");
    expect_error({chunk("b.vcf", "40 0|1 0|1"), a}, "In the overlap of");
    expect_error({a, chunk("b.vcf", "20 0|1 0|1 30 0|1 0|1"), chunk("c.vcf", "20 0|1 0|1 30 0|1 0|1")}, "The file [");
}

TEST_F(ligate_command, refuses_files_that_are_wrong_in_themselves) {
    expect_error({files.name("none.vcf")}, "Could not read the header of [");
    expect_error({chunk("e.vcf", "")}, "The file [" + files.name("e.vcf") + "] has no site.");
    expect_error({chunk("e.vcf", "10 0|1 0|1 10 0|1 0|1")},
                 "The file [" + files.name("e.vcf") + "] has the site 7:10 A>G twice.");
    expect_error({chunk("e.vcf", "10 0|1 0|1 9 0|1 0|1")},
                 "The file [" + files.name("e.vcf") + "] is not sorted by position at 9.");
    files.write("m.vcf", file_text(chunk("e.vcf", "10 0|1 0|1")) + "8\t20\t.\tA\tG\t.\t.\t.\tGT\t0|1\t0|1\n");
    expect_error({files.name("m.vcf")}, "The file [" + files.name("m.vcf") + "] has several chromosomes (7, 8)");
    files.write("d.vcf", file_text(chunk("e.vcf", "10 0|1 0|1")) + "7\t20\t.\tA\tG\t.\t.\t.\tGT\t0|1\n");
    expect_error({files.name("d.vcf")},
                 "The file [" + files.name("d.vcf") + "] is damaged or cut off behind position 10.");
    files.write("n.vcf", head + "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\n");
    expect_error({files.name("n.vcf")}, "The file [" + files.name("n.vcf") + "] has no samples.");
}

TEST_F(ligate_command, refuses_dosages_that_are_texts) {
    const std::string name = chunk("texts.vcf", "10 0|1:0.1,0.9 0|0:0,0\n", "7", "a\tb", "GT:HDS");
    std::string text = files.read("texts.vcf");
    text.replace(text.find("Type=Float"), 10, "Type=String");
    files.write("texts.vcf", text);
    expect_error({name},
                 "The field HDS of the file [" + name + "] is not of the type that it should have, at position 10.");
}

TEST_F(ligate_command, tells_what_is_wrong_on_its_command_line) {
    const auto a = chunk("a.vcf", "10 0|1 0|1");
    EXPECT_EQ(run_ligate_command({a}, seams, notes), 1);
    EXPECT_NE(notes.str().find("ERROR: The option -o FILE is needed."), std::string::npos);
    EXPECT_EQ(run_ligate_command({"-o", "x.txt", a}, seams, notes), 1);
    EXPECT_NE(notes.str().find("ERROR: The name [x.txt] must end in .vcf.gz, .bcf or .vcf."), std::string::npos);
    EXPECT_EQ(run_ligate_command({"-o", a, a}, seams, notes), 1);
    EXPECT_NE(notes.str().find("cannot be read and written at once"), std::string::npos);
    notes.str("");
    const std::string link = a + ".link.vcf";
    std::filesystem::create_symlink(a, link);
    EXPECT_EQ(run_ligate_command({"-o", link, a}, seams, notes), 1);
    EXPECT_NE(notes.str().find("[" + link + "] cannot be read and written at once"), std::string::npos);
    EXPECT_EQ(run_ligate_command({"-o", "x.vcf"}, seams, notes), 1);
    EXPECT_NE(notes.str().find("ERROR: Files to be joined are needed."), std::string::npos);
    EXPECT_EQ(run_ligate_command({"--help"}, seams, notes), 0);
    EXPECT_NE(seams.str().find("orvide-ligate -o FILE"), std::string::npos);
}

TEST_F(ligate_command, a_file_that_cannot_be_written_ends_with_an_error) {
    const auto a = chunk("a.vcf", "10 0|1 0|1");
    EXPECT_EQ(run_ligate_command({"-o", files.name("no/out.vcf"), a}, seams, notes), 1);
    EXPECT_NE(notes.str().find("cannot write ["), std::string::npos);
}

}  // namespace
