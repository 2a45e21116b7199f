#pragma once

// What a line of the main output in VCF or BCF says, in numbers: computed and rounded in one place for both formats.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "output/consensus_phasing.h"
#include "output/posterior_genotypes.h"
#include "output/site_alleles.h"
#include "output/site_quality.h"

// Decimals of dosages and probabilities: -outdp, but at least 4 and at most the 6 that a single-precision number holds.
int variant_decimals(const parameters& params);
// The value 1 in units of 10^-decimals.
int variant_unit(const parameters& params);

// The interval of the file (base pairs, both ends included): that of "_haps" under -phase, whose haplotypes it holds,
// else that of the main output.
std::pair<long, long> variant_interval(const result_inputs& run);
// Its sites.
std::vector<std::size_t> variant_sites(const result_inputs& run);

// One genotype. Dosages and probabilities count units of 10^-decimals.
struct variant_genotype {
    static constexpr int none = -1;
    bool haploid = false;
    bool phased = false;
    bool has_probs = false;                  // dosage and probs are known
    std::array<int, 2> alleles{none, none};  // of a haploid the first
    int dosage = none;                       // of allele 1: 0 to 2, of a haploid 0 to 1
    std::array<int, 3> probs{};              // sum to 1; of a haploid the first and the last
    std::array<int, 2> haps{none, none};     // dosage of each haplotype; of a haploid the first
    int confidence = none;                   // of the phase relative to the heterozygote before, phred
};

struct variant_record {
    std::size_t site = 0;
    std::span<const variant_genotype> genotypes;  // by study individual
    std::optional<double> frequency;  // of allele 1, mean of the dosages of the line, or of alleles where there is none
    std::optional<site_quality> quality;
    bool any_haps = false, any_confidence = false;  // somebody has them
};

// The records of a block of sites. Load a block, then ask for its sites in order.
class variant_block {
  public:
    // confidences: of estimated phases; empty without.
    variant_block(const result_inputs& run, const phase_confidences& confidences);
    // At most sum_block::max_sites sites.
    void load(std::span<const std::size_t> sites);
    // j counts the sites of the block. Valid until the next call. Throws a run_fault at a computed triple that
    // is none.
    variant_record record(std::size_t j);

  private:
    // A study individual's places.
    struct person {
        std::size_t first_hap;
        std::optional<std::size_t> known_slot;    // among those with known haplotypes
        std::optional<std::size_t> unknown_slot;  // among the others
    };
    // Whose alleles at a site are those of the haplotypes.
    enum class phase_rule { nobody, everybody, as_given };

    using allele_pair_chances = std::array<double, 2>;

    phase_rule rule_at(const snp& site) const;
    variant_genotype genotype(std::size_t j, std::size_t s, std::size_t i, genotype_triple triple);
    void add_probs(const genotype_triple& triple, variant_genotype& g) const;
    void add_alleles(std::size_t s, std::size_t i, variant_genotype& g) const;
    // Chances of allele 1 on the two known haplotypes of an individual; none where they were not summed.
    std::optional<allele_pair_chances> known_chances(std::size_t j, std::size_t i) const;
    static void call_alleles(const genotype_triple& triple, const std::optional<allele_pair_chances>& chances,
                             variant_genotype& g);
    void add_haps(double dosage, const std::optional<allele_pair_chances>& chances, variant_genotype& g) const;
    void add_confidence(std::size_t s, std::size_t i, variant_genotype& g) const;
    int units(double value) const;

    const result_inputs& run_;
    const phase_confidences& confidences_;
    const int one_;  // units of the value 1
    const double low_;
    const bool all_known_;
    std::vector<person> people_;
    std::vector<std::size_t> sites_;
    genotype_block genotypes_;
    quality_block quality_;
    site_alleles alleles_;
    sum_block known_sums_;  // of the first and the second haplotype
    // Of the record that is being made.
    const std::uint64_t* row_ = nullptr;  // alleles of the study
    phase_rule rule_ = phase_rule::nobody;
    bool has_known_sums_ = false;
    std::vector<variant_genotype> line_;
};
