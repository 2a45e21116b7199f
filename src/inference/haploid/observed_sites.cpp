#include "inference/haploid/observed_sites.h"

bool missing_is_neutral(const haploid_problem& problem) {
    return problem.emission[0][unobserved] == 1.0 && problem.emission[1][unobserved] == 1.0;
}

bool same_sites(const haploid_problem& problem, const haploid_tables& tables) {
    const auto& made = tables.made_for;
    if (!missing_is_neutral(problem) || problem.gap_version == 0 || made.gap_version != problem.gap_version ||
        made.gap != problem.gap || made.n_states != problem.n_states ||
        made.has_observation.size() != problem.n_sites) {
        return false;
    }
    const std::uint8_t* had = made.has_observation.data();
    unsigned differ = 0;
    for (std::size_t v = 0; v < problem.n_sites; ++v) {
        differ |= static_cast<unsigned>(had[v] ^ (problem.observed[v] != unobserved ? 1U : 0U));
    }
    return differ == 0;
}

bool lay_out_anchors(const haploid_problem& problem, haploid_tables& tables) {
    if (!missing_is_neutral(problem)) return false;
    if (!same_sites(problem, tables)) {
        list_anchors(
            problem, tables, [](std::size_t /*i*/) {}, [](double /*growth*/) { return false; });
    }
    if (tables.anchors[0].sum * tables.anchors[0].least_growth >= rescale_below) return true;
    tables.made_for.gap_version = 0;  // sums vanish left of the first observation: not for another sweep
    return false;
}

void look_right(const haploid_problem& problem, haploid_tables& tables) {
    if (tables.sees_right) return;
    tables.right_alpha.resize(problem.n_sites);
    tables.right_mu.resize(problem.n_sites);
    distant here;  // nothing lies right of the last site
    std::size_t i = tables.anchors.size();
    for (std::size_t v = problem.n_sites; v-- > 0;) {
        if (v + 1 < problem.n_sites) here.pass(problem.gap[v + 1], static_cast<double>(problem.n_states));
        tables.right_alpha[v] = here.alpha;
        tables.right_mu[v] = here.mu;
        if (i > 1 && tables.anchors[i - 1].site == v) {
            here = {};
            --i;
        }
    }
    tables.sees_right = true;
}

void list_state_weights(haploid_tables& tables, std::size_t anchor, double right_sum, std::size_t first,
                        std::size_t end) {
    const double left_sum = tables.anchors[anchor].sum;
    if (tables.state_weights.size() < end - first) tables.state_weights.resize(end - first);
    for (std::size_t v = first; v < end; ++v) {
        const double alpha = tables.alpha[v], beta = tables.mu[v] * left_sum;
        const double right_alpha = tables.right_alpha[v], right_beta = tables.right_mu[v] * right_sum;
        tables.state_weights[v - first] = {alpha * right_alpha, alpha * right_beta, beta * right_alpha,
                                           beta * right_beta};
    }
}
