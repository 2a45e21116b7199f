#pragma once

// The INFO fields of a VCF or BCF record as values of a site.

#include <htslib/vcf.h>

#include <string>
#include <vector>

// The fields that have one value, or one for each ALT or for each allele, of which a site takes that of its allele.
class variant_info {
  public:
    explicit variant_info(const bcf_hdr_t* header);
    const std::vector<std::string>& names() const { return names_; }
    // In the order of the names; "." where the record has no value, "1" and "0" for a flag.
    std::vector<std::string> values(const bcf_hdr_t* header, bcf1_t* record, int allele) const;

  private:
    std::vector<std::string> names_;
};
