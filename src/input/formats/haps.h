#pragma once

// Haplotypes of individuals as text: a line a site, two alleles an individual, or one, behind the site's five fields.

#include "input/formats/site_line.h"

class haps_file final : public site_line_file<phased_source> {
  public:
    haps_file(run_log& log, const source_request& request, input_file&& file);
    std::size_t n_columns() const override { return n_columns_; }
    std::size_t read_pairs(std::span<allele_pair> pairs) override;

  private:
    // Ends the run when the lines so far have the shape of genotypes: three numbers a person, one of them 1.
    void check_shape();

    std::size_t n_columns_ = 0;
    std::size_t n_lines_ = 0, n_triples_ = 0, n_genotypes_ = 0;  // until the shape is told
    bool shape_told_ = false;
    bool one_haplotype_;
};
