#include "inference/haploid/checkpoints.h"

#include <algorithm>
#include <cmath>

#include "inference/block_walk.h"
#include "inference/haploid/haploid_draws.h"
#include "inference/kernels/kernels.h"

namespace {

// The running vector of a forward sweep over every site.
struct running_forward {
    double sum = 0.0;
    double scale = 1.0;  // of the site entered last
};

// Enters site v from the vector at the site before; out may be the same vector.
void step(const haploid_problem& problem, std::size_t v, const double* from, double* out, running_forward& forward) {
    const std::uint8_t seen = problem.observed[v];
    const auto& M = problem.emission;
    const haploid_gap& gap = problem.gap[v];
    const double sum = kernels::active().haploid_forward(problem.n_states, from, gap.diff, forward.sum * gap.move,
                                                         problem.bits(v), M[0][seen], M[1][seen], out);
    forward.scale = 1.0;
    forward.sum = sum;
    if (!(sum >= rescale_below)) {
        forward.scale = sum;
        kernels::active().divide(problem.n_states, sum, out);
        forward.sum = 1.0;
    }
}

void start(const haploid_problem& problem, double* out, running_forward& forward) {
    const std::uint8_t seen = problem.observed[0];
    const auto& M = problem.emission;
    std::fill_n(out, kernels::haploid_padded(problem.n_states), 0.0);
    const double uniform = 1.0 / static_cast<double>(problem.n_states);
    forward.sum = kernels::active().haploid_forward(problem.n_states, out, 0.0, uniform, problem.bits(0), M[0][seen],
                                                    M[1][seen], out);
}

class kept_walk {
  public:
    kept_walk(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
              const std::vector<haploid_request>& requests, haploid_results& results)
        : p_(problem), t_(tables), options_(options), requests_(requests), r_(results), n_(problem.n_states) {
        ensure_size(t_.right, t_.stride);
    }

    void run() {
        block_walk blocks(*p_.checkpoint);
        for (std::size_t v = p_.n_sites; v-- > 0;) {
            if (blocks.enter(v)) rebuild(blocks.first(), blocks.n_local());
            double* f = blocks.is_kept(v) ? t_.kept.data() + t_.kept_row[v] * t_.stride
                                          : t_.local.data() + blocks.local_index() * t_.stride;
            if (options_.sample) {
                const auto value = [f](std::size_t k) { return f[k]; };
                r_.state[v] = v + 1 == p_.n_sites
                                  ? draw_first_state(p_, value)
                                  : draw_next_state(p_, v, r_.state[v + 1], right_value_, t_.scale[v + 1], value, r_);
                if (requests_[v].draw_allele) r_.allele[v] = haploid_allele_draw(p_, v, r_.state[v]);
                if (r_.state[v] >= 0) right_value_ = f[r_.state[v]];
            }
            if (options_.backward) pass_back(v, f);
        }
    }

  private:
    void rebuild(std::size_t first, std::size_t n) {
        ensure_size(t_.local, std::max(n, p_.interval) * t_.stride);
        const double* from = t_.kept.data() + t_.kept_row[first] * t_.stride;
        running_forward forward;
        for (std::size_t k = 0; k < n_; ++k) forward.sum += from[k];
        for (std::size_t j = 0; j < n; ++j) {
            double* out = t_.local.data() + j * t_.stride;
            step(p_, first + 1 + j, from, out, forward);
            t_.scale[first + 1 + j] = forward.scale;
            from = out;
        }
    }

    // The backward vector of the site in hand; the forward table becomes forward times backward.
    void pass_back(std::size_t v, double* f) {
        double* b = t_.right.data();
        if (v + 1 == p_.n_sites) {
            std::fill_n(b, n_, 1.0);
            std::fill(b + n_, b + t_.stride, 0.0);
        } else {
            const std::uint8_t seen = p_.observed[v + 1];
            const auto& M = p_.emission;
            double sum = kernels::active().haploid_forward(n_, b, 1.0, 0.0, p_.bits(v + 1), M[0][seen], M[1][seen], b);
            if (!(sum >= rescale_below)) {
                kernels::active().divide(n_, sum, b);
                sum = 1.0;
            }
            const haploid_gap& gap = p_.gap[v + 1];
            for (std::size_t k = 0; k < n_; ++k) {
                b[k] = b[k] * gap.diff + sum * gap.move;
                f[k] *= b[k];
            }
        }
        if (!requests_[v].posterior) return;
        r_.weights[v] = {0.0, 0.0};
        for (std::size_t k = 0; k < n_; ++k) r_.weights[v][static_cast<std::size_t>(p_.allele(v, k))] += f[k];
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    const haploid_walk_options& options_;
    const std::vector<haploid_request>& requests_;
    haploid_results& r_;
    const std::size_t n_;
    double right_value_ = 0.0;
};

}  // namespace

double haploid_forward_kept(const haploid_problem& problem, haploid_tables& tables) {
    const std::vector<bool>& checkpoint = *problem.checkpoint;
    tables.stride = kernels::haploid_padded(problem.n_states);
    tables.scale.assign(problem.n_sites, 1.0);
    tables.kept_row.assign(problem.n_sites, 0);
    ensure_size(tables.kept, (problem.n_sites / std::max<std::size_t>(problem.interval, 1) + 1) * tables.stride);
    ensure_size(tables.local, problem.interval * tables.stride);
    ensure_size(tables.right, tables.stride);
    if (problem.n_sites == 0) return 0.0;
    double* work = tables.right.data();
    running_forward forward;
    double log10_likelihood = 0.0;
    std::size_t n_kept = 0;
    for (std::size_t v = 0; v < problem.n_sites; ++v) {
        if (v == 0) {
            start(problem, work, forward);
        } else {
            step(problem, v, work, work, forward);
        }
        tables.scale[v] = forward.scale;
        if (forward.scale != 1.0) log10_likelihood += std::log10(forward.scale);
        if (checkpoint[v]) {
            std::copy_n(work, tables.stride, tables.kept.data() + n_kept * tables.stride);
            tables.kept_row[v] = n_kept++;
        }
    }
    return std::abs(forward.sum - 1.0) > 1e-10 ? log10_likelihood + std::log10(forward.sum) : log10_likelihood;
}

void haploid_walk_kept(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                       const std::vector<haploid_request>& requests, haploid_results& results) {
    if (problem.n_sites > 0) kept_walk(problem, tables, options, requests, results).run();
}
