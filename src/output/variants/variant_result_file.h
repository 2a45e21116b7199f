#pragma once

// A file in VCF or BCF with its index, whose failures are reported when it is opened, written or closed. Both appear
// under their names when they are whole.

#include <htslib/kstring.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "io/hts_objects.h"
#include "io/pending_file.h"
#include "output/variants/bgzf_blocks.h"
#include "output/variants/variant_format.h"

class run_log;

class variant_result_file {
  public:
    // Opens the file for writing. A failure is named on standard error, what is written is lost, an older file of the
    // name stays, and the run will end with status 1. The header outlives the file. The workers compress.
    variant_result_file(run_log& log, worker_pool& workers, std::string name, variant_format format, bcf_hdr_t* header);
    variant_result_file(const variant_result_file&) = delete;
    variant_result_file& operator=(const variant_result_file&) = delete;
    ~variant_result_file();

    // One line of VCF with its end, for a site (base pairs, from 1) that covers some bases.
    void write_line(std::string_view line, long position, std::size_t n_bases);
    // One record, in the file's format; a null record is a failure.
    void write_record(bcf1_t* record);
    // Writes the index, closes, puts both under their names, and removes indexes that an older file of the name left;
    // failures are reported. Done by the destructor if it was not called; but if an exception ends the writing, nothing
    // is left of the file.
    void close();

  private:
    void open();
    void open_index(std::string name, int min_shift);
    void make_durable();
    void publish();
    void remove_other_indexes();
    bool write_text(std::string_view text);
    bool write_parts(const bcf1_t& record);
    bool write_as_text(bcf1_t* record);
    // contig: of the header; first and last: base pairs from 0, without the last.
    bool add_to_index(int contig, hts_pos_t first, hts_pos_t last);
    void failed(std::string_view what);

    run_log& log_;
    worker_pool& workers_;
    const std::string name_;
    const variant_format format_;
    bcf_hdr_t* header_;
    pending_file pending_;
    const int n_exceptions_;  // on their way when the file was opened
    std::string index_name_;  // empty for plain text
    std::optional<pending_file> pending_index_;
    hts_file file_;
    std::optional<bgzf_blocks> blocks_;  // of a compressed file
    kstring_t line_ = KS_INITIALIZE;     // of a record as text
    bool failed_ = false;
};
