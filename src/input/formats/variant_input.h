#pragma once

// The records of a VCF or BCF file in one stretch of one chromosome: which chromosome, with the help of an index where
// there is one, in order, to the end of the stretch.

#include <htslib/kstring.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "input/formats/format_table.h"
#include "io/hts_objects.h"
#include "io/input_file.h"
#include "model/contig_info.h"

class run_log;

class variant_input {
  public:
    // Opens the file, reads its header, and settles how the region is found: by the index of the file, or from its
    // beginning on. Ends the run when the header cannot be read, names a sample twice or names none; when the file is
    // cut off; when it has no chromosome of the name that is asked for, or, without a name, several with records in the
    // region.
    variant_input(run_log& log, const source_request& request, input_file&& file);

    // The next record of the region; false behind it. Ends the run at a record that is damaged or out of order.
    bool next(bcf1_t* record);

    bcf_hdr_t* header() const { return header_.get(); }
    const std::vector<std::string>& samples() const { return samples_; }
    // The chromosome of the region; no name as long as no record has been found.
    contig_info contig() const;

    // Ends the run: "ERROR: " what, with record and file; without a record, those of the one that was read last.
    [[noreturn]] void fail(const bcf1_t* record, std::string_view what) const;
    // One line on standard error, with record and file.
    void note(const bcf1_t* record, std::string_view what) const;
    // Odd input (run_log::odd_input), with the place, and for what it is taken.
    void odd(const bcf1_t* record, std::string_view what, std::string_view taken) const;

  private:
    void read_header();
    void check_end_mark() const;
    bool load_index();
    bool index_is_current() const;
    std::vector<std::string> indexed_contigs() const;
    hts_iterator query(const std::string& contig) const;
    void choose_indexed_contig();
    bool next_indexed(bcf1_t* record);
    bool next_in_file(bcf1_t* record);
    // Reads a record, of a text file no more than chromosome and position; false at the end of the file.
    bool take(bcf1_t* record, std::string& contig, long& position);
    void parse(bcf1_t* record);
    // Whether a record of the file is inside the region; notes its place for the order.
    bool is_wanted(const std::string& contig, long position);
    // Ends the run when the record is not one of the header's samples.
    void check_samples(const bcf1_t* record) const;
    void check_order(const std::string& contig, long position);
    [[noreturn]] void refuse_several(const std::vector<std::string>& contigs) const;
    // The same, when the file has been read as far as a second chromosome: reads on to the end for those behind.
    [[noreturn]] void refuse_further(const std::string& contig);
    [[noreturn]] void refuse_absent(const std::vector<std::string>& contigs) const;
    [[noreturn]] void refuse_damaged() const;
    std::string place(const bcf1_t* record) const;
    bool asks_for(const std::string& contig) const;

    run_log& log_;
    std::string name_, chromosome_;
    long lower_, upper_;
    bool is_regular_;
    bool one_contig_ = false;  // the header names no other
    hts_file file_;
    hts_header header_;
    std::vector<std::string> samples_;
    std::string contig_;
    // With an index: of BCF, or of compressed VCF.
    hts_index bcf_index_;
    tabix_index vcf_index_;
    hts_iterator iterator_;
    // Without one.
    std::set<std::string> seen_;  // chromosomes so far
    std::string last_contig_;
    long last_position_ = 0;
    long n_records_ = 0;
    bool behind_region_ = false;
    kstring_t line_ = KS_INITIALIZE;

  public:
    ~variant_input() { ks_free(&line_); }
    variant_input(const variant_input&) = delete;
    variant_input& operator=(const variant_input&) = delete;
};
