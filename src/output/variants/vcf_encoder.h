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
    // What follows takes a place in a genotype's text and returns the place behind what it has written.
    char* put_genotype(char* to, const variant_genotype& g, const variant_fields& fields) const;
    char* put_units(char* to, int units) const;
    char* put_probs(char* to, const variant_genotype& g) const;
    char* put_haps(char* to, const variant_genotype& g) const;

    const result_inputs& run_;
    const std::string contig_;
    const int decimals_;
    const int one_;  // units of the value 1
    info_figures figures_;
};
