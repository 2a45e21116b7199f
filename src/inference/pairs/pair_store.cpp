#include "inference/pairs/pair_store.h"

#include <algorithm>
#include <array>

#include "inference/kernels/kernels.h"

namespace {

// Sites of the longest block of steps over whole tables.
constexpr std::size_t longest_of_pairs = 16;

std::size_t table_size(const pair_problem& p) {
    return p.ordered ? p.n_states * kernels::padded(p.n_states) : kernels::triangle_size(p.n_states);
}

double both_stay(const pair_problem& p, std::size_t v) {
    return v == 0 ? 0.0 : p.gap[v].both_stay;
}

// The last site of the block by classes right of a kept site, at most longest, that costs least for a site; first
// itself if classes are not worth it. Leaves its classes in the tables. Costs are counted in steps of eight pairs, as
// measured for 80 states.
std::size_t end_of_classes(const pair_problem& problem, pair_tables& tables, std::size_t first, std::size_t longest) {
    const auto whole_table = static_cast<double>(tables.table_size) / kernels::lane_count;
    const double borders = 6.0 * whole_table,
                 class_cost = 1.6 * static_cast<double>(tables.stride) / kernels::lane_count;
    double least = problem.worth_of_classes * whole_table;
    std::size_t last = first, n_kept = 0;
    tables.trial.start(problem.n_states);
    for (std::size_t v = first + 1; v <= longest; ++v) {
        tables.trial.split(problem.bits(v));
        const double by_class = class_cost * static_cast<double>(tables.trial.n_classes());
        if (by_class + borders / static_cast<double>(longest - first) >= least) break;  // whatever comes
        const double cost = by_class + borders / static_cast<double>(v - first);
        if (cost >= least) continue;
        least = cost;
        last = v;
        if (tables.trial.n_classes() == n_kept) continue;
        n_kept = tables.trial.n_classes();
        tables.classes = tables.trial;
    }
    return last;
}

}  // namespace

void size_tables(const pair_problem& problem, pair_tables& tables) {
    const std::size_t K8 = kernels::padded(problem.n_states);
    tables.stride = K8;
    tables.table_size = table_size(problem);
    ensure_size(tables.row, K8);
    ensure_size(tables.emission_rows, 2 * K8);
    ensure_size(tables.row_sums, problem.ordered ? K8 : problem.n_sites * K8);
    for (aligned_buffer& row : tables.followed) ensure_size(row, K8);
    ensure_size(tables.work, tables.table_size);
    ensure_size(tables.shared, problem.n_sites * K8);
    tables.constant.assign(problem.n_sites, 0.0);
    tables.scale.assign(problem.n_sites, 1.0);
    tables.blocks.clear();
    tables.n_kept = 0;
    tables.kept_row.assign(problem.n_sites, std::nullopt);
    if (problem.n_sites == 0) return;
    keep_table(tables, 0);
    keep_table(tables, stale_stretch(problem.n_sites, problem.checkpoint_interval).length());
}

bool keeps_table(const pair_tables& tables, std::size_t v) {
    return tables.kept_row[v].has_value();
}

double* kept_table(pair_tables& tables, std::size_t v) {
    return tables.kept.data() + *tables.kept_row[v] * tables.table_size;
}

void keep_table(pair_tables& tables, std::size_t v) {
    if (keeps_table(tables, v)) return;
    tables.kept_row[v] = tables.n_kept++;
    ensure_size(tables.kept, tables.n_kept * tables.table_size);
}

pair_block next_block(const pair_problem& problem, pair_tables& tables, std::size_t first) {
    const std::size_t checkpoint = stale_stretch(problem.n_sites, problem.checkpoint_interval).length();
    const std::size_t end = first < checkpoint ? checkpoint : problem.n_sites - 1;
    const std::size_t longest = std::max(problem.keep_every, problem.checkpoint_interval);
    const bool defined = tables.scale[first] > 0.0;  // or every site would end a block by classes
    if (!problem.ordered && problem.n_states > 0 && defined) {
        const std::size_t last = end_of_classes(problem, tables, first, std::min(end, first + longest));
        if (last > first) return {first, last, true};
    }
    const std::size_t longest_without = std::max(longest_of_pairs, problem.checkpoint_interval);
    const std::size_t last = std::min(first + std::min(longest, longest_without), end);
    keep_table(tables, last);
    return {first, last, false};
}

pair_terms terms_into(const pair_problem& problem, const pair_tables& tables, std::size_t v) {
    return {both_stay(problem, v), tables.shared.data() + v * tables.stride, tables.constant[v]};
}

pair_class_sweep::site class_site_of(const pair_problem& problem, std::size_t v) {
    return {problem.bits(v), problem.emission_by_sum(v), problem.gap[v].one_moves};
}

double* row_sums_of(const pair_problem& problem, pair_tables& tables, std::size_t v) {
    return tables.row_sums.data() + (problem.ordered ? 0 : v * tables.stride);
}

void divide_table(const pair_problem& problem, pair_tables& tables, std::size_t v, double divisor, double* table) {
    kernels::active().divide(tables.table_size, divisor, table);
    if (!problem.ordered) kernels::active().divide(problem.n_states, divisor, row_sums_of(problem, tables, v));
}

double enter_table(const pair_problem& problem, pair_tables& tables, std::size_t v, const double* from, double* out) {
    const kernels::table& k = kernels::active();
    const pair_terms terms = terms_into(problem, tables, v);
    if (problem.ordered) {
        return k.ordered_forward(problem.n_states, from, terms.shared, terms.stay, terms.constant, problem.bits(v),
                                 problem.emission[v].data(), out, tables.row.data());
    }
    const std::array<double, 3> by_sum = problem.emission_by_sum(v);
    return k.diploid_forward(problem.n_states, from, terms.shared, terms.stay, terms.constant, problem.bits(v),
                             by_sum.data(), tables.emission_rows.data(), out, tables.row.data(),
                             row_sums_of(problem, tables, v));
}

pair_store::pair_store(const pair_problem& problem, pair_tables& tables, bool every_table)
    : p_(problem),
      t_(tables),
      every_table_(every_table),
      stale_(problem.n_sites, problem.checkpoint_interval),
      block_(tables.blocks.empty() ? 0 : tables.blocks.size() - 1) {}

void pair_store::enter(std::size_t v) {
    v_ = v;
    kept_ = keeps_table(t_, v);
    if (stale_.leaves(v) && v == 2 * stale_.length()) {
        rebuild(stale_.length(), stale_.length(), [this](std::size_t site) { return stale_table(site); });
    }
    if (block_ > 0 && v == block().first) {
        --block_;
        has_block_ = false;
        followed_pair_.reset();
    }
}

double* pair_store::table() {
    if (is_stale()) return stale_table(v_);
    if (kept_) return kept_table(t_, v_);
    if (!every_table_) {
        if (built_ != v_) build_one();
        return local_table(0);
    }
    if (!has_block_) {
        ensure_size(t_.local, (block().last - block().first - 1) * t_.table_size);
        rebuild(block().first, block().last - block().first - 1,
                [this](std::size_t site) { return local_table(site - block().first - 1); });
    }
    has_block_ = true;
    return local_table(v_ - block().first - 1);
}

double pair_store::value(std::size_t a, std::size_t b) {
    if (is_stale() || kept_ || has_block_ || built_ == v_) return table()[pair_place(p_, a, b)];
    if (followed_pair_ != state_pair{a, b}) follow_pair(a, b);
    return followed_[v_ - block().first];
}

bool pair_store::has_rows() const {
    return !p_.ordered && !every_table_ && !is_stale() && !kept_ && !block().by_class && built_ != v_;
}

const double* pair_store::row(std::size_t a, std::size_t place) {
    double* row = t_.followed[place].data();
    const std::size_t first = kept_ ? v_ : block().first;
    const double* from = kept_table(t_, first);
    for (std::size_t b = 0; b < p_.n_states; ++b) row[b] = from[pair_place(p_, std::max(a, b), std::min(a, b))];
    for (std::size_t v = first + 1; v <= v_; ++v) {
        const pair_terms terms = terms_into(p_, t_, v);
        const std::array<double, 3> by_sum = p_.emission_by_sum(v);
        kernels::active().diploid_forward_row(p_.n_states, a, row, terms.shared, terms.stay, terms.constant, p_.bits(v),
                                              by_sum.data(), row);
        if (t_.scale[v] != 1.0) kernels::active().divide(p_.n_states, t_.scale[v], row);
    }
    return row;
}

const double* pair_store::row_sums() {
    return row_sums_of(p_, t_, v_);
}

void pair_store::enter_again(std::size_t v, const double* from, double* out) {
    enter_table(p_, t_, v, from, out);
    if (t_.scale[v] != 1.0) divide_table(p_, t_, v, t_.scale[v], out);
}

template <typename Place>
void pair_store::rebuild(std::size_t first, std::size_t n, const Place& place) {
    const double* from = kept_table(t_, first);
    for (std::size_t v = first + 1; v <= first + n; ++v) {
        double* out = place(v);
        enter_again(v, from, out);
        from = out;
    }
}

// The table of the site in hand alone.
void pair_store::build_one() {
    built_ = v_;
    ensure_size(t_.local, t_.table_size);
    const std::size_t first = block().first;
    if (!block().by_class) {
        for (std::size_t v = first + 1; v <= v_; ++v) {
            enter_again(v, v == first + 1 ? kept_table(t_, first) : local_table(0), local_table(0));
        }
        return;
    }
    t_.classes.start(p_.n_states);
    for (std::size_t v = first + 1; v <= v_; ++v) t_.classes.split(p_.bits(v));
    t_.by_class.start(t_.classes, kept_table(t_, first));
    for (std::size_t v = first + 1; v <= v_; ++v) {
        t_.by_class.step(class_site_of(p_, v), terms_into(p_, t_, v), t_.row.data());
    }
    t_.by_class.write_table(kept_table(t_, first), local_table(0));
}

void pair_store::follow_pair(std::size_t a, std::size_t b) {
    followed_pair_ = {a, b};
    const std::size_t first = block().first;
    followed_.assign(1, kept_table(t_, first)[pair_place(p_, a, b)]);
    for (std::size_t v = first + 1; v <= v_; ++v) followed_.push_back(next_value(v, followed_.back(), a, b));
}

// One entry of the table, in the order of operations of the kernels.
double pair_store::next_value(std::size_t v, double value, std::size_t a, std::size_t b) const {
    const pair_terms terms = terms_into(p_, t_, v);
    double arrived = (terms.shared[a] + terms.constant) + terms.shared[b];
    if (!p_.ordered && a == b) arrived *= 0.5;
    const double w = (terms.stay * value + arrived) * p_.pair_emission(v, a, b);
    return t_.scale[v] != 1.0 ? w / t_.scale[v] : w;
}
