#include "inference/pairs/pair_model.h"

#include <algorithm>
#include <cmath>

#include "inference/kernels/kernels.h"
#include "inference/pairs/pair_store.h"
#include "inference/pairs/phase_paths.h"
#include "random/random.h"

namespace {

// One forward sweep, block by block.
class pair_forward_sweep {
  public:
    pair_forward_sweep(const pair_problem& p, pair_tables& t) : p_(p), t_(t) {}

    // Returns the log10 likelihood.
    double run() {
        if (p_.n_sites == 0) return 0.0;
        start();
        for (std::size_t v = 0; v + 1 < p_.n_sites; v = t_.blocks.back().last) {
            t_.blocks.push_back(next_block(p_, t_, v));
            if (t_.blocks.back().by_class) {
                pass_by_class(t_.blocks.back());
            } else {
                pass(t_.blocks.back());
            }
        }
        return std::abs(sum_ - 1.0) > 1e-10 ? log10_likelihood_ + std::log10(sum_) : log10_likelihood_;
    }

  private:
    double ways() const { return p_.ordered ? 1.0 : 2.0; }

    void scale_by(double factor, const double* from, double* to) const {
        for (std::size_t k = 0; k < t_.stride; ++k) to[k] = factor * from[k];
    }

    // The first visited site: every ordered pair has the same chance.
    void start() {
        const auto n_states = static_cast<double>(p_.n_states);
        double* out = table_of(0);
        std::fill_n(out, t_.table_size, 0.0);
        std::fill_n(t_.shared.data(), t_.stride, 0.0);
        t_.constant[0] = ways() / (n_states * n_states);
        sum_ = enter_table(p_, t_, 0, out, out);
    }

    // Where the table of a site is written.
    double* table_of(std::size_t v) { return keeps_table(t_, v) ? kept_table(t_, v) : t_.work.data(); }

    void lead_into(std::size_t v) {
        scale_by(p_.gap[v].one_moves, t_.row.data(), t_.shared.data() + v * t_.stride);
        t_.constant[v] = ways() * p_.gap[v].both_move * sum_;
    }

    void pass(const pair_block& block) {
        for (std::size_t v = block.first + 1; v <= block.last; ++v) {
            lead_into(v);
            double* out = table_of(v);
            sum_ = enter_table(p_, t_, v, table_of(v - 1), out);
            if (!(sum_ >= rescale_below)) rescale(v, out);
        }
    }

    // Ends before its time where the values must be scaled.
    void pass_by_class(pair_block& block) {
        t_.by_class.start(t_.classes, table_of(block.first));
        std::size_t v = block.first;
        do {
            lead_into(++v);
            sum_ = t_.by_class.step(class_site_of(p_, v), terms_into(p_, t_, v), t_.row.data());
        } while (v < block.last && sum_ >= rescale_below);
        block.last = v;
        keep_table(t_, v);
        t_.by_class.write_table(table_of(block.first), table_of(v));
        if (!(sum_ >= rescale_below)) rescale(v, table_of(v));
    }

    void rescale(std::size_t v, double* table) {
        const kernels::table& k = kernels::active();
        t_.scale[v] = sum_;
        log10_likelihood_ += std::log10(sum_);
        k.divide(p_.n_states, sum_, t_.row.data());
        divide_table(p_, t_, v, sum_, table);
        sum_ = 1.0;
    }

    const pair_problem& p_;
    pair_tables& t_;
    double sum_ = 0.0;
    double log10_likelihood_ = 0.0;
};

class pair_walker {
  public:
    pair_walker(const pair_problem& problem, pair_tables& tables, const pair_walk_options& options,
                std::span<const pair_request> requests, pair_results& results)
        : p_(problem),
          t_(tables),
          options_(options),
          requests_(requests),
          r_(results),
          store_(problem, tables, options.backward || options.keep_products),
          K_(p_.n_states) {}

    void run() {
        for (std::size_t v = p_.n_sites; v-- > 0;) {
            store_.enter(v);
            if (options_.sample) {
                draw_states(v);
                if (!options_.alleles_after_states) draw_alleles(v);
            }
            if (options_.backward) pass_back(v);
        }
        if (options_.sample && options_.alleles_after_states) {
            for (std::size_t v = 0; v < p_.n_sites; ++v) draw_alleles(v);
        }
    }

  private:
    void draw_states(std::size_t v) {
        if (v + 1 == p_.n_sites) {
            const auto [a, b] = first_pair(store_.table());
            k1_ = a;
            k2_ = b;
            r_.state[v] = {a, b};
        } else {
            next_pair(v);
            r_.state[v] = p_.ordered ? state_pair{k1_, k2_} : ordered_pair(v);
        }
        if (K_ > 0) right_value_ = store_.value(k1_, k2_);
    }

    std::size_t last_of_row(std::size_t a) const { return p_.ordered ? K_ - 1 : a; }

    // Sum of a row; what pads it is zero.
    double sum_of_row(const double* row, std::size_t a) const {
        return kernels::active().sum_of(last_of_row(a) + 1, row);
    }

    // Values of the table at a site, had from the table itself or row by row.
    struct table_values {
        const pair_walker& walker;
        const double* f;
        double row_sum(std::size_t a) const { return walker.sum_of_row(row(a), a); }
        double with_k1(std::size_t a) const { return row(a)[walker.k1_]; }
        double with_k2(std::size_t a) const { return row(a)[walker.k2_]; }
        const double* row(std::size_t a) const { return f + pair_place(walker.p_, a, 0); }
    };
    struct row_values {
        pair_store& store;
        const double* sums;
        const double* k1_row;
        const double* k2_row;
        double row_sum(std::size_t a) const { return sums[a]; }
        double with_k1(std::size_t a) const { return k1_row[a]; }
        double with_k2(std::size_t a) const { return k2_row[a]; }
        const double* row(std::size_t a) const { return store.row(a, 2); }
    };

    state_pair first_pair(const double* f) const {
        const double u = Random::RNG->Next();
        double z = 0.0;
        const table_values values{*this, f};
        for (std::size_t a = 0; a < K_; ++a) z += values.row_sum(a);
        double sum = 0.0;
        for (std::size_t a = 0; a < K_; ++a) {
            const double after_row = sum + values.row_sum(a) / z;
            if (after_row < u) {
                sum = after_row;
                continue;
            }
            const double* row = values.row(a);
            for (std::size_t b = 0; b <= last_of_row(a); ++b) {
                sum += row[b] / z;
                if (u <= sum) return {a, b};
            }
        }
        const std::size_t last = K_ > 0 ? K_ - 1 : no_state;
        return {last, last};
    }

    void next_pair(std::size_t v) {
        const double u = Random::RNG->Next();
        const diploid_gap& gap = p_.gap[v + 1];
        if (K_ == 0) {
            ++r_.switch_count;
            return;
        }
        const double e = p_.pair_emission(v + 1, k1_, k2_);
        const double den = t_.scale[v + 1] * right_value_ / e;
        const double stay = p_.ordered || k1_ == k2_ ? gap.stay_hom : gap.stay_het;
        double sum = store_.value(k1_, k2_) * stay / den;
        if (sum >= u) {
            ++r_.stay_count;
            return;
        }
        ++r_.switch_count;
        if (store_.has_rows() && den > 0.0) {  // undefined values would have every row looked at
            const double* k1_row = store_.row(k1_, 0);
            const double* k2_row = k1_ == k2_ ? k1_row : store_.row(k2_, 1);
            switch_pair(gap, row_values{store_, store_.row_sums(), k1_row, k2_row}, u, sum, den);
        } else {
            switch_pair(gap, table_values{*this, store_.table()}, u, sum, den);
        }
    }

    using chance_table = std::array<std::array<double, 2>, 2>;

    // Chance of going from the pair in hand to (a, b), by whether b differs from k1 and from k2.
    chance_table row_chances(const diploid_gap& gap, std::size_t a) const {
        chance_table chance{};
        for (const bool b_not_k1 : {false, true}) {
            for (const bool b_not_k2 : {false, true}) {
                double& c = chance[b_not_k1 ? 1 : 0][b_not_k2 ? 1 : 0];
                if (p_.ordered || k1_ == k2_) {
                    c = gap.hom(a != k1_, b_not_k2);
                } else {
                    c = gap.het(a != k1_, b_not_k2, a != k2_, b_not_k1);
                }
            }
        }
        return chance;
    }

    // Weight of the pair (a, b) of forward value f as the next one; the pair in hand has had its turn.
    double weight(double f, const chance_table& chance, std::size_t a, std::size_t b) const {
        return a == k1_ && b == k2_ ? 0.0 : f * chance[b != k1_ ? 1 : 0][b != k2_ ? 1 : 0];
    }

    template <typename Values>
    double weight_of_row(const Values& values, const chance_table& chance, std::size_t a) const {
        double sum = values.row_sum(a) * chance[1][1];
        if (k1_ <= last_of_row(a)) {
            const double f = values.with_k1(a);
            sum += weight(f, chance, a, k1_) - f * chance[1][1];
        }
        if (k1_ != k2_ && k2_ <= last_of_row(a)) {
            const double f = values.with_k2(a);
            sum += weight(f, chance, a, k2_) - f * chance[1][1];
        }
        return sum;
    }

    template <typename Values>
    void switch_pair(const diploid_gap& gap, const Values& values, double u, double sum, double den) {
        for (std::size_t a = 0; a < K_; ++a) {
            const chance_table chance = row_chances(gap, a);
            const double after_row = sum + weight_of_row(values, chance, a) / den;
            if (after_row < u) {
                sum = after_row;
                continue;
            }
            const double* row = values.row(a);
            for (std::size_t b = 0; b <= last_of_row(a); ++b) {
                if (a == k1_ && b == k2_) continue;
                sum += weight(row[b], chance, a, b) / den;
                if (u <= sum) {
                    k1_ = a;
                    k2_ = b;
                    return;
                }
            }
        }
        k1_ = k2_ = K_ - 1;
    }

    // Which of the pair's states is the first haplotype's: by the transitions to the ordered pair on the right.
    state_pair ordered_pair(std::size_t v) const {
        const double p = chance_of_order(p_.gap[v + 1], {k1_, k2_}, r_.state[v + 1]);
        const double u = Random::RNG->Next();
        r_.order_kept[v] = u > p ? 1.0 - 2.0 * p : 2.0 * p - 1.0;
        if (u > p) return {k2_, k1_};
        return {k1_, k2_};
    }

    void draw_alleles(std::size_t v) {
        if (!requests_[v].draw_alleles) return;
        const std::size_t x = p_.allele(v, r_.state[v][0]);
        const std::size_t y = p_.allele(v, r_.state[v][1]);
        const double u = Random::RNG->Next();
        const double p00 = p_.pr_00[x][y], p01 = p_.pr_01[x][y], p10 = p_.pr_10[x][y];
        if (requests_[v].heterozygous) {
            r_.first_is_one[v] = first_is_one(p_, v, r_.state[v]);
            r_.alleles[v] =
                u > p01 / (p01 + p10) ? std::array<std::uint8_t, 2>{1, 0} : std::array<std::uint8_t, 2>{0, 1};
        } else if (u <= p00) {
            r_.alleles[v] = {0, 0};
        } else if (u <= p00 + p01) {
            r_.alleles[v] = {0, 1};
        } else if (u <= p00 + p01 + p10) {
            r_.alleles[v] = {1, 0};
        } else {
            r_.alleles[v] = {1, 1};
        }
    }

    void pass_back(std::size_t v) {
        if (v + 1 == p_.n_sites) {
            start_backward();
        } else {
            step_backward(v);
        }
        const bool keep_product = options_.keep_products || store_.is_stale();
        if (!keep_product && !requests_[v].posterior) return;
        double* f = store_.table();
        const double* b = t_.backward.data();
        if (requests_[v].posterior) report_posterior(v, f, b);
        if (keep_product) {
            for (std::size_t i = 0; i < t_.table_size; ++i) f[i] *= b[i];
        }
    }

    void start_backward() {
        ensure_size(t_.backward, t_.table_size);
        ensure_size(t_.backward_shared, t_.stride);
        std::fill_n(t_.backward.begin(), t_.table_size, 0.0);
        for (std::size_t a = 0; a < K_; ++a) {
            for (std::size_t b = 0; b <= last_of_row(a); ++b) t_.backward[pair_place(p_, a, b)] = 1.0;
        }
    }

    void step_backward(std::size_t v) {
        const kernels::table& k = kernels::active();
        double* b = t_.backward.data();
        const std::size_t K = p_.n_states;
        double sum =
            p_.ordered ? k.ordered_backward_emit(K, p_.bits(v + 1), p_.emission[v + 1].data(), b, t_.row.data())
                       : k.diploid_backward_emit(K, p_.bits(v + 1), p_.emission_by_sum(v + 1).data(), b, t_.row.data());
        if (!(sum >= rescale_below)) {
            k.divide(K, sum, t_.row.data());
            k.divide(t_.table_size, sum, b);
            sum = 1.0;
        }
        const diploid_gap& gap = p_.gap[v + 1];
        double* shared = t_.backward_shared.data();
        for (std::size_t a = 0; a < t_.stride; ++a) shared[a] = a < K ? gap.one_moves * t_.row[a] : 0.0;
        if (p_.ordered) {
            k.ordered_backward_move(K, shared, gap.both_stay, gap.both_move * sum, b);
        } else {
            k.diploid_backward_move(K, shared, gap.both_stay, gap.both_move * sum, b);
        }
    }

    void report_posterior(std::size_t v, const double* f, const double* b) {
        std::array<double, 4>& weights = r_.weights[v];
        if (p_.ordered) {
            kernels::active().ordered_class_sums(p_.n_states, f, b, p_.bits(v), weights.data());
        } else {
            std::array<double, 3> sums{};
            kernels::active().diploid_class_sums(p_.n_states, f, b, p_.bits(v), sums.data());
            weights = {sums[0], sums[1], 0.0, sums[2]};
        }
    }

    const pair_problem& p_;
    pair_tables& t_;
    const pair_walk_options& options_;
    const std::span<const pair_request> requests_;
    pair_results& r_;
    pair_store store_;
    const std::size_t K_;
    std::size_t k1_ = no_state, k2_ = no_state;  // the pair in table order
    double right_value_ = 0.0;
};

}  // namespace

double pair_forward(const pair_problem& problem, pair_tables& tables) {
    size_tables(problem, tables);
    return pair_forward_sweep(problem, tables).run();
}

void pair_walk(const pair_problem& problem, pair_tables& tables, const pair_walk_options& options,
               std::span<const pair_request> requests, pair_results& results) {
    results.state.assign(options.sample ? problem.n_sites : 0, {no_state, no_state});
    results.alleles.resize(problem.n_sites);
    results.weights.resize(problem.n_sites);
    results.order_kept.assign(problem.n_sites, 1.0);
    results.first_is_one.assign(problem.n_sites, 0.0);
    results.stay_count = results.switch_count = 0;
    if (problem.n_sites > 0) pair_walker(problem, tables, options, requests, results).run();
}
