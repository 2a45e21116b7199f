#pragma once

// The genotype probabilities of the study individuals. Everything that writes or judges genotypes takes its triples
// from here, whatever they are made of: sums of posteriors or of sampled genotypes, by whatever they are divided, or
// the input. A format of the main result stands behind main_genotypes(), as main_output does.

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "output/genotype_triple.h"
#include "output/result_inputs.h"
#include "output/sum_block.h"

// What the triples of a site are made of.
enum class triple_source {
    none,                // nothing: zeros
    input,               // the input, as read
    posterior,           // sums over the stored iterations
    input_or_posterior,  // those sums for a missing genotype, else the input
    prephased,           // typed genotypes as if they were missing, from the reference set of -weight_panel
    masked_0,            // the same from Panel 0, in the self-check iterations
    masked_1             // the same from the panels up to Panel 1
};

constexpr triple_source masked_source(std::size_t set) {
    return set == 0 ? triple_source::masked_0 : triple_source::masked_1;
}

// Whether the triple of an individual is made of sums.
inline bool is_computed(triple_source source, const snp& site, std::size_t individual) {
    if (source == triple_source::none || source == triple_source::input) return false;
    return source != triple_source::input_or_posterior || study_genotype(site, individual) == missing_genotype;
}

// Whether the input probabilities of a study site (type 2 or 3) are kept for the results.
inline bool keeps_input_probs(const result_inputs& run, const snp& site) {
    return run.params.store_input_probs[site.type - 2];
}

// The input probabilities of a study individual. Where they were not kept its genotype stands in, uniform if it is
// missing; zeros where the study has no data.
genotype_triple input_triple(const snp& site, std::size_t individual, bool haploid);

// One triple from the sums of genotypes 1 and 2 over the stored iterations. imputed: the site has no study data, so
// that a weighted run divides by the individual's sum of weights; a run without iterations has no weights and divides
// by their number.
genotype_triple posterior_triple(const result_inputs& run, const std::array<double, 2>& sums, std::size_t s,
                                 std::size_t individual, bool haploid, bool imputed);

// Triples of a block of sites, for the individuals of a range. Load a block, then ask for its sites in any order.
class genotype_block {
  public:
    using source_rule = std::function<triple_source(const snp&)>;
    // rule says what the triples of a site are made of.
    genotype_block(const result_inputs& run, source_rule rule);
    // The same source at all sites.
    genotype_block(const result_inputs& run, triple_source source);

    // At most sum_block::max_sites sites.
    void load(std::span<const std::size_t> sites, row_range individuals);
    void load(std::span<const std::size_t> sites) { load(sites, {0, haploid_.size()}); }
    std::size_t n_individuals() const { return individuals_.n; }
    // j counts the sites of the block.
    triple_source source(std::size_t j) const { return sources_[j]; }
    // The triples of site j by individual of the range; valid until the next call.
    std::span<const genotype_triple> triples(std::size_t j);
    // By study individual: whether it has one haplotype only.
    bool is_haploid(std::size_t individual) const { return haploid_[individual] != 0; }

  private:
    void fetch_sums(const std::vector<std::size_t>& sites, triple_source source);
    const double* weights_at(const snp& site, triple_source source) const;

    const result_inputs& run_;
    source_rule rule_;
    std::vector<char> haploid_;
    row_range individuals_;
    std::vector<std::size_t> sites_;
    std::vector<triple_source> sources_;  // by site of the block
    std::vector<std::size_t> places_;     // of the site in the sums of its source
    // Sums by source; those of input_or_posterior are with posterior.
    std::array<sum_block, 7> sums_;
    std::vector<genotype_triple> triples_;
};

// The triples of the main result.
genotype_block main_genotypes(const result_inputs& run);
// The triples from which the quality of a site is told; none where a site has no line in the quality file.
genotype_block quality_genotypes(const result_inputs& run);
bool has_quality(const result_inputs& run, const snp& site);
