#pragma once

// The probabilities of one genotype, and what follows from them.

#include <algorithm>
#include <array>

// Chances of genotypes 0, 1 and 2.
using genotype_triple = std::array<double, 3>;

// The triple of the chances of genotypes 1 and 2; a haploid individual has no genotype 1.
inline genotype_triple triple_of(double one, double two, bool haploid) {
    const double p1 = haploid ? 0.0 : one;
    return {(1.0 - two) - p1, p1, two};
}

// Index of the largest chance, the first of equals.
inline int most_likely(const genotype_triple& p) {
    return static_cast<int>(std::max_element(p.begin(), p.end()) - p.begin());
}

// The most likely genotype, as an allele for a haploid individual.
inline int called_genotype(const genotype_triple& p, bool haploid) {
    return haploid ? most_likely(p) / 2 : most_likely(p);
}

// Expected copies of allele 1.
inline double dosage(const genotype_triple& p, bool haploid) {
    return haploid ? p[2] : p[1] + 2.0 * p[2];
}

// Variance of the copies of allele 1.
inline double dosage_variance(const genotype_triple& p, bool haploid) {
    const double mean = dosage(p, haploid);
    return (haploid ? p[2] : p[1] + 4.0 * p[2]) - mean * mean;
}
