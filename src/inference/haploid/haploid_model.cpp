#include "inference/haploid/haploid_model.h"

#include "inference/haploid/checkpoints.h"
#include "inference/haploid/observed_sites.h"
#include "random/random.h"

double haploid_forward(const haploid_problem& problem, haploid_tables& tables) {
    return problem.checkpoint != nullptr ? haploid_forward_kept(problem, tables)
                                         : haploid_forward_anchored(problem, tables);
}

std::uint8_t haploid_allele_draw(const haploid_problem& problem, std::size_t v, int state) {
    const auto copied = static_cast<std::size_t>(state < 0 ? 0 : problem.allele(v, static_cast<std::size_t>(state)));
    return Random::RNG->Next() > problem.emission[copied][0] ? 1 : 0;
}

void haploid_walk(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                  const std::vector<haploid_request>& requests, haploid_results& results) {
    results.state.assign(options.sample ? problem.n_sites : 0, -1);
    results.allele.resize(problem.n_sites);
    results.weights.resize(problem.n_sites);
    results.stay_count = results.switch_count = 0;
    if (problem.checkpoint != nullptr) {
        haploid_walk_kept(problem, tables, options, requests, results);
    } else {
        haploid_walk_anchored(problem, tables, options, requests, results);
    }
}
