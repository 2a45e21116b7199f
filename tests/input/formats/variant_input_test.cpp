#include "input/formats/variant_input.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "input/formats/variant_fixture.h"

namespace {

constexpr const char* no_index =
    "] is read from its beginning to the end of the region, since it has no index that can be used; 'bcftools index' "
    "makes one of a BCF file or of a VCF file that bgzip has compressed\n";

class variant_files : public variant_fixture {
  protected:
    // "20:100 20:300 " of all records in the region of a file.
    std::string places(const source_request& request) {
        variant_input file(log, request, open_input(log, request));
        const hts_record record(bcf_init());
        std::string text;
        while (file.next(record.get())) {
            text +=
                std::string(bcf_hdr_id2name(file.header(), record->rid)) + ":" + std::to_string(record->pos + 1) + " ";
        }
        contig = file.contig();
        return text;
    }
    std::string places(const std::string& file) { return places(request_of(file)); }
    void expect_refusal(const std::string& file, const std::string& text) {
        expect_fatal("ERROR: " + text, [&] { places(file); });
    }
    std::string text_of(const std::vector<std::string>& places) const {
        std::vector<std::string> records;
        for (const std::string& place : places) {
            const std::size_t colon = place.find(':');
            records.push_back(place.substr(0, colon) + " " + place.substr(colon + 1) + " . A C . . . GT 0|1");
        }
        return vcf_text("s", records);
    }
    const temporary_folder& files() const { return capture.files; }
    // The region with its ends, and a record on either side.
    const std::vector<std::string> one_contig{"20:99", "20:100", "20:500", "20:900", "20:901"};
    const std::string region = "20:100 20:500 20:900 ";
    contig_info contig;
};

TEST_F(variant_files, region_is_the_same_in_every_format) {
    const std::string text = text_of(one_contig);
    EXPECT_EQ(region, places(files().write("a.vcf", text)));
    EXPECT_EQ("20", contig.name);
    EXPECT_EQ(64444167, contig.length);
    EXPECT_EQ(region, places(files().write_compressed("a.vcf.gz", text)));
    EXPECT_EQ(region, places(write_bgzf(files(), "b.vcf.gz", text)));
    EXPECT_EQ(region, places(write_bcf(files(), "a.bcf", text)));
    EXPECT_EQ(region, places(write_bcf(files(), "b.bcf", text, "wbu")));
}

TEST_F(variant_files, note_tells_that_an_index_is_missing) {
    const std::string name = files().write("a.vcf", text_of(one_contig));
    places(name);
    EXPECT_EQ("orvide: note: [" + name + no_index, notes());
}

TEST_F(variant_files, index_of_either_kind_is_used_in_silence) {
    const std::string bcf = write_bcf(files(), "a.bcf", text_of({"20:500", "21:100", "X:100"}));
    const std::string csi = write_bgzf(files(), "a.vcf.gz", text_of(one_contig));
    const std::string tbi = write_bgzf(files(), "b.vcf.gz", text_of(one_contig));
    index_variants(bcf);
    index_variants(csi);
    index_variants(tbi, true);
    source_request request = request_of(bcf);
    request.chromosome = "21";
    EXPECT_EQ("21:100 ", places(request));
    EXPECT_EQ(region, places(csi));
    EXPECT_EQ(region, places(tbi));
    EXPECT_EQ("", notes());
}

TEST_F(variant_files, deletion_that_begins_left_of_the_region_is_outside_with_an_index_too) {
    const std::string name = write_bgzf(
        files(), "a.vcf.gz", vcf_text("s", {"20 95 . ACCCCCCCCCC A . . . GT 0|1", called_record(101, "0|1")}));
    index_variants(name);
    EXPECT_EQ("20:101 ", places(name));
}

TEST_F(variant_files, older_index_is_left_alone_with_a_warning) {
    const std::string name = write_bgzf(files(), "a.vcf.gz", text_of(one_contig));
    index_variants(name);
    std::filesystem::last_write_time(name + ".csi", std::filesystem::last_write_time(name) - std::chrono::seconds(10));
    EXPECT_EQ(region, places(name));
    EXPECT_EQ("orvide: note: the index [" + name + ".csi] is older than its file and is not used\norvide: note: [" +
                  name + no_index,
              notes());
    EXPECT_EQ("WARNING: The index [" + name + ".csi] is older than its file and is not used. Make it again.\n",
              capture.warnings());
}

TEST_F(variant_files, index_that_cannot_be_read_counts_as_none) {
    const std::string name = write_bgzf(files(), "a.vcf.gz", text_of(one_contig));
    files().write("a.vcf.gz.tbi", "no index");
    EXPECT_EQ(region, places(name));
    EXPECT_EQ("orvide: note: [" + name + no_index, notes());
}

TEST_F(variant_files, only_chromosome_with_records_in_the_region_is_taken) {
    const std::string text = text_of({"20:50", "20:950", "21:300", "X:950"});
    EXPECT_EQ("21:300 ", places(files().write("a.vcf", text)));
    EXPECT_EQ("21", contig.name);
    const std::string indexed = write_bcf(files(), "a.bcf", text);
    index_variants(indexed);
    EXPECT_EQ("21:300 ", places(indexed));
    EXPECT_EQ("21", contig.name);
}

TEST_F(variant_files, several_chromosomes_with_records_in_the_region_are_listed) {
    const std::string text = text_of({"20:300", "20:950", "21:300", "X:950", "X:960"});
    const std::string more = text_of({"20:300", "20:950", "21:300", "X:400", "X:960"});
    const auto refusal = [](const std::string& name, const std::string& list) {
        return "The file [" + name + "] has records in the region on several chromosomes: " + list +
               ". Choose one of them by -chr.";
    };
    const std::string plain = files().write("a.vcf", text), bcf = write_bcf(files(), "a.bcf", more);
    expect_refusal(plain, refusal(plain, "20, 21"));
    expect_refusal(bcf, refusal(bcf, "20, 21, X"));
    index_variants(bcf);
    expect_refusal(bcf, refusal(bcf, "20, 21, X"));
}

TEST_F(variant_files, chromosome_of_the_option_is_found_with_and_without_chr) {
    const std::string text = text_of({"20:300", "21:300", "21:950"});
    const std::string indexed = write_bcf(files(), "a.bcf", text);
    index_variants(indexed);
    for (const std::string& name : {files().write("a.vcf", text), indexed}) {
        for (const std::string chromosome : {"21", "chr21"}) {
            source_request request = request_of(name);
            request.chromosome = chromosome;
            EXPECT_EQ("21:300 ", places(request));
            EXPECT_EQ("21", contig.name);
        }
    }
}

TEST_F(variant_files, absent_chromosome_is_refused_with_those_that_are_there) {
    const std::string text = text_of({"20:300", "21:300"});
    const std::string indexed = write_bcf(files(), "a.bcf", text);
    index_variants(indexed);
    for (const std::string& name : {files().write("a.vcf", text), indexed}) {
        source_request request = request_of(name);
        request.chromosome = "7";
        // An index lists all that the header names.
        const std::string list = name == indexed ? "20, 21, X" : "20, 21";
        expect_fatal("ERROR: The file [" + name + "] has no chromosome 7 (-chr); it has: " + list + ".",
                     [&] { places(request); });
    }
}

TEST_F(variant_files, region_without_records_gives_none) {
    const std::string indexed = write_bcf(files(), "a.bcf", text_of({"20:99", "20:901"}));
    index_variants(indexed);
    EXPECT_EQ("", places(indexed));
    EXPECT_EQ("", contig.name);
    EXPECT_EQ("", places(files().write("a.vcf", text_of({}))));
}

TEST_F(variant_files, records_out_of_order_are_refused_by_number) {
    const std::string a = files().write("a.vcf", text_of({"20:300", "20:299"}));
    expect_refusal(a,
                   "The position 299 is below the one before, 300; the file must be sorted, in record 2 (20:300) of "
                   "the file [" +
                       a + "].");
    const std::string b = write_bcf(files(), "b.bcf", text_of({"20:50", "21:50", "20:60"}));
    expect_refusal(b, "The records of chromosome 20 are not together, in record 3 (21:50) of the file [" + b + "].");
}

TEST_F(variant_files, damaged_records_are_refused_by_number) {
    const std::string a =
        files().write("a.vcf", vcf_text("s", {"20 300 . A C . . . GT 0|1", "20 x . A C . . . GT 0|1"}));
    expect_refusal(a, "The position 'x' is not a number, in record 1 (20:300) of the file [" + a + "].");
    const std::string c = files().write("c.vcf", vcf_text("s", {called_record(300, "0|1 0|1")}));
    expect_refusal(c, "There are 11 columns in place of 10, in record 1 (20:300) of the file [" + c + "].");
    const std::string d = files().write("d.vcf", vcf_text("s t", {called_record(300, "0|1")}));
    expect_refusal(d, "There are 10 columns in place of 11, in record 1 (20:300) of the file [" + d + "].");
    for (const std::string calls : {"0/", "/1", "a|b"}) {
        const std::string b = files().write("b.vcf", vcf_text("s", {called_record(300, calls)}));
        expect_refusal(b, "The record cannot be read, in record 1 (20:300) of the file [" + b + "].");
    }
}

TEST_F(variant_files, header_that_names_no_samples_or_one_twice_is_refused) {
    const std::string a = files().write("a.vcf", vcf_text("", {"20 300 . A C . . ."}));
    expect_refusal(a, "The file [" + a + "] holds sites only; its header names no samples.");
    const std::string b = write_bgzf(files(), "b.vcf.gz", vcf_text("s t s", {}));
    expect_refusal(b, "The header of the file [" + b + "] names the sample s twice.");
}

// The first bytes of a file.
std::string beginning(const std::string& name, std::size_t n_dropped) {
    const std::string bytes = file_text(name);
    return bytes.substr(0, bytes.size() - n_dropped);
}

TEST_F(variant_files, files_that_were_cut_off_are_refused) {
    std::vector<std::string> many;
    for (int i = 0; i < 3000; ++i) many.push_back("20:" + std::to_string(100 + i / 10));
    const std::string text = text_of(many);
    const auto cut_off = [](const std::string& name) {
        return "The file [" + name + "] is cut off: the mark of its end is missing. Copy or make it again.";
    };
    const std::string vcf = files().write("a.vcf.gz", beginning(write_bgzf(files(), "w.vcf.gz", text), 28));
    expect_refusal(vcf, cut_off(vcf));
    const std::string bcf = files().write("a.bcf", beginning(write_bcf(files(), "w.bcf", text), 100));
    expect_refusal(bcf, cut_off(bcf));
    const std::string plain = files().write("b.bcf", beginning(write_bcf(files(), "v.bcf", text, "wbu"), 3));
    expect_refusal(plain, "The file [" + plain + "] is damaged or cut off, after 20:399.");
    const std::string gzip = files().write("b.vcf.gz", beginning(files().write_compressed("w.gz", text), 200));
    EXPECT_THROW(places(gzip), run_end);
    capture.open(log);
    const std::string header = files().write("c.vcf", text.substr(0, 60));
    expect_refusal(header, "The file [" + header + "] is damaged or cut off, in its header.");
}

TEST_F(variant_files, every_shortened_compressed_file_is_refused) {
    const std::string whole = write_bcf(files(), "w.bcf", text_of(one_contig));
    const std::size_t size = file_text(whole).size();
    for (std::size_t n = 1; n + 4 < size; n += 7) {
        const std::string name = files().write("a.bcf", beginning(whole, n));
        const auto read = [&] {
            input_file file = open_input(log, request_of(name));
            if (!file.holds_variants()) throw run_end{1};  // too short to be told from text
            variant_input source(log, request_of(name), std::move(file));
        };
        EXPECT_THROW(read(), run_end) << n << " bytes short";
        capture.open(log);
    }
}

TEST_F(variant_files, carriage_returns_at_the_ends_of_lines_are_no_part_of_them) {
    std::string text = text_of(one_contig), windows;
    for (const char c : text) windows += c == '\n' ? std::string("\r\n") : std::string(1, c);
    source_request request = request_of(files().write("a.vcf", windows));
    variant_input file(log, request, open_input(log, request));
    EXPECT_EQ(std::vector<std::string>{"s"}, file.samples());
    EXPECT_EQ(region, places(request.file));
}

}  // namespace
