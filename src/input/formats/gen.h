#pragma once

// Genotypes as text: a line a site, three probabilities an individual behind the site's five fields. A probability
// below 0 or above 1, three that sum to more than 1.02, and a line with more of them than the first one end the run; a
// line with fewer is odd input, and so are larger numbers where the run takes them as likelihoods.

#include "input/formats/site_line.h"
#include "input/note_once.h"

class number_scanner;

class gen_file final : public site_line_file<genotype_source> {
  public:
    gen_file(run_log& log, const source_request& request, input_file&& file);
    std::size_t n_columns() const override { return n_columns_; }
    void read_triples(std::span<probability_triple> triples) override;

  private:
    void read_triple(number_scanner& numbers, std::size_t column, probability_triple& triple);
    void refuse_triple(std::size_t column, const probability_triple& triple);

    std::size_t n_columns_ = 0;
    bool likelihoods_ = false;  // the run takes the numbers rather than calls
    note_once short_line_, likelihood_;
};
