#pragma once

// The model of unordered pairs of haplotypes written out plainly: one triangular table a site, every step as the
// recursion reads. The fast sweeps must agree with it.

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "inference/slow_haploid.h"
#include "random/random.h"

namespace slow {

// Transition tables of the pair models over a gap of distance d, K_gap being the count of haplotypes of the rates.
struct pair_gap {
    std::array<double, 3> dip_trans{};
    std::array<double, 2> dip_hap_trans{};
    std::array<double, 2> dip_stay{};
    double hom[2][2] = {};
    double het[2][2][2][2] = {};

    pair_gap() = default;
    pair_gap(double d, int K_gap) {
        const double K = K_gap;
        const double e = std::exp(-d / K), t = 1.0 - e, s = t / K;
        dip_trans = {std::exp(-2.0 * d / K), t * e / K, t * t / (K * K)};
        dip_hap_trans = {e + s, s};
        dip_stay = {e * e + 2.0 * t * e / K + 2.0 * t * t / (K * K), e * e + 2.0 * t * e / K + t * t / (K * K)};
        const std::array<double, 2>& h = dip_hap_trans;
        for (std::size_t u = 0; u < 2; ++u) {
            for (std::size_t v = 0; v < 2; ++v) {
                hom[u][v] = h[u] * h[v];
                for (std::size_t w = 0; w < 2; ++w) {
                    for (std::size_t x = 0; x < 2; ++x) het[u][v][w][x] = h[w] * h[x] + h[u] * h[v];
                }
            }
        }
    }
};

using pair_matrix = std::vector<std::vector<double>>;
using allele_table = std::array<std::array<double, 2>, 2>;

// What the allele draw of a site does.
enum class pair_draw { none, order, genotype };

struct pair_site {
    std::vector<int> allele;           // of each state
    std::array<double, 4> emission{};  // by the alleles of the two states, at [x * 2 + y]
    pair_gap gap;                      // the gap that ends here
    bool kept = true;
    pair_draw draw = pair_draw::none;
    // Results.
    pair_matrix fwd;
    double fwd_scale = 1.0;
    int state_a = -7, state_b = -7;
    std::array<int, 2> drawn{-7, -7};
    pair_matrix product;
};

inline bool differs(int a, int b) {
    return a != b;
}

// The draw of the two alleles from the copied ones, with the chances of the ordered alleles 00, 01, 10.
inline void draw_pair_alleles(pair_site& s, const allele_table& pr_00, const allele_table& pr_01,
                              const allele_table& pr_10) {
    if (s.draw == pair_draw::none) return;
    Uniform uniform;
    const auto copied = [&s](int k) {
        return k < 0 ? 0U : static_cast<unsigned>(s.allele[static_cast<std::size_t>(k)]);
    };
    const std::size_t x = copied(s.state_a), y = copied(s.state_b);
    const double p00 = pr_00[x][y], p01 = pr_01[x][y], p10 = pr_10[x][y];
    const double u = uniform.Next();
    if (s.draw == pair_draw::order) {
        const double q = p01 / (p01 + p10);
        s.drawn = u > q ? std::array<int, 2>{1, 0} : std::array<int, 2>{0, 1};
    } else if (u <= p00) {
        s.drawn = {0, 0};
    } else if (u <= p00 + p01) {
        s.drawn = {0, 1};
    } else if (u <= p00 + p01 + p10) {
        s.drawn = {1, 0};
    } else {
        s.drawn = {1, 1};
    }
}

// Shares of the copied allele pairs of a site, from its products; at [x * 2 + y].
inline std::array<double, 4> pair_shares(const pair_site& s) {
    std::array<double, 4> share{};
    double all = 0.0;
    for (std::size_t a = 0; a < s.product.size(); ++a) {
        for (std::size_t b = 0; b < s.product[a].size(); ++b) {
            share[static_cast<std::size_t>(s.allele[a] * 2 + s.allele[b])] += s.product[a][b];
            all += s.product[a][b];
        }
    }
    for (double& value : share) value /= all;
    return share;
}

class diploid_model {
  public:
    int K = 0;
    allele_table pr_00{}, pr_01{}, pr_10{};
    bool mem_save = false;
    std::size_t interval = 0;
    std::vector<pair_site> sites;
    std::vector<pair_matrix> local;
    std::size_t stay_count = 0, switch_count = 0;

    double emission(const pair_site& s, int a, int b) const {
        const int x = a < 0 ? 0 : s.allele[at(a)], y = b < 0 ? 0 : s.allele[at(b)];
        return s.emission[static_cast<std::size_t>(x * 2 + y)];
    }

    double forward() {
        double L = 0.0, S = 0.0;
        start_sums();
        pair_matrix work = triangle(0.0);
        for (std::size_t v = 0; v < sites.size(); ++v) {
            pair_site& s = sites[v];
            if (v == 0) {
                for (int a = 0; a < K; ++a) {
                    for (int b = 0; b <= a; ++b) {
                        double value = emission(s, a, b) / (static_cast<double>(K) * K);
                        if (a == b) {
                            diag[at(a)] = value;
                        } else {
                            value *= 2.0;
                            row[at(b)] += value;
                        }
                        row[at(a)] += value;
                        work[at(a)][at(b)] = value;
                        S += value;
                    }
                }
            } else {
                double T = 0.0;
                if (step(s, work, S, T)) L += std::log10(T);
            }
            if (v == 0 || !mem_save || s.kept) s.fwd = work;
        }
        if (std::abs(S - 1.0) > 1e-10) L += std::log10(S);
        return L;
    }

    // All states from the last site to the first, then all alleles from the first to the last, then the backward sweep.
    void walk_in_turns(bool sample, bool backward) {
        if (sample) {
            walk_by_site(true, false, false);
            for (pair_site& s : sites) draw_pair_alleles(s, pr_00, pr_01, pr_10);
        }
        if (backward || !sample) walk_by_site(false, backward, false);
    }

    // One walk from the last site to the first that does everything at each site.
    void walk_by_site(bool sample, bool backward, bool alleles = true) {
        const std::size_t n = sites.size();
        pair_matrix b;
        std::size_t check = n - 1;
        std::ptrdiff_t local_i = 0;
        bool left_to_start = false;
        double value_right = 0.0;
        if (mem_save && local.size() < interval) local.resize(interval, triangle(0.0));
        for (std::size_t v = n; v-- > 0;) {
            pair_site& s = sites[v];
            if (mem_save && v + 1 < n && v + 1 == check) find_block(check, local_i, left_to_start);
            pair_matrix& table = mem_save && !s.kept ? local[static_cast<std::size_t>(local_i)] : s.fwd;
            if (sample) {
                draw_states(v, table, value_right);
                if (alleles) draw_pair_alleles(s, pr_00, pr_01, pr_10);
                value_right = pair_value(table, s);
            }
            if (backward) {
                if (v + 1 == n) {
                    b = triangle(1.0);
                } else {
                    backward_step(sites[v + 1], b, table);
                }
            }
            s.product = table;
            --local_i;
        }
    }

  private:
    std::vector<double> row, row_next, diag, diag_next;

    static std::size_t at(int k) { return static_cast<std::size_t>(k); }
    static double pair_value(const pair_matrix& table, const pair_site& s) {
        if (s.state_a < 0 || s.state_b < 0) return 0.0;
        return s.state_a >= s.state_b ? table[at(s.state_a)][at(s.state_b)] : table[at(s.state_b)][at(s.state_a)];
    }
    pair_matrix triangle(double value) const {
        pair_matrix table;
        for (int a = 0; a < K; ++a) table.emplace_back(at(a) + 1, value);
        return table;
    }
    void start_sums() {
        row.assign(at(K), 0.0);
        row_next.assign(at(K), 0.0);
        diag.assign(at(K), 0.0);
        diag_next.assign(at(K), 0.0);
    }

    bool step(pair_site& s, pair_matrix& work, double& S, double& T) {
        const auto [t0, t1, t2] = s.gap.dip_trans;
        row_next.assign(at(K), 0.0);
        T = 0.0;
        for (int a = 0; a < K; ++a) {
            for (int b = 0; b <= a; ++b) {
                double w =
                    t0 * work[at(a)][at(b)] + t1 * (row[at(a)] + row[at(b)] + diag[at(a)] + diag[at(b)]) + 2.0 * t2 * S;
                if (a == b) w = (t0 * diag[at(a)] + w) * 0.5;
                const double value = w * emission(s, a, b);
                if (a == b) {
                    diag_next[at(a)] = value;
                } else {
                    row_next[at(b)] += value;
                }
                row_next[at(a)] += value;
                work[at(a)][at(b)] = value;
                T += value;
            }
        }
        row = row_next;
        diag = diag_next;
        if (T >= rescale_limit) {
            s.fwd_scale = 1.0;
            S = T;
            return false;
        }
        s.fwd_scale = T;
        for (double& value : row) value /= T;
        for (double& value : diag) value /= T;
        for (auto& line : work) {
            for (double& value : line) value /= T;
        }
        S = 1.0;
        return true;
    }

    void find_block(std::size_t& check, std::ptrdiff_t& local_i, bool& left_to_start) {
        std::ptrdiff_t c = 0;
        std::ptrdiff_t w = static_cast<std::ptrdiff_t>(check) - 1;
        while (w >= 0 && !sites[static_cast<std::size_t>(w)].kept) {
            ++c;
            --w;
        }
        local_i = c - 1;
        if (w < 0) {
            left_to_start = true;
            return;
        }
        check = static_cast<std::size_t>(w);
        if (c == 0 || left_to_start) return;
        pair_matrix work = sites[check].fwd;
        double S = 0.0, T = 0.0;
        start_sums();
        for (int a = 0; a < K; ++a) {
            for (int b = 0; b <= a; ++b) {
                const double value = work[at(a)][at(b)];
                S += value;
                row[at(a)] += value;
                if (a == b) {
                    diag[at(a)] = value;
                } else {
                    row[at(b)] += value;
                }
            }
        }
        for (std::size_t j = 0; j < static_cast<std::size_t>(c); ++j) {
            step(sites[check + 1 + j], work, S, T);
            local[j] = work;
        }
    }

    void draw_states(std::size_t v, const pair_matrix& table, double value_right) {
        pair_site& s = sites[v];
        if (v + 1 == sites.size()) {
            draw_last_pair(s, table);
            return;
        }
        Uniform uniform;
        const pair_site& R = sites[v + 1];
        // The pair in table form.
        int k1 = R.state_a > R.state_b ? R.state_a : R.state_b;
        int k2 = R.state_a > R.state_b ? R.state_b : R.state_a;
        const double den = R.fwd_scale * value_right / emission(R, k1, k2);
        const double num = (k1 < 0 ? 0.0 : table[at(k1)][at(k2)]) * R.gap.dip_stay[k1 == k2 ? 1 : 0];
        draw_pair(table, R, num, den, k1, k2);
        double p = 0.5;
        const int x = R.state_a, y = R.state_b;
        if (k1 != k2 && x != y) {
            const auto& h = R.gap.dip_hap_trans;
            const double w1 = h[differs(x, k1)] * h[differs(y, k2)];
            const double w2 = h[differs(y, k1)] * h[differs(x, k2)];
            p = w1 / (w1 + w2);
        }
        const double u = uniform.Next();
        s.state_a = u > p ? k2 : k1;
        s.state_b = u > p ? k1 : k2;
    }

    void draw_last_pair(pair_site& s, const pair_matrix& table) const {
        Uniform uniform;
        const double u = uniform.Next();
        double Z = 0.0, c = 0.0;
        for (const auto& line : table) {
            for (const double value : line) Z += value;
        }
        s.state_a = s.state_b = K - 1;
        for (int a = 0; a < K; ++a) {
            for (int b = 0; b <= a; ++b) {
                c += table[at(a)][at(b)] / Z;
                if (u <= c) {
                    s.state_a = a;
                    s.state_b = b;
                    return;
                }
            }
        }
    }

    void draw_pair(const pair_matrix& table, const pair_site& R, double num, double den, int& k1, int& k2) {
        Uniform uniform;
        const double u = uniform.Next();
        double p = num / den;
        if (p >= u) {
            ++stay_count;
            return;
        }
        ++switch_count;
        for (int a = 0; a < K; ++a) {
            for (int b = 0; b <= a; ++b) {
                if (a == k1 && b == k2) continue;
                const double t = k1 == k2 ? R.gap.hom[differs(a, k1)][differs(b, k1)]
                                          : R.gap.het[differs(a, k1)][differs(b, k2)][differs(a, k2)][differs(b, k1)];
                p += table[at(a)][at(b)] * t / den;
                if (u <= p) {
                    k1 = a;
                    k2 = b;
                    return;
                }
            }
        }
        k1 = k2 = K - 1;
    }

    void backward_step(const pair_site& R, pair_matrix& b, pair_matrix& table) {
        std::vector<double> sums(at(K), 0.0);
        double T = 0.0;
        for (int i = 0; i < K; ++i) {
            for (int j = 0; j <= i; ++j) {
                const double value = emission(R, i, j) * b[at(i)][at(j)];
                b[at(i)][at(j)] = value;
                if (i != j) {
                    sums[at(j)] += value;
                    T += value;
                }
                sums[at(i)] += value;
                T += value;
            }
        }
        if (T < rescale_limit) {
            for (double& value : sums) value /= T;
            for (auto& line : b) {
                for (double& value : line) value /= T;
            }
            T = 1.0;
        }
        const auto [t0, t1, t2] = R.gap.dip_trans;
        for (int i = 0; i < K; ++i) {
            for (int j = 0; j <= i; ++j) {
                const double w = t2 * T + t1 * (sums[at(i)] + sums[at(j)]) + t0 * b[at(i)][at(j)];
                b[at(i)][at(j)] = w;
                table[at(i)][at(j)] *= w;
            }
        }
    }
};

}  // namespace slow
