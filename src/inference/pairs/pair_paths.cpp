#include "inference/pairs/pair_paths.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "inference/kernels/kernels.h"
#include "inference/pairs/pair_store.h"
#include "inference/pairs/phase_paths.h"

namespace {

// Terms that lead into a site no longer tell where they come from below this: the states of a pair are forgotten.
constexpr double forgets_below = 1e-100;

class path_drawer {
  public:
    path_drawer(const pair_problem& problem, pair_tables& tables, Random& draws)
        : p_(problem), t_(tables), store_(problem, tables, false), draws_(draws) {}

    // For each site from right to left.
    state_pair enter(std::size_t v) {
        store_.enter(v);
        if (v + 1 == p_.n_sites) {
            draw_from_table();
        } else {
            step_from(v + 1);
        }
        return pair_;
    }

  private:
    // The pair left of site v. A value of the table of v is the sum of what comes from the same pair, from all pairs
    // with the first state, with the second, and from all pairs; which of these it was is drawn first.
    void step_from(std::size_t v) {
        const pair_terms terms = terms_into(p_, t_, v);
        const auto [a, b] = pair_;
        const double half = a == b ? 0.5 : 1.0;
        const double stays = terms.stay * store_.value(a, b);
        const double with_a = half * terms.shared[a], with_b = half * terms.shared[b];
        const double all = stays + (with_a + with_b + half * terms.constant);
        const double u = draws_.Next() * all - stays;
        if (!(u > 0.0)) return;  // also of undefined values
        if (!(p_.gap[v].one_moves > forgets_below)) {
            draw_from_table();
        } else if (u <= with_a) {
            set_pair(a, partner_of(a, v));
        } else if (u <= with_a + with_b) {
            set_pair(b, partner_of(b, v));
        } else {
            const std::size_t first = any_state(terms.shared);
            set_pair(first, partner_of(first, v));
        }
    }

    void set_pair(std::size_t a, std::size_t b) { pair_ = {std::max(a, b), std::min(a, b)}; }

    // From sums of the pairs of each state.
    std::size_t any_state(const double* sums) {
        double sum = 0.0;
        for (std::size_t k = 0; k < p_.n_states; ++k) sum += sums[k];
        const double u = draws_.Next() * sum;
        return first_to_reach(u, p_.n_states, [sums](std::size_t k) { return sums[k]; });
    }

    // The other state of a pair of state a, left of site v. The pair of one state stands twice in the sum.
    std::size_t partner_of(std::size_t a, std::size_t v) {
        const double u = draws_.Next() * terms_into(p_, t_, v).shared[a] / p_.gap[v].one_moves;
        const double* row = store_.row(a, 0);
        return first_to_reach(u, p_.n_states, [row, a](std::size_t b) { return b == a ? 2.0 * row[b] : row[b]; });
    }

    // The first of n things where the sum of the weights comes to u.
    template <typename Weight>
    std::size_t first_to_reach(double u, std::size_t n, const Weight& weight) const {
        double sum = 0.0;
        for (std::size_t k = 0; k + 1 < n; ++k) {
            sum += weight(k);
            if (u <= sum) return k;
        }
        return n - 1;
    }

    // From all pairs of the site in hand.
    void draw_from_table() {
        const double* f = store_.table();
        row_sums_.resize(p_.n_states);
        for (std::size_t a = 0; a < p_.n_states; ++a) row_sums_[a] = kernels::active().sum_of(a + 1, row_of(f, a));
        const std::size_t a = any_state(row_sums_.data());
        const double u = draws_.Next() * row_sums_[a];
        pair_ = {a, first_to_reach(u, a + 1, [row = row_of(f, a)](std::size_t b) { return row[b]; })};
    }
    const double* row_of(const double* f, std::size_t a) const { return f + pair_place(p_, a, 0); }

    const pair_problem& p_;
    pair_tables& t_;
    pair_store store_;
    Random& draws_;
    state_pair pair_{};
    std::vector<double> row_sums_;  // of a whole table
};

}  // namespace

void draw_pair_path(const pair_problem& problem, pair_tables& tables, std::span<const pair_request> requests,
                    Random& draws, pair_results& results) {
    results.state.resize(problem.n_sites);
    results.order_kept.assign(problem.n_sites, 1.0);
    results.first_is_one.assign(problem.n_sites, 0.0);
    path_drawer path(problem, tables, draws);
    for (std::size_t v = problem.n_sites; v-- > 0;) {
        results.state[v] = path.enter(v);
        if (v + 1 < problem.n_sites) {
            results.order_kept[v] =
                2.0 * chance_of_order(problem.gap[v + 1], results.state[v], results.state[v + 1]) - 1.0;
        }
        if (requests[v].heterozygous) results.first_is_one[v] = first_is_one(problem, v, results.state[v]);
    }
}
