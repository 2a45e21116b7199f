// The choice of the conditioning states of an update: at random, by similarity, or from a matrix of distances.

#include <algorithm>
#include <array>

#include "inference/states/conditioning.h"
#include "inference/states/state_selection.h"
#include "inference/update/workspace.h"
#include "model/data.h"
#include "random/random.h"

namespace {

// The haplotypes that an update may copy: whole panels in order, less the target's own.
struct candidate_pool {
    int first_panel = 0, last_panel = 0;
    int own_panel = -1;  // the panel of the left-out haplotypes, -1 for none
    int own_first = -1;
    int n_own = 0;
};

candidate_pool make_pool(int hap, int n_own, int panel, int cond_panel) {
    candidate_pool pool;
    if (cond_panel > panel) {
        pool.first_panel = pool.last_panel = cond_panel;
    } else {
        pool.last_panel = cond_panel;
    }
    if (panel == cond_panel && hap >= 0) {
        pool.own_panel = panel;
        pool.own_first = hap;
        pool.n_own = n_own;
    }
    return pool;
}

int pool_size(const data& run, const candidate_pool& pool) {
    int n = 0;
    for (int p = pool.first_panel; p <= pool.last_panel; ++p) n += run.panels[static_cast<std::size_t>(p)].n_hap;
    return n;
}

// Calls visit(panel, first, end) for the candidates in order, stretch by stretch of haplotypes.
template <typename Visit>
void for_each_stretch(const data& run, const candidate_pool& pool, Visit visit) {
    for (int p = pool.first_panel; p <= pool.last_panel; ++p) {
        const int n = run.panels[static_cast<std::size_t>(p)].n_hap;
        if (p == pool.own_panel) {
            visit(p, 0, pool.own_first);
            visit(p, std::min(pool.own_first + pool.n_own, n), n);
        } else {
            visit(p, 0, n);
        }
    }
}

// Calls visit(panel, hap) for every candidate in order.
template <typename Visit>
void for_each_candidate(const data& run, const candidate_pool& pool, Visit visit) {
    for_each_stretch(run, pool, [&visit](int p, int first, int end) {
        for (int h = first; h < end; ++h) visit(p, h);
    });
}

void take_all(data& run, const candidate_pool& pool) {
    for_each_candidate(run, pool, [&run](int p, int h) { run.cond_states.add(p, h); });
}

int model_states(const data& run, int ploidy, int panel, int cond_panel) {
    return run.models.k_states[static_cast<std::size_t>(ploidy)][static_cast<std::size_t>(panel)]
                              [static_cast<std::size_t>(cond_panel)];
}

// The record of the choices for one line of a copy-state file; null where none is kept.
copy_state_record* record_of(data& run, int hap, int ploidy, int panel, int cond_panel) {
    const bool diploid = run.params.show_diploid_copy_states && ploidy == 1 && panel == 2 && cond_panel == 2;
    const bool haploid = run.params.show_haploid_copy_states && ploidy == 0 && panel == 2 && cond_panel < 2;
    if (!diploid && !haploid) return nullptr;
    auto& records = run.copy_states[static_cast<std::size_t>(ploidy)][2][static_cast<std::size_t>(cond_panel)];
    const auto line = static_cast<std::size_t>(ploidy == 1 ? hap / 2 : hap);
    return line < records.size() ? &records[line] : nullptr;
}

// Sites at which informed choices count mismatches.
std::vector<int> counted_sites(const data& run, int panel, int cond_panel) {
    const bool full = run.full_sites(panel, cond_panel);
    std::vector<int> counted;
    for (const snp* site : run.sites.in_order) {
        if (site->type < panel || site->type == run.plan.n_panels) continue;
        if (run.params.fill_holes && site->type < cond_panel) continue;
        if (!full && site->ref_alleles_missing) continue;
        if (run.params.choose_states_from_scaffold && site->known_haps_flags.empty()) continue;
        counted.push_back(site->index);
    }
    return counted;
}

}  // namespace

void choose_random_conditioning_states(data& run, int hap, int ploidy, int panel, int cond_panel) {
    run.cond_states.clear();
    const candidate_pool pool = make_pool(hap, ploidy + 1, panel, cond_panel);
    const int K = model_states(run, ploidy, panel, cond_panel);
    const int n_all = pool_size(run, pool);
    if (K >= n_all - pool.n_own) {
        take_all(run, pool);
        return;
    }
    // Running indices count Panel 0, then Panel 1, then Panel 2.
    const std::array<int, 3> offset{0, run.panels[0].n_hap, run.panels[0].n_hap + run.panels[1].n_hap};
    const int start = offset[static_cast<std::size_t>(pool.first_panel)];
    const int own = pool.n_own > 0 ? offset[static_cast<std::size_t>(panel)] + hap - start : -1;
    std::vector<int> drawn(static_cast<std::size_t>(K));
    RandomPermutation2::Next(n_all, K, drawn.data(), start, own, pool.n_own == 2 ? own + 1 : -1);
    RandomCombination2::SortAscending(K, drawn.data());
    for (const int index : drawn) {
        const int p = index < offset[1] ? 0 : index < offset[2] ? 1 : 2;
        run.cond_states.add(p, index - offset[static_cast<std::size_t>(p)]);
    }
}

void choose_informed_conditioning_states(data& run, int hap, int ploidy, int panel, int cond_panel, bool single) {
    run.cond_states.clear();
    const candidate_pool pool = make_pool(hap, ploidy + 1, panel, cond_panel);
    const int K = model_states(run, ploidy, panel, cond_panel);
    copy_state_record* record = record_of(run, hap, ploidy, panel, cond_panel);
    const auto keep_state = [&](int p, int h, int dist_a, int dist_b) {
        run.cond_states.add(p, h);
        if (record == nullptr) return;
        record->panel.push_back(p);
        record->hap.push_back(h);
        record->dist_a.push_back(dist_a);
        if (!single) record->dist_b.push_back(dist_b);
    };
    if (K < 1 || K >= pool_size(run, pool) - pool.n_own) {
        for_each_candidate(run, pool, [&](int p, int h) { keep_state(p, h, 0, 0); });
        if (K < 1) run.cond_states.clear();
        return;
    }
    const auto target = static_cast<std::size_t>(panel);
    distance_rows& rows = run.work->distances[target][static_cast<std::size_t>(cond_panel)];
    if (!rows.ready()) rows.set_sites(counted_sites(run, panel, cond_panel));
    for (int p = pool.first_panel; p <= pool.last_panel; ++p) {
        const auto other = static_cast<std::size_t>(p);
        rows.distances(haplotypes_of(run.panels), target, static_cast<std::size_t>(hap), other,
                       run.work->ham_dist_a[other]);
        if (!single)
            rows.distances(haplotypes_of(run.panels), target, static_cast<std::size_t>(hap) + 1, other,
                           run.work->ham_dist_b[other]);
    }
    const auto dist = [&](const std::array<std::vector<int>, 3>& table, int p, int h) {
        return table[static_cast<std::size_t>(p)][static_cast<std::size_t>(h)];
    };
    run.work->figures.clear();
    for_each_stretch(run, pool, [&](int p, int first, int end) {
        const auto a = run.work->ham_dist_a[static_cast<std::size_t>(p)].begin();
        const auto b = run.work->ham_dist_b[static_cast<std::size_t>(p)].begin();
        run.work->figures.insert(run.work->figures.end(), a + first, a + end);
        if (single) return;
        const auto out = run.work->figures.end() - (end - first);
        for (int i = 0; i < end - first; ++i) out[i] = std::min(out[i], b[first + i]);
    });
    select_nearest(run.work->figures, static_cast<std::size_t>(K), run.work->keep);
    std::size_t i = 0;
    for_each_candidate(run, pool, [&](int p, int h) {
        if (run.work->keep[i++] == 0) return;
        keep_state(p, h, dist(run.work->ham_dist_a, p, h), single ? 0 : dist(run.work->ham_dist_b, p, h));
    });
}

namespace {

// Rows and columns of the matrix of distances: Panel 0 haplotypes, then the units of Panel 1, then those of Panel 2. A
// unit is a haplotype or an individual.
class matrix_layout {
  public:
    explicit matrix_layout(const data& run) : by_hap_(is_given(run.params.distances_by_hap_file)) {
        offset_[1] = run.panels[0].n_hap;
        offset_[2] = run.panels[0].n_hap + (by_hap_ ? run.panels[1].n_hap : run.panels[1].n_ind);
        if (by_hap_) return;
        for (int panel = 1; panel <= 2; ++panel) {
            auto& owner = individual_[static_cast<std::size_t>(panel)];
            for (int i = 0; i < run.panels[static_cast<std::size_t>(panel)].n_ind; ++i) {
                owner.insert(owner.end(), run.panels[panel].is_haploid(i) ? 1 : 2, i);
            }
        }
    }
    std::size_t place(int panel, int hap) const {
        const auto p = static_cast<std::size_t>(panel);
        const int unit = by_hap_ || panel == 0 ? hap : individual_[p][static_cast<std::size_t>(hap)];
        return static_cast<std::size_t>(offset_[p]) + static_cast<std::size_t>(unit);
    }

  private:
    bool by_hap_;
    std::array<int, 3> offset_{};
    std::array<std::vector<int>, 3> individual_;
};

}  // namespace

void choose_conditioning_states_from_dist_matrix(data& run, int hap, int ploidy, int panel, int cond_panel,
                                                 bool single) {
    // Without single, hap is an individual.
    const int first = single ? hap : run.panels[panel].first_hap(hap);
    const int n_own = panel == 0 || (single ? ploidy == 0 : run.panels[panel].is_haploid(hap)) ? 1 : 2;
    run.cond_states.clear();
    const candidate_pool pool = make_pool(first, n_own, panel, cond_panel);
    const int K = model_states(run, ploidy, panel, cond_panel);
    const int n_own_counted = pool.n_own == 0 ? 0 : panel == 0 ? 1 : 2;
    const int n_available = pool_size(run, pool) - n_own_counted;
    if (K >= n_available) {
        take_all(run, pool);
        // A single haplotype comes here one candidate early: the last one is then left out.
        while (run.cond_states.size() > static_cast<std::size_t>(std::max(K, 0))) {
            run.cond_states.panel.pop_back();
            run.cond_states.hap.pop_back();
        }
        return;
    }
    const matrix_layout layout(run);
    const std::vector<double>& row_a = run.dist_matrix[layout.place(panel, first)];
    const std::vector<double>& row_b = run.dist_matrix[layout.place(panel, first + (single || n_own == 1 ? 0 : 1))];
    run.work->matrix_figures.clear();
    for_each_candidate(run, pool, [&](int p, int h) {
        const std::size_t column = layout.place(p, h);
        run.work->matrix_figures.push_back(std::min(row_a[column], row_b[column]));
    });
    if (K < 1) return;
    select_nearest(run.work->matrix_figures, static_cast<std::size_t>(K), run.work->keep);
    std::size_t i = 0;
    for_each_candidate(run, pool, [&](int p, int h) {
        if (run.work->keep[i++] != 0) run.cond_states.add(p, h);
    });
}
