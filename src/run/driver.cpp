// The order of a run: phases, iterations, results.

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "input/readers.h"
#include "io/text.h"
#include "model/data.h"
#include "output/results.h"
#include "params/model_parameters.h"
#include "reconcile/setup.h"
#include "run/driver.h"
#include "run/passes.h"
#include "run/process_input.h"
#include "run/reports.h"

namespace {

class iteration_loop {
  public:
    iteration_loop(data& run, distance_matrix distances)
        : run_(run),
          p_(run.params),
          progress_(std::cerr, !run.params.verbose && isatty(STDERR_FILENO) != 0),
          passes_(run, progress_, std::move(distances)) {}

    void run_all() {
        for (int it = 0; it < p_.iter && next_stored_ < run_.plan.stored_iters.size(); ++it) {
            iteration now;
            now.it = it;
            now.late = !p_.random_cond && it >= run_.plan.informed_start_iter;
            now.stored = it == run_.plan.stored_iters[next_stored_];
            now.selfcheck =
                next_selfcheck_ < run_.plan.selfcheck_iters.size() && it == run_.plan.selfcheck_iters[next_selfcheck_];
            now.stored_count = stored_count_;
            progress_.start_iteration(it, p_.iter);
            run_one(now);
        }
        progress_.finish();
    }
    const update_passes& passes() const { return passes_; }

  private:
    void run_one(const iteration& now) {
        if (now.it == run_.plan.informed_start_iter) renew_parameters();
        run_.log.terminal_line("");
        run_.log.terminal_line(concat("MCMC iteration [", now.it + 1, "/", p_.iter, "]"));
        passes_.start_iteration(now);
        if (run_.panels[0].n_hap >= 1) pass_panel0(now);
        if (run_.panels[1].n_hap >= 1) pass_panel1(now);
        if (run_.panels[2].n_ind >= 1) {
            pass_panel2(now);
            if (now.stored) finish_stored(now);
        }
        if (now.selfcheck) ++next_selfcheck_;
        write_iteration_files(now.it);
        if (p_.verbose) run_.log.terminal_text("\r");
    }

    void renew_parameters() {
        run_.log.stage("RESETTING PARAMETERS FOR \"SURROGATE FAMILY\" MODELING");
        set_model_parameters(run_, true);
    }

    void pass_panel0(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_h)) read_sampled_haps(run_, now.it, 0);
        if (run_.panels[0].needs_update) passes_.update_panel0_haplotypes();
        if (run_.plan.hole_fill_to == 0) passes_.fill_holes();
    }

    void pass_panel1(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_g_ref)) read_sampled_haps(run_, now.it, 1);
        if (run_.panels[1].needs_update) passes_.update_panel1_individuals();
        if (p_.use_panel1_for_type0_imputation) {
            if (!p_.stage_one) passes_.update_panel1_from_panel0();
        } else if (run_.plan.hole_fill_to == 1) {
            passes_.fill_holes();
        }
    }

    void pass_panel2(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_g) && now.stored) read_sampled_haps(run_, now.it, 2);
        if (run_.panels[2].needs_update) {
            passes_.update_study_individuals();
        } else {
            passes_.record_known_study();
        }
        if (now.stored || (p_.use_panel1_for_type0_imputation && p_.stage_one)) {
            passes_.impute_study_from_reference();
        }
    }

    void finish_stored(const iteration& now) {
        ++stored_count_;
        ++next_stored_;
        if (p_.counts_per_iter) {
            output_current_gtype_counts(run_, now.it, stored_count_);
        } else if (p_.counts_wt_per_iter) {
            output_current_gtype_counts_wt(run_, now.it, stored_count_);
        }
        if (p_.weight_imputed_gt >= 0) print_weights();
        if (run_.plan.tmp_haps) output_current_haps_to_tmp(run_, now.it);
    }

    void print_weights() {
        run_.log.summary_line("");
        run_.log.summary_line(concat("iter", stored_count_, ":"));
        run_.log.summary_line("  --terminal fwd prob sums:");
        const auto& sums = run_.acc.weight_sum;
        for (std::size_t i = 0; i < static_cast<std::size_t>(p_.nind); ++i) {
            run_.log.summary_line(concat("    ", i, "->", fixed_text(sums[0][i], 3), "->", fixed_text(sums[1][i], 3)));
        }
    }

    void write_iteration_files(int it) {
        if (run_.plan.store_sampled_haps) output_current_haps(run_, it);
        if (p_.show_diploid_copy_states)
            output_current_copy_states(run_, passes_.copy_states().by_individual, it, 1, 2, 2);
        if (p_.show_haploid_copy_states) {
            auto& records = passes_.copy_states().by_haplotype;
            for (const std::size_t panel : {1U, 0U}) {
                if (run_.panels[panel].n_hap == 0 || !run_.plan.output_types[panel]) continue;
                output_current_copy_states(run_, records[panel], it, 0, 2, static_cast<int>(panel));
            }
        }
    }

    data& run_;
    const parameters& p_;
    progress_line progress_;
    update_passes passes_;
    std::size_t next_stored_ = 0;
    std::size_t next_selfcheck_ = 0;
    int stored_count_ = 0;
};

void print_success_rate(run_log& log, const std::string& kind, const draw_counts& draws) {
    const long n = draws.n_stay + draws.n_switch;
    const std::string text = kind + " sampling success rate: " +
                             (n < 1 ? "(no " + kind + " sampling performed)"
                                    : fixed_text(static_cast<double>(draws.n_stay) / static_cast<double>(n), 3));
    log.terminal_line("");
    log.line(text);
}

// Individuals that -known_haps_g gave no phase in the region are modelled without order.
void warn_of_unordered(data& run) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(run.params.nind); ++i) {
        if (run.panels[2].ordered[i]) continue;
        run.log.warn(
            concat("WARNING: Sample #", i + 1,
                   " in the output file was not provided with valid known haplotypes (via the -known_haps_g file) in "
                   "the analysis region. Specifically, there were no phased heterozygous genotypes in this region, so "
                   "ORVIDE2 had to treat the haplotypes as unordered to avoid label-switching in the MCMC."));
    }
}

void write_results(data& run) {
    const parameters& p = run.params;
    output_mcmc(run);
    mcmc_info(run);
    if (p.sample_qc_info) mcmc_info_by_sample(run);
    if (p.selfcheck > 0.0) mcmc_accuracy(run);
    if (is_given(p.known_haps_g_file) && run.log.warnings_on()) {
        warn_of_unordered(run);
        if (!p.use_prephased_g) print_diplotype_ordering_states(run);
    }
    if (p.phase) {
        phase_fixed(run);
        phase_pairwise(run);
        output_pairwise_certainties(run);
        output_phased_haps(run);
    }
    if (p.print_allele_probs) output_allele_probs(run);
}

void write_merged_panels(data& run) {
    if (is_given(run.params.merge_ref_panels_output_ref)) {
        output_merged_ref(run);
    } else if (is_given(run.params.merge_ref_panels_output_gen)) {
        output_merged_gen(run);
    }
}

void finish(data& run, const update_passes& passes) {
    print_success_rate(run.log, "diploid", passes.diploid_draws());
    print_success_rate(run.log, "haploid", passes.haploid_draws());
    if (run.params.suppress_imputation_output) {
        write_merged_panels(run);
    } else {
        write_results(run);
    }
    if (run.plan.tmp_haps) remove_tmp_sampled_haps(run);
    const int n_warnings = run.log.warning_count();
    if (n_warnings > 0) {
        run.log.stage(concat(n_warnings, " warning", n_warnings == 1 ? " was" : "s were",
                             " generated during this run. See the warnings file [", run.params.w_file,
                             "] for details."));
    }
    run.log.close();
}

}  // namespace

void impute(data& run) {
    process_input(run.log, run.params, run.plan, run.panels);
    print_nomenclature(run.log, run.params);
    print_files(run.log, run.params);
    read_data(run);
    setup(run);
    print_params(run.log, run.params, run.plan, run.panels, run.models);
    run.log.header("---------", " Run log ");
    const bool by_hap = is_given(run.params.distances_by_hap_file);
    distance_matrix distances;
    if (!run.params.random_cond && (by_hap || is_given(run.params.distances_file))) {
        distances = read_distances_file(run, by_hap);
    }
    iteration_loop loop(run, std::move(distances));
    loop.run_all();
    finish(run, loop.passes());
}
