#pragma once

// From the posterior weights of a walk to allele and genotype probabilities, and on into the sums.

#include <array>
#include <cstddef>

#include "inference/haploid/haploid_model.h"
#include "model/data.h"

// Chance of allele 1 of a haplotype, from the weights of the copied alleles: each passes through the mutation model.
// With own, the emission of that observed allele is taken out of the weights first. 0.5 when the weights say nothing.
inline double allele_one_chance(const allele_weights& weights, const emission_table& M, int own) {
    double a0 = 0.0, a1 = 0.0;
    for (std::size_t copied = 0; copied < 2; ++copied) {
        const double w = own < 0 ? weights[copied] : weights[copied] / M[copied][static_cast<std::size_t>(own)];
        a0 += w * M[copied][0];
        a1 += w * (1.0 - M[copied][0]);
    }
    return a0 + a1 > tol ? a1 / (a0 + a1) : 0.5;
}

// Whose posterior is added.
struct posterior_target {
    int ind = 0;
    int hap = 0;
    int panel = 2;
    int known_index = -1;
    bool genotype_probs = false;
};

// Whether the posterior at a site needs the sweeps: false where the data alone decide, or nothing is kept.
bool haploid_posterior_needed(const data& run, const posterior_target& target, const snp& site);
bool ordered_posterior_needed(const data& run, const posterior_target& target, const snp& site);
bool diploid_posterior_needed(const data& run, const posterior_target& target, const snp& site);

// Add one site's posterior of a haploid individual, an ordered one, an unordered one. weights may be null where the
// posterior is not needed.
void add_haploid_posterior(data& run, const posterior_target& target, const snp& site, const allele_weights* weights);
void add_ordered_posterior(data& run, const posterior_target& target, const snp& site,
                           const std::array<double, 4>* weights, const std::array<double, 4>& emission);
void add_diploid_posterior(data& run, const posterior_target& target, const snp& site,
                           const std::array<double, 4>& weights, const std::array<double, 4>& emission);

// Adds what is known of an individual that is not updated: its current alleles, for certain.
void add_certain_individual(data& run, const posterior_target& target, const snp& site, bool haploid);
