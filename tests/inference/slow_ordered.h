#pragma once

// The model of ordered pairs of haplotypes written out plainly: one full table a site, every step as the recursion
// reads. Its one vector of sums holds rows and columns together, so that it is no exact forward recursion; the fast
// sweep must agree with it all the same.

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "inference/slow_diploid.h"
#include "random/random.h"

namespace slow {

class ordered_model {
  public:
    int K = 0;
    allele_table pr_00{}, pr_01{}, pr_10{};
    std::vector<pair_site> sites;
    std::size_t stay_count = 0, switch_count = 0;

    double emission(const pair_site& s, int a, int b) const {
        const int x = a < 0 ? 0 : s.allele[at(a)], y = b < 0 ? 0 : s.allele[at(b)];
        return s.emission[static_cast<std::size_t>(x * 2 + y)];
    }

    double forward() {
        double L = 0.0, S = 0.0;
        std::vector<double> row(at(K), 0.0);
        pair_matrix work = square(0.0);
        for (std::size_t v = 0; v < sites.size(); ++v) {
            pair_site& s = sites[v];
            if (v == 0) {
                for (int a = 0; a < K; ++a) {
                    for (int b = 0; b < K; ++b) {
                        const double value = emission(s, a, b) / (static_cast<double>(K) * K);
                        row[at(a)] += value;
                        row[at(b)] += value;
                        work[at(a)][at(b)] = value;
                        S += value;
                    }
                }
            } else {
                L += step(s, work, row, S);
            }
            s.fwd = work;
        }
        if (std::abs(S - 1.0) > 1e-10) L += std::log10(S);
        return L;
    }

    void walk_in_turns(bool sample, bool backward) {
        if (sample) {
            walk_by_site(true, false, false);
            for (pair_site& s : sites) draw_pair_alleles(s, pr_00, pr_01, pr_10);
        }
        if (backward || !sample) walk_by_site(false, backward, false);
    }

    void walk_by_site(bool sample, bool backward, bool alleles = true) {
        const std::size_t n = sites.size();
        pair_matrix b = square(1.0);
        double value_right = 0.0;
        for (std::size_t v = n; v-- > 0;) {
            pair_site& s = sites[v];
            if (sample) {
                draw_states(v, value_right);
                if (alleles) draw_pair_alleles(s, pr_00, pr_01, pr_10);
                value_right = s.state_a < 0 ? 0.0 : s.fwd[at(s.state_a)][at(s.state_b)];
            }
            if (backward && v + 1 < n) backward_step(sites[v + 1], b, s.fwd);
            s.product = s.fwd;
        }
    }

  private:
    static std::size_t at(int k) { return static_cast<std::size_t>(k); }
    pair_matrix square(double value) const { return pair_matrix(at(K), std::vector<double>(at(K), value)); }

    // Returns what the log10 likelihood grows by.
    double step(pair_site& s, pair_matrix& work, std::vector<double>& row, double& S) const {
        const auto [t0, t1, t2] = s.gap.dip_trans;
        std::vector<double> row_next(at(K), 0.0);
        double T = 0.0;
        for (int a = 0; a < K; ++a) {
            for (int b = 0; b < K; ++b) {
                const double w = t2 * S + t1 * (row[at(a)] + row[at(b)]) + t0 * work[at(a)][at(b)];
                const double value = w * emission(s, a, b);
                row_next[at(a)] += value;
                row_next[at(b)] += value;
                work[at(a)][at(b)] = value;
                T += value;
            }
        }
        row = row_next;
        if (T >= rescale_limit) {
            s.fwd_scale = 1.0;
            S = T;
            return 0.0;
        }
        s.fwd_scale = T;
        for (double& value : row) value /= T;
        for (auto& line : work) {
            for (double& value : line) value /= T;
        }
        S = 1.0;
        return std::log10(T);
    }

    void draw_states(std::size_t v, double value_right) {
        Uniform uniform;
        pair_site& s = sites[v];
        const bool last = v + 1 == sites.size();
        const double u = uniform.Next();
        s.state_a = s.state_b = K - 1;
        if (last) {
            double Z = 0.0, c = 0.0;
            for (const auto& line : s.fwd) {
                for (const double value : line) Z += value;
            }
            for (int a = 0; a < K; ++a) {
                for (int b = 0; b < K; ++b) {
                    c += s.fwd[at(a)][at(b)] / Z;
                    if (u <= c) {
                        s.state_a = a;
                        s.state_b = b;
                        return;
                    }
                }
            }
            return;
        }
        const pair_site& R = sites[v + 1];
        const int k1 = R.state_a, k2 = R.state_b;
        const double den = R.fwd_scale * value_right / emission(R, k1, k2);
        double p = (k1 < 0 ? 0.0 : s.fwd[at(k1)][at(k2)]) * R.gap.dip_stay[1] / den;
        if (p >= u) {
            ++stay_count;
            s.state_a = k1;
            s.state_b = k2;
            return;
        }
        ++switch_count;
        for (int a = 0; a < K; ++a) {
            for (int b = 0; b < K; ++b) {
                if (a == k1 && b == k2) continue;
                p += s.fwd[at(a)][at(b)] * R.gap.hom[differs(a, k1)][differs(b, k2)] / den;
                if (u <= p) {
                    s.state_a = a;
                    s.state_b = b;
                    return;
                }
            }
        }
    }

    void backward_step(const pair_site& R, pair_matrix& b, pair_matrix& table) const {
        std::vector<double> row(at(K), 0.0);
        double T = 0.0;
        for (int i = 0; i < K; ++i) {
            for (int j = 0; j < K; ++j) {
                const double value = emission(R, i, j) * b[at(i)][at(j)];
                b[at(i)][at(j)] = value;
                row[at(i)] += value;
                row[at(j)] += value;
                T += value;
            }
        }
        if (T < rescale_limit) {
            for (double& value : row) value /= T;
            for (auto& line : b) {
                for (double& value : line) value /= T;
            }
            T = 1.0;
        }
        const auto [t0, t1, t2] = R.gap.dip_trans;
        for (int i = 0; i < K; ++i) {
            for (int j = 0; j < K; ++j) {
                const double w = t2 * T + t1 * (row[at(i)] + row[at(j)]) + t0 * b[at(i)][at(j)];
                b[at(i)][at(j)] = w;
                table[at(i)][at(j)] *= w;
            }
        }
    }
};

}  // namespace slow
