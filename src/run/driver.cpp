// The order of a run: phases, iterations, results.

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "model/data.h"
#include "model/text.h"
#include "run/passes.h"

namespace {

class iteration_loop {
  public:
    explicit iteration_loop(data& run)
        : run_(run), p_(run.params), progress_(std::cerr, !run.params.verbose && isatty(STDERR_FILENO) != 0) {}

    void run_all() {
        for (int it = 0; it < p_.iter && next_stored_ < run_.stored_iters.size(); ++it) {
            iteration now;
            now.it = it;
            now.late = !p_.random_cond && it >= run_.informed_start_iter;
            now.stored = it == run_.stored_iters[next_stored_];
            now.selfcheck =
                next_selfcheck_ < run_.selfcheck_iters.size() && it == run_.selfcheck_iters[next_selfcheck_];
            now.stored_count = stored_count_;
            progress_.start_iteration(it, p_.iter);
            run_one(now);
        }
        progress_.finish();
    }

  private:
    void run_one(const iteration& now) {
        if (now.it == run_.informed_start_iter) renew_parameters();
        run_.log.terminal_line("");
        run_.log.terminal_line(concat("MCMC iteration [", now.it + 1, "/", p_.iter, "]"));
        if (run_.n_hap[0] >= 1) pass_panel0(now);
        if (run_.n_hap[1] >= 1) pass_panel1(now);
        if (run_.n_ind[2] >= 1) {
            pass_panel2(now);
            if (now.stored) finish_stored(now);
        }
        if (now.selfcheck) ++next_selfcheck_;
        write_iteration_files(now.it);
        if (p_.verbose) run_.log.terminal_text("\r");
    }

    void renew_parameters() {
        run_.log.stage("RESETTING PARAMETERS FOR \"SURROGATE FAMILY\" MODELING");
        run_.set_theta_panel(true);
        run_.set_mutation_matrix(true);
        run_.set_switch_rates(true);
        if (p_.fill_holes) run_.set_switch_rates_for_hole_filling(true);
    }

    void pass_panel0(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_h)) run_.read_sampled_haps(now.it, 0);
        if (run_.update_panel[0]) update_panel0_haplotypes(run_, now, progress_);
        if (run_.hole_fill_to == 0) fill_panel0_holes(run_, now, progress_);
    }

    void pass_panel1(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_g_ref)) run_.read_sampled_haps(now.it, 1);
        if (run_.update_panel[1]) update_panel1_individuals(run_, now, progress_);
        if (p_.use_panel1_for_type0_imputation) {
            if (!p_.stage_one) update_panel1_from_panel0(run_, now, progress_);
        } else if (run_.hole_fill_to == 1) {
            fill_panel1_holes(run_, now, progress_);
        }
    }

    void pass_panel2(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_g) && now.stored) run_.read_sampled_haps(now.it, 2);
        if (run_.update_panel[2]) {
            update_study_individuals(run_, now, progress_);
        } else {
            record_known_study(run_, now);
        }
        if (now.stored || (p_.use_panel1_for_type0_imputation && p_.stage_one)) {
            impute_study_from_reference(run_, now, progress_);
        }
    }

    void finish_stored(const iteration& now) {
        ++stored_count_;
        ++next_stored_;
        if (p_.counts_per_iter) {
            run_.output_current_gtype_counts(now.it, stored_count_);
        } else if (p_.counts_wt_per_iter) {
            run_.output_current_gtype_counts_wt(now.it, stored_count_);
        }
        if (p_.weight_imputed_gt >= 0) print_weights();
        if (run_.tmp_haps) run_.output_current_haps_to_tmp(now.it);
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
        if (run_.store_sampled_haps) run_.output_current_haps(it);
        if (p_.show_diploid_copy_states) run_.output_current_copy_states(it, 1, 2, 2);
        if (p_.show_haploid_copy_states) {
            if (run_.n_hap[1] > 0 && run_.output_types[1]) run_.output_current_copy_states(it, 0, 2, 1);
            if (run_.n_hap[0] > 0 && run_.output_types[0]) run_.output_current_copy_states(it, 0, 2, 0);
        }
    }

    data& run_;
    const parameters& p_;
    progress_line progress_;
    std::size_t next_stored_ = 0;
    std::size_t next_selfcheck_ = 0;
    int stored_count_ = 0;
};

void print_success_rate(run_log& log, const std::string& kind, long n_stay, long n_switch) {
    const long n = n_stay + n_switch;
    const std::string text = kind + " sampling success rate: " +
                             (n < 1 ? "(no " + kind + " sampling performed)"
                                    : fixed_text(static_cast<double>(n_stay) / static_cast<double>(n), 3));
    log.terminal_line("");
    log.line(text);
}

// Individuals that -known_haps_g gave no phase in the region are modelled without order.
void warn_of_unordered(data& run) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(run.params.nind); ++i) {
        if (run.has_known_haps[i]) continue;
        run.log.warn(
            concat("WARNING: Sample #", i + 1,
                   " in the output file was not provided with valid known haplotypes (via the -known_haps_g file) in "
                   "the analysis region. Specifically, there were no phased heterozygous genotypes in this region, so "
                   "ORVIDE2 had to treat the haplotypes as unordered to avoid label-switching in the MCMC."));
    }
}

void write_results(data& run) {
    const parameters& p = run.params;
    run.output_mcmc();
    run.mcmc_info();
    if (p.sample_qc_info) run.mcmc_info_by_sample();
    if (p.selfcheck > 0.0) run.mcmc_accuracy();
    if (is_given(p.known_haps_g_file) && run.log.warnings_on()) {
        warn_of_unordered(run);
        if (!p.use_prephased_g) run.print_diplotype_ordering_states();
    }
    if (p.phase) {
        run.phase_fixed();
        run.phase_pairwise();
        run.output_pairwise_certainties();
        run.output_phased_haps();
    }
    if (p.print_allele_probs) run.output_allele_probs();
}

void write_merged_panels(data& run) {
    if (is_given(run.params.merge_ref_panels_output_ref)) {
        run.output_merged_ref();
    } else if (is_given(run.params.merge_ref_panels_output_gen)) {
        run.output_merged_gen();
    }
}

void finish(data& run) {
    print_success_rate(run.log, "diploid", run.dip_stay_count, run.dip_switch_count);
    print_success_rate(run.log, "haploid", run.hap_stay_count, run.hap_switch_count);
    if (run.params.suppress_imputation_output) {
        write_merged_panels(run);
    } else {
        write_results(run);
    }
    if (run.tmp_haps) run.remove_tmp_sampled_haps();
    const int n_warnings = run.log.warning_count();
    if (n_warnings > 0) {
        run.log.stage(concat(n_warnings, " warning", n_warnings == 1 ? " was" : "s were",
                             " generated during this run. See the warnings file [", run.params.w_file,
                             "] for details."));
    }
    run.log.close();
}

}  // namespace

void data::impute() {
    process_input();
    print_nomenclature();
    print_files();
    read_data();
    setup();
    print_params();
    log.header("---------", " Run log ");
    const bool by_hap = is_given(params.distances_by_hap_file);
    if (!params.random_cond && (by_hap || is_given(params.distances_file))) read_distances_file(by_hap);
    iteration_loop(*this).run_all();
    finish(*this);
}
