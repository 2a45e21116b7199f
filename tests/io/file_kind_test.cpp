#include "io/file_kind.h"

#include <gtest/gtest.h>
#include <htslib/hfile.h>

#include <string>

#include "support/variant_files.h"

namespace {

using namespace std::string_literals;

class file_kinds : public ::testing::Test {
  protected:
    static file_kind kind(const std::string& name) {
        hFILE* const stream = hopen(name.c_str(), "r");
        const file_kind found = kind_of(stream);
        EXPECT_EQ(static_cast<int>(static_cast<unsigned char>(file_text(name)[0])), hgetc(stream))
            << "bytes were taken";
        hclose_abruptly(stream);
        return found;
    }
    file_kind kind_of_bytes(const std::string& bytes) { return kind(files.write("f", bytes)); }
    temporary_folder files;
};

TEST_F(file_kinds, are_told_by_their_first_bytes) {
    EXPECT_EQ("a PLINK .bed file", kind_of_bytes("\x6c\x1b\x01\xff"s).name);
    EXPECT_EQ("a PLINK .bed file", kind_of_bytes("\x6c\x1b\x00\xff"s).name);
    EXPECT_EQ("a PLINK2 .pgen file", kind_of_bytes("\x6c\x1b\x10\xff"s).name);
    EXPECT_EQ("a BGEN file", kind_of_bytes(std::string(16, '\1') + "bgen1234").name);
    EXPECT_EQ("an xz file", kind_of_bytes("\xfd\x37zXZ\0..."s).name);
    EXPECT_EQ("a zstd file", kind_of_bytes("\x28\xb5\x2f\xfd...").name);
    EXPECT_EQ("a bzip2 file", kind_of_bytes("BZh91AY&SY...").name);
    EXPECT_EQ("a zip file or a spreadsheet", kind_of_bytes("PK\x03\x04...").name);
    EXPECT_EQ("a BAM file", kind_of_bytes("BAM\x01...").name);
    EXPECT_EQ("a CRAM file", kind_of_bytes("CRAM\x03...").name);
    EXPECT_EQ("a VCF file", kind_of_bytes("##fileformat=VCFv4.2\n").name);
    EXPECT_EQ("text in UTF-16", kind_of_bytes("\xff\xfe"s + "a\0b\0"s).name);
}

TEST_F(file_kinds, of_text_have_no_name) {
    for (const char* text : {"rs1 1000 A G\n", "BZh is a name\n", "CRAMP\n", "l", "PK 1\n"}) {
        EXPECT_EQ("", kind_of_bytes(text).name) << text;
        EXPECT_FALSE(kind_of_bytes(text).is_gzipped) << text;
    }
}

TEST_F(file_kinds, are_told_behind_compression) {
    EXPECT_EQ("a BAM file", kind(write_bgzf(files, "a", "BAM\x01...")).name);
    EXPECT_EQ("a VCF file", kind(files.write_compressed("b", "##fileformat=VCFv4.2\n")).name);
    EXPECT_EQ("compressed twice by gzip",
              kind(files.write_compressed("c", file_text(files.write_compressed("d", "text\n")))).name);
    const file_kind text = kind(files.write_compressed("e", "text\n"));
    EXPECT_EQ("", text.name);
    EXPECT_TRUE(text.is_gzipped);
}

TEST_F(file_kinds, that_are_no_text_are_refused_with_advice) {
    EXPECT_EQ("ERROR: The file [f] is an xz file, where text is read. Please unpack it (xz -d).",
              why_not_text(kind_of_bytes("\xfd\x37zXZ\0..."s), "f"));
    EXPECT_EQ("", why_not_text(kind_of_bytes("text"), "f"));
    EXPECT_EQ("", why_not_text(kind(files.write_compressed("e", "text\n")), "e.gz"));
}

TEST_F(file_kinds, and_names_must_go_together) {
    EXPECT_EQ("ERROR: The file [f.gz] is not compressed, but its name ends in .gz. Please rename it, or compress it.",
              why_not_text(kind_of_bytes("text"), "f.gz"));
    const file_kind compressed = kind(files.write_compressed("e", "text\n"));
    EXPECT_EQ(
        "The file [e] is compressed by gzip, but its name does not end in .gz, by which such files are told; its bytes "
        "were taken for text. Please rename it.",
        odd_name_text(compressed, "e", true));
    EXPECT_NE(std::string::npos, odd_name_text(compressed, "/dev/fd/63", false).find("(gunzip -c)"));
    EXPECT_EQ("", odd_name_text(compressed, "e.gz", true));
    EXPECT_EQ("", odd_name_text(kind_of_bytes("text"), "f", true));
}

}  // namespace
