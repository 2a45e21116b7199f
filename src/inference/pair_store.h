#pragma once

// The forward tables of a sweep over pairs of states. Whole tables are kept at some sites; of every site are kept the
// terms that lead into it, from which a table, or one entry of it, follows anew from the kept table to its left.

#include <cstddef>
#include <vector>

#include "inference/block_walk.h"
#include "inference/diploid.h"

// Whether the table of a visited site is kept.
bool keeps_table(const pair_problem& problem, std::size_t v);

// Sizes the storage for a problem.
void size_tables(const pair_problem& problem, pair_tables& tables);

// What leads into a site: stay times the value of the pair, the shares of both its states, a constant.
struct pair_terms {
    double stay = 0.0;
    const double* shared = nullptr;  // [padded K]
    double constant = 0.0;
};
pair_terms terms_into(const pair_problem& problem, const pair_tables& tables, std::size_t v);

// Whether the sums of the tables' rows are kept for every site.
bool keeps_row_sums(const pair_problem& problem);
// Sums of the rows of the table of site v, of unordered pairs, if the table was written.
double* row_sums_of(const pair_problem& problem, pair_tables& tables, std::size_t v);

// Enters site v: the table out from that of a site to its left, by the terms between them. out may be from. Leaves the
// rows' sums in row, and of unordered pairs in row_sums. Returns the sum of the table.
double enter_table(const pair_problem& problem, pair_tables& tables, std::size_t v, const pair_terms& terms,
                   const double* from, double* out);

// Gives a walk from right to left the tables.
class pair_store {
  public:
    pair_store(const pair_problem& problem, pair_tables& tables);

    // Moves to site v, one left of the site before; the first one is the last visited site.
    void enter(std::size_t v);
    // Whether the table in hand is a kept one.
    bool is_kept() const { return kept_; }
    // The table of the site in hand.
    double* table();
    // Its entry for the pair (a, b), in table order. Cheaper than the table while the pair stays the same.
    double value(int a, int b);
    // Whether single rows are had for less than the table.
    bool has_rows() const;
    // Entries of the pairs of state a with every state, in one of three places.
    const double* row(int a, std::size_t place);
    // Sums of the rows of the triangle.
    const double* row_sums();

  private:
    double* kept_table(std::size_t v) { return t_.kept.data() + t_.kept_row[v] * t_.table_size; }
    double* local_table(std::size_t i) { return t_.local.data() + i * t_.table_size; }
    void rebuild(std::size_t first, std::size_t n);
    void follow_pair(int a, int b);
    double next_value(std::size_t v, double value, int a, int b) const;

    const pair_problem& p_;
    pair_tables& t_;
    block_walk blocks_;
    std::size_t v_ = 0;
    bool kept_ = true;
    std::size_t first_ = 0;    // the kept site from which the block in hand follows
    std::size_t n_built_ = 0;  // its sites whose tables stand in the local store
    // Entries of one pair at the sites of the block.
    std::vector<double> followed_;
    int followed_a_ = -1, followed_b_ = -1;
};
