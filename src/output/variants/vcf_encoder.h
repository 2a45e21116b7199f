#pragma once

// Records as lines of VCF.

#include <string>

#include "output/variants/site_text.h"
#include "output/variants/variant_records.h"

// Appends units of 10^-decimals as a number without zeros at its end.
void append_units(std::string& text, long units, int decimals);

class vcf_encoder {
  public:
    explicit vcf_encoder(const result_inputs& run);
    // Appends the line with its end.
    void append(std::string& line, const variant_record& record);

  private:
    void append_site(std::string& line, const variant_record& record);
    void append_genotype(std::string& line, const variant_genotype& g, const variant_fields& fields) const;
    void append_probs(std::string& line, const variant_genotype& g) const;
    void append_haps(std::string& line, const variant_genotype& g) const;

    const result_inputs& run_;
    const std::string contig_;
    const int decimals_;
    info_figures figures_;
};
