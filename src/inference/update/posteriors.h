#pragma once

// From the posterior weights of a walk to chances of alleles and genotypes. Each copied allele passes through the
// mutation model; the emission of the site's own observation is taken out first.

#include <array>
#include <cstddef>
#include <cstdint>

#include "inference/haploid/haploid_model.h"
#include "model/copying_models.h"

// Chance of allele 1 of a haplotype at a site whose own allele was not observed; 0.5 when the weights say nothing.
inline double allele_one_chance(const allele_weights& weights, const emission_table& M) {
    double a0 = 0.0, a1 = 0.0;
    for (std::size_t copied = 0; copied < 2; ++copied) {
        a0 += weights[copied] * M[copied][0];
        a1 += weights[copied] * (1.0 - M[copied][0]);
    }
    return a0 + a1 > tol ? a1 / (a0 + a1) : 0.5;
}

// The same as if the site's own allele had not been observed.
inline double allele_one_chance_unseen(const allele_weights& weights, const emission_table& M, std::size_t own) {
    return allele_one_chance({weights[0] / M[0][own], weights[1] / M[1][own]}, M);
}

// Chances of genotypes 1 and 2 from those of allele 1 of each haplotype; a haploid individual has no genotype 1.
inline std::array<double, 2> genotype_chances(double first, double second, bool diploid) {
    if (!diploid) return {0.0, first};
    return {(1.0 - second) * first + (1.0 - first) * second, first * second};
}

// Chance of allele 1 of a haploid individual; seen: its observed allele, or unobserved. M: of the haploid model.
double haploid_posterior(const allele_weights& weights, const emission_table& M, std::size_t seen);

// Chances of allele 1 of the two ordered haplotypes, from weights and emission by the alleles of the states, [x * 2 +
// y]. M: of the haploid model.
std::array<double, 2> ordered_posterior(const std::array<double, 4>& weights, const std::array<double, 4>& emission,
                                        const emission_table& M);

// Chances of genotypes 1 and 2, from the same. M: of the diploid model. input: probabilities of the three genotypes to
// be joined, or null.
std::array<double, 2> pair_posterior(const std::array<double, 4>& weights, const std::array<double, 4>& emission,
                                     const emission_table& M, const float* input);
