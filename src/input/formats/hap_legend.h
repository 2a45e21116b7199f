#pragma once

// Haplotypes of a panel as two files of text: the alleles, a line a site and a field a haplotype, and the legend, which
// begins with a header and names the site of each line. A header that is data, and alleles behind the last site of the
// legend, end the run; alleles that end before the legend are odd input and end the reading.

#include <optional>

#include "input/formats/format_table.h"
#include "input/formats/haplotype_row.h"
#include "input/note_once.h"
#include "input/site_source.h"
#include "io/text_input.h"

class hap_legend_pair final : public haplotype_source {
  public:
    // The alleles; start opens the legend of the request.
    hap_legend_pair(run_log& log, const source_request& request, input_file&& alleles);

    // Where it stands is the place in the legend.
    bool next(site_fields& site) override;
    // Of the legend; the alleles are not read.
    bool next_behind(site_fields& site) override;
    [[noreturn]] void fail(std::string_view what) const override { legend_->fail(what); }
    void note(std::string_view what) const override { legend_->note(what); }
    void odd(std::string_view what, std::string_view taken) const override { legend_->odd(what, taken); }
    // The fifth column of the legend and on.
    const std::vector<std::string>& value_names() const override { return value_names_; }
    std::vector<std::string> values() override;

    std::size_t n_columns() const override { return n_columns_; }
    const std::vector<bool>& absent_columns() const override { return absent_; }
    // Opens the legend and reads its header.
    void start(const std::vector<bool>& dropped) override;
    bool read_alleles(allele_row& row) override;

  private:
    void scan_first_line();
    void read_header();
    // Takes the next line of alleles without looking into it.
    bool next_alleles(std::string_view& line);

    run_log& log_;
    source_request request_;
    text_input alleles_;
    std::size_t n_columns_ = 0;
    std::vector<bool> absent_;
    std::optional<text_input> legend_;  // from start on
    std::optional<haplotype_row_reader> rows_;
    std::vector<std::string> value_names_;
    std::string_view value_text_;
    std::size_t n_sites_ = 0;       // of the legend so far
    bool alleles_pending_ = false;  // the line of alleles of the site in hand has not been taken
    note_once short_file_, question_;
};
