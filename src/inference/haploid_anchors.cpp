#include "inference/haploid_anchors.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "inference/haploid_draws.h"
#include "inference/kernels/kernels.h"

namespace {

using affine = haploid_tables::affine;

constexpr std::size_t keep_every = haploid_tables::keep_every;

double* kept_vector(haploid_tables& tables, std::size_t anchor) {
    return tables.vectors.data() + anchor / keep_every * tables.stride;
}

// The vector of an anchor from that of the one before; out may be from. Returns its sum before any scaling.
double enter_anchor(const haploid_problem& problem, const haploid_tables& tables, std::size_t i, const double* from,
                    double* out) {
    const haploid_tables::anchor& anchor = tables.anchors[i];
    const std::uint8_t seen = problem.observed[anchor.site];
    return kernels::active().haploid_forward(problem.n_states, from, anchor.alpha, anchor.beta,
                                             problem.bits(anchor.site), problem.emission[0][seen],
                                             problem.emission[1][seen], out);
}

class anchored_forward {
  public:
    anchored_forward(const haploid_problem& problem, haploid_tables& tables)
        : p_(problem), t_(tables), K_(problem.n_states) {
        t_.stride = kernels::padded(K_);
        std::size_t n_observed = 0;
        for (std::size_t v = 0; v < p_.n_sites; ++v) n_observed += p_.observed[v] != unobserved ? 1U : 0U;
        ensure_size(t_.vectors, (n_observed / keep_every + 1) * t_.stride);
        ensure_size(t_.block, (keep_every - 1) * t_.stride);
        for (aligned_buffer* vector : {&t_.work, &t_.right, &t_.right_new, &t_.products})
            ensure_size(*vector, t_.stride);
        // Anchor 0: ones, padded with zeros.
        std::fill_n(t_.vectors.begin(), K_, 1.0);
        std::fill_n(t_.vectors.begin() + static_cast<std::ptrdiff_t>(K_), t_.stride - K_, 0.0);
        t_.anchors.assign(1, {0, 0.0, 0.0, static_cast<double>(K_)});
        t_.at.resize(p_.n_sites);
        vector_ = t_.vectors.data();
    }

    void enter(std::size_t v) {
        affine here = move_into(v);
        const std::uint8_t seen = p_.observed[v];
        if (seen == unobserved) {
            const double neutral = p_.emission[0][unobserved];
            here.alpha *= neutral;
            here.beta *= neutral;
            here.sum *= neutral;
            if (std::isnan(here.alpha)) here.sum = here.alpha;  // no state explained a site further left
        } else {
            here = observe(v, here);
        }
        if (v > 0 && !(here.sum >= rescale_below)) rescale(here, seen != unobserved);
        t_.at[v] = here;
    }

  private:
    // The vector before the site's emission, from the site to the left; at the first site the uniform prior.
    affine move_into(std::size_t v) const {
        if (v == 0) return {1.0 / static_cast<double>(K_), 0.0, 1.0, 1.0, 0};
        const affine& left = t_.at[v - 1];
        const haploid_gap& gap = p_.gap[v];
        const double to_each = left.sum * gap.move;
        return {left.alpha * gap.diff, left.beta * gap.diff + to_each,
                left.sum * gap.diff + static_cast<double>(K_) * to_each, 1.0, left.anchor};
    }

    affine observe(std::size_t v, const affine& here) {
        const std::size_t i = t_.anchors.size();
        t_.anchors.push_back({v, here.alpha, here.beta, 0.0});
        double* out = i % keep_every == 0 ? kept_vector(t_, i) : t_.work.data();
        const double sum = enter_anchor(p_, t_, i, vector_, out);
        t_.anchors.back().sum = sum;
        vector_ = out;
        return {1.0, 0.0, sum, 1.0, i};
    }

    void rescale(affine& here, bool observed) {
        here.scale = here.sum;
        if (observed) {
            kernels::active().divide(K_, here.scale, vector_);
            t_.anchors.back().sum = 1.0;
        } else {
            here.alpha /= here.scale;
            here.beta /= here.scale;
        }
        if (!(here.scale > 0.0)) here.alpha = std::numeric_limits<double>::quiet_NaN();  // as the vector is now
        here.sum = 1.0;
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    const std::size_t K_;
    double* vector_;  // of the last anchor
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
            const double scale = t_.at[t_.anchors[first + 1 + i].site].scale;
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

// The walk from right to left over tables that anchors describe.
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
        for (std::size_t v = p_.n_sites; v-- > 0;) {
            if (options_.sample) {
                left_ = store_.vector(t_.at[v].anchor);
                draw_state(v);
                if (!options_.alleles_after_states) draw_allele(v);
            }
            if (options_.backward) pass_back(v);
        }
        if (options_.sample && options_.alleles_after_states) {
            for (std::size_t v = 0; v < p_.n_sites; ++v) draw_allele(v);
        }
    }

  private:
    // Forward value of the site in hand.
    double forward(std::size_t v, std::size_t k) const { return t_.at[v].alpha * left_[k] + t_.at[v].beta; }

    void draw_state(std::size_t v) {
        const auto value = [this, v](std::size_t k) { return forward(v, k); };
        const int k = v + 1 == p_.n_sites
                          ? draw_first_state(p_, value)
                          : draw_next_state(p_, v, r_.state[v + 1], right_value_, t_.at[v + 1].scale, value, r_);
        r_.state[v] = k;
        if (k >= 0) right_value_ = forward(v, static_cast<std::size_t>(k));
    }

    void draw_allele(std::size_t v) {
        if (requests_[v].draw_allele) r_.allele[v] = haploid_allele_draw(p_, v, r_.state[v]);
    }

    // Takes the backward vector from the right to this site, reports the posterior, and adds the site's emission.
    void pass_back(std::size_t v) {
        if (v + 1 == p_.n_sites) {
            right_ = store_.vector(0);
            right_sum_ = sum_ = static_cast<double>(n_);
            alpha_ = 1.0;
            beta_ = 0.0;
        } else {
            const haploid_gap& gap = p_.gap[v + 1];
            alpha_ *= gap.diff;
            beta_ = beta_ * gap.diff + sum_ * gap.move;
            sum_ = sum_ * gap.diff + static_cast<double>(n_) * (sum_ * gap.move);
        }
        if (p_.observed[v] == unobserved) {
            if (requests_[v].posterior) r_.weights[v] = weights_by_carriers(v);
            stay_unobserved();
        } else {
            emit_observed(v);
        }
    }

    void stay_unobserved() {
        const double neutral = p_.emission[0][unobserved];
        alpha_ *= neutral;
        beta_ *= neutral;
        sum_ *= neutral;
        if (sum_ >= rescale_below) return;
        alpha_ /= sum_;
        beta_ /= sum_;
        sum_ = 1.0;
    }

    void emit_observed(std::size_t v) {
        const std::uint8_t seen = p_.observed[v];
        double* out = right_ == t_.right.data() ? t_.right_new.data() : t_.right.data();
        const kernels::backward_sums sums =
            k_.haploid_backward(n_, right_, alpha_, beta_, store_.vector(t_.at[v].anchor), p_.bits(v),
                                p_.emission[0][seen], p_.emission[1][seen], out);
        if (requests_[v].posterior) r_.weights[v] = {sums.carried[0], sums.carried[1]};
        sum_ = sums.total;
        if (!(sum_ >= rescale_below)) {
            k_.divide(n_, sum_, out);
            sum_ = 1.0;
        }
        right_ = out;
        right_sum_ = sum_;
        alpha_ = 1.0;
        beta_ = 0.0;
        product_known_ = false;
    }

    // Posterior weights at a site without observation: sums over the states with the rarer allele, the others by
    // subtraction from all.
    allele_weights weights_by_carriers(std::size_t v) {
        const affine& f = t_.at[v];
        const double* left = store_.vector(f.anchor);
        if (!product_known_ || product_anchor_ != f.anchor) {
            product_ = k_.multiply(n_, left, right_, t_.products.data());
            product_anchor_ = f.anchor;
            product_known_ = true;
        }
        const kernels::carrier_sums rare = k_.sum_carriers(n_, p_.bits(v), left, right_, t_.products.data());
        const auto weight = [&](double fc, double sum_f, double sum_c, double n) {
            return f.alpha * alpha_ * fc + f.alpha * beta_ * sum_f + f.beta * alpha_ * sum_c + f.beta * beta_ * n;
        };
        const double carried = weight(rare.product, rare.forward, rare.backward, static_cast<double>(rare.n));
        const double all = weight(product_, t_.anchors[f.anchor].sum, right_sum_, static_cast<double>(n_));
        return rare.ones ? allele_weights{all - carried, carried} : allele_weights{carried, all - carried};
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    const haploid_walk_options& options_;
    const std::vector<haploid_request>& requests_;
    haploid_results& r_;
    const std::size_t n_;
    const kernels::table& k_ = kernels::active();
    anchor_store store_;
    const double* left_ = nullptr;  // vector of the anchor of the site in hand
    double right_value_ = 0.0;      // forward value of the sampled state at the site to the right
    // The backward vector of the site in hand is alpha right + beta; right belongs to the next observed site.
    const double* right_ = nullptr;
    double right_sum_ = 0.0;
    double alpha_ = 1.0, beta_ = 0.0;
    double sum_ = 0.0;  // of the backward vector times the site's emission
    double product_ = 0.0;
    std::size_t product_anchor_ = 0;
    bool product_known_ = false;
};

}  // namespace

double haploid_forward_anchored(const haploid_problem& problem, haploid_tables& tables) {
    if (problem.n_states == 0) {  // no state explains anything
        tables.at.assign(problem.n_sites, affine{});
        tables.anchors.assign(1, {});
        for (std::size_t v = 1; v < problem.n_sites; ++v) tables.at[v].scale = 0.0;
        return problem.n_sites > 0 ? std::log10(0.0) : 0.0;
    }
    if (problem.n_sites == 0) return 0.0;
    anchored_forward forward(problem, tables);
    double log10_likelihood = 0.0;
    for (std::size_t v = 0; v < problem.n_sites; ++v) {
        forward.enter(v);
        if (tables.at[v].scale != 1.0) log10_likelihood += std::log10(tables.at[v].scale);
    }
    const double sum = tables.at.back().sum;
    return std::abs(sum - 1.0) > 1e-10 ? log10_likelihood + std::log10(sum) : log10_likelihood;
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
    for (std::size_t v = problem.n_sites; v-- > 0;) {
        if (v + 1 < problem.n_sites && backward) {
            double sum = 0.0;
            for (std::size_t k = 0; k < K; ++k) {
                b[k] *= problem.emission[static_cast<std::size_t>(problem.allele(v + 1, k))][problem.observed[v + 1]];
                sum += b[k];
            }
            for (double& value : b) value = value / sum * problem.gap[v + 1].diff + problem.gap[v + 1].move;
        }
        const affine& f = tables.at[v];
        const double* left = store.vector(f.anchor);
        for (std::size_t k = 0; k < K; ++k) posteriors[v * K + k] = (f.alpha * left[k] + f.beta) * b[k];
    }
}
