#pragma once

// A phased VCF or BCF file, record by record, and what ligation does with a record.

#include <htslib/vcf.h>

#include <string>
#include <vector>

#include "chromosome/overlap_phase.h"
#include "io/hts_objects.h"

class run_log;

class phased_file {
  public:
    // Opens the file and reads its header; ends the command when it cannot.
    phased_file(run_log& log, std::string name);

    const std::string& name() const { return name_; }
    bcf_hdr_t* header() const { return header_.get(); }
    std::vector<std::string> samples() const;
    // The next record, unpacked; null behind the last one. Ends the command at a damaged file, where two records are
    // not in order or are the same site, and at a field of another type than it should have.
    hts_record next();

  private:
    void check_order(const bcf1_t* record);
    void check_types(bcf1_t* record) const;

    run_log& log_;
    std::string name_;
    hts_file file_;
    hts_header header_;
    std::string last_contig_;
    hts_pos_t last_position_ = -1;
    std::vector<std::string> sites_here_;  // at the last position
};

// Alleles of a site in one word: REF, then ALT.
std::string alleles_of(const bcf1_t* record);
// The genotypes of all people, with the confidence in PQ. A haploid one has one allele, which is no heterozygote.
std::vector<phased_pair> genotypes_of(const bcf_hdr_t* header, bcf1_t* record);
// Exchanges the haplotypes of some people: the alleles of phased genotypes in GT, and the values in HDS.
void turn_haplotypes(const bcf_hdr_t* header, bcf1_t* record, const std::vector<bool>& turned);
// Writes the confidences that are at least 0, by person, into PQ, if the record has it.
void set_confidences(const bcf_hdr_t* header, bcf1_t* record, const std::vector<int>& confidences);
