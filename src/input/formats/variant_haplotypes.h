#pragma once

// Haplotypes of a panel from VCF or BCF: two columns a sample, from phased genotypes.

#include <cstdint>
#include <vector>

#include "input/formats/variant_sites.h"

class variant_haplotypes final : public variant_source<haplotype_source> {
  public:
    variant_haplotypes(run_log& log, const source_request& request, input_file&& file);
    std::size_t n_columns() const override { return 2 * n_samples(); }
    const std::vector<bool>& absent_columns() const override { return absent_; }
    void start(const std::vector<bool>& dropped) override;
    bool read_alleles(allele_row& row) override;

  private:
    // Genotypes of any kind, one by one.
    void read_each();
    void put(std::size_t column, int allele);

    bool question_is_missing_;
    std::vector<bool> absent_;
    std::vector<std::size_t> kept_columns_;  // empty when all are kept
    std::vector<std::uint64_t> ones_, missing_;
    bool any_missing_ = false;
    note_once missing_note_;
};
