#pragma once

// Pairs of alleles of individuals, with what is known of their phase, from VCF or BCF.

#include "input/formats/variant_sites.h"

class variant_pairs final : public variant_source<phased_source> {
  public:
    variant_pairs(run_log& log, const source_request& request, input_file&& file);
    std::size_t n_columns() const override { return n_samples(); }
    std::size_t read_pairs(std::span<allele_pair> pairs) override;
    bool keeps_places() const override { return true; }

  private:
    allele_pair pair_of(const variant_call& call, std::uint8_t ploidy) const;

    bool one_haplotype_;
};
