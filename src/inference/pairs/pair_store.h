#pragma once

// The forward tables of a sweep over pairs of states: filling and keeping them, and finding them again in the walk.

#include <cstddef>
#include <optional>
#include <vector>

#include "inference/pairs/pair_types.h"
#include "inference/stale_stretch.h"

// Sizes the storage for a problem. Keeps the table of the first visited site, and the one right of the stale stretch.
void size_tables(const pair_problem& problem, pair_tables& tables);

// Whether the table of a visited site is kept, and where.
bool keeps_table(const pair_tables& tables, std::size_t v);
double* kept_table(pair_tables& tables, std::size_t v);
// Makes room for the table of a site, if it is not kept yet.
void keep_table(pair_tables& tables, std::size_t v);

// The block right of a kept site. By classes: leaves them in the tables, and its last site is not kept yet.
pair_block next_block(const pair_problem& problem, pair_tables& tables, std::size_t first);

// What leads into a site, and what a sweep by classes sees there.
pair_terms terms_into(const pair_problem& problem, const pair_tables& tables, std::size_t v);
pair_class_sweep::site class_site_of(const pair_problem& problem, std::size_t v);

// Sums of the rows of the table of site v, of unordered pairs, if it was entered.
double* row_sums_of(const pair_problem& problem, pair_tables& tables, std::size_t v);
// Divides the table of site v and the sums of its rows.
void divide_table(const pair_problem& problem, pair_tables& tables, std::size_t v, double divisor, double* table);

// Enters site v: the table out from that of the site to its left. out may be from. Leaves the rows' sums in row, and of
// unordered pairs in row_sums. Returns the sum of the table.
double enter_table(const pair_problem& problem, pair_tables& tables, std::size_t v, const double* from, double* out);

// Gives a walk from right to left the tables.
class pair_store {
  public:
    // every_table: whether the walk asks for the tables of all sites, not of few.
    pair_store(const pair_problem& problem, pair_tables& tables, bool every_table);

    // Moves to site v, one left of the site before; the first one is the last visited site.
    void enter(std::size_t v);
    // Whether the table in hand is for the stale stretch: the walk leaves products in it.
    bool is_stale() const { return stale_.reads(v_) || stale_.leaves(v_); }
    // The table of the site in hand.
    double* table();
    // Its entry for the pair (a, b), in table order. Cheaper than the table while the pair stays the same.
    double value(std::size_t a, std::size_t b);
    // Whether single rows are had for less than the table.
    bool has_rows() const;
    // Entries of the pairs of state a with every state, in one of three places.
    const double* row(std::size_t a, std::size_t place);
    // Sums of the rows of the triangle.
    const double* row_sums();

  private:
    const pair_block& block() const { return t_.blocks[block_]; }
    double* local_table(std::size_t i) { return t_.local.data() + i * t_.table_size; }
    // Stands in the same store: when the walk comes to the first table that it leaves there, it is done with the
    // others.
    double* stale_table(std::size_t v) { return stale_.values(t_.local, v, t_.table_size); }
    // The table of site v as the forward sweep had it.
    void enter_again(std::size_t v, const double* from, double* out);
    // The tables of n sites right of a kept one; place(v) tells where.
    template <typename Place>
    void rebuild(std::size_t first, std::size_t n, const Place& place);
    void build_one();
    void follow_pair(std::size_t a, std::size_t b);
    double next_value(std::size_t v, double value, std::size_t a, std::size_t b) const;

    const pair_problem& p_;
    pair_tables& t_;
    const bool every_table_;
    const stale_stretch stale_;
    std::size_t v_ = 0;
    bool kept_ = true;
    std::size_t block_ = 0;
    bool has_block_ = false;            // the tables of the block stand in the local store
    std::optional<std::size_t> built_;  // or that of this site
    // Entries of one pair at the sites of the block.
    std::vector<double> followed_;
    std::optional<state_pair> followed_pair_;
};
