#include "inference/haploid/haploid_model.h"

#include <algorithm>
#include <cmath>

#include "inference/haploid/haploid_draws.h"
#include "inference/haploid/observed_sites.h"
#include "inference/kernels/kernels.h"
#include "inference/stale_stretch.h"
#include "random/random.h"

namespace {

double* kept_vector(haploid_tables& tables, std::size_t anchor) {
    return tables.vectors.data() + anchor / tables.keep_every * tables.stride;
}

// The distance of the kept vectors. Memory saving keeps as many as lie between two of them.
std::size_t choose_keep_every(const haploid_problem& problem) {
    const std::size_t usual = haploid_tables{}.keep_every;
    if (problem.checkpoint_interval == 0) return usual;
    const std::uint8_t* observed = problem.observed;
    const auto n_missing = std::count(observed, observed + problem.n_sites, unobserved);
    const std::size_t n_observed = problem.n_sites - static_cast<std::size_t>(n_missing);
    return std::max(usual, static_cast<std::size_t>(std::sqrt(static_cast<double>(n_observed))));
}

// The vector of an anchor from that of the one before; out may be from. Returns its sum before any scaling.
double enter_anchor(const haploid_problem& problem, const haploid_tables& tables, std::size_t i, const double* from,
                    double* out) {
    const haploid_tables::anchor& anchor = tables.anchors[i];
    const std::uint8_t seen = problem.observed[anchor.site];
    return kernels::active().haploid_forward(problem.n_states, from, anchor.alpha,
                                             anchor.mu * tables.anchors[i - 1].sum, problem.bits(anchor.site),
                                             problem.emission[0][seen], problem.emission[1][seen], out);
}

class haploid_forward_sweep {
  public:
    haploid_forward_sweep(const haploid_problem& problem, haploid_tables& tables)
        : p_(problem), t_(tables), K_(problem.n_states) {
        t_.stride = kernels::haploid_padded(K_);
        t_.keep_every = choose_keep_every(problem);
        ensure_size(t_.block, (t_.keep_every - 1) * t_.stride);
        for (aligned_buffer* vector : {&t_.vectors, &t_.work, &t_.right, &t_.right_new, &t_.products})
            ensure_size(*vector, t_.stride);
        // Anchor 0: ones, padded with zeros.
        std::fill_n(t_.vectors.begin(), K_, 1.0);
        std::fill_n(t_.vectors.begin() + static_cast<std::ptrdiff_t>(K_), t_.stride - K_, 0.0);
    }

    // Returns the log10 likelihood.
    double run() {
        if (!same_sites(p_, t_) || !sweep_again()) sweep();
        const haploid_tables::anchor& last = t_.anchors.back();
        const double sum = last.sum * last.growth;
        return std::abs(sum - 1.0) > 1e-10 ? log10_likelihood_ + std::log10(sum) : log10_likelihood_;
    }

  private:
    // Returns whether it came to its end: no values so small that they need another anchor, or undefined.
    bool sweep_again() {
        for (std::size_t i = 1; i < t_.anchors.size(); ++i) {
            fill_anchor(i);
            const haploid_tables::anchor& anchor = t_.anchors[i];
            if (!(anchor.scale > 0.0 && anchor.sum * anchor.least_growth >= rescale_below)) return false;
        }
        return true;
    }

    void sweep() {
        log10_likelihood_ = 0.0;
        list_anchors(
            p_, t_, [this](std::size_t i) { fill_anchor(i); },
            [this](double growth) { return !(t_.anchors.back().sum * growth >= rescale_below); });
    }

    void fill_anchor(std::size_t i) {
        ensure_size(t_.vectors, (i / t_.keep_every + 1) * t_.stride);
        double* out = vector(i);
        haploid_tables::anchor& anchor = t_.anchors[i];
        anchor.sum = enter_anchor(p_, t_, i, vector(i - 1), out);
        anchor.scale = 1.0;
        if (anchor.site == 0 || anchor.sum >= rescale_below) return;
        anchor.scale = anchor.sum;
        kernels::active().divide(K_, anchor.scale, out);
        anchor.sum = 1.0;
        log10_likelihood_ += std::log10(anchor.scale);
    }

    // Where the vector of the anchor in hand or of the one before stands.
    double* vector(std::size_t i) { return i % t_.keep_every == 0 ? kept_vector(t_, i) : t_.work.data(); }

    const haploid_problem& p_;
    haploid_tables& t_;
    const std::size_t K_;
    double log10_likelihood_ = 0.0;
};

// Gives a walk from right to left the vectors of the anchors.
class anchor_store {
  public:
    anchor_store(const haploid_problem& problem, haploid_tables& tables) : p_(problem), t_(tables) {}

    const double* vector(std::size_t anchor) {
        if (vector_ == nullptr || anchor_ != anchor) {
            anchor_ = anchor;
            vector_ = find(anchor);
        }
        return vector_;
    }

  private:
    const double* find(std::size_t anchor) {
        const std::size_t past = anchor % t_.keep_every;
        if (past == 0) return kept_vector(t_, anchor);
        if (anchor - past != first_ || past > n_built_) rebuild(anchor - past, past);
        return t_.block.data() + (past - 1) * t_.stride;
    }

    void rebuild(std::size_t first, std::size_t n) {
        const double* from = kept_vector(t_, first);
        for (std::size_t i = 0; i < n; ++i) {
            double* out = t_.block.data() + i * t_.stride;
            enter_anchor(p_, t_, first + 1 + i, from, out);
            const double scale = t_.anchors[first + 1 + i].scale;
            if (scale != 1.0) kernels::active().divide(p_.n_states, scale, out);
            from = out;
        }
        first_ = first;
        n_built_ = n;
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    std::size_t first_ = 0;  // the kept anchor left of the block in hand
    std::size_t n_built_ = 0;
    std::size_t anchor_ = 0;          // asked for last
    const double* vector_ = nullptr;  // its vector; null before
};

// The walk from right to left over the anchors, each after the stretch of sites between it and the next one.
class backward_walk {
  public:
    backward_walk(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                  std::span<const haploid_request> requests, haploid_results& results)
        : p_(problem),
          t_(tables),
          options_(options),
          requests_(requests),
          r_(results),
          n_(problem.n_states),
          stale_(problem.n_sites, reads_stale_values(problem, options, requests) ? problem.checkpoint_interval : 0),
          store_(problem, tables) {}

    void run() {
        right_ = store_.vector(0);
        right_sum_ = static_cast<double>(n_);
        if (options_.backward) look_right(p_, t_);
        std::size_t end = p_.n_sites;
        for (std::size_t i = t_.anchors.size(); i-- > 0;) {
            const std::size_t site = t_.anchors[i].site, first = i == 0 ? 0 : site + 1;
            if (stale_.length() > 0) leave_stale_values(i, site, end);
            if (options_.sample) {
                for (std::size_t v = end; v-- > site;) draw(v, i);
            }
            if (options_.backward) {
                report_posteriors(i, std::max(first, stale_.length()), end);
                for (std::size_t v = site; v < std::min(end, stale_.length()); ++v) pass_stale_site(v);
                if (i > 0) emit_anchor(i);
            }
            end = site;
        }
        if (options_.sample && options_.alleles_after_states) {
            for (std::size_t v = 0; v < p_.n_sites; ++v) draw_allele(v);
        }
    }

  private:
    // Draws the state at site v, whose anchor is i.
    void draw(std::size_t v, std::size_t i) {
        const bool before_anchor = i + 1 < t_.anchors.size() && t_.anchors[i + 1].site == v + 1;
        const double right_scale = before_anchor ? t_.anchors[i + 1].scale : 1.0;
        if (stale_.reads(v)) {
            const double* stale = stale_values(v);
            draw_state(v, right_scale, [stale](std::size_t k) { return stale[k]; });
        } else {
            const double* left = store_.vector(i);
            const double alpha = t_.alpha[v], beta = t_.mu[v] * t_.anchors[i].sum;
            draw_state(v, right_scale, [=](std::size_t k) { return alpha * left[k] + beta; });
        }
        if (!options_.alleles_after_states) draw_allele(v);
    }

    template <typename Value>
    void draw_state(std::size_t v, double right_scale, const Value& value) {
        const std::size_t k = v + 1 == p_.n_sites
                                  ? draw_first_state(p_, value)
                                  : draw_next_state(p_, v, r_.state[v + 1], right_value_, right_scale, value, r_);
        r_.state[v] = k;
        if (k != no_state) right_value_ = value(k);
    }

    void draw_allele(std::size_t v) {
        if (requests_[v].draw_allele) r_.allele[v] = haploid_allele_draw(p_, v, r_.state[v]);
    }

    // The posterior weights that are wanted at the sites from first to before end, of anchor i.
    void report_posteriors(std::size_t i, std::size_t from, std::size_t to) {
        const auto [first, end] = wanted_stretch(requests_, from, to);
        if (first >= end) return;
        const double* left = store_.vector(i);
        list_state_weights(t_, i, right_sum_, first, end);
        const double product = k_.multiply(n_, left, right_, t_.products.data());
        static_assert(sizeof(allele_weights) == sizeof(double[2]));
        k_.weigh_alleles(n_, end - first, p_.bits(first), left, right_, t_.products.data(),
                         {product, t_.anchors[i].sum, right_sum_}, t_.state_weights.data(),
                         reinterpret_cast<double(*)[2]>(&r_.weights[first]));
    }

    // The backward vector at the site of an anchor, with the posterior there; then with the site's emission.
    void emit_anchor(std::size_t i) {
        const std::size_t v = t_.anchors[i].site;
        const std::uint8_t seen = p_.observed[v];
        double* out = other_right();
        const double alpha = t_.right_alpha[v], beta = t_.right_mu[v] * right_sum_;
        const double m0 = p_.emission[0][seen], m1 = p_.emission[1][seen];
        if (requests_[v].posterior && !stale_.reads(v)) {
            const kernels::backward_sums sums =
                k_.haploid_backward(n_, right_, alpha, beta, store_.vector(i), p_.bits(v), m0, m1, out);
            r_.weights[v] = {sums.carried[0], sums.carried[1]};
            right_sum_ = sums.total;
        } else {  // the same step without the posterior
            right_sum_ = k_.haploid_forward(n_, right_, alpha, beta, p_.bits(v), m0, m1, out);
        }
        if (!(right_sum_ >= rescale_below)) {
            k_.divide(n_, right_sum_, out);
            right_sum_ = 1.0;
        }
        right_ = out;
    }

    double* other_right() { return right_ == t_.right.data() ? t_.right_new.data() : t_.right.data(); }

    double* stale_values(std::size_t v) { return stale_.values(t_.stale, v, t_.stride); }

    // Leaves what the stale stretch reads of the sites from first to before end, of anchor i.
    void leave_stale_values(std::size_t i, std::size_t first, std::size_t end) {
        for (std::size_t v = end; v-- > first;) {
            if (options_.backward && v + 1 < end) divide_between_anchors(v + 1);
            if (!stale_.leaves(v)) continue;
            double* out = stale_values(v);
            k_.haploid_forward(n_, store_.vector(i), t_.alpha[v], t_.mu[v] * t_.anchors[i].sum, p_.bits(v), 1.0, 1.0,
                               out);
            if (!options_.backward) continue;
            double* b = t_.products.data();
            k_.haploid_forward(n_, right_, t_.right_alpha[v], t_.right_mu[v] * right_sum_, p_.bits(v), 1.0, 1.0, b);
            k_.multiply(n_, out, b, out);
        }
    }

    // The backward values are divided wherever their sum is small. Draws by products see in which unit they are.
    void divide_between_anchors(std::size_t v) {
        const double sum = right_sum_ * (t_.right_alpha[v] + static_cast<double>(n_) * t_.right_mu[v]);
        if (n_ == 0 || sum >= rescale_below) return;
        double* out = other_right();
        std::copy_n(right_, t_.stride, out);
        k_.divide(n_, sum, out);
        right_sum_ /= sum;
        right_ = out;
    }

    // A site of the stale stretch: reads its values and leaves them times the backward values.
    void pass_stale_site(std::size_t v) {
        double* values = stale_values(v);
        double* b = t_.products.data();
        const kernels::backward_sums sums = k_.haploid_backward(
            n_, right_, t_.right_alpha[v], t_.right_mu[v] * right_sum_, values, p_.bits(v), 1.0, 1.0, b);
        if (requests_[v].posterior) r_.weights[v] = {sums.carried[0], sums.carried[1]};
        k_.multiply(n_, values, b, values);
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    const haploid_walk_options& options_;
    const std::span<const haploid_request> requests_;
    haploid_results& r_;
    const std::size_t n_;
    const stale_stretch stale_;
    const kernels::table& k_ = kernels::active();
    anchor_store store_;
    double right_value_ = 0.0;  // forward value of the sampled state at the site to the right
    // Backward vector of the next anchor to the right, its own emission included.
    const double* right_ = nullptr;
    double right_sum_ = 0.0;
};

}  // namespace

bool reads_stale_values(const haploid_problem& problem, const haploid_walk_options& options,
                        std::span<const haploid_request> requests) {
    const stale_stretch stale(problem.n_sites, problem.checkpoint_interval);
    if (options.sample) return stale.length() > 0;
    return options.backward &&
           std::any_of(requests.begin(), requests.begin() + static_cast<std::ptrdiff_t>(stale.length()),
                       [](const haploid_request& request) { return request.posterior; });
}

double haploid_forward(const haploid_problem& problem, haploid_tables& tables) {
    if (problem.n_states == 0 || problem.n_sites == 0) {  // no state explains anything
        tables.anchors.assign(1, {});
        tables.made_for.gap_version = 0;
        tables.sees_right = false;
        tables.stride = 0;
        tables.alpha.assign(problem.n_sites, 0.0);
        tables.mu.assign(problem.n_sites, 0.0);
        return problem.n_sites > 0 ? std::log10(0.0) : 0.0;
    }
    return haploid_forward_sweep(problem, tables).run();
}

void haploid_walk(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                  std::span<const haploid_request> requests, haploid_results& results) {
    results.state.assign(options.sample ? problem.n_sites : 0, no_state);
    results.allele.resize(problem.n_sites);
    results.weights.resize(problem.n_sites);
    results.stay_count = results.switch_count = 0;
    backward_walk(problem, tables, options, requests, results).run();
}

void haploid_state_posteriors(const haploid_problem& problem, haploid_tables& tables, bool backward,
                              std::vector<double>& posteriors) {
    const std::size_t K = problem.n_states;
    posteriors.assign(problem.n_sites * K, 0.0);
    std::vector<double> b(K, 1.0);
    anchor_store store(problem, tables);
    std::size_t i = tables.anchors.size() - 1;  // the anchor of the site in hand
    for (std::size_t v = problem.n_sites; v-- > 0;) {
        while (i > 0 && tables.anchors[i].site > v) --i;
        if (v + 1 < problem.n_sites && backward) {
            double sum = 0.0;
            for (std::size_t k = 0; k < K; ++k) {
                b[k] *= problem.emission[problem.allele(v + 1, k)][problem.observed[v + 1]];
                sum += b[k];
            }
            for (double& value : b) value = value / sum * problem.gap[v + 1].diff + problem.gap[v + 1].move;
        }
        const double* left = store.vector(i);
        const double alpha = tables.alpha[v], beta = tables.mu[v] * tables.anchors[i].sum;
        for (std::size_t k = 0; k < K; ++k) posteriors[v * K + k] = (alpha * left[k] + beta) * b[k];
    }
}

std::uint8_t haploid_allele_draw(const haploid_problem& problem, std::size_t v, std::size_t state) {
    return Random::RNG->Next() > problem.emission[problem.allele(v, state)][0] ? 1 : 0;
}
