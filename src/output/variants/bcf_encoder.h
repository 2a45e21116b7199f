#pragma once

// Records as records of BCF, with the values of the VCF lines.

#include <cstdint>
#include <vector>

#include "io/hts_objects.h"
#include "output/variants/site_text.h"
#include "output/variants/variant_records.h"

class bcf_encoder {
  public:
    // header: of make_variant_header; it outlives the encoder.
    bcf_encoder(const result_inputs& run, bcf_hdr_t* header);
    // Null if htslib refuses a value.
    hts_record encode(const variant_record& record);

  private:
    bool set_site(const variant_record& record);
    bool set_info(const variant_record& record);
    bool set_genotypes(const variant_record& record);
    bool set_dosages(const variant_record& record);
    bool set_probs(const variant_record& record);
    bool set_haps(const variant_record& record);
    bool set_confidences(const variant_record& record);
    bool set_floats(const char* key);
    float value(int units) const;
    // Appends a missing value, and ends of the vector up to n.
    void add_missing(std::size_t n);
    void add_end();

    const result_inputs& run_;
    bcf_hdr_t* header_;
    hts_record record_;
    const double one_;    // units of the value 1
    std::size_t ploidy_;  // of the widest genotype
    info_figures figures_;
    std::vector<float> floats_;
    std::vector<std::int32_t> integers_;
};
