#include "inference/update/posteriors.h"

namespace {

// No option asks for posterior genotypes of study sites.
bool no_posterior(const data& run) {
    return !run.params.pgs && !run.params.pgs_miss && !run.params.pgs_prob;
}

bool is_known(const data& run, const posterior_target& t) {
    return t.panel == 2 && run.panels[2].ordered[static_cast<std::size_t>(t.ind)];
}

// Whether allele sums of the individual's haplotypes are kept.
bool counts_alleles(const data& run, const posterior_target& t) {
    if (t.known_index < 0) return false;
    return run.params.print_allele_probs || (run.params.phase && (run.params.pgs_prob || is_known(run, t)));
}

bool phase_known(const posterior_target& t, const snp& site) {
    return t.panel == 2 && site.phase_known(static_cast<std::size_t>(t.ind));
}

std::uint8_t genotype(const posterior_target& t, const snp& site) {
    const auto& gtypes = site.gtypes[t.panel];
    return gtypes.empty() ? missing_genotype : gtypes[static_cast<std::size_t>(t.ind)];
}

int current_allele(const data& run, const posterior_target& t, const snp& site, int strand) {
    return run.panels[static_cast<std::size_t>(t.panel)].haps.allele(
        static_cast<std::size_t>(t.hap) + static_cast<std::size_t>(strand), static_cast<std::size_t>(site.index));
}

void add_genotype(data& run, const posterior_target& t, const snp& site, double one, double two) {
    const auto row = static_cast<std::size_t>(t.ind);
    const auto column = static_cast<std::size_t>(site.index);
    run.acc.gtype_acc[0].add(row, column, one);
    run.acc.gtype_acc[1].add(row, column, two);
}

void add_alleles(data& run, const posterior_target& t, const snp& site, double first, double second) {
    if (!counts_alleles(run, t)) return;
    const auto row = static_cast<std::size_t>(t.known_index);
    const auto column = static_cast<std::size_t>(site.index);
    run.acc.gtype_acc2[0].add(row, column, first);
    run.acc.gtype_acc2[1].add(row, column, second);
}

// Adds alleles that are known for certain.
void add_certain(data& run, const posterior_target& t, const snp& site, int first, int second, bool diploid) {
    const int n_ones = diploid ? first + second : 2 * first;
    if (n_ones > 0 && !no_posterior(run) && !run.plan.count_missing_only) {
        add_genotype(run, t, site, n_ones == 1 ? 1.0 : 0.0, n_ones == 2 ? 1.0 : 0.0);
    }
    add_alleles(run, t, site, first, second);
}

std::array<double, 2> normalised(std::array<double, 2> chances) {
    double sum = chances[0] + chances[1];
    if (!(sum > tol)) {
        chances = {0.5, 0.5};
        sum = 1.0;
    }
    return {chances[0] / sum, chances[1] / sum};
}

}  // namespace

bool haploid_posterior_needed(const data& run, const posterior_target& target, const snp& site) {
    if (!target.genotype_probs || phase_known(target, site)) return false;
    const bool missing = genotype(target, site) == missing_genotype;
    return missing || (!run.plan.count_missing_only && !no_posterior(run));
}

bool ordered_posterior_needed(const data& run, const posterior_target& target, const snp& site) {
    if (!target.genotype_probs || phase_known(target, site)) return false;
    return !run.plan.count_missing_only || genotype(target, site) == missing_genotype;
}

bool diploid_posterior_needed(const data& run, const posterior_target& target, const snp& site) {
    if (!target.genotype_probs) return false;
    return !run.plan.count_missing_only || genotype(target, site) == missing_genotype;
}

void add_haploid_posterior(data& run, const posterior_target& target, const snp& site, const allele_weights* weights) {
    if (phase_known(target, site)) {
        const int allele = current_allele(run, target, site, 0);
        add_certain(run, target, site, allele, allele, false);
        return;
    }
    const std::uint8_t g = genotype(target, site);
    if (weights == nullptr) {  // the observed allele stands; nobody asks for its posterior
        if (no_posterior(run) && g != missing_genotype && g / 2 == 1) add_alleles(run, target, site, 1.0, 1.0);
        return;
    }
    const auto& M =
        run.models.mutation[0][static_cast<std::size_t>(target.panel)][static_cast<std::size_t>(target.panel)];
    const std::size_t seen = g == missing_genotype ? unobserved : g / 2U;
    std::array<double, 2> p{};
    for (std::size_t copied = 0; copied < 2; ++copied) {
        const double w = (*weights)[copied] / M[copied][seen];
        p[0] += M[copied][0] * w;
        p[1] += M[copied][1] * w;
    }
    p = normalised(p);
    if (!no_posterior(run)) add_genotype(run, target, site, 0.0, p[1]);
    add_alleles(run, target, site, p[1], p[1]);
}

void add_ordered_posterior(data& run, const posterior_target& target, const snp& site,
                           const std::array<double, 4>* weights, const std::array<double, 4>& emission) {
    if (phase_known(target, site)) {
        add_certain(run, target, site, current_allele(run, target, site, 0), current_allele(run, target, site, 1),
                    true);
        return;
    }
    if (weights == nullptr) return;
    const auto& Mh =
        run.models.mutation[0][static_cast<std::size_t>(target.panel)][static_cast<std::size_t>(target.panel)];
    std::array<double, 2> first{}, second{};
    for (std::size_t x = 0; x < 2; ++x) {
        for (std::size_t y = 0; y < 2; ++y) {
            const double w = (*weights)[x * 2 + y] / emission[x * 2 + y];
            for (std::size_t allele = 0; allele < 2; ++allele) {
                first[allele] += Mh[x][allele] * w;
                second[allele] += Mh[y][allele] * w;
            }
        }
    }
    const double p = normalised(first)[1];
    const double q = normalised(second)[1];
    if (!no_posterior(run)) add_genotype(run, target, site, p * (1.0 - q) + (1.0 - p) * q, p * q);
    add_alleles(run, target, site, p, q);
}

void add_diploid_posterior(data& run, const posterior_target& target, const snp& site,
                           const std::array<double, 4>& weights, const std::array<double, 4>& emission) {
    const auto panel = static_cast<std::size_t>(target.panel);
    const emission_table& M = run.models.mutation[1][panel][panel];
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
    if (run.params.pgs_prob) {
        const float* input = site.gtype_probs[panel].data() + 3 * static_cast<std::size_t>(target.ind);
        for (std::size_t g = 0; g < 3; ++g) p[g] *= static_cast<double>(input[g]);
        const double sum = p[0] + p[1] + p[2];
        for (double& chance : p) chance /= sum;
    }
    add_genotype(run, target, site, p[1], p[2]);
}

void add_certain_individual(data& run, const posterior_target& target, const snp& site, bool haploid) {
    const int first = current_allele(run, target, site, 0);
    add_certain(run, target, site, first, haploid ? first : current_allele(run, target, site, 1), !haploid);
}
