#include "inference/update/posteriors.h"

namespace {

// Chance of allele 1 from the sums of both; even when they say nothing.
double share_of_one(std::array<double, 2> chances) {
    double sum = chances[0] + chances[1];
    if (!(sum > tol)) {
        chances = {0.5, 0.5};
        sum = 1.0;
    }
    return chances[1] / sum;
}

}  // namespace

double haploid_posterior(const allele_weights& weights, const emission_table& M, std::size_t seen) {
    std::array<double, 2> p{};
    for (std::size_t copied = 0; copied < 2; ++copied) {
        const double w = weights[copied] / M[copied][seen];
        p[0] += M[copied][0] * w;
        p[1] += M[copied][1] * w;
    }
    return share_of_one(p);
}

std::array<double, 2> ordered_posterior(const std::array<double, 4>& weights, const std::array<double, 4>& emission,
                                        const emission_table& M) {
    std::array<double, 2> first{}, second{};
    for (std::size_t x = 0; x < 2; ++x) {
        for (std::size_t y = 0; y < 2; ++y) {
            const double w = weights[x * 2 + y] / emission[x * 2 + y];
            for (std::size_t allele = 0; allele < 2; ++allele) {
                first[allele] += M[x][allele] * w;
                second[allele] += M[y][allele] * w;
            }
        }
    }
    return {share_of_one(first), share_of_one(second)};
}

std::array<double, 2> pair_posterior(const std::array<double, 4>& weights, const std::array<double, 4>& emission,
                                     const emission_table& M, const float* input) {
    const std::array<double, 3> by_sum{weights[0] / emission[0], weights[1] / emission[1], weights[3] / emission[3]};
    std::array<double, 3> p{};
    for (std::size_t g = 0; g < 3; ++g) {
        for (std::size_t sum = 0; sum < 3; ++sum) p[g] += M[sum][g] * by_sum[sum];
    }
    double total = p[0] + p[1] + p[2];
    if (!(total > tol)) {
        p = {1.0 / 3, 1.0 / 3, 1.0 / 3};
        total = 1.0;
    }
    for (double& chance : p) chance /= total;
    if (input != nullptr) {
        for (std::size_t g = 0; g < 3; ++g) p[g] *= static_cast<double>(input[g]);
        const double sum = p[0] + p[1] + p[2];
        for (double& chance : p) chance /= sum;
    }
    return {p[1], p[2]};
}
