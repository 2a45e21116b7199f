#include "input/genotype_calls.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "random/random.h"

namespace {

constexpr double threshold_tolerance = 1e-6;
constexpr double no_data_tolerance = 1e-10;
constexpr int em_rounds = 25;

std::size_t count_ones(const std::vector<std::uint64_t>& words) {
    std::size_t n = 0;
    for (const std::uint64_t word : words) n += static_cast<std::size_t>(std::popcount(word));
    return n;
}

float sum_of(const probability_triple& triple) {
    return triple[0] + triple[1] + triple[2];
}

// Divides a triple by its sum.
void normalise(probability_triple& triple) {
    const float sum = sum_of(triple);
    for (float& value : triple) value /= sum;
}

}  // namespace

probability_triple uniform_triple(bool without_het) {
    constexpr float third = 1.0F / 3.0F;
    if (without_het) return {0.5F, 0.0F, 0.5F};
    return {third, third, third};
}

probability_triple one_hot_triple(int code) {
    probability_triple triple{};
    triple[static_cast<std::size_t>(code)] = 1.0F;
    return triple;
}

bool keeps_triples(const parameters& params, std::size_t panel) {
    if (panel == 1) return params.store_input_probs_ref || params.prob_g_ref;
    return params.store_input_probs[0] || params.store_input_probs[1] || params.prob_g;
}

void complete_triple(probability_triple& triple, bool without_het) {
    if (without_het) triple[1] = 0.0F;
    if (static_cast<double>(sum_of(triple)) < no_data_tolerance) triple = uniform_triple(without_het);
}

std::uint8_t call_genotype(const probability_triple& triple, double call_threshold, bool haploid) {
    const auto best = std::max_element(triple.begin(), triple.end());  // the first of equal ones
    if (!(static_cast<double>(*best) > call_threshold - threshold_tolerance)) return missing_genotype;
    const auto code = static_cast<std::uint8_t>(best - triple.begin());
    return code == 1 && haploid ? missing_genotype : code;
}

void add_uncertain(probability_triple& triple, const genotype_rules& rules, bool haploid, allele_sums& sums) {
    if (rules.probability_threshold <= 0.0) return;
    if (rules.normalise) normalise(triple);
    const double largest = *std::max_element(triple.begin(), triple.end());
    if (!(largest > rules.probability_threshold - threshold_tolerance)) return;
    const double aa = triple[0], ab = triple[1], bb = triple[2];
    if (haploid) {
        sums.add(bb, aa + bb);
    } else {
        sums.add(ab + 2.0 * bb, 2.0 * (aa + ab + bb));
    }
}

void append_triple(std::vector<float>& triples, const probability_triple& triple) {
    triples.insert(triples.end(), triple.begin(), triple.end());
}

double allele_frequency(const allele_row& alleles) {
    const std::size_t n_known = alleles.size() - count_ones(alleles.missing());
    if (n_known == 0) return no_frequency;
    return static_cast<double>(count_ones(alleles.ones())) / static_cast<double>(n_known);
}

// Expectation and maximisation of the genotype counts under random mating; one allele in 2n + 2 is a pseudo-count. The
// starting value is drawn.
double calculate_allele_freq_via_em(run_log& log, const std::vector<float>& triples) {
    const std::size_t n = triples.size() / 3;
    double p = Random::RNG->Next();
    for (int round = 0; round < em_rounds; ++round) {
        const double w0 = (1.0 - p) * (1.0 - p), w1 = 2.0 * p * (1.0 - p), w2 = p * p;
        double ones = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            const double l0 = triples[3 * i], l1 = triples[3 * i + 1], l2 = triples[3 * i + 2];
            if (round == 0 && l0 + l1 + l2 < no_data_tolerance) {
                log.note(
                    concat("LIKE (", i, "): |", default_text(l0), ",", default_text(l1), ",", default_text(l2), "|"));
            }
            const double one = l1 * w1, two = l2 * w2;
            ones += (one + 2.0 * two) / (l0 * w0 + one + two);
        }
        p = (ones + 1.0) / (2.0 * (static_cast<double>(n) + 1.0));
    }
    return p;
}
