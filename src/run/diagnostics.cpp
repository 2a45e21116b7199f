#include "run/diagnostics.h"

#include <array>
#include <span>

#include "inference/update/posteriors.h"
#include "io/text.h"
#include "output/copy_probabilities.h"

std::unique_ptr<result_file> pass_diagnostics::open(const char* words, int it) {
    return std::make_unique<result_file>(log_, concat(in_.params.o_file, words, it + 1, ".gz"), true);
}

void pass_diagnostics::open_for_updates(int it, bool stored) {
    if (in_.params.debug_weighting) {
        weights_ = open("_debug_wt_diploid_iter", it);
        weights_->text("indiv dip_like");
        weights_->end_line();
    }
    if (in_.params.show_all_copy_probs && stored) copying_ = open("_all_copy_probs_iter", it);
}

void pass_diagnostics::open_for_imputation(int it, bool stored) {
    if (in_.params.debug_weighting) {
        weights_ = open("_debug_wt_haploid_iter", it);
        weights_->text("indiv snp_type snp_pos hap1_like hap2_like pr_gt0 pr_gt1 pr_gt2");
        weights_->end_line();
    }
    if (in_.params.show_ref_copy_probs && stored) copying_ = open("_ref_copy_probs_iter", it);
}

void pass_diagnostics::close() {
    weights_.reset();
    copying_.reset();
}

void pass_diagnostics::write_likelihood(std::size_t ind, double log10_likelihood) {
    if (!weights_) return;
    weights_->integer(static_cast<long>(ind));
    weights_->character(' ');
    weights_->number(log10_likelihood);
    weights_->end_line();
}

void pass_diagnostics::write_imputed(const study_member& member, const imputed_alleles& imputed) {
    if (!weights_ || in_.params.weight_imputed_gt < 0 || in_.params.mc_impute) return;
    for (std::size_t s = in_.first_kept; s < in_.end_kept; ++s) {
        const site_traits& traits = in_.traits(s);
        if (traits.type == in_.plan.n_panels || traits.top_panel >= 2) continue;
        const double second = member.diploid ? imputed.chance[1][s] : 0.0;
        const auto [q1, q2] = genotype_chances(imputed.chance[0][s], second, member.diploid);
        const std::array<double, 2>& L = imputed.log10_likelihood[traits.top_panel];
        weights_->integer(static_cast<long>(member.ind));
        weights_->character(' ');
        weights_->integer(traits.top_panel);
        weights_->character(' ');
        weights_->integer(in_.sites.positions[s]);
        for (const double value : {L[0], L[1], 1.0 - q1 - q2, q1, q2}) {
            weights_->character(' ');
            weights_->fixed(value, 4);
        }
        weights_->end_line();
    }
}

void pass_diagnostics::write_copying(const haploid_update& update, const conditioning_states& states,
                                     const haploid_result& result) {
    if (!copying_ || result.copying.empty()) return;
    const hmm_model& model = model_of(in_, update);
    const std::size_t K = in_.n_states(0, update.panel, update.cond_panel);
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        if (!in_copy_sites(model.site[v])) continue;
        output_ref_copy_probs(*copying_, log_, update.ind, update.strand, in_.sites.positions[model.site[v]], states,
                              std::span(result.copying).subspan(v * K, K), in_.panels[0].n_hap, K, in_.params.outdp);
    }
}

void pass_diagnostics::write_copying(const pair_update& update, const conditioning_states& states,
                                     const pair_result& result) {
    if (!copying_ || result.copying.empty()) return;
    const hmm_model& model = model_of(in_, update);
    const std::size_t K = in_.n_states(1, update.panel, update.panel);
    for (std::size_t v = 0; v < model.n_sites(); ++v) {
        const std::size_t s = model.site[v];
        if (!in_copy_sites(s) || in_.traits(s).type != 2) continue;
        output_all_copy_probs(*copying_, log_, update.ind, in_.sites.positions[s], update.hap, 2, states,
                              std::span(result.copying).subspan(v * K, K),
                              {in_.panels[0].n_hap, in_.panels[1].n_hap, in_.panels[2].n_hap}, K, in_.params.outdp);
    }
}
