#include "reconcile/storage.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "inference/update/workspace.h"
#include "io/text.h"
#include "io/text_input.h"
#include "model/data.h"

namespace {

std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

void list_iterations(data& run) {
    const parameters& p = run.params;
    run.plan.stored_iters.clear();
    if (p.burnin < p.iter - 1) {
        for (long it = p.burnin; it <= p.iter - 2; it += p.thin) run.plan.stored_iters.push_back(static_cast<int>(it));
        run.plan.stored_iters.push_back(p.iter - 1);
    } else {
        run.plan.stored_iters.push_back(p.burnin);
    }
}

void list_selfcheck_iterations(data& run) {
    run.plan.selfcheck_iters.clear();
    if (!(run.params.selfcheck > 0.0)) return;
    const double step = std::floor(1.0 / run.params.selfcheck + 0.5);
    double count = 0.0;
    run.plan.selfcheck_iters.push_back(run.plan.stored_iters.front());
    for (std::size_t i = 1; i < run.plan.stored_iters.size(); ++i) {
        count += 1.0;
        if (count == step) {
            run.plan.selfcheck_iters.push_back(run.plan.stored_iters[i]);
            count = 0.0;
        }
    }
    if (run.plan.selfcheck_iters.back() != run.plan.stored_iters.back())
        run.plan.selfcheck_iters.push_back(run.plan.stored_iters.back());
}

void settle_informed_start(data& run) {
    parameters& p = run.params;
    if (p.random_cond) {
        run.plan.informed_start_iter = -1;
        return;
    }
    if (p.informed_burnin > p.burnin) p.informed_burnin = p.burnin;
    if (p.informed_burnin == -1) p.informed_burnin = static_cast<int>(std::floor(p.burnin * 0.6666666666666666 + 0.5));
    run.plan.informed_start_iter = p.burnin - p.informed_burnin;
}

// The sites that a model visits.
void list_model_sites(data& run, hmm_model& model, const std::function<bool(const snp&)>& visited) {
    model.site.clear();
    for (const snp* site : run.sites.in_order) {
        if (visited(*site)) model.site.push_back(site->index);
    }
}

void list_traits(data& run) {
    run.sites.traits.clear();
    for (const snp* site : run.sites.in_order) {
        run.sites.traits.push_back({static_cast<std::int8_t>(site->type), static_cast<std::int8_t>(site->top_panel),
                                    site->panel1_placeholder, site->ref_alleles_missing});
    }
}

void build_models(data& run) {
    for (int panel = 0; panel < 3; ++panel) {
        for (int cond = 0; cond < 3; ++cond) {
            const bool full = run.full_sites(panel, cond);
            if (cond <= panel) {
                list_model_sites(run, run.models.chains[0][at(panel)][at(cond)], [&](const snp& s) {
                    return s.top_panel >= cond && s.top_panel != run.plan.n_panels && (full || !s.ref_alleles_missing);
                });
            }
            if (run.params.fill_holes && panel == run.plan.hole_fill_to && cond == run.plan.hole_fill_from) {
                list_model_sites(run, run.models.hole_chains[0][at(panel)][at(cond)], [&](const snp& s) {
                    return s.type >= cond && s.type != 3 && !(cond == 1 && s.panel1_placeholder);
                });
                hmm_model& holes = run.models.hole_chains[0][at(panel)][at(cond)];
                holes.hap_gap.assign(holes.n_sites(), haploid_gap{});
            }
        }
        if (panel == 0) continue;
        const bool full = run.full_sites(panel, panel);
        list_model_sites(run, run.models.chains[1][at(panel)][at(panel)], [&](const snp& s) {
            return s.type >= panel && s.type != run.plan.n_panels && (full || !s.ref_alleles_missing) &&
                   !(panel == 1 && s.panel1_placeholder);
        });
    }
}

struct checkpoint_plan {
    hmm_model* model;
    bool active;
    int n_sites;
    bool diploid;
};

std::vector<checkpoint_plan> checkpoint_plans(data& run) {
    const parameters& p = run.params;
    std::array<int, 4> n_type{};
    for (const snp* site : run.sites.in_order) ++n_type[at(site->type)];
    const int a = n_type[2], b = n_type[1], c = n_type[0], d = n_type[3];
    const int n_study = run.plan.n_panels == 3 ? a : d;
    const bool panel1 = run.panels[1].n_hap > 0;
    const bool study = run.panels[2].n_ind > 0;
    const bool through_panel1 = p.use_panel1_for_type0_imputation;
    const bool panel0_used = run.plan.output_types[0] || p.weight_panel == 0 || p.show_ref_copy_probs;
    auto& m = run.models.chains;
    return {
        {&m[0][0][0], run.panels[0].n_hap > 0 && run.panels[0].needs_update, a + b + c, false},
        {&m[0][1][0], panel1 && through_panel1, a + b + c, false},
        {&m[0][1][1], panel1 && run.panels[1].needs_update && run.plan.chrx_haploid, a + b, false},
        {&m[0][2][0],
         study && run.panels[0].n_hap > 0 && panel0_used && (!through_panel1 || p.stage_one || p.selfcheck > 0.0),
         a + b + c, false},
        {&m[0][2][1], study && panel1 && run.plan.output_types[1], through_panel1 ? a + b + c : a + b, false},
        {&m[0][2][2], study && run.panels[2].needs_update && (p.haploid_g || run.plan.chrx_haploid), n_study, false},
        {&m[1][1][1], panel1 && run.panels[1].needs_update, a + b, true},
        {&m[1][2][2], study && run.panels[2].needs_update && !p.haploid_g, n_study, true},
    };
}

// Every interval-th site of a model, counted from its last one.
void set_checkpoints(hmm_model& model) {
    model.checkpoint.assign(model.n_sites(), false);
    for (std::size_t v = model.n_sites(); v-- > 0;) {
        model.checkpoint[v] = (model.n_sites() - 1 - v) % model.interval == 0;
    }
}

void plan_memory_saving(data& run) {
    std::array<std::size_t, 2> largest{};
    std::array<bool, 2> needed{};
    for (const checkpoint_plan& plan : checkpoint_plans(run)) {
        if (!plan.active) continue;
        plan.model->interval = static_cast<std::size_t>(std::floor(std::sqrt(static_cast<float>(plan.n_sites))));
        const std::size_t kind = plan.diploid ? 1 : 0;
        needed[kind] = true;
        largest[kind] = std::max(largest[kind], plan.model->interval);
        if (plan.model->interval > 0) set_checkpoints(*plan.model);
    }
    if ((needed[0] && largest[0] < 1) || (needed[1] && largest[1] < 1)) {
        run.log.fatal(
            "ERROR: The program could not allocate buffer space for memory-saving calculations. Please contact the "
            "authors for assistance.");
    }
}

// Gives a column to every site of the accumulation interval that a rule wants.
struct columns {
    std::vector<int> column;
    std::size_t n = 0;
    columns(const data& run, const std::function<bool(const snp&)>& wanted) : column(run.sites.in_order.size(), -1) {
        const auto [first, last] = run.sites.range(run.haps_interval());
        for (std::size_t s = first; s < last; ++s) {
            if (run.sites.in_order[s]->type != run.plan.n_panels && wanted(*run.sites.in_order[s]))
                column[s] = static_cast<int>(n++);
        }
    }
};

void allocate_sums(data& run) {
    const parameters& p = run.params;
    accumulators& acc = run.acc;
    const auto n_ind = at(run.panels[2].n_ind);
    const auto n_known =
        static_cast<std::size_t>(std::count(run.panels[2].ordered.begin(), run.panels[2].ordered.end(), true));
    const bool posterior_genotypes = p.pgs || p.pgs_miss || p.pgs_prob;
    const auto imputed = [&](const snp& s) { return s.top_panel < 2 && run.plan.output_types[at(s.type)]; };
    const auto typed = [&](const snp& s) { return s.type == run.plan.n_panels - 1; };

    if (!p.mc_impute || posterior_genotypes) {
        const columns cols(
            run, [&](const snp& s) { return (imputed(s) && !p.mc_impute) || (typed(s) && posterior_genotypes); });
        for (sum_table& table : acc.gtype_acc) table.allocate(n_ind, cols.column, cols.n);
    }
    if (n_known > 0 && (p.print_allele_probs || p.phase)) {
        const columns cols(run, [&](const snp& s) { return typed(s) || (imputed(s) && p.phase); });
        for (sum_table& table : acc.gtype_acc2) table.allocate(n_known, cols.column, cols.n);
    }
    if (!run.plan.selfcheck_iters.empty()) {
        const columns cols(run, [&](const snp& s) { return s.type == 2; });
        for (std::size_t cond = 0; cond < 2; ++cond) {
            if (!run.plan.output_types[cond] && p.weight_panel != static_cast<int>(cond)) continue;
            for (sum_table& table : acc.gtype_acc3[cond]) table.allocate(n_ind, cols.column, cols.n);
        }
    }
}

std::size_t count_missing(const data& run, const snp& site) {
    const auto& gtypes = site.gtypes[2];
    if (run.plan.sporadic_haploid_imputation) {
        std::size_t n = 0;
        for (std::size_t h = 0; h < run.panels[0].missing.n_hap(); ++h)
            n += at(run.panels[0].missing.allele(h, at(site.index)));
        return n;
    }
    const auto n = std::min<std::ptrdiff_t>(run.params.nind, std::ssize(gtypes));
    return static_cast<std::size_t>(std::count(gtypes.begin(), gtypes.begin() + n, missing_genotype));
}

void allocate_tallies(data& run) {
    const parameters& p = run.params;
    accumulators& acc = run.acc;
    if (!p.mc_impute && !run.plan.sporadic_haploid_imputation) return;
    acc.last_sampled_gtype.assign(run.sites.in_order.size(), 0);
    acc.tallies.resize(run.sites.in_order.size());
    if (!p.mc_impute) return;
    for (const snp* site : run.sites.in_order) {
        if (site->type == run.plan.n_panels) continue;
        const bool by_missing = run.plan.sporadic_haploid_imputation ||
                                (run.plan.count_missing_only && site->type == run.plan.n_panels - 1);
        const std::size_t n = by_missing ? count_missing(run, *site) : at(run.panels[2].n_ind);
        for (auto& counts : acc.tallies[at(site->index)].miss_counts) counts.assign(n, 0);
    }
}

void allocate_samples(data& run) {
    const parameters& p = run.params;
    accumulators& acc = run.acc;
    const auto n_ind = at(run.panels[2].n_ind);
    const auto n_known =
        static_cast<std::size_t>(std::count(run.panels[2].ordered.begin(), run.panels[2].ordered.end(), true));
    if (p.phase && !run.plan.tmp_haps) {
        const columns cols(run, [&](const snp& s) { return s.top_panel >= 2 || p.mc_impute; });
        acc.mcmc_bits.allocate(p.mc_impute ? n_ind : n_ind - n_known, cols.column, cols.n,
                               run.plan.stored_iters.size());
    }
    if (p.weight_imputed_gt != -1) {
        for (std::size_t cond = 0; cond < 2; ++cond) {
            acc.weight_base[cond].assign(n_ind, 0.0);
            acc.weight_sum[cond].assign(n_ind, 0.0);
        }
        acc.dip_like.assign(n_ind, 0.0);
    }
    for (auto& probs : run.work->allele_prob) probs.assign(run.sites.in_order.size(), 0.0);
    for (auto& cond : run.work->allele_acc) {
        for (auto& probs : cond) probs.assign(run.sites.in_order.size(), 0.0);
    }
    if (p.show_diploid_copy_states) run.copy_states[1][2][2].resize(n_ind);
    if (p.show_haploid_copy_states) {
        for (std::size_t cond = 0; cond < 2; ++cond) run.copy_states[0][2][cond].resize(at(run.panels[2].n_hap));
    }
}

void read_intermediate_positions(data& run) {
    const std::string& name = run.params.intermed_posns_file;
    if (!run.params.counts_per_iter && !run.params.counts_wt_per_iter) return;
    if (!is_given(name)) return;
    run.log.stage("-reading positions of SNPs for intermediate gtype count printing");
    run.log.line(concat(" --filename=[", name, "]"));
    text_input input(run.log, name, "ERROR: The -intermed_posns file you specified does not exist.",
                     concat("ERROR: The SNP positions file [", name, "] could not be opened."));
    std::string_view line;
    while (input.next_filled_line(line)) {
        std::string_view field;
        field_scanner(line).next(field);
        long position = 0;
        if (!parse_long(field, position)) input.fail(concat("\"", std::string(field), "\" is no position"));
        run.plan.intermed_posns.push_back(position);
    }
}

}  // namespace

void setup_storage(data& run) {
    run.log.stage("-setting storage space");
    parameters& p = run.params;
    if (p.nind > run.panels[2].n_ind) {
        run.log.fatal(concat("ERROR: The -nind value (", p.nind,
                             ") is larger than the number of individuals in the study (", run.panels[2].n_ind, ")."));
    }
    if (p.nind == 0) p.nind = run.panels[2].n_ind;
    list_iterations(run);
    list_selfcheck_iterations(run);
    settle_informed_start(run);
    list_traits(run);
    build_models(run);
    if (p.mem_save_1) plan_memory_saving(run);
    if (!p.suppress_imputation_output) allocate_sums(run);
    allocate_tallies(run);
    allocate_samples(run);
    read_intermediate_positions(run);
}
