#pragma once

// The fixed part of one copying model: which sites it visits and the transition terms between them.

#include <cstddef>
#include <cstdint>
#include <vector>

// Transition terms of the haploid model over the gap that ends at a site. With the gap d, K states, e = exp(-d/K),
// t = 1 - e and s = t/K (Li and Stephens 2003).
struct haploid_gap {
    double stay = 0.0;  // hap_trans[0] = e + s: stay in a state
    double move = 0.0;  // hap_trans[1] = s: move to one given state
    double diff = 0.0;  // hap_trans_diff = e: the coefficient of the old forward value
};

// The same of the model of two haplotypes, which move independently: products of the terms of one haplotype, up to
// rounding. K is that for which rates were set last, which may be more than the states of a sweep.
struct diploid_gap {
    double both_stay = 0.0;  // dip_trans[0] = exp(-2d/K): diff * diff
    double one_moves = 0.0;  // dip_trans[1] = t*e/K: diff * move
    double both_move = 0.0;  // dip_trans[2] = t*t/(K*K): move * move
    double hap_stay = 0.0;   // dip_hap_trans[0] = e + s
    double hap_move = 0.0;   // dip_hap_trans[1] = s
    double stay_het = 0.0;   // dip_stay[0]: stay in a pair of two states
    double stay_hom = 0.0;   // dip_stay[1]: stay in a pair of one state, or in any pair whose order is known
    // dip_hap_trans as the pair tables below know it: the hole-filling pass renews the terms above, not the tables.
    double table_stay = 0.0;
    double table_move = 0.0;

    double hap(bool moves) const { return moves ? hap_move : hap_stay; }
    // dip_trans_hom[u][v]: from a pair (k, k) to (a, b); u: a differs from k, v: b differs from k.
    double hom(bool u, bool v) const { return table(u) * table(v); }
    // dip_trans_het[u][v][w][x]: from (k1, k2) to (a, b); u: a differs from k1, v: b from k2, w: a from k2, x: b from
    // k1.
    double het(bool u, bool v, bool w, bool x) const { return table(w) * table(x) + table(u) * table(v); }

  private:
    double table(bool moves) const { return moves ? table_move : table_stay; }
};

// One model [mode][panel][cond_panel]. All vectors run over the visited sites in position order; a gap leads into its
// site, so that the first one is never read.
struct hmm_model {
    std::vector<std::size_t> site;     // index of the visited site in site_table::in_order
    std::vector<haploid_gap> hap_gap;  // mode 0
    std::vector<diploid_gap> dip_gap;  // mode 1
    // Under -mem_save_1 the last site has a checkpoint (fwd_checkpoint), and every interval-th one to its left.
    std::size_t interval = 0;
    std::vector<std::uint64_t> mask;  // bit s: the store's site s is visited
    std::size_t n_sites() const { return site.size(); }
};
