#include "inference/haploid/observed_sites.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "inference/haploid/haploid_draws.h"
#include "inference/kernels/kernels.h"

namespace {

constexpr std::size_t keep_every = haploid_tables::keep_every;

double* kept_vector(haploid_tables& tables, std::size_t anchor) {
    return tables.vectors.data() + anchor / keep_every * tables.stride;
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

// What stands between a vector and a site some gaps away, all of them without emissions: alpha times the vector, plus
// mu times its sum, of sum growth times its sum.
struct distant {
    double alpha = 1.0, mu = 0.0, growth = 1.0;
    void pass(const haploid_gap& gap, double n_states) {
        alpha *= gap.diff;
        mu = mu * gap.diff + growth * gap.move;
        growth *= gap.diff + n_states * gap.move;
    }
};

// Without a mutation rate, as for a single state, a missing observation has no chance either.
bool missing_is_neutral(const haploid_problem& problem) {
    return problem.emission[0][unobserved] == 1.0 && problem.emission[1][unobserved] == 1.0;
}

// Whether anchors and coefficients of the sweep before serve again.
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

// Lists the anchors, with what does not depend on the states' alleles. fill(i) fills an anchor, or does nothing;
// is_small(growth) tells whether the sum of the last anchor times growth asks for another anchor.
template <typename Fill, typename IsSmall>
void list_anchors(const haploid_problem& p, haploid_tables& t, const Fill& fill, const IsSmall& is_small) {
    const auto n_states = static_cast<double>(p.n_states);
    const bool neutral = missing_is_neutral(p);
    t.anchors.assign(1, {0, 0.0, 0.0, n_states, 1.0, 1.0, 1.0});
    t.alpha.resize(p.n_sites);
    t.mu.resize(p.n_sites);
    t.sees_right = false;
    t.made_for = {p.gap, p.gap_version, p.n_states, std::vector<std::uint8_t>(p.n_sites)};
    distant here{1.0 / n_states, 0.0, 1.0 / n_states};
    for (std::size_t v = 0; v < p.n_sites; ++v) {
        if (v > 0) here.pass(p.gap[v], n_states);
        const bool observed = p.observed[v] != unobserved || !neutral;
        t.made_for.has_observation[v] = observed ? 1 : 0;
        if (observed || (v > 0 && is_small(here.growth))) {
            if (!observed) t.made_for.gap_version = 0;  // not for another sweep
            t.anchors.push_back({v, here.alpha, here.mu, 0.0, 1.0, 1.0, 1.0});
            here = {};
            fill(t.anchors.size() - 1);
            if (!(t.anchors.back().scale > 0.0)) {
                // No state explains the data: all values are undefined, here and further right.
                here.growth = std::numeric_limits<double>::quiet_NaN();
                t.made_for.gap_version = 0;
            }
        }
        t.alpha[v] = here.alpha;
        t.mu[v] = here.mu;
        haploid_tables::anchor& anchor = t.anchors.back();
        anchor.growth = here.growth;
        anchor.least_growth = std::min(anchor.least_growth, here.growth);
    }
}

class anchored_forward {
  public:
    anchored_forward(const haploid_problem& problem, haploid_tables& tables)
        : p_(problem), t_(tables), K_(problem.n_states) {
        t_.stride = kernels::haploid_padded(K_);
        ensure_size(t_.block, (keep_every - 1) * t_.stride);
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
        ensure_size(t_.vectors, (i / keep_every + 1) * t_.stride);
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
    double* vector(std::size_t i) { return i % keep_every == 0 ? kept_vector(t_, i) : t_.work.data(); }

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
        if (anchor != anchor_) {
            anchor_ = anchor;
            vector_ = find(anchor);
        }
        return vector_;
    }

  private:
    const double* find(std::size_t anchor) {
        const std::size_t past = anchor % keep_every;
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
    std::size_t anchor_ = static_cast<std::size_t>(-1);  // asked for last
    const double* vector_ = nullptr;
};

// The walk from right to left over tables that anchors describe: one anchor after the other, each after the stretch of
// sites between it and the next.
class anchored_walk {
  public:
    anchored_walk(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                  const std::vector<haploid_request>& requests, haploid_results& results)
        : p_(problem),
          t_(tables),
          options_(options),
          requests_(requests),
          r_(results),
          n_(problem.n_states),
          store_(problem, tables) {}

    void run() {
        right_ = store_.vector(0);
        right_sum_ = static_cast<double>(n_);
        if (options_.backward) look_right(p_, t_);
        std::size_t end = p_.n_sites;
        for (std::size_t i = t_.anchors.size(); i-- > 0;) {
            const std::size_t site = t_.anchors[i].site, first = i == 0 ? 0 : site + 1;
            if (options_.sample) {
                for (std::size_t v = end; v-- > site;) draw(v, i);
            }
            if (options_.backward) {
                pass_stretch(i, first, end);
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
        const double* left = store_.vector(i);
        const double alpha = t_.alpha[v], beta = t_.mu[v] * t_.anchors[i].sum;
        const auto value = [=](std::size_t k) { return alpha * left[k] + beta; };
        const bool before_anchor = i + 1 < t_.anchors.size() && t_.anchors[i + 1].site == v + 1;
        const double right_scale = before_anchor ? t_.anchors[i + 1].scale : 1.0;
        const int k = v + 1 == p_.n_sites
                          ? draw_first_state(p_, value)
                          : draw_next_state(p_, v, r_.state[v + 1], right_value_, right_scale, value, r_);
        r_.state[v] = k;
        if (k >= 0) right_value_ = value(static_cast<std::size_t>(k));
        if (!options_.alleles_after_states) draw_allele(v);
    }

    void draw_allele(std::size_t v) {
        if (requests_[v].draw_allele) r_.allele[v] = haploid_allele_draw(p_, v, r_.state[v]);
    }

    // The sites of anchor i from first to before end: reports the posteriors that are wanted.
    void pass_stretch(std::size_t i, std::size_t first, std::size_t end) {
        while (first < end && !requests_[end - 1].posterior) --end;
        while (first < end && !requests_[first].posterior) ++first;
        if (first < end) report_posteriors(i, first, end);
    }

    // Posterior weights at the sites from first to before end, of anchor i.
    void report_posteriors(std::size_t i, std::size_t first, std::size_t end) {
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
        double* out = right_ == t_.right.data() ? t_.right_new.data() : t_.right.data();
        const double alpha = t_.right_alpha[v], beta = t_.right_mu[v] * right_sum_;
        const double m0 = p_.emission[0][seen], m1 = p_.emission[1][seen];
        if (requests_[v].posterior) {
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

    const haploid_problem& p_;
    haploid_tables& t_;
    const haploid_walk_options& options_;
    const std::vector<haploid_request>& requests_;
    haploid_results& r_;
    const std::size_t n_;
    const kernels::table& k_ = kernels::active();
    anchor_store store_;
    double right_value_ = 0.0;  // forward value of the sampled state at the site to the right
    // Backward vector of the next anchor to the right, its own emission included.
    const double* right_ = nullptr;
    double right_sum_ = 0.0;
};

}  // namespace

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

double haploid_forward_anchored(const haploid_problem& problem, haploid_tables& tables) {
    if (problem.n_states == 0 || problem.n_sites == 0) {  // no state explains anything
        tables.anchors.assign(1, {});
        tables.made_for.gap_version = 0;
        tables.sees_right = false;
        tables.alpha.assign(problem.n_sites, 0.0);
        tables.mu.assign(problem.n_sites, 0.0);
        return problem.n_sites > 0 ? std::log10(0.0) : 0.0;
    }
    return anchored_forward(problem, tables).run();
}

void haploid_walk_anchored(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                           const std::vector<haploid_request>& requests, haploid_results& results) {
    anchored_walk(problem, tables, options, requests, results).run();
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
                b[k] *= problem.emission[static_cast<std::size_t>(problem.allele(v + 1, k))][problem.observed[v + 1]];
                sum += b[k];
            }
            for (double& value : b) value = value / sum * problem.gap[v + 1].diff + problem.gap[v + 1].move;
        }
        const double* left = store.vector(i);
        const double alpha = tables.alpha[v], beta = tables.mu[v] * tables.anchors[i].sum;
        for (std::size_t k = 0; k < K; ++k) posteriors[v * K + k] = (alpha * left[k] + beta) * b[k];
    }
}
