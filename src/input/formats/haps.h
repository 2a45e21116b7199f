#pragma once

// Haplotypes of individuals as text: a line a site, two alleles an individual, or one, behind the site's five fields.

#include "input/formats/site_line.h"

class haps_file final : public site_line_file<phased_source> {
  public:
    haps_file(run_log& log, const source_request& request, input_file&& file);
    std::size_t n_columns() const override { return n_columns_; }
    std::size_t read_pairs(std::span<allele_pair> pairs) override;

  private:
    std::size_t n_columns_ = 0;
    bool one_haplotype_;
};
