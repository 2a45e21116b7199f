#pragma once

// VCF text for tests, and the same as compressed VCF or BCF, with an index.

#include <gtest/gtest.h>
#include <htslib/bgzf.h>
#include <htslib/vcf.h>

#include <algorithm>
#include <string>
#include <vector>

#include "io/hts_objects.h"
#include "support/temporary_folder.h"

// Lines of a header behind the first one; further ones may be put in front.
inline const std::string variant_header_lines =
    "##contig=<ID=20,length=64444167>\n##contig=<ID=21>\n##contig=<ID=X,length=156040895>\n"
    "##INFO=<ID=AF,Number=A,Type=Float,Description=\"\">\n##INFO=<ID=AN,Number=1,Type=Integer,Description=\"\">\n"
    "##INFO=<ID=AD,Number=R,Type=Integer,Description=\"\">\n##INFO=<ID=DB,Number=0,Type=Flag,Description=\"\">\n"
    "##INFO=<ID=VT,Number=1,Type=String,Description=\"\">\n##INFO=<ID=VA,Number=A,Type=String,Description=\"\">\n"
    "##INFO=<ID=ANY,Number=.,Type=Float,Description=\"\">\n"
    "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"\">\n##FORMAT=<ID=GP,Number=G,Type=Float,Description=\"\">\n"
    "##FORMAT=<ID=GL,Number=G,Type=Float,Description=\"\">\n##FORMAT=<ID=PL,Number=G,Type=Integer,Description=\"\">\n";

// "20 100 rs1 A C . . . GT 0|1 1|1" for a record; the samples in one text, too.
inline std::string vcf_text(const std::string& samples, const std::vector<std::string>& records,
                            const std::string& header_lines = variant_header_lines) {
    std::string body = "#CHROM POS ID REF ALT QUAL FILTER INFO" + (samples.empty() ? "" : " FORMAT " + samples) + "\n";
    for (const std::string& record : records) body += record + "\n";
    std::replace(body.begin(), body.end(), ' ', '\t');
    return "##fileformat=VCFv4.3\n" + header_lines + body;
}

// "20 100 r100 A C . . . GT " and the calls.
inline std::string called_record(long position, const std::string& calls) {
    return "20 " + std::to_string(position) + " r" + std::to_string(position) + " A C . . . GT " + calls;
}

// Writes VCF text through bgzip's compression; the full name.
inline std::string write_bgzf(const temporary_folder& files, const std::string& name, const std::string& text) {
    BGZF* const file = bgzf_open(files.name(name).c_str(), "w");
    EXPECT_EQ(static_cast<ssize_t>(text.size()), bgzf_write(file, text.data(), text.size()));
    EXPECT_EQ(0, bgzf_close(file));
    return files.name(name);
}

// Writes VCF text as BCF, "wb" compressed or "wbu" not; the full name.
inline std::string write_bcf(const temporary_folder& files, const std::string& name, const std::string& text,
                             const char* mode = "wb") {
    const hts_file from(hts_open(files.write(name + ".vcf", text).c_str(), "r"));
    const hts_file to(hts_open(files.name(name).c_str(), mode));
    const hts_header header(bcf_hdr_read(from.get()));
    const hts_record record(bcf_init());
    EXPECT_EQ(0, bcf_hdr_write(to.get(), header.get()));
    while (bcf_read(from.get(), header.get(), record.get()) == 0) {
        EXPECT_EQ(0, bcf_write(to.get(), header.get(), record.get()));
    }
    return files.name(name);
}

// Makes an index beside a compressed file: .csi, or .tbi of VCF.
inline void index_variants(const std::string& name, bool tbi = false) {
    EXPECT_EQ(0, bcf_index_build(name.c_str(), tbi ? 0 : 14));
}
