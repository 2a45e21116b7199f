#include "inference/update/recording.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "inference/pairs/phase_paths.h"
#include "inference/update/posteriors.h"
#include "inference/update/site_rules.h"

imputed_alleles::imputed_alleles(std::size_t n_sites) {
    for (auto& by_site : chance) by_site.assign(n_sites, 0.0);
    for (auto& cond : chance_unseen) {
        for (auto& by_site : cond) by_site.assign(n_sites, 0.0);
    }
}

// --- sums -----------------------------------------------------------------------------------------------------------

namespace {

// Adds the posteriors of an individual, of Panel 2 or not, to the sums.
class posterior_sums {
  public:
    posterior_sums(const inference_inputs& in, std::size_t panel, std::size_t ind,
                   std::optional<std::size_t> known_slot, accumulators& acc)
        : asked_(posteriors_asked(in.params)),
          certain_asked_(asked_ && !in.plan.count_missing_only),
          genotypes_(acc.gtype_acc, ind),
          alleles_(acc.gtype_acc2, known_slot.value_or(0)) {
        const parameters& p = in.params;
        const bool known = panel == 2 && in.panels[2].ordered[ind];
        keeps_alleles_ = known_slot && (p.print_allele_probs || (p.phase && (p.pgs_prob || known)));
    }

    bool asked() const { return asked_; }
    void add_genotype(std::size_t s, std::array<double, 2> chances) { genotypes_.add(s, chances[0], chances[1]); }
    // Where allele sums of the individual's haplotypes are kept.
    void add_alleles(std::size_t s, double first, double second) {
        if (keeps_alleles_) alleles_.add(s, first, second);
    }
    // Alleles that are known for certain; one of a haploid individual counts twice.
    void add_certain(std::size_t s, int first, int second) {
        const int n_ones = first + second;
        if (n_ones > 0 && certain_asked_) add_genotype(s, {n_ones == 1 ? 1.0 : 0.0, n_ones == 2 ? 1.0 : 0.0});
        add_alleles(s, first, second);
    }
    // To be called when all has been added.
    void put_back() {
        genotypes_.put_back();
        alleles_.put_back();
    }

  private:
    const bool asked_, certain_asked_;
    bool keeps_alleles_ = false;
    sum_row_pair genotypes_, alleles_;
};

void add_haploid_posterior(const inference_inputs& in, const haploid_update& u, std::size_t s,
                           const allele_weights* weights, posterior_sums& sums) {
    const snp& site = in.site(s);
    if (phase_given(site, u.panel, u.ind)) {
        const int allele = in.panels[u.panel].haps.allele(u.hap, s);
        sums.add_certain(s, allele, allele);
        return;
    }
    const std::uint8_t g = genotype_at(site, u.panel, u.ind);
    if (weights == nullptr) {  // the observed allele stands; nobody asks for its posterior
        if (!sums.asked() && g != missing_genotype && g / 2 == 1) sums.add_alleles(s, 1.0, 1.0);
        return;
    }
    const double p = haploid_posterior(*weights, in.models.mutation[0][u.panel][u.panel],
                                       g == missing_genotype ? unobserved : g / 2U);
    if (sums.asked()) sums.add_genotype(s, {0.0, p});
    sums.add_alleles(s, p, p);
}

void add_ordered_posterior(const inference_inputs& in, const pair_update& u, std::size_t s,
                           const std::array<double, 4>* weights, const std::array<double, 4>& emission,
                           posterior_sums& sums) {
    if (phase_given(in.site(s), u.panel, u.ind)) {
        const packed_haplotypes& haps = in.panels[u.panel].haps;
        sums.add_certain(s, haps.allele(u.hap, s), haps.allele(u.hap + 1, s));
        return;
    }
    if (weights == nullptr) return;
    const auto [p, q] = ordered_posterior(*weights, emission, in.models.mutation[0][u.panel][u.panel]);
    if (sums.asked()) sums.add_genotype(s, genotype_chances(p, q, true));
    sums.add_alleles(s, p, q);
}

void add_pair_posterior(const inference_inputs& in, const pair_update& u, std::size_t s,
                        const std::array<double, 4>& weights, const std::array<double, 4>& emission,
                        posterior_sums& sums) {
    const float* input = in.params.pgs_prob ? in.site(s).gtype_probs[u.panel].data() + 3 * u.ind : nullptr;
    sums.add_genotype(s, pair_posterior(weights, emission, in.models.mutation[1][u.panel][u.panel], input));
}

}  // namespace

// --- after each update ----------------------------------------------------------------------------------------------

namespace {

// Whether sampled missing genotypes of the study are tallied as they are drawn.
bool tallies_missing(const inference_inputs& in, std::size_t panel, bool stored) {
    return in.plan.count_missing_only && in.params.mc_impute && panel == 2 && stored;
}

// Place of an individual's missing genotype among those of the site.
std::size_t missing_entry(const snp& site, std::size_t ind) {
    const auto& gtypes = site.gtypes[2];
    return static_cast<std::size_t>(
        std::count(gtypes.begin(), gtypes.begin() + static_cast<std::ptrdiff_t>(ind), missing_genotype));
}

void record_drawn_alleles(const inference_inputs& in, const haploid_update& u, const haploid_result& result,
                          packed_haplotypes& haps, accumulators& acc) {
    const parameters& p = in.params;
    const hmm_model& model = model_of(in, u);
    const bool own_panel = u.panel == u.cond_panel;
    const bool tallies = own_panel && tallies_missing(in, u.panel, u.stored);
    const bool kept_anywhere = own_panel || (p.use_panel1_for_type0_imputation && (u.panel == 1 || p.stage_one));
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        if (!result.requests[v].draw_allele) continue;
        const int x = result.walk.allele[v];
        const std::size_t s = model.site[v];
        const bool in_output = v >= result.first_kept && v < result.end_kept;
        if (u.save_alleles && in_output) {
            acc.last_sampled_gtype[s] += in.plan.sporadic_haploid_imputation ? 2 * x : x;
        }
        if ((kept_anywhere || (p.phase && in_output)) && haps.holds(s)) haps.set(u.hap, s, x);
        if (tallies && in_output) {
            acc.tallies[s].miss_counts[1][missing_entry(in.site(s), u.ind)] += x;
        }
    }
}

}  // namespace

void record_haploid(const inference_inputs& in, const haploid_update& u, const haploid_result& result,
                    panel_data& panel, accumulators& acc) {
    if (u.sample) record_drawn_alleles(in, u, result, panel.haps, acc);
    if (!u.backward || !u.genotype_probs) return;
    posterior_sums sums(in, u.panel, u.ind, u.known_slot, acc);
    const hmm_model& model = model_of(in, u);
    for (std::size_t v = result.first_kept; v < result.end_kept; ++v) {
        const allele_weights* weights = result.requests[v].posterior ? &result.walk.weights[v] : nullptr;
        add_haploid_posterior(in, u, model.site[v], weights, sums);
    }
    sums.put_back();
}

void record_alleles(const inference_inputs& in, const haploid_update& u, const haploid_result& result,
                    imputed_alleles& imputed) {
    imputed.log10_likelihood[u.cond_panel][u.strand] = result.log10_likelihood;
    if (!u.backward || (!u.allele_probs && !u.selfcheck)) return;
    const emission_table M = in.models.mutation[0][u.panel][u.cond_panel];
    const allele_posteriors wanted(in, u);
    const std::size_t* sites = model_of(in, u).site.data();
    const site_traits* traits = in.sites.traits.data();
    const allele_weights* weights = result.walk.weights.data();
    const std::uint64_t* alleles = alleles_of(in, u);
    double* chance = imputed.chance[u.strand].data();
    double* chance_unseen = imputed.chance_unseen[u.cond_panel][u.strand].data();
    for (std::size_t v = result.first_kept; v < result.end_kept; ++v) {
        const std::size_t s = sites[v];
        if (!wanted.wanted(traits[s])) continue;
        if (wanted.without_own(traits[s])) {
            const std::size_t own = bits::get(alleles, s) ? 1 : 0;
            chance_unseen[s] = allele_one_chance_unseen(weights[v], M, own);
        } else {
            chance[s] = allele_one_chance(weights[v], M);
        }
    }
}

void record_holes(const inference_inputs& in, const hole_update& u, const haploid_result& result, panel_data& panel) {
    const hmm_model& model = model_of(in, u);
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        if (result.requests[v].draw_allele) panel.haps.set(u.hap, model.site[v], result.walk.allele[v]);
    }
}

void record_phase(const hmm_model& model, const pair_result& result, phase_sums& sums) {
    if (sums.site.empty()) {
        sums.site.reserve(static_cast<std::size_t>(std::count_if(
            result.requests.begin(), result.requests.end(), [](const pair_request& r) { return r.heterozygous; })));
        for (std::size_t v = 0; v < model.n_sites(); ++v) {
            if (result.requests[v].heterozygous) sums.site.push_back(model.site[v]);
        }
        sums.with_previous.assign(sums.site.size(), 0.0);
        sums.with_second.assign(sums.site.size(), 0.0);
    }
    add_phase_agreement(result.requests, result.walk, sums);
}

void record_pair(const inference_inputs& in, const pair_update& u, const pair_result& result, panel_data& panel,
                 accumulators& acc) {
    const hmm_model& model = model_of(in, u);
    const bool tallies = tallies_missing(in, u.panel, u.stored);
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        const pair_request& request = result.requests[v];
        if (!request.draw_alleles) continue;
        const std::size_t s = model.site[v];
        const auto [x, y] = result.walk.alleles[v];
        panel.haps.set(u.hap, s, x);
        panel.haps.set(u.hap + 1, s, y);
        if (!tallies || request.heterozygous || !in.keeps(s) || x + y == 0) continue;
        // Draws of no allele 1 leave the running entry where it is.
        acc.tallies[s].count(x + y == 1 ? 0 : 1, 1);
        acc.tallies[s].advance();
    }
    if (u.sums_phase) record_phase(model, result, acc.phase[u.ind]);
    if (!u.backward || !u.genotype_probs) return;
    posterior_sums sums(in, u.panel, u.ind, u.known_slot, acc);
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        const std::size_t s = model.site[v];
        if (!in.keeps(s)) continue;
        const auto* weights = result.requests[v].posterior ? &result.walk.weights[v] : nullptr;
        if (u.ordered) {
            add_ordered_posterior(in, u, s, weights, result.emissions[v], sums);
        } else if (weights != nullptr) {
            add_pair_posterior(in, u, s, *weights, result.emissions[v], sums);
        }
    }
    sums.put_back();
}

// --- by member ------------------------------------------------------------------------------------------------------

void record_known_individual(const inference_inputs& in, const study_member& member, accumulators& acc) {
    const packed_haplotypes& haps = in.panels[2].haps;
    posterior_sums sums(in, 2, member.ind, member.known ? std::optional(member.slot) : std::nullopt, acc);
    for (std::size_t s = in.first_kept; s < in.end_kept; ++s) {
        const snp& site = in.site(s);
        if (site.type != in.plan.n_panels - 1) continue;
        if (!site.gtypes[2].empty() && site.gtypes[2][member.ind] == missing_genotype) continue;
        const int first = haps.allele(member.hap, s);
        sums.add_certain(s, first, member.diploid ? haps.allele(member.hap + 1, s) : first);
    }
    sums.put_back();
}

namespace {

// Log10 likelihood by which an iteration weighs, of what was imputed from one reference panel. A haploid individual has
// one likelihood.
double iteration_likelihood(run_log& log, const inference_inputs& in, const study_member& member,
                            const std::array<double, 2>& L, const accumulators& acc) {
    switch (in.params.weight_imputed_gt) {
        case 0:
            return member.diploid ? L[0] + L[1] : L[0];
        case 1:
            return member.diploid ? std::max(L[0], L[1]) : L[0];
        case 2:
            return member.diploid ? std::min(L[0], L[1]) : L[0];
        case 3:
            return acc.dip_like[member.ind];
        default:
            log.fatal("ERROR: There was a problem with params.weight_imputed_gt in store_counts_or_haps().");
    }
}

// Weights of this iteration relative to the first stored one, by conditioning panel; 1.0 without weighting.
std::array<double, 2> iteration_weights(run_log& log, const inference_inputs& in, const study_member& member,
                                        bool first_stored, const imputed_alleles& imputed, accumulators& acc) {
    std::array<double, 2> weights{1.0, 1.0};
    if (in.params.weight_imputed_gt < 0) return weights;
    for (std::size_t cond = 0; cond < 2; ++cond) {
        const double w = iteration_likelihood(log, in, member, imputed.log10_likelihood[cond], acc);
        if (first_stored) acc.weight_base[cond][member.ind] = w;
        weights[cond] = std::pow(10.0, w - acc.weight_base[cond][member.ind]);
        acc.weight_sum[cond][member.ind] += weights[cond];
    }
    return weights;
}

// The pass over the sites of one individual.
class member_recorder {
  public:
    member_recorder(const inference_inputs& in, const study_member& member, std::size_t stored_count, bool selfcheck,
                    const imputed_alleles& imputed, accumulators& acc)
        : in_(in),
          m_(member),
          stored_count_(stored_count),
          imputed_(imputed),
          acc_(acc),
          genotypes_(acc.gtype_acc, member.ind),
          known_alleles_(acc.gtype_acc2, member.slot),
          masked_{sum_row_pair(acc.gtype_acc3[0], member.ind), sum_row_pair(acc.gtype_acc3[1], member.ind)},
          alleles_{alleles_of(0), alleles_of(1)},
          mc_impute_(in.params.mc_impute),
          keeps_bits_((mc_impute_ ? member.known || in.params.phase : in.params.phase && !member.known) &&
                      !in.plan.tmp_haps),
          sums_alleles_((in.params.phase || in.plan.known_hap_dosages) && member.known && !mc_impute_),
          selfcheck_(selfcheck && !mc_impute_) {}

    void add_imputed(std::size_t s, const std::array<double, 2>& weights) {
        if (mc_impute_) {
            if (in_.params.phase && !in_.plan.tmp_haps) store_bits(s);
            count_sampled_genotype(s);
            return;
        }
        const double a = imputed_.chance[0][s];
        const double b = m_.diploid ? imputed_.chance[1][s] : 0.0;
        auto [q1, q2] = genotype_chances(a, b, m_.diploid);
        q1 *= weights[in_.traits(s).top_panel];
        q2 *= weights[in_.traits(s).top_panel];
        genotypes_.add(s, q1, q2);
        if (!sums_alleles_) return;
        known_alleles_[0].add(s, m_.diploid ? a : q2);
        if (m_.diploid) known_alleles_[1].add(s, b);
    }

    void add_typed(std::size_t s) {
        if (keeps_bits_) store_bits(s);
        if (in_.traits(s).type != 2 || !selfcheck_) return;
        for (std::size_t cond = 0; cond < 2; ++cond) {
            if (!in_.plan.output_types[cond] && in_.params.weight_panel != static_cast<int>(cond)) continue;
            const auto& chance = imputed_.chance_unseen[cond];
            const auto [q1, q2] = genotype_chances(chance[0][s], m_.diploid ? chance[1][s] : 0.0, m_.diploid);
            masked_[cond].add(s, q1, q2);
        }
    }

    // To be called when all has been added.
    void put_back() {
        for (sum_row_pair* sums : {&genotypes_, &known_alleles_, &masked_[0], &masked_[1]}) sums->put_back();
    }

  private:
    const std::uint64_t* alleles_of(std::size_t strand) const {
        if (strand == 1 && !m_.diploid) return nullptr;
        return m_.alleles[strand] != nullptr ? m_.alleles[strand] : in_.panels[2].haps.row(m_.hap + strand);
    }

    // The current alleles, under the individual's index where all have one.
    void store_bits(std::size_t s) {
        const std::size_t slot = mc_impute_ ? m_.ind : m_.slot;
        acc_.mcmc_bits.set(slot, 0, s, stored_count_, bits::get(alleles_[0], s));
        if (m_.diploid) acc_.mcmc_bits.set(slot, 1, s, stored_count_, bits::get(alleles_[1], s));
    }

    void count_sampled_genotype(std::size_t s) {
        int& sampled = acc_.last_sampled_gtype[s];
        if (sampled > 0) {
            const std::size_t row = m_.diploid ? static_cast<std::size_t>(sampled - 1) : 1;
            auto& counts = acc_.tallies[s].miss_counts[row];
            if (m_.ind < counts.size()) ++counts[m_.ind];
        }
        sampled = 0;
    }

    const inference_inputs& in_;
    const study_member& m_;
    const std::size_t stored_count_;
    const imputed_alleles& imputed_;
    accumulators& acc_;
    sum_row_pair genotypes_, known_alleles_;
    std::array<sum_row_pair, 2> masked_;  // by cond_panel
    const std::array<const std::uint64_t*, 2> alleles_;
    const bool mc_impute_;
    const bool keeps_bits_;    // of typed sites
    const bool sums_alleles_;  // of imputed sites
    const bool selfcheck_;
};

}  // namespace

void record_imputed_individual(run_log& log, const inference_inputs& in, const study_member& member,
                               std::size_t stored_count, bool selfcheck, const imputed_alleles& imputed,
                               accumulators& acc) {
    const std::array<double, 2> weights = iteration_weights(log, in, member, stored_count == 0, imputed, acc);
    member_recorder recorder(in, member, stored_count, selfcheck, imputed, acc);
    for (std::size_t s = in.first_kept; s < in.end_kept; ++s) {
        const site_traits& traits = in.traits(s);
        if (traits.type == in.plan.n_panels) continue;
        if (traits.top_panel < 2) {
            recorder.add_imputed(s, weights);
        } else {
            recorder.add_typed(s);
        }
    }
    recorder.put_back();
}

void record_sporadic_alleles(run_log& log, const inference_inputs& in, std::size_t hap, accumulators& acc) {
    if (!in.plan.sporadic_haploid_imputation) {
        log.fatal("ERROR: The update_panel should not be zero unless you are performing sporadic haploid imputation.");
    }
    if (!in.params.mc_impute) return;
    for (std::size_t s = in.first_kept; s < in.end_kept; ++s) {
        if (in.traits(s).type == in.plan.n_panels || !ref_allele_missing(in, hap, s)) continue;
        sample_tally& tally = acc.tallies[s];
        if (tally.miss_counts[0].empty()) continue;
        int& sampled = acc.last_sampled_gtype[s];
        if (sampled > 0) {
            tally.count(static_cast<std::size_t>(sampled - 1), 1);
            sampled = 0;
        }
        tally.advance();
    }
}
