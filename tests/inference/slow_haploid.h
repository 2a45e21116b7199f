#pragma once

// The haploid model written out plainly: one vector of K values a site, every step as the recursion reads. The fast
// sweeps must agree with it.

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "random/random.h"

namespace slow {

constexpr double smallest_normal = std::numeric_limits<double>::min();
constexpr double rescale_limit = 1e-50;

struct haploid_site {
    std::vector<int> allele;                    // of each state
    int obs = 2;                                // 0, 1, 2 for missing
    double stay = 0.0, move = 0.0, diff = 0.0;  // over the gap that ends here
    bool kept = true;                           // has a checkpoint
    bool draw_allele = false;
    // Results.
    std::vector<double> fwd;  // forward values, then forward times backward
    double fwd_scale = 1.0;
    int state = -7;
    int drawn = -7;
    std::vector<double> product;  // what the posteriors of the site are read from
};

class haploid_model {
  public:
    int K = 0;
    std::array<std::array<double, 3>, 2> M{};  // [copied][observed]
    bool mem_save = false;
    std::size_t interval = 0;
    std::vector<haploid_site> sites;
    std::vector<std::vector<double>> local;  // forward vectors of the block in hand
    std::size_t stay_count = 0, switch_count = 0;

    double emission(const haploid_site& s, int k) const {
        const int a = k < 0 ? 0 : s.allele[static_cast<std::size_t>(k)];
        return M[static_cast<std::size_t>(a)][static_cast<std::size_t>(s.obs)];
    }

    // Fills the forward vectors; the log10 likelihood.
    double forward() {
        double L = 0.0;
        std::vector<double> work(n_states(), 0.0);
        double S = 0.0;
        for (std::size_t v = 0; v < sites.size(); ++v) {
            haploid_site& s = sites[v];
            if (v == 0) {
                for (int k = 0; k < K; ++k) {
                    work[at(k)] = emission(s, k) / static_cast<double>(K);
                    S += work[at(k)];
                }
            } else if (K < 1) {
                s.fwd_scale = 0.0;
                S = 1.0;
                L += std::log10(0.0);
            } else {
                double T = 0.0;
                const bool divided = step(s, work, S, T);
                if (divided) L += std::log10(T);
            }
            if (v == 0 || !mem_save || s.kept) s.fwd = work;
        }
        if (std::abs(S - 1.0) > 1e-10) L += std::log10(S);
        return L;
    }

    // All states from the last site to the first, then the alleles from the first to the last, then the backward sweep.
    void walk_in_turns(bool sample, bool backward) {
        const std::size_t n = sites.size();
        if (sample) {
            for (std::size_t v = n; v-- > 0;) draw_state(v, sites[v].fwd, v + 1 < n ? right_value(v + 1) : 0.0);
            for (haploid_site& s : sites) {
                if (s.draw_allele) draw_allele(s);
            }
        }
        std::vector<double> b(n_states(), 1.0);
        for (std::size_t v = n; v-- > 0;) {
            if (backward && v + 1 < n) backward_step(sites[v + 1], b, sites[v].fwd);
            sites[v].product = sites[v].fwd;
        }
    }

    // One walk from the last site to the first that does everything at each site.
    void walk_by_site(bool sample, bool backward) {
        const std::size_t n = sites.size();
        std::vector<double> b(n_states(), 0.0);
        std::size_t check = n - 1;
        std::ptrdiff_t local_i = 0;
        bool left_to_start = false;
        double value_right = 0.0;
        if (mem_save && local.size() < interval) local.resize(interval, std::vector<double>(n_states(), 0.0));
        for (std::size_t v = n; v-- > 0;) {
            haploid_site& s = sites[v];
            if (mem_save && v + 1 < n && v + 1 == check) find_block(check, local_i, left_to_start);
            std::vector<double>& table = mem_save && !s.kept ? local[static_cast<std::size_t>(local_i)] : s.fwd;
            if (sample) {
                draw_state(v, table, value_right);
                if (s.draw_allele) draw_allele(s);
                value_right = s.state < 0 ? 0.0 : table[at(s.state)];
            }
            if (backward) {
                if (v + 1 == n) {
                    b.assign(n_states(), 1.0);
                } else {
                    backward_step(sites[v + 1], b, table);
                }
            }
            s.product = table;
            --local_i;
        }
    }

    // Chance of allele 1 passed on by the states; leave_out takes the site's observed allele out of the products first.
    double allele_one(const haploid_site& s, bool leave_out) const {
        double A0 = 0.0, A1 = 0.0;
        for (int k = 0; k < K; ++k) {
            const auto& row = M[static_cast<std::size_t>(s.allele[at(k)])];
            double w = s.product[at(k)];
            if (leave_out) w /= row[static_cast<std::size_t>(s.obs)];
            A0 += w * row[0];
            A1 += w * (1.0 - row[0]);
        }
        return A0 + A1 > smallest_normal ? A1 / (A0 + A1) : 0.5;
    }
    // Share of the states with allele 1.
    double copied_one(const haploid_site& s) const {
        double all = 0.0, ones = 0.0;
        for (int k = 0; k < K; ++k) {
            all += s.product[at(k)];
            if (s.allele[at(k)] == 1) ones += s.product[at(k)];
        }
        return ones / all;
    }

  private:
    std::size_t n_states() const { return static_cast<std::size_t>(K < 0 ? 0 : K); }
    static std::size_t at(int k) { return static_cast<std::size_t>(k); }

    // One forward step into s. T is the sum before a division; true when it was divided out.
    bool step(haploid_site& s, std::vector<double>& work, double& S, double& T) const {
        const double J = S * s.move;
        T = 0.0;
        for (int k = 0; k < K; ++k) {
            work[at(k)] = (work[at(k)] * s.diff + J) * emission(s, k);
            T += work[at(k)];
        }
        if (T >= rescale_limit) {
            s.fwd_scale = 1.0;
            S = T;
            return false;
        }
        s.fwd_scale = T;
        for (double& value : work) value /= T;
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
        std::vector<double> work = sites[check].fwd;
        double S = 0.0, T = 0.0;
        for (const double value : work) S += value;
        for (std::size_t j = 0; j < static_cast<std::size_t>(c); ++j) {
            step(sites[check + 1 + j], work, S, T);
            local[j] = work;
        }
    }

    // The forward value of the state drawn at a site of a full sweep.
    double right_value(std::size_t v) const { return sites[v].state < 0 ? 0.0 : sites[v].fwd[at(sites[v].state)]; }

    void draw_state(std::size_t v, const std::vector<double>& table, double value_right) {
        Uniform uniform;
        haploid_site& s = sites[v];
        const double u = uniform.Next();
        s.state = K - 1;
        if (v + 1 == sites.size()) {
            double Z = 0.0;
            for (const double value : table) Z += value;
            double c = 0.0;
            for (int k = 0; k < K; ++k) {
                c += table[at(k)] / Z;
                if (u <= c) {
                    s.state = k;
                    break;
                }
            }
            return;
        }
        const haploid_site& R = sites[v + 1];
        const int k = R.state;
        const double den = R.fwd_scale * value_right / emission(R, k);
        double p = (k < 0 ? 0.0 : table[at(k)]) * R.stay / den;
        if (p >= u) {
            s.state = k;
            ++stay_count;
            return;
        }
        ++switch_count;
        for (int j = 0; j < K; ++j) {
            if (j == k) continue;
            p += table[at(j)] * R.move / den;
            if (u <= p) {
                s.state = j;
                break;
            }
        }
    }

    void draw_allele(haploid_site& s) const {
        Uniform uniform;
        const int a = s.state < 0 ? 0 : s.allele[at(s.state)];
        s.drawn = uniform.Next() > M[static_cast<std::size_t>(a)][0] ? 1 : 0;
    }

    void backward_step(const haploid_site& R, std::vector<double>& b, std::vector<double>& table) const {
        double T = 0.0;
        for (int k = 0; k < K; ++k) {
            b[at(k)] *= emission(R, k);
            T += b[at(k)];
        }
        double S = T;
        if (!(T >= rescale_limit)) {
            for (double& value : b) value /= T;
            S = 1.0;
        }
        const double J = S * R.move;
        for (int k = 0; k < K; ++k) {
            b[at(k)] = b[at(k)] * R.diff + J;
            table[at(k)] *= b[at(k)];
        }
    }
};

}  // namespace slow
