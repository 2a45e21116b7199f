// Adds one individual's results of a stored iteration to the sums.

#include <algorithm>
#include <cmath>

#include "inference/update/accumulate.h"
#include "inference/update/workspace.h"
#include "io/result_file.h"
#include "io/text.h"
#include "model/data.h"

namespace {

struct count_request {
    std::size_t ind;
    std::size_t hap;
    bool diploid;
    std::size_t stored_count;
    bool selfcheck_iter;
    int known_index;
    int unknown_index;
};

// Weights of this iteration relative to the first stored one, by conditioning panel; 1.0 without weighting.
// A haploid individual has one likelihood.
std::array<double, 2> iteration_weights(data& run, std::size_t ind, bool diploid, bool first_stored) {
    std::array<double, 2> weights{1.0, 1.0};
    if (run.params.weight_imputed_gt < 0) return weights;
    for (std::size_t cond = 0; cond < 2; ++cond) {
        const auto& L = run.acc.term_prob[cond];
        double w = 0.0;
        switch (run.params.weight_imputed_gt) {
            case 0:
                w = diploid ? L[0] + L[1] : L[0];
                break;
            case 1:
                w = diploid ? std::max(L[0], L[1]) : L[0];
                break;
            case 2:
                w = diploid ? std::min(L[0], L[1]) : L[0];
                break;
            case 3:
                w = run.acc.dip_like[ind];
                break;
            default:
                run.log.fatal("ERROR: There was a problem with params.weight_imputed_gt in store_counts_or_haps().");
        }
        if (first_stored) run.acc.weight_base[cond][ind] = w;
        weights[cond] = std::pow(10.0, w - run.acc.weight_base[cond][ind]);
        run.acc.weight_sum[cond][ind] += weights[cond];
    }
    return weights;
}

// Chances of genotypes 1 and 2 from those of allele 1; a haploid individual has no genotype 1.
std::array<double, 2> genotype_chances(double a, double b, bool diploid) {
    if (!diploid) return {0.0, a};
    return {(1.0 - b) * a + (1.0 - a) * b, a * b};
}

class count_pass {
  public:
    count_pass(data& run, const count_request& request, bool keep_bits, bool keep_allele_probs)
        : run_(run), q_(request), keep_bits_(keep_bits), keep_allele_probs_(keep_allele_probs) {}

    void visit_imputed(std::size_t s, const std::array<double, 2>& weights) {
        if (run_.params.mc_impute) {
            if (run_.params.phase && !run_.plan.tmp_haps) store_bits(q_.ind, s);
            count_sampled_genotype(s);
            return;
        }
        const double a = run_.work->allele_prob[0][s];
        const double b = q_.diploid ? run_.work->allele_prob[1][s] : 0.0;
        auto [q1, q2] = genotype_chances(a, b, q_.diploid);
        const auto cond = static_cast<std::size_t>(int{run_.sites.traits[s].top_panel});
        if (run_.params.weight_imputed_gt >= 0) {
            write_debug_line(s, q1, q2);
            q1 *= weights[cond];
            q2 *= weights[cond];
        }
        run_.acc.gtype_acc[0].add(q_.ind, s, q1);
        run_.acc.gtype_acc[1].add(q_.ind, s, q2);
        if (keep_allele_probs_) {
            const auto slot = static_cast<std::size_t>(q_.known_index);
            run_.acc.gtype_acc2[0].add(slot, s, q_.diploid ? a : q2);
            if (q_.diploid) run_.acc.gtype_acc2[1].add(slot, s, b);
        }
    }

    void visit_typed(std::size_t s) {
        if (keep_bits_ && !run_.plan.tmp_haps) {
            store_bits(run_.params.mc_impute ? q_.ind : static_cast<std::size_t>(q_.unknown_index), s);
        }
        if (run_.sites.traits[s].type != 2 || !q_.selfcheck_iter || run_.params.mc_impute) return;
        for (std::size_t cond = 0; cond < 2; ++cond) {
            if (!run_.plan.output_types[cond] && run_.params.weight_panel != static_cast<int>(cond)) continue;
            const auto& acc = run_.work->allele_acc[cond];
            const auto [q1, q2] = genotype_chances(acc[0][s], q_.diploid ? acc[1][s] : 0.0, q_.diploid);
            run_.acc.gtype_acc3[cond][0].add(q_.ind, s, q1);
            run_.acc.gtype_acc3[cond][1].add(q_.ind, s, q2);
        }
    }

  private:
    void store_bits(std::size_t slot, std::size_t s) {
        run_.acc.mcmc_bits.set(slot, 0, s, q_.stored_count, run_.panels[2].haps.allele(q_.hap, s) == 1);
        if (q_.diploid) {
            run_.acc.mcmc_bits.set(slot, 1, s, q_.stored_count, run_.panels[2].haps.allele(q_.hap + 1, s) == 1);
        }
    }

    void count_sampled_genotype(std::size_t s) {
        int& sampled = run_.acc.last_sampled_gtype[s];
        if (sampled > 0) {
            const std::size_t row = q_.diploid ? static_cast<std::size_t>(sampled - 1) : 1;
            auto& counts = run_.acc.tallies[s].miss_counts[row];
            if (q_.ind < counts.size()) ++counts[q_.ind];
        }
        sampled = 0;
    }

    void write_debug_line(std::size_t s, double q1, double q2) {
        if (!run_.debug_wt_out) return;
        const auto cond = static_cast<std::size_t>(int{run_.sites.traits[s].top_panel});
        const auto& L = run_.acc.term_prob[cond];
        result_file& out = *run_.debug_wt_out;
        out.integer(static_cast<long>(q_.ind));
        out.character(' ');
        out.integer(static_cast<long>(cond));
        out.character(' ');
        out.integer(run_.sites.positions[s]);
        for (const double value : {L[0], L[1], 1.0 - q1 - q2, q1, q2}) {
            out.character(' ');
            out.fixed(value, 4);
        }
        out.end_line();
    }

    data& run_;
    const count_request& q_;
    const bool keep_bits_;
    const bool keep_allele_probs_;
};

// A sampled missing allele of a Panel 0 haplotype.
void count_sporadic(data& run, std::size_t ind, std::size_t s) {
    if (run.panels[0].missing.n_hap() == 0 || run.panels[0].missing.allele(ind, s) == 0) return;
    int& sampled = run.acc.last_sampled_gtype[s];
    sample_tally& tally = run.acc.tallies[s];
    if (tally.miss_counts[0].empty()) return;
    if (sampled > 0) {
        tally.count(static_cast<std::size_t>(sampled - 1), 1);
        sampled = 0;
    }
    tally.advance();
}

}  // namespace

void store_counts_or_haps(data& run, int ind, int hap, int diploid, int panel, int stored_count, bool selfcheck_iter,
                          int known_index, int unknown_index, bool known) {
    if (panel == 0 && !run.plan.sporadic_haploid_imputation) {
        run.log.fatal(
            "ERROR: The update_panel should not be zero unless you are performing sporadic haploid imputation.");
    }
    const count_request request{static_cast<std::size_t>(ind),
                                static_cast<std::size_t>(hap),
                                diploid != 0,
                                static_cast<std::size_t>(stored_count),
                                selfcheck_iter,
                                known_index,
                                unknown_index};
    const bool keep_bits = (unknown_index >= 0 && run.params.phase && !known) || (run.params.mc_impute && known);
    const bool keep_allele_probs = known_index >= 0 && run.params.phase && known && !run.params.mc_impute;
    std::array<double, 2> weights{1.0, 1.0};
    if (panel == 2) weights = iteration_weights(run, request.ind, request.diploid, stored_count == 0);

    count_pass pass(run, request, keep_bits, keep_allele_probs);
    const auto [first, last] = run.sites.range(run.haps_interval());
    for (std::size_t s = first; s < last; ++s) {
        if (run.sites.traits[s].type == run.plan.n_panels) continue;
        if (run.sites.traits[s].top_panel < panel) {
            pass.visit_imputed(s, weights);
        } else if (panel == 2) {
            pass.visit_typed(s);
        } else if (run.params.mc_impute && run.plan.sporadic_haploid_imputation) {
            count_sporadic(run, request.ind, s);
        }
    }
}
