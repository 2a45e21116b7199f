#pragma once

// The called genotypes (GT) of a VCF or BCF record.

#include <htslib/vcf.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Two alleles of a person: numbers of the record's alleles, 0 for REF, or a mark.
struct variant_call {
    static constexpr int missing = -1;
    static constexpr int absent = -2;  // a haploid person has no second allele
    int first = missing;
    int second = missing;
    bool phased = false;  // the second one stands behind "|"

    bool is_known() const { return first >= 0 && second != missing; }
    bool is_half() const { return (first >= 0 && second == missing) || (first == missing && second >= 0); }
    bool is_het() const { return is_known() && second >= 0 && first != second; }
    // 1 or 2; 0 where nothing is called, which tells nothing.
    int ploidy() const { return first < 0 && second < 0 ? 0 : second == absent ? 1 : 2; }
};

enum class call_fault { none, no_genotypes, too_many_alleles, unknown_allele };

// Fills the calls of all samples. The record is unpacked as far as it needs to be.
call_fault read_calls(const bcf_hdr_t* header, bcf1_t* record, std::span<variant_call> calls);

// Packs the haplotypes of a record where everybody has two called alleles of which the second one stands behind "|" or
// equals the first: bit h of ones is set where haplotype h (two a sample) has the allele. False, with ones unspecified,
// where somebody is otherwise; read_calls tells how. ones: words for two bits a sample.
bool pack_phased_calls(const bcf_hdr_t* header, bcf1_t* record, int allele, std::uint64_t* ones);
