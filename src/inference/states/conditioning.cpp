#include "inference/states/conditioning.h"

#include <algorithm>
#include <array>

#include "inference/states/state_selection.h"
#include "random/random.h"

namespace {

// The haplotypes that an update may copy: whole panels in order, less the target's own.
struct candidate_pool {
    std::size_t first_panel = 0, last_panel = 0;
    std::optional<std::size_t> own_panel;  // the panel of the left-out haplotypes
    std::size_t own_first = 0;
    std::size_t n_own = 0;
    std::size_t n_all = 0;  // with the left-out ones
};

candidate_pool make_pool(const panel_array& panels, const state_target& target) {
    candidate_pool pool;
    pool.first_panel = target.cond_panel > target.panel ? target.cond_panel : 0;
    pool.last_panel = target.cond_panel - (target.lower_panels_only ? 1 : 0);
    if (target.panel == pool.last_panel && target.hap) {
        pool.own_panel = target.panel;
        pool.own_first = *target.hap;
        pool.n_own = target.n_hap;
    }
    for (std::size_t p = pool.first_panel; p <= pool.last_panel; ++p) pool.n_all += panels[p].n_hap;
    return pool;
}

// Calls visit(panel, first, end) for the candidates in order, stretch by stretch of haplotypes.
template <typename Visit>
void for_each_stretch(const panel_array& panels, const candidate_pool& pool, Visit visit) {
    for (std::size_t p = pool.first_panel; p <= pool.last_panel; ++p) {
        const std::size_t n = panels[p].n_hap;
        if (p == pool.own_panel) {
            visit(p, std::size_t{0}, pool.own_first);
            visit(p, std::min(pool.own_first + pool.n_own, n), n);
        } else {
            visit(p, std::size_t{0}, n);
        }
    }
}

// Calls visit(panel, hap) for every candidate in order.
template <typename Visit>
void for_each_candidate(const panel_array& panels, const candidate_pool& pool, Visit visit) {
    for_each_stretch(panels, pool, [&visit](std::size_t p, std::size_t first, std::size_t end) {
        for (std::size_t h = first; h < end; ++h) visit(p, h);
    });
}

void take_all(const panel_array& panels, const candidate_pool& pool, conditioning_states& states) {
    for_each_candidate(panels, pool, [&states](std::size_t p, std::size_t h) { states.add(p, h); });
}

// Takes the candidates that keep marks.
template <typename Add>
void take_marked(const panel_array& panels, const candidate_pool& pool, const std::vector<std::uint8_t>& keep,
                 Add add) {
    std::size_t i = 0;
    for_each_candidate(panels, pool, [&](std::size_t p, std::size_t h) {
        if (keep[i++] != 0) add(p, h);
    });
}

}  // namespace

void choose_random_conditioning_states(const inference_inputs& in, const state_target& target,
                                       conditioning_states& states) {
    states.clear();
    const candidate_pool pool = make_pool(in.panels, target);
    const std::size_t K = in.n_states(target.mode, target.panel, target.cond_panel);
    if (K + pool.n_own >= pool.n_all) {
        take_all(in.panels, pool, states);
        return;
    }
    // Running indices count Panel 0, then Panel 1, then Panel 2.
    const std::array<std::size_t, 3> offset{0, in.panels[0].n_hap, in.panels[0].n_hap + in.panels[1].n_hap};
    const std::size_t start = offset[pool.first_panel];
    const auto own = [&](std::size_t i) {
        return i < pool.n_own ? static_cast<int>(offset[target.panel] + pool.own_first + i - start) : -1;
    };
    std::vector<int> drawn(K);
    RandomPermutation2::Next(static_cast<int>(pool.n_all), static_cast<int>(K), drawn.data(), static_cast<int>(start),
                             own(0), own(1));
    RandomCombination2::SortAscending(static_cast<int>(K), drawn.data());
    for (const int value : drawn) {
        const auto index = static_cast<std::size_t>(value);
        const std::size_t p = index < offset[1] ? 0 : index < offset[2] ? 1 : 2;
        states.add(p, index - offset[p]);
    }
}

namespace {

// Sites at which informed choices count mismatches.
std::vector<std::size_t> counted_sites(const inference_inputs& in, const state_target& target, hole_alleles holes) {
    // The panel whose holes are being filled copies itself at what it knows only.
    const bool own_holes =
        in.plan.fill_holes && target.panel == target.cond_panel && target.panel == in.plan.hole_fill_to;
    const bool full = !own_holes && holes == hole_alleles::known;
    std::vector<std::size_t> counted;
    for (const snp* site : in.sites.in_order) {
        if (site->type < target.panel || site->type == in.plan.n_panels) continue;
        if (in.plan.fill_holes && site->type < target.cond_panel) continue;
        if (!full && site->ref_alleles_missing) continue;
        if (in.params.choose_states_from_scaffold && site->known_haps_flags.empty()) continue;
        counted.push_back(site->index);
    }
    return counted;
}

// Fills the mismatches of every haplotype of the pool's panels with each of the target's haplotypes.
void count_mismatches(const inference_inputs& in, const state_target& target, const candidate_pool& pool,
                      hole_alleles holes, choice_workspace& work) {
    distance_rows& rows =
        holes == hole_alleles::known ? work.distances[target.panel][target.cond_panel] : work.distances_without_holes;
    if (!rows.ready()) rows.set_sites(counted_sites(in, target, holes));
    const haplotypes_by_panel haps = haplotypes_of(in.panels);
    for (std::size_t p = pool.first_panel; p <= pool.last_panel; ++p) {
        rows.distances(haps, target.panel, *target.hap, p, work.ham_dist_a[p]);
        if (target.n_hap == 2) rows.distances(haps, target.panel, *target.hap + 1, p, work.ham_dist_b[p]);
    }
}

// What candidates are ranked by: mismatches with the nearer haplotype of the target.
void list_figures(const panel_array& panels, const state_target& target, const candidate_pool& pool,
                  choice_workspace& work) {
    work.figures.clear();
    for_each_stretch(panels, pool, [&](std::size_t p, std::size_t first, std::size_t end) {
        const int* a = work.ham_dist_a[p].data();
        work.figures.insert(work.figures.end(), a + first, a + end);
        if (target.n_hap == 1) return;
        const int* b = work.ham_dist_b[p].data();
        int* out = work.figures.data() + work.figures.size() - (end - first);
        for (std::size_t i = 0; i < end - first; ++i) out[i] = std::min(out[i], b[first + i]);
    });
}

// Lists the local matches, as many as shall be states: by panel and index, fewer if no more are found.
void match_locally(const inference_inputs& in, const state_target& target, const candidate_pool& pool, std::size_t K,
                   hole_alleles holes, choice_workspace& work) {
    work.matched.clear();
    const std::size_t n_local = K * target.percent_local / 100;
    if (n_local == 0) return;
    local_matches& matches = work.matches[target.panel];
    if (!matches.ready()) matches.set_sites(counted_sites(in, target, holes));
    matches.choose(haplotypes_of(in.panels),
                   {target.panel, *target.hap, target.n_hap, pool.first_panel, pool.last_panel}, n_local, work.matched);
}

// Leaves the local matches nearer than everybody else.
void put_matches_first(const panel_array& panels, const candidate_pool& pool, choice_workspace& work) {
    for (int& figure : work.figures) ++figure;
    std::size_t first = 0;  // of the panel's candidates
    auto match = work.matched.begin();
    for (std::size_t p = pool.first_panel; p <= pool.last_panel; ++p) {
        for (; match != work.matched.end() && match->panel == p; ++match) {
            const bool behind_own = p == pool.own_panel && match->hap > pool.own_first;
            work.figures[first + match->hap - (behind_own ? pool.n_own : 0)] = 0;
        }
        first += panels[p].n_hap - (p == pool.own_panel ? pool.n_own : 0);
    }
}

}  // namespace

void choose_informed_conditioning_states(const inference_inputs& in, const state_target& target, hole_alleles holes,
                                         choice_workspace& work, conditioning_states& states,
                                         copy_state_record* record) {
    states.clear();
    const candidate_pool pool = make_pool(in.panels, target);
    const std::size_t K = in.n_states(target.mode, target.panel, target.cond_panel);
    if (K < 1) return;
    const auto keep_state = [&](std::size_t p, std::size_t h, int dist_a, int dist_b) {
        states.add(p, h);
        if (record == nullptr) return;
        record->panel.push_back(p);
        record->hap.push_back(h);
        record->dist_a.push_back(dist_a);
        if (target.n_hap == 2) record->dist_b.push_back(dist_b);
    };
    if (K + pool.n_own >= pool.n_all) {
        for_each_candidate(in.panels, pool, [&](std::size_t p, std::size_t h) { keep_state(p, h, 0, 0); });
        return;
    }
    match_locally(in, target, pool, K, holes, work);
    if (work.matched.size() == K && record == nullptr) {
        for (const matched_haplotype& match : work.matched) states.add(match.panel, match.hap);
        return;
    }
    count_mismatches(in, target, pool, holes, work);
    list_figures(in.panels, target, pool, work);
    if (!work.matched.empty()) put_matches_first(in.panels, pool, work);
    select_nearest(work.figures, K, work.keep);
    take_marked(in.panels, pool, work.keep, [&](std::size_t p, std::size_t h) {
        keep_state(p, h, work.ham_dist_a[p][h], target.n_hap == 2 ? work.ham_dist_b[p][h] : 0);
    });
}

namespace {

// Where haplotypes stand in the matrix.
class matrix_layout {
  public:
    explicit matrix_layout(const inference_inputs& in) : by_hap_(is_given(in.params.distances_by_hap_file)) {
        offset_[1] = in.panels[0].n_hap;
        offset_[2] = in.panels[0].n_hap + (by_hap_ ? in.panels[1].n_hap : in.panels[1].n_ind);
        if (by_hap_) return;
        for (std::size_t p = 1; p <= 2; ++p) {
            for (std::size_t i = 0; i < in.panels[p].n_ind; ++i) {
                individual_[p].insert(individual_[p].end(), in.panels[p].is_haploid(i) ? 1 : 2, i);
            }
        }
    }
    std::size_t place(std::size_t panel, std::size_t hap) const {
        return offset_[panel] + (by_hap_ || panel == 0 ? hap : individual_[panel][hap]);
    }

  private:
    bool by_hap_;
    std::array<std::size_t, 3> offset_{};
    std::array<std::vector<std::size_t>, 3> individual_;  // by haplotype
};

}  // namespace

void choose_conditioning_states_from_dist_matrix(const inference_inputs& in, const distance_matrix& matrix,
                                                 const state_target& target, choice_workspace& work,
                                                 conditioning_states& states) {
    states.clear();
    const candidate_pool pool = make_pool(in.panels, target);
    const std::size_t K = in.n_states(target.mode, target.panel, target.cond_panel);
    // A single haplotype of Panel 1 or 2 counts for two here: all are taken one candidate early, but for the last one.
    const std::size_t n_own = pool.n_own == 0 ? 0 : target.panel == 0 ? 1 : 2;
    if (K + n_own >= pool.n_all) {
        take_all(in.panels, pool, states);
        states.resize(std::min(states.size(), K));
        return;
    }
    if (K < 1) return;
    const matrix_layout layout(in);
    const std::size_t first = *target.hap;
    const std::vector<double>& row_a = matrix[layout.place(target.panel, first)];
    const std::vector<double>& row_b = matrix[layout.place(target.panel, first + target.n_hap - 1)];
    work.matrix_figures.clear();
    for_each_candidate(in.panels, pool, [&](std::size_t p, std::size_t h) {
        const std::size_t column = layout.place(p, h);
        work.matrix_figures.push_back(std::min(row_a[column], row_b[column]));
    });
    select_nearest(work.matrix_figures, K, work.keep);
    take_marked(in.panels, pool, work.keep, [&](std::size_t p, std::size_t h) { states.add(p, h); });
}
