#include "inference/diploid.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "inference/block_walk.h"
#include "inference/haploid.h"
#include "inference/kernels/kernels.h"
#include "random/random.h"

namespace {

std::size_t table_size(const pair_problem& p) {
    return p.ordered ? p.n_states * kernels::padded(p.n_states) : kernels::triangle_size(p.n_states);
}

std::array<double, 3> by_sum(const std::array<double, 4>& e) {
    return {e[0], e[1], e[3]};
}

void size_tables(const pair_problem& p, pair_tables& t) {
    const std::size_t K8 = kernels::padded(p.n_states);
    t.table_size = table_size(p);
    for (aligned_buffer* vector : {&t.row, &t.row_next, &t.diag, &t.diag_next, &t.shared}) ensure_size(*vector, K8);
    ensure_size(t.work, t.table_size);
    t.scale.assign(p.n_sites, 1.0);
    t.kept_row.assign(p.n_sites, 0);
    std::size_t n_kept = p.n_sites;
    if (p.checkpoint != nullptr) {
        n_kept = static_cast<std::size_t>(std::count(p.checkpoint->begin(), p.checkpoint->end(), true));
        ensure_size(t.local, std::max<std::size_t>(p.interval, 1) * t.table_size);
    }
    ensure_size(t.tables, n_kept * t.table_size);
}

// One forward sweep: the sums that belong to the table entered last stand in row and diag.
class forward_sweep {
  public:
    forward_sweep(const pair_problem& p, pair_tables& t) : p_(p), t_(t), K_(p.n_states) {}

    // The first visited site: every ordered pair has the same chance.
    void start(double* out) {
        std::fill_n(out, t_.table_size, 0.0);
        for (aligned_buffer* vector : {&t_.shared, &t_.diag}) std::fill(vector->begin(), vector->end(), 0.0);
        const auto n_pairs = static_cast<double>(K_ * K_);
        enter(0, out, 0.0, (p_.ordered ? 1.0 : 2.0) / n_pairs, out);
        scale_ = 1.0;
        sum_ = entered_;
    }

    void step(std::size_t v, const double* from, double* out) {
        const diploid_gap& gap = p_.gap[v];
        for (std::size_t k = 0; k < K_; ++k) {
            t_.shared[k] = gap.one_moves * (p_.ordered ? t_.row[k] : t_.row[k] + t_.diag[k]);
        }
        enter(v, from, gap.both_stay, (p_.ordered ? 1.0 : 2.0) * gap.both_move * sum_, out);
        scale_ = 1.0;
        sum_ = entered_;
        if (entered_ >= rescale_below) return;
        scale_ = entered_;
        kernels::active().divide(t_.table_size, entered_, out);
        kernels::active().divide(K_, entered_, t_.row.data());
        kernels::active().divide(K_, entered_, t_.diag.data());
        sum_ = 1.0;
    }

    // Takes up a kept table: sums as the table stands.
    void resume(const double* table) {
        std::fill(t_.row.begin(), t_.row.end(), 0.0);
        sum_ = 0.0;
        for (std::size_t a = 0; a < K_; ++a) {
            const double* values = table + kernels::triangle_row(a);
            for (std::size_t b = 0; b < a; ++b) {
                t_.row[a] += values[b];
                t_.row[b] += values[b];
                sum_ += values[b];
            }
            t_.diag[a] = values[a];
            t_.row[a] += values[a];
            sum_ += values[a];
        }
    }

    double scale() const { return scale_; }
    double sum() const { return sum_; }

  private:
    void enter(std::size_t v, const double* from, double t0, double c, double* out) {
        const kernels::table& k = kernels::active();
        if (p_.ordered) {
            entered_ = k.ordered_forward(K_, from, t_.shared.data(), t0, c, p_.bits(v), p_.emission[v].data(), out,
                                         t_.row_next.data());
        } else {
            entered_ = k.diploid_forward(K_, from, t_.diag.data(), t_.shared.data(), t0, c, p_.bits(v),
                                         by_sum(p_.emission[v]).data(), out, t_.row_next.data(), t_.diag_next.data());
            std::swap(t_.diag, t_.diag_next);
        }
        std::swap(t_.row, t_.row_next);
    }

    const pair_problem& p_;
    pair_tables& t_;
    const std::size_t K_;
    double entered_ = 0.0;
    double scale_ = 1.0;
    double sum_ = 0.0;
};

class pair_walker {
  public:
    pair_walker(const pair_problem& problem, pair_tables& tables, const pair_walk_options& options,
                const std::vector<pair_request>& requests, pair_results& results)
        : p_(problem),
          t_(tables),
          options_(options),
          requests_(requests),
          r_(results),
          K_(static_cast<int>(p_.n_states)) {}

    void run() {
        static const std::vector<bool> nothing(1, true);
        block_walk blocks(p_.checkpoint != nullptr ? *p_.checkpoint : nothing);
        for (std::size_t v = p_.n_sites; v-- > 0;) {
            if (p_.checkpoint != nullptr && blocks.enter(v)) rebuild(blocks.first(), blocks.n_local());
            const bool kept = p_.checkpoint == nullptr || blocks.is_kept(v);
            double* f = kept ? t_.tables.data() + t_.kept_row[v] * t_.table_size
                             : t_.local.data() + blocks.local_index() * t_.table_size;
            if (options_.sample) {
                draw_states(v, f);
                if (!options_.alleles_after_states) draw_alleles(v);
            }
            if (options_.backward) pass_back(v, f, !kept || options_.keep_products);
        }
        if (options_.sample && options_.alleles_after_states) {
            for (std::size_t v = 0; v < p_.n_sites; ++v) draw_alleles(v);
        }
    }

  private:
    void rebuild(std::size_t first, std::size_t n) {
        forward_sweep forward(p_, t_);
        const double* from = t_.tables.data() + t_.kept_row[first] * t_.table_size;
        forward.resume(from);
        for (std::size_t j = 0; j < n; ++j) {
            double* out = t_.local.data() + j * t_.table_size;
            forward.step(first + 1 + j, from, out);
            t_.scale[first + 1 + j] = forward.scale();
            from = out;
        }
    }

    void draw_states(std::size_t v, const double* f) {
        if (v + 1 == p_.n_sites) {
            const auto [a, b] = first_pair(f);
            k1_ = a;
            k2_ = b;
            r_.state[v] = {a, b};
        } else {
            next_pair(v, f);
            r_.state[v] = p_.ordered ? std::array<int, 2>{k1_, k2_} : ordered_pair(v);
        }
        if (K_ > 0) right_value_ = f[pair_place(p_, k1_, k2_)];
    }

    int last_of_row(int a) const { return p_.ordered ? K_ - 1 : a; }

    std::array<int, 2> first_pair(const double* f) const {
        const double u = Random::RNG->Next();
        double z = 0.0;
        for (int a = 0; a < K_; ++a) {
            for (int b = 0; b <= last_of_row(a); ++b) z += f[pair_place(p_, a, b)];
        }
        double sum = 0.0;
        for (int a = 0; a < K_; ++a) {
            for (int b = 0; b <= last_of_row(a); ++b) {
                sum += f[pair_place(p_, a, b)] / z;
                if (u <= sum) return {a, b};
            }
        }
        return {K_ - 1, K_ - 1};
    }

    void next_pair(std::size_t v, const double* f) {
        const double u = Random::RNG->Next();
        const diploid_gap& gap = p_.gap[v + 1];
        if (K_ == 0) {
            ++r_.switch_count;
            return;
        }
        const double e = p_.pair_emission(v + 1, k1_, k2_);
        const double den = t_.scale[v + 1] * right_value_ / e;
        const double stay = p_.ordered || k1_ == k2_ ? gap.stay_hom : gap.stay_het;
        double sum = f[pair_place(p_, k1_, k2_)] * stay / den;
        if (sum >= u) {
            ++r_.stay_count;
            return;
        }
        ++r_.switch_count;
        switch_pair(gap, f, u, sum, den);
    }

    // Chance of going from the pair in hand to (a, b), by whether b differs from k1 and from k2.
    std::array<std::array<double, 2>, 2> row_chances(const diploid_gap& gap, int a) const {
        std::array<std::array<double, 2>, 2> chance{};
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

    void switch_pair(const diploid_gap& gap, const double* f, double u, double sum, double den) {
        for (int a = 0; a < K_; ++a) {
            const auto chance = row_chances(gap, a);
            const double* row = f + pair_place(p_, a, 0);
            for (int b = 0; b <= last_of_row(a); ++b) {
                if (a == k1_ && b == k2_) continue;
                sum += row[b] * chance[b != k1_ ? 1 : 0][b != k2_ ? 1 : 0] / den;
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
    std::array<int, 2> ordered_pair(std::size_t v) const {
        const auto [x, y] = r_.state[v + 1];
        double p = 0.5;
        if (k1_ != k2_ && x != y) {
            const diploid_gap& gap = p_.gap[v + 1];
            const double w1 = gap.hap(x != k1_) * gap.hap(y != k2_);
            const double w2 = gap.hap(y != k1_) * gap.hap(x != k2_);
            p = w1 / (w1 + w2);
        }
        const double u = Random::RNG->Next();
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

    void pass_back(std::size_t v, double* f, bool keep_product) {
        if (v + 1 == p_.n_sites) {
            start_backward();
        } else {
            step_backward(v);
        }
        double* b = t_.backward.data();
        if (requests_[v].posterior) report_posterior(v, f, b);
        if (keep_product) {
            for (std::size_t i = 0; i < t_.table_size; ++i) f[i] *= b[i];
        }
    }

    void start_backward() {
        ensure_size(t_.backward, t_.table_size);
        std::fill_n(t_.backward.begin(), t_.table_size, 0.0);
        for (int a = 0; a < K_; ++a) {
            for (int b = 0; b <= last_of_row(a); ++b) t_.backward[pair_place(p_, a, b)] = 1.0;
        }
    }

    void step_backward(std::size_t v) {
        const kernels::table& k = kernels::active();
        double* b = t_.backward.data();
        const std::size_t K = p_.n_states;
        double sum =
            p_.ordered
                ? k.ordered_backward_emit(K, p_.bits(v + 1), p_.emission[v + 1].data(), b, t_.row.data())
                : k.diploid_backward_emit(K, p_.bits(v + 1), by_sum(p_.emission[v + 1]).data(), b, t_.row.data());
        if (!(sum >= rescale_below)) {
            k.divide(K, sum, t_.row.data());
            k.divide(t_.table_size, sum, b);
            sum = 1.0;
        }
        const diploid_gap& gap = p_.gap[v + 1];
        for (std::size_t a = 0; a < K; ++a) t_.shared[a] = gap.one_moves * t_.row[a];
        if (p_.ordered) {
            k.ordered_backward_move(K, t_.shared.data(), gap.both_stay, gap.both_move * sum, b);
        } else {
            k.diploid_backward_move(K, t_.shared.data(), gap.both_stay, gap.both_move * sum, b);
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
    const std::vector<pair_request>& requests_;
    pair_results& r_;
    const int K_;
    int k1_ = -1, k2_ = -1;  // the pair in table order
    double right_value_ = 0.0;
};

}  // namespace

std::size_t pair_place(const pair_problem& problem, int a, int b) {
    const auto row = static_cast<std::size_t>(a);
    return (problem.ordered ? row * kernels::padded(problem.n_states) : kernels::triangle_row(row)) +
           static_cast<std::size_t>(b);
}

double pair_forward(const pair_problem& problem, pair_tables& tables) {
    size_tables(problem, tables);
    forward_sweep forward(problem, tables);
    double log10_likelihood = 0.0;
    const double* from = nullptr;
    std::size_t n_kept = 0;
    for (std::size_t v = 0; v < problem.n_sites; ++v) {
        const bool keep = problem.checkpoint == nullptr || (*problem.checkpoint)[v];
        double* out = keep ? tables.tables.data() + n_kept * tables.table_size : tables.work.data();
        if (keep) tables.kept_row[v] = n_kept++;
        if (v == 0) {
            forward.start(out);
        } else {
            forward.step(v, from, out);
        }
        tables.scale[v] = forward.scale();
        if (forward.scale() != 1.0) log10_likelihood += std::log10(forward.scale());
        from = out;
    }
    const bool rest = problem.n_sites > 0 && std::abs(forward.sum() - 1.0) > 1e-10;
    return rest ? log10_likelihood + std::log10(forward.sum()) : log10_likelihood;
}

void pair_walk(const pair_problem& problem, pair_tables& tables, const pair_walk_options& options,
               const std::vector<pair_request>& requests, pair_results& results) {
    results.state.assign(options.sample ? problem.n_sites : 0, {-1, -1});
    results.alleles.resize(problem.n_sites);
    results.weights.resize(problem.n_sites);
    results.stay_count = results.switch_count = 0;
    if (problem.n_sites > 0) pair_walker(problem, tables, options, requests, results).run();
}
