#pragma once

// One individual's genotype from three probabilities, and the allele frequency of a site from those of all.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/snp.h"

class run_log;
struct parameters;

// A frequency that says something; the others are -1.0 or not a number.
inline bool is_usable_frequency(double frequency) {
    return frequency > frequency_tolerance;
}

// Copies of allele 1, and copies of any allele.
struct allele_sums {
    double ones = 0.0;
    double all = 0.0;
    void add(double n_ones, double n_all) {
        ones += n_ones;
        all += n_all;
    }
    // A known genotype; a carrier of one haplotype counts once.
    void add_genotype(int code, bool haploid) {
        if (haploid) {
            add(code * 0.5, 1.0);
        } else {
            add(code, 2.0);
        }
    }
    // ones / all, or -1.0 when nobody was added.
    double frequency() const { return all > 1e-10 ? ones / all : no_frequency; }
};

using probability_triple = std::array<float, 3>;  // of AA, AB, BB

// The value of a missing genotype: all alike, or without AB.
probability_triple uniform_triple(bool without_het);
probability_triple one_hot_triple(int code);

struct genotype_rules {
    bool probabilistic = false;           // -prob_g: no hard calls
    bool normalise = true;                // not -no_prob_g_norm
    double call_threshold = 0.9;          // -call_thresh
    double probability_threshold = -1.0;  // -prob_g_thresh
};

// Whether the run keeps input probabilities of Panel 1 or 2.
bool keeps_triples(const parameters& params, std::size_t panel);

// Completes a triple in place: no AB for an individual that cannot have it, and a uniform triple when nothing is known.
void complete_triple(probability_triple& triple, bool without_het);
// The code of the largest probability above the call threshold; 3 for missing, also for an AB that cannot be.
std::uint8_t call_genotype(const probability_triple& triple, double call_threshold, bool haploid);
// Under -prob_g with a threshold above 0: normalises the triple, and adds it to the sums if it is certain enough.
void add_uncertain(probability_triple& triple, const genotype_rules& rules, bool haploid, allele_sums& sums);
void append_triple(std::vector<float>& triples, const probability_triple& triple);

// Frequency of allele 1 among the alleles of a site that are not missing, or -1.0 when all are.
double allele_frequency(const allele_row& alleles);

// The frequency of allele 1 that fits the triples of all individuals best, by EM. Notes a triple of zeros. One draw a
// call.
double calculate_allele_freq_via_em(run_log& log, const std::vector<float>& triples);
