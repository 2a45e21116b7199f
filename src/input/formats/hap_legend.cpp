#include "input/formats/hap_legend.h"

#include <algorithm>
#include <utility>

#include "input/announce.h"
#include "input/formats/site_line.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"

hap_legend_pair::hap_legend_pair(run_log& log, const source_request& request, input_file&& alleles)
    : log_(log),
      request_(request),
      alleles_(log, std::move(alleles), unopened_text(request.words, request.file), request.read_ahead) {
    scan_first_line();
}

void hap_legend_pair::scan_first_line() {
    std::string_view line, field;
    if (!alleles_.next_filled_line(line)) return;
    field_scanner fields(line);
    while (fields.next(field)) absent_.push_back(field == "-");
    n_columns_ = absent_.size();
    if (std::find(absent_.begin(), absent_.end(), true) == absent_.end()) absent_.clear();
    alleles_.hold_line();
}

void hap_legend_pair::start(const std::vector<bool>& dropped) {
    if (!is_given(request_.legend)) {
        log_.fatal(concat("ERROR: The ", request_.words, " [", request_.file, "] is text, which needs a legend (-l)."));
    }
    legend_.emplace(log_, request_.legend, request_.legend_missing_text,
                    unopened_text(request_.legend_words, request_.legend));
    read_header();
    rows_.emplace(n_columns_, dropped, request_.question_is_missing);
}

void hap_legend_pair::read_header() {
    std::string_view line;
    std::vector<std::string> header;
    if (legend_->next_filled_line(line)) header = split_fields(line);
    const auto refuse = [this](std::string_view what) {
        log_.fatal(concat("ERROR: The ", request_.legend_words, " [", request_.legend, "] ", what,
                          " Please review the documentation and try again."));
    };
    if (!request_.further_values && header.size() != 4) {
        refuse("does not conform to the required four-column format.");
    }
    if (header.size() < 4) refuse("must contain at least four columns.");
    long position = 0;
    if (parse_long(header[1], position)) {
        legend_->fail(concat("The second word of the first line is the number ", header[1],
                             "; expected is a header such as 'id position a0 a1'"));
    }
    value_names_.assign(header.begin() + 4, header.end());
}

bool hap_legend_pair::next(site_fields& site) {
    std::string_view line;
    if (alleles_pending_) next_alleles(line);
    if (!legend_->next_filled_line(line)) {
        if (alleles_.next_filled_line(line)) {
            alleles_.fail(concat("There are more lines than sites in the legend [", request_.legend, "], which has ",
                                 n_sites_, "; both must have one for each site in the same order"));
        }
        return false;
    }
    site = take_site(*legend_, line, false, value_text_);
    ++n_sites_;
    alleles_pending_ = true;
    return true;
}

bool hap_legend_pair::next_behind(site_fields& site) {
    return next_site_behind(*legend_, false, site);
}

std::vector<std::string> hap_legend_pair::values() {
    std::vector<std::string> values = split_fields(value_text_);
    if (values.size() < value_names_.size()) fail("There are fewer columns than in the header");
    return values;
}

bool hap_legend_pair::next_alleles(std::string_view& line) {
    alleles_pending_ = false;
    if (alleles_.next_filled_line(line)) return true;
    short_file_.odd(alleles_, "The haplotypes end before their legend",
                    concat("what begins with site ", n_sites_, " of the legend [", request_.legend, "] is left out"));
    return false;
}

bool hap_legend_pair::read_alleles(allele_row& row) {
    using outcome = haplotype_row_reader::outcome;
    std::string_view line;
    if (!next_alleles(line)) return false;
    switch (rows_->read(line, row)) {
        case outcome::too_few:
            alleles_.fail("There are fewer haplotypes than in the first line");
        case outcome::too_many:
            alleles_.fail("There are more haplotypes than in the first line");
        case outcome::bad_allele:
            alleles_.fail(
                concat("The allele '", rows_->bad_field(), "' in column ", rows_->bad_column(), " is not valid"));
        case outcome::good:
            break;
    }
    if (rows_->question_seen()) question_.odd(alleles_, "There is a '?'", "it reads as allele 0 in this panel");
    return true;
}
