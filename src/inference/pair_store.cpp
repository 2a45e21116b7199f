#include "inference/pair_store.h"

#include <algorithm>
#include <array>

#include "inference/kernels/kernels.h"

namespace {

const std::vector<bool>& checkpoints(const pair_problem& problem) {
    static const std::vector<bool> none(1, true);
    return problem.checkpoint != nullptr ? *problem.checkpoint : none;
}

std::size_t table_size(const pair_problem& p) {
    return p.ordered ? p.n_states * kernels::padded(p.n_states) : kernels::triangle_size(p.n_states);
}

double both_stay(const pair_problem& p, std::size_t v) {
    return v == 0 ? 0.0 : p.gap[v].both_stay;
}

}  // namespace

bool keeps_table(const pair_problem& problem, std::size_t v) {
    return problem.checkpoint != nullptr ? (*problem.checkpoint)[v] : v % problem.keep_every == 0;
}

void size_tables(const pair_problem& problem, pair_tables& tables) {
    const std::size_t K8 = kernels::padded(problem.n_states);
    tables.stride = K8;
    tables.table_size = table_size(problem);
    ensure_size(tables.row, K8);
    ensure_size(tables.emission_rows, 2 * K8);
    ensure_size(tables.row_sums, keeps_row_sums(problem) ? problem.n_sites * K8 : K8);
    for (aligned_buffer* row : {&tables.noted_shared, &tables.joined_shared}) ensure_size(*row, K8);
    for (aligned_buffer& row : tables.followed) ensure_size(row, K8);
    ensure_size(tables.work, tables.table_size);
    ensure_size(tables.shared, problem.n_sites * K8);
    tables.constant.assign(problem.n_sites, 0.0);
    tables.scale.assign(problem.n_sites, 1.0);
    tables.noted.assign(problem.n_sites, false);
    tables.noted_emission.resize(problem.n_sites);
    tables.kept_row.assign(problem.n_sites, 0);
    std::size_t n_kept = 0;
    for (std::size_t v = 0; v < problem.n_sites; ++v) {
        if (keeps_table(problem, v)) tables.kept_row[v] = n_kept++;
    }
    ensure_size(tables.kept, n_kept * tables.table_size);
    const std::size_t interval =
        problem.checkpoint != nullptr ? std::max<std::size_t>(problem.interval, 1) : problem.keep_every - 1;
    ensure_size(tables.local, interval * tables.table_size);
}

pair_terms terms_into(const pair_problem& problem, const pair_tables& tables, std::size_t v) {
    return {both_stay(problem, v), tables.shared.data() + v * tables.stride, tables.constant[v]};
}

bool keeps_row_sums(const pair_problem& problem) {
    return !problem.ordered && problem.checkpoint == nullptr;
}

double* row_sums_of(const pair_problem& problem, pair_tables& tables, std::size_t v) {
    return tables.row_sums.data() + (keeps_row_sums(problem) ? v * tables.stride : 0);
}

double enter_table(const pair_problem& problem, pair_tables& tables, std::size_t v, const pair_terms& terms,
                   const double* from, double* out) {
    const kernels::table& k = kernels::active();
    if (problem.ordered) {
        return k.ordered_forward(problem.n_states, from, terms.shared, terms.stay, terms.constant, problem.bits(v),
                                 problem.emission[v].data(), out, tables.row.data());
    }
    const std::array<double, 3> by_sum = problem.emission_by_sum(v);
    return k.diploid_forward(problem.n_states, from, terms.shared, terms.stay, terms.constant, problem.bits(v),
                             by_sum.data(), tables.emission_rows.data(), out, tables.row.data(),
                             row_sums_of(problem, tables, v));
}

pair_store::pair_store(const pair_problem& problem, pair_tables& tables)
    : p_(problem), t_(tables), blocks_(checkpoints(problem)) {}

void pair_store::enter(std::size_t v) {
    v_ = v;
    if (p_.checkpoint != nullptr) {  // the walk's own rules say when a block is built, and which store is read
        if (blocks_.enter(v)) rebuild(blocks_.first(), blocks_.n_local());
        kept_ = blocks_.is_kept(v);
        return;
    }
    kept_ = keeps_table(p_, v);
    const std::size_t first = v - v % p_.keep_every;
    if (v + 1 == p_.n_sites || first != first_) {
        n_built_ = 0;
        followed_a_ = -1;
        first_ = first;
    }
}

double* pair_store::table() {
    if (kept_) return kept_table(v_);
    if (p_.checkpoint != nullptr) return local_table(blocks_.local_index());
    if (n_built_ < v_ - first_) rebuild(first_, v_ - first_);
    return local_table(v_ - first_ - 1);
}

double pair_store::value(int a, int b) {
    if (kept_ || p_.checkpoint != nullptr || n_built_ >= v_ - first_) return table()[pair_place(p_, a, b)];
    if (a != followed_a_ || b != followed_b_) follow_pair(a, b);
    return followed_[v_ - first_];
}

bool pair_store::has_rows() const {
    return keeps_row_sums(p_) && !kept_ && n_built_ < v_ - first_;
}

const double* pair_store::row(int a, std::size_t place) {
    double* row = t_.followed[place].data();
    const double* from = kept_table(first_);
    for (int b = 0; b < static_cast<int>(p_.n_states); ++b)
        row[b] = from[pair_place(p_, std::max(a, b), std::min(a, b))];
    for (std::size_t v = first_ + 1; v <= v_; ++v) {
        const pair_terms terms = terms_into(p_, t_, v);
        const std::array<double, 3> by_sum = p_.emission_by_sum(v);
        kernels::active().diploid_forward_row(p_.n_states, static_cast<std::size_t>(a), row, terms.shared, terms.stay,
                                              terms.constant, p_.bits(v), by_sum.data(), row);
        if (t_.scale[v] != 1.0) kernels::active().divide(p_.n_states, t_.scale[v], row);
    }
    return row;
}

// Where the forward sweep wrote no table, from the last site where it did: row a has a + 1 pairs, of which the pair of
// one state has its share once and half the constant.
const double* pair_store::row_sums() {
    std::size_t written = v_;
    while (t_.noted[written]) --written;
    const double* sums = row_sums_of(p_, t_, written);
    for (std::size_t v = written + 1; v <= v_; ++v) {
        const pair_terms terms = terms_into(p_, t_, v);
        double* here = row_sums_of(p_, t_, v);
        double before = 0.0;  // shares of the states before a
        for (std::size_t a = 0; a < p_.n_states; ++a) {
            const double share = terms.shared[a], n = static_cast<double>(a);
            const double sum = t_.noted_emission[v] *
                               (terms.stay * sums[a] + (before + ((n + 1.0) * share + (n + 0.5) * terms.constant)));
            here[a] = t_.scale[v] != 1.0 ? sum / t_.scale[v] : sum;
            before += share;
        }
        sums = here;
    }
    return sums;
}

void pair_store::rebuild(std::size_t first, std::size_t n) {
    const double* from = kept_table(first);
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t v = first + 1 + i;
        double* out = local_table(i);
        enter_table(p_, t_, v, terms_into(p_, t_, v), from, out);
        if (t_.scale[v] != 1.0) {
            kernels::active().divide(t_.table_size, t_.scale[v], out);
            if (!p_.ordered) kernels::active().divide(p_.n_states, t_.scale[v], row_sums_of(p_, t_, v));
        }
        from = out;
    }
    n_built_ = n;
}

void pair_store::follow_pair(int a, int b) {
    followed_a_ = a;
    followed_b_ = b;
    followed_.assign(1, kept_table(first_)[pair_place(p_, a, b)]);
    for (std::size_t v = first_ + 1; v <= v_; ++v) followed_.push_back(next_value(v, followed_.back(), a, b));
}

// One entry of the table, in the order of operations of the kernels.
double pair_store::next_value(std::size_t v, double value, int a, int b) const {
    const pair_terms terms = terms_into(p_, t_, v);
    double arrived = (terms.shared[a] + terms.constant) + terms.shared[b];
    if (!p_.ordered && a == b) arrived *= 0.5;
    const double w = (terms.stay * value + arrived) * p_.pair_emission(v, a, b);
    return t_.scale[v] != 1.0 ? w / t_.scale[v] : w;
}
