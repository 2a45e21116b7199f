#include "inference/update/updates.h"

#include <algorithm>
#include <optional>

#include "inference/states/state_alleles.h"
#include "inference/update/posteriors.h"
#include "inference/update/workspace.h"
#include "model/data.h"
#include "output/copy_probabilities.h"

namespace {

std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

// Whether somebody of a panel is seen through input probabilities.
bool probabilistic(const data& run, int panel) {
    return panel == 2 ? run.params.prob_g : run.params.prob_g_ref;
}

bool ref_allele_missing(const data& run, int hap, std::size_t s) {
    return run.panels[0].missing.n_hap() > 0 && run.panels[0].missing.allele(at(hap), s) == 1;
}

std::uint8_t genotype_of(const data& run, int panel, int ind, std::size_t s) {
    const auto& gtypes = run.sites.in_order[s]->gtypes[panel];
    return gtypes.empty() ? missing_genotype : gtypes[static_cast<std::size_t>(ind)];
}

// Observed allele of a haplotype at site s of the store: 0, 1, or unobserved.
std::uint8_t observed_allele(const data& run, const haploid_update& u, std::size_t s) {
    const site_traits& traits = run.sites.traits[s];
    const auto allele = [&] { return static_cast<std::uint8_t>(run.panels[at(u.panel)].haps.allele(at(u.hap), s)); };
    if (u.panel == 0) return ref_allele_missing(run, u.hap, s) ? unobserved : allele();
    if (u.panel == 1 && traits.panel1_placeholder) return unobserved;
    if (u.panel > u.cond_panel) return traits.type >= u.panel ? allele() : unobserved;
    const std::uint8_t g = genotype_of(run, u.panel, u.ind, s);
    return g == missing_genotype ? unobserved : static_cast<std::uint8_t>(g / 2);
}

bool own_data_missing(const data& run, const haploid_update& u, std::size_t s) {
    return u.panel == 0 ? ref_allele_missing(run, u.hap, s) : genotype_of(run, u.panel, u.ind, s) == missing_genotype;
}

// Whether a walk that samples draws the haplotype's allele at a site.
bool draws_allele(const data& run, const haploid_update& u, std::size_t s) {
    const site_traits& traits = run.sites.traits[s];
    if (u.panel == 1 && traits.panel1_placeholder) return true;
    if (run.params.use_panel1_for_type0_imputation && u.panel == 2) {
        if (traits.top_panel != u.cond_panel) return false;
    } else {
        if (traits.type != u.cond_panel) return false;
        if (u.panel == 0) return own_data_missing(run, u, s);
    }
    return u.panel > u.cond_panel ? traits.type < u.panel : own_data_missing(run, u, s);
}

// The same choice as the older whole-sweep routine makes it.
bool draws_allele_old(const data& run, const haploid_update& u, std::size_t s) {
    const site_traits& traits = run.sites.traits[s];
    if (u.panel == u.cond_panel) return own_data_missing(run, u, s);
    if (u.panel == 1 && traits.panel1_placeholder) return true;
    return (run.params.use_panel1_for_type0_imputation ? traits.top_panel : traits.type) == u.cond_panel;
}

// Where the allele posterior is wanted, and where without its own observation.
class allele_posteriors {
  public:
    allele_posteriors(const data& run, const haploid_update& u)
        : cond_(u.cond_panel),
          wanted_(u.allele_probs),
          selfcheck_(u.selfcheck),
          cond_used_(run.plan.output_types[at(u.cond_panel)] || run.params.weight_panel == u.cond_panel) {}

    bool without_own(const site_traits& site) const { return selfcheck_ && site.type == 2; }
    bool wanted(const site_traits& site) const {
        return wanted_ && (site.top_panel == cond_ || (without_own(site) && cond_used_));
    }

  private:
    int cond_;
    bool wanted_, selfcheck_, cond_used_;
};

posterior_target target_of(const haploid_update& u) {
    return {u.ind, u.hap, u.panel, u.known_index, u.genotype_probs};
}

class haploid_run {
  public:
    haploid_run(data& run, const haploid_update& update, const hmm_model& model)
        : run_(run), u_(update), model_(model), w_(*run.work), wanted_(run, update) {
        const auto [first, last] = run.sites.range(run.haps_interval());
        const auto place = [&](std::size_t s) {
            return at(static_cast<int>(std::lower_bound(model.site.begin(), model.site.end(), s) - model.site.begin()));
        };
        first_output_ = place(first);
        last_output_ = std::max(first_output_, place(last));
    }

    double perform() {
        haploid_problem problem = make_problem();
        if (u_.sample || u_.backward) make_requests();
        if (const auto likelihood = impute_by_classes(problem)) return *likelihood;

        gather_state_alleles(haplotypes_of(run_.panels), run_.cond_states, model_.site, problem.n_states,
                             w_.state_alleles);
        problem.alleles = w_.state_alleles.data();
        problem.words = bits::words_for(problem.n_states);
        const double likelihood = haploid_forward(problem, w_.haploid);
        if (u_.sample || u_.backward) {
            const haploid_walk_options options{u_.sample, u_.backward, run_.params.use_old_code};
            haploid_walk(problem, w_.haploid, options, w_.haploid_requests, w_.haploid_out);
            run_.hap_stay_count += w_.haploid_out.stay_count;
            run_.hap_switch_count += w_.haploid_out.switch_count;
            if (u_.sample) keep_alleles();
            if (u_.backward) keep_posteriors();
        }
        if (shows_copy_probs() && run_.ref_copy_out) write_copy_probs(problem);
        return likelihood;
    }

  private:
    const snp& site(std::size_t v) const { return *run_.sites.in_order[at(model_.site[v])]; }
    bool in_output(std::size_t v) const { return v >= first_output_ && v < last_output_; }

    bool shows_copy_probs() const {
        return run_.params.show_ref_copy_probs && !run_.params.mc_impute && u_.panel == 2 && u_.cond_panel == 0;
    }

    // Where nothing but posteriors is wanted, from few different haplotypes of the reference panel. Returns the log10
    // likelihood.
    std::optional<double> impute_by_classes(const haploid_problem& problem) {
        const conditioning_states& states = run_.cond_states;
        if (u_.sample || !u_.backward || u_.cond_panel != 0 || shows_copy_probs() ||
            reads_stale_values(problem, {false, true, false}, w_.haploid_requests) ||
            states.size() != problem.n_states ||
            std::any_of(states.panel.begin(), states.panel.end(), [](int panel) { return panel != 0; })) {
            return std::nullopt;
        }
        haplotype_classes& classes = w_.reference_classes[at(u_.panel)];
        if (!classes.serve(run_.panels[0].haps, model_.site)) return std::nullopt;
        const auto likelihood = haploid_forward_by_classes(problem, classes, states.hap, w_.haploid, w_.by_class);
        if (!likelihood || !haploid_posteriors_by_classes(problem, classes, w_.haploid, w_.by_class,
                                                          w_.haploid_requests, w_.haploid_out)) {
            return std::nullopt;
        }
        keep_posteriors();
        return likelihood;
    }

    haploid_problem make_problem() {
        const auto& tables = run_.models.mutation[0][at(u_.panel)][at(u_.cond_panel)];
        haploid_problem problem;
        problem.n_states = at(run_.models.k_states[0][at(u_.panel)][at(u_.cond_panel)]);
        problem.n_sites = model_.n_sites();
        problem.gap = model_.hap_gap.data();
        problem.gap_version = run_.models.switch_rates_version;
        fill_observed();
        problem.observed = w_.observed.data();
        for (std::size_t copied = 0; copied < 2; ++copied) {
            for (std::size_t o = 0; o < 3; ++o) problem.emission[copied][o] = tables[copied][o];
        }
        const parameters& p = run_.params;
        if (p.mem_save_1 && !p.use_old_code && !p.show_ref_copy_probs) problem.checkpoint_interval = model_.interval;
        return problem;
    }

    void fill_observed() {
        w_.observed.resize(model_.n_sites());
        std::uint8_t* observed = w_.observed.data();
        if (u_.panel < 2 || u_.panel == u_.cond_panel) {
            for (std::size_t v = 0; v < model_.n_sites(); ++v) {
                observed[v] = observed_allele(run_, u_, at(model_.site[v]));
            }
            return;
        }
        // The study haplotypes at all sites of the reference: the most frequent update.
        const std::uint64_t* alleles = run_.panels[2].haps.row(at(u_.hap));
        const site_traits* traits = run_.sites.traits.data();
        for (const std::size_t site : model_.site) {
            const auto s = at(site);
            *observed++ = traits[s].type >= 2 ? static_cast<std::uint8_t>(bits::get(alleles, s)) : unobserved;
        }
    }

    void make_requests() {
        w_.haploid_requests.assign(model_.n_sites(), {});
        if (u_.sample) {
            for (std::size_t v = 0; v < model_.n_sites(); ++v) {
                const auto s = at(model_.site[v]);
                w_.haploid_requests[v].draw_allele =
                    run_.params.use_old_code ? draws_allele_old(run_, u_, s) : draws_allele(run_, u_, s);
            }
        }
        if (!u_.backward) return;
        const allele_posteriors wanted = wanted_;
        const std::size_t* sites = model_.site.data();
        const site_traits* all_traits = run_.sites.traits.data();
        haploid_request* requests = w_.haploid_requests.data();
        for (std::size_t v = first_output_; v < last_output_; ++v) {
            requests[v].posterior = wanted.wanted(all_traits[at(sites[v])]);
        }
        if (!u_.genotype_probs) return;
        const posterior_target target = target_of(u_);
        for (std::size_t v = first_output_; v < last_output_; ++v) {
            if (!requests[v].posterior) requests[v].posterior = haploid_posterior_needed(run_, target, site(v));
        }
    }

    void keep_alleles() {
        const parameters& p = run_.params;
        const bool counting =
            run_.plan.count_missing_only && p.mc_impute && u_.panel == u_.cond_panel && u_.panel >= 2 && u_.stored;
        packed_haplotypes& haps = run_.panels[at(u_.panel)].haps;
        for (std::size_t v = 0; v < model_.n_sites(); ++v) {
            if (!w_.haploid_requests[v].draw_allele) continue;
            const int x = w_.haploid_out.allele[v];
            const auto s = at(model_.site[v]);
            if (u_.save_alleles && in_output(v)) {
                run_.acc.last_sampled_gtype[s] += run_.plan.sporadic_haploid_imputation ? 2 * x : x;
            }
            const bool kept = u_.panel == u_.cond_panel || (p.phase && in_output(v)) ||
                              (p.use_panel1_for_type0_imputation && (u_.panel == 1 || p.stage_one));
            if (kept && haps.holds(s)) haps.set(at(u_.hap), s, x);
            if (counting && in_output(v)) {
                run_.acc.tallies[s].count(1, x);
                run_.acc.tallies[s].advance();
            }
        }
    }

    void keep_posteriors() {
        if (u_.genotype_probs) {
            const posterior_target target = target_of(u_);
            for (std::size_t v = first_output_; v < last_output_; ++v) {
                const bool computed = w_.haploid_requests[v].posterior;
                add_haploid_posterior(run_, target, site(v), computed ? &w_.haploid_out.weights[v] : nullptr);
            }
        }
        if (!u_.allele_probs && !u_.selfcheck) return;
        const emission_table M = run_.models.mutation[0][at(u_.panel)][at(u_.cond_panel)];
        const allele_posteriors wanted = wanted_;
        const std::size_t* sites = model_.site.data();
        const site_traits* all_traits = run_.sites.traits.data();
        const allele_weights* weights = w_.haploid_out.weights.data();
        double* chance = w_.allele_prob[at(u_.strand)].data();
        double* chance_without_own = w_.allele_acc[at(u_.cond_panel)][at(u_.strand)].data();
        for (std::size_t v = first_output_; v < last_output_; ++v) {
            const auto s = at(sites[v]);
            if (!wanted.wanted(all_traits[s])) continue;
            if (wanted.without_own(all_traits[s])) {
                chance_without_own[s] =
                    allele_one_chance(weights[v], M, run_.panels[at(u_.panel)].haps.allele(at(u_.hap), s));
            } else {
                chance[s] = allele_one_chance(weights[v], M, -1);
            }
        }
    }

    // The chance of copying each Panel 0 haplotype at the sites of the main output.
    void write_copy_probs(const haploid_problem& problem) {
        std::vector<double> posteriors;
        haploid_state_posteriors(problem, w_.haploid, u_.backward, posteriors);
        const auto [first, last] = run_.sites.range(run_.output_interval());
        for (std::size_t v = 0; v < model_.n_sites(); ++v) {
            const auto s = at(model_.site[v]);
            if (s < first || s >= last) continue;
            output_ref_copy_probs(*run_.ref_copy_out, run_.log, u_.ind, u_.strand, run_.sites.positions[s],
                                  run_.cond_states,
                                  std::span(posteriors).subspan(v * problem.n_states, problem.n_states),
                                  run_.panels[0].n_hap, static_cast<int>(problem.n_states), run_.params.outdp);
        }
    }

    data& run_;
    const haploid_update& u_;
    const hmm_model& model_;
    sweep_workspace& w_;
    const allele_posteriors wanted_;
    std::size_t first_output_ = 0, last_output_ = 0;  // the visited sites of the results
};

// The sweep of an individual over pairs of states, ordered or not.
class pair_run {
  public:
    pair_run(data& run, const diploid_update& update, bool ordered)
        : run_(run),
          u_(update),
          ordered_(ordered),
          panel_(at(update.panel)),
          model_(run.models.chains[1][at(update.panel)][at(update.panel)]),
          w_(*run.work),
          target_{update.ind, update.hap, update.panel, update.known_index, update.genotype_probs} {
        const auto [first, last] = run.sites.range(run.haps_interval());
        first_output_ = first;
        last_output_ = last;
    }

    double perform() {
        const parameters& p = run_.params;
        const bool copy_probs = !ordered_ && u_.panel == 2 && p.use_old_code && u_.backward && p.show_all_copy_probs &&
                                run_.all_copy_out && !run_.plan.chrx_haploid;
        pair_problem problem = make_problem();
        if (u_.backward) problem.keep_every = copy_probs ? 1 : 16;
        const double likelihood = pair_forward(problem, w_.pairs);
        make_requests();
        const pair_walk_options options{true, u_.backward, p.use_old_code || ordered_, copy_probs};
        pair_walk(problem, w_.pairs, options, w_.pair_requests, w_.pairs_out);
        run_.dip_stay_count += w_.pairs_out.stay_count;
        run_.dip_switch_count += w_.pairs_out.switch_count;
        keep_alleles();
        if (u_.backward && u_.genotype_probs) keep_posteriors();
        if (copy_probs) write_copy_probs(problem);
        return likelihood;
    }

  private:
    const snp& site(std::size_t v) const { return *run_.sites.in_order[at(model_.site[v])]; }
    bool in_output(std::size_t v) const {
        const auto s = at(model_.site[v]);
        return s >= first_output_ && s < last_output_;
    }
    bool phase_known(const snp& here) const { return u_.panel == 2 && here.phase_known(at(u_.ind)); }
    std::uint8_t genotype(const snp& here) const {
        const auto& gtypes = here.gtypes[panel_];
        return gtypes.empty() ? missing_genotype : gtypes[static_cast<std::size_t>(u_.ind)];
    }

    std::array<double, 4> emission(const snp& here) const {
        if (ordered_ && phase_known(here)) {
            const emission_table& Mh = run_.models.mutation[0][panel_][panel_];
            const auto x = at(run_.panels[panel_].haps.allele(at(u_.hap), at(here.index)));
            const auto y = at(run_.panels[panel_].haps.allele(at(u_.hap) + 1, at(here.index)));
            return {Mh[0][x] * Mh[0][y], Mh[0][x] * Mh[1][y], Mh[1][x] * Mh[0][y], Mh[1][x] * Mh[1][y]};
        }
        if (probabilistic(run_, u_.panel)) {
            const double* e = here.gtype_emiss[panel_].data() + 3 * at(u_.ind);
            return {e[0], e[1], e[1], e[2]};
        }
        const emission_table& M = run_.models.mutation[1][panel_][panel_];
        const std::size_t g = genotype(here);
        return {M[0][g], M[1][g], M[1][g], M[2][g]};
    }

    pair_problem make_problem() {
        pair_problem problem;
        problem.ordered = ordered_;
        problem.n_states = at(run_.models.k_states[1][panel_][panel_]);
        problem.n_sites = model_.n_sites();
        problem.gap = model_.dip_gap.data();
        gather_state_alleles(haplotypes_of(run_.panels), run_.cond_states, model_.site, problem.n_states,
                             w_.state_alleles);
        problem.alleles = w_.state_alleles.data();
        problem.words = bits::words_for(problem.n_states);
        w_.pair_emissions.resize(model_.n_sites());
        for (std::size_t v = 0; v < model_.n_sites(); ++v) w_.pair_emissions[v] = emission(site(v));
        problem.emission = w_.pair_emissions.data();
        problem.pr_00 = run_.models.pr_alleles_00[panel_];
        problem.pr_01 = run_.models.pr_alleles_01[panel_];
        problem.pr_10 = run_.models.pr_alleles_10[panel_];
        // The older routines read every table again where a backward sweep follows.
        const bool every_table =
            u_.keep_all_tables || (run_.params.use_old_code && (u_.backward || run_.plan.chrx_haploid));
        if (run_.params.mem_save_1 && !ordered_ && !every_table) problem.checkpoint_interval = model_.interval;
        return problem;
    }

    void make_requests() {
        const bool free_genotypes = probabilistic(run_, u_.panel);
        w_.pair_requests.assign(model_.n_sites(), {});
        for (std::size_t v = 0; v < model_.n_sites(); ++v) {
            const snp& here = site(v);
            pair_request& request = w_.pair_requests[v];
            const std::uint8_t g = genotype(here);
            if (!phase_known(here)) {
                request.draw_alleles = free_genotypes || g == 1 || g == missing_genotype;
                request.heterozygous = !free_genotypes && g == 1;
            }
            if (u_.backward && in_output(v)) {
                request.posterior = ordered_ ? ordered_posterior_needed(run_, target_, here)
                                             : diploid_posterior_needed(run_, target_, here);
            }
        }
    }

    void keep_alleles() {
        const bool counting = run_.plan.count_missing_only && run_.params.mc_impute && u_.panel >= 2 && u_.stored;
        packed_haplotypes& haps = run_.panels[panel_].haps;
        for (std::size_t v = 0; v < model_.n_sites(); ++v) {
            const pair_request& request = w_.pair_requests[v];
            if (!request.draw_alleles) continue;
            const auto s = at(model_.site[v]);
            const auto [x, y] = w_.pairs_out.alleles[v];
            haps.set(at(u_.hap), s, x);
            haps.set(at(u_.hap) + 1, s, y);
            if (!counting || request.heterozygous || !in_output(v) || x + y == 0) continue;
            run_.acc.tallies[s].count(x + y == 1 ? 0 : 1, 1);
            run_.acc.tallies[s].advance();
        }
    }

    void keep_posteriors() {
        for (std::size_t v = 0; v < model_.n_sites(); ++v) {
            if (!in_output(v)) continue;
            const bool computed = w_.pair_requests[v].posterior;
            const auto& emission_here = w_.pair_emissions[v];
            if (ordered_) {
                add_ordered_posterior(run_, target_, site(v), computed ? &w_.pairs_out.weights[v] : nullptr,
                                      emission_here);
            } else if (computed) {
                add_diploid_posterior(run_, target_, site(v), w_.pairs_out.weights[v], emission_here);
            }
        }
    }

    // The chance of copying each haplotype at the typed sites of the main output: a pair counts for both its states.
    void write_copy_probs(const pair_problem& problem) {
        const auto [first, last] = run_.sites.range(run_.output_interval());
        std::vector<double> posterior(problem.n_states);
        for (std::size_t v = 0; v < model_.n_sites(); ++v) {
            const auto s = at(model_.site[v]);
            if (s < first || s >= last || run_.sites.in_order[s]->type != 2) continue;
            const double* table = w_.pairs.kept.data() + *w_.pairs.kept_row[v] * w_.pairs.table_size;
            std::fill(posterior.begin(), posterior.end(), 0.0);
            for (std::size_t a = 0; a < problem.n_states; ++a) {
                for (std::size_t b = 0; b <= a; ++b) {
                    const double value = table[pair_place(problem, a, b)];
                    posterior[a] += value;
                    posterior[b] += value;
                }
            }
            output_all_copy_probs(*run_.all_copy_out, run_.log, u_.ind, run_.sites.positions[s], u_.hap, 2,
                                  run_.cond_states, posterior,
                                  {run_.panels[0].n_hap, run_.panels[1].n_hap, run_.panels[2].n_hap},
                                  static_cast<int>(problem.n_states), run_.params.outdp);
        }
    }

    data& run_;
    const diploid_update& u_;
    const bool ordered_;
    const std::size_t panel_;
    const hmm_model& model_;
    sweep_workspace& w_;
    const posterior_target target_;
    std::size_t first_output_ = 0, last_output_ = 0;
};

}  // namespace

double update_haploid(data& run, const haploid_update& update) {
    return haploid_run(run, update, run.models.chains[0][at(update.panel)][at(update.cond_panel)]).perform();
}

double update_diploid(data& run, const diploid_update& update) {
    return pair_run(run, update, false).perform();
}

void update_ordered(data& run, const diploid_update& update) {
    pair_run(run, update, true).perform();
}

void record_known_individual(data& run, int ind, int known_index) {
    const int hap = run.panels[2].first_hap(ind);
    const posterior_target target{ind, hap, 2, run.panels[2].ordered[at(ind)] ? known_index : -1, true};
    const auto [first, last] = run.sites.range(run.haps_interval());
    for (std::size_t s = first; s < last; ++s) {
        const snp& site = *run.sites.in_order[s];
        if (site.type == run.plan.n_panels - 1)
            add_certain_individual(run, target, site, run.panels[2].is_haploid(ind));
    }
}
