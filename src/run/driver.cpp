// The order of a run: phases, iterations, results.

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "input/readers.h"
#include "io/signals.h"
#include "io/text.h"
#include "model/data.h"
#include "output/allele_probabilities.h"
#include "output/concordance_table.h"
#include "output/copy_states.h"
#include "output/diplotype_ordering.h"
#include "output/genotype_counts.h"
#include "output/info.h"
#include "output/info_by_sample.h"
#include "output/main_output.h"
#include "output/merged_reference.h"
#include "output/phase_confidence.h"
#include "output/phased_haplotypes.h"
#include "output/sampled_haplotypes.h"
#include "output/temporary_haplotypes.h"
#include "output/variants/variant_output.h"
#include "params/model_parameters.h"
#include "params/state_counts.h"
#include "reconcile/setup.h"
#include "run/driver.h"
#include "run/file_checks.h"
#include "run/memory_check.h"
#include "run/passes.h"
#include "run/process_input.h"
#include "run/reports.h"
#include "run/space_check.h"
#include "threads/processors.h"

namespace {

result_inputs results_of(data& run) {
    return {run.params, run.plan, run.sites, run.panels, run.acc, run.log, run.workers};
}

class iteration_loop {
  public:
    iteration_loop(data& run, distance_matrix distances)
        : run_(run),
          p_(run.params),
          results_(results_of(run)),
          progress_(std::cerr, !run.params.verbose && isatty(STDERR_FILENO) != 0),
          passes_(run, progress_, std::move(distances)) {}

    void run_all() {
        for (int it = 0; it < run_.plan.n_iterations && next_stored_ < run_.plan.stored_iters.size(); ++it) {
            iteration now;
            now.it = it;
            now.late = !p_.random_cond && it >= run_.plan.informed_start_iter;
            now.stored = it == run_.plan.stored_iters[next_stored_];
            now.selfcheck =
                next_selfcheck_ < run_.plan.selfcheck_iters.size() && it == run_.plan.selfcheck_iters[next_selfcheck_];
            now.stored_count = stored_count_;
            progress_.start_iteration(it, run_.plan.n_iterations);
            run_one(now);
        }
        passes_.finish_imputation();
        progress_.finish();
        if (run_.plan.phases_once_more) passes_.phase_once_more();
    }
    const update_passes& passes() const { return passes_; }

  private:
    void run_one(const iteration& now) {
        if (now.it == run_.plan.informed_start_iter) renew_parameters();
        run_.log.terminal_line("");
        run_.log.terminal_line(concat("MCMC iteration [", now.it + 1, "/", run_.plan.n_iterations, "]"));
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
        passes_.finish_imputation();
        run_.log.stage("RESETTING PARAMETERS FOR \"SURROGATE FAMILY\" MODELING");
        set_model_parameters(run_.log, p_, run_.plan, run_.panels, true, run_.models, run_.sites);
    }

    void read_later_haplotypes(int it, std::size_t panel) {
        read_sampled_haps(run_.log, p_, run_.sites, run_.panels, static_cast<std::size_t>(it), panel);
    }

    void pass_panel0(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_h)) read_later_haplotypes(now.it, 0);
        if (run_.panels[0].needs_update) passes_.update_panel0_haplotypes();
        if (run_.plan.hole_fill_to == 0) passes_.fill_holes();
    }

    void pass_panel1(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_g_ref)) read_later_haplotypes(now.it, 1);
        if (run_.panels[1].needs_update) passes_.update_panel1_individuals();
        if (p_.use_panel1_for_type0_imputation) {
            if (!p_.stage_one) passes_.update_panel1_from_panel0();
        } else if (run_.plan.hole_fill_to == 1) {
            passes_.fill_holes();
        }
    }

    void pass_panel2(const iteration& now) {
        if (now.it > 0 && is_given(p_.hap_samp_in_g) && now.stored) read_later_haplotypes(now.it, 2);
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
            write_genotype_counts(results_, now.it, stored_count_);
        } else if (p_.counts_wt_per_iter) {
            write_genotype_sums(results_, now.it, stored_count_);
        }
        if (p_.weight_imputed_gt >= 0) print_weights();
        if (run_.plan.tmp_haps) write_temporary_haplotypes(results_, now.it);
    }

    void print_weights() {
        run_.log.summary_line("");
        run_.log.summary_line(concat("iter", stored_count_, ":"));
        run_.log.summary_line("  --terminal fwd prob sums:");
        const auto& sums = run_.acc.weight_sum;
        for (std::size_t i = 0; i < run_.plan.n_study; ++i) {
            run_.log.summary_line(concat("    ", i, "->", fixed_text(sums[0][i], 3), "->", fixed_text(sums[1][i], 3)));
        }
    }

    void write_iteration_files(int it) {
        if (run_.plan.store_sampled_haps) write_sampled_haplotypes(results_, it);
        if (p_.show_diploid_copy_states) write_states(it, true, 2, passes_.copy_states().by_individual);
        if (p_.show_haploid_copy_states) {
            for (const std::size_t type : {1U, 0U}) {
                if (run_.panels[type].n_hap == 0 || !run_.plan.output_types[type]) continue;
                write_states(it, false, type, passes_.copy_states().by_haplotype[type]);
            }
        }
    }

    // The records are emptied, so that a line shows the states of its iteration only.
    void write_states(int it, bool diploid, std::size_t type, std::vector<copy_state_record>& records) {
        const auto n_states = static_cast<std::size_t>(run_.models.k_states[diploid ? 1 : 0][2][type]);
        write_copy_states(results_, it, diploid, type, records, n_states);
        for (copy_state_record& record : records) record = {};
    }

    data& run_;
    const parameters& p_;
    const result_inputs results_;
    progress_line progress_;
    update_passes passes_;
    std::size_t next_stored_ = 0;
    std::size_t next_selfcheck_ = 0;
    std::size_t stored_count_ = 0;
};

void print_success_rate(run_log& log, const std::string& kind, const draw_counts& draws) {
    const std::size_t n = draws.n_stay + draws.n_switch;
    const std::string text = kind + " sampling success rate: " +
                             (n < 1 ? "(no " + kind + " sampling performed)"
                                    : fixed_text(static_cast<double>(draws.n_stay) / static_cast<double>(n), 3));
    log.terminal_line("");
    log.line(text);
}

// Individuals that -known_haps_g gave no phase in the region are modelled without order.
void warn_of_unordered(data& run) {
    for (std::size_t i = 0; i < run.plan.n_study; ++i) {
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
    const result_inputs results = results_of(run);
    if (!run.plan.variants) write_main_output(results);
    write_info(results);
    if (p.sample_qc_info) write_info_by_sample(results);
    if (p.selfcheck > 0.0) print_concordance_tables(results);
    if (is_given(p.known_haps_g_file) && run.log.warnings_on()) {
        warn_of_unordered(run);
        if (!p.use_prephased_g) write_diplotype_ordering(results);
    }
    phase_confidences confidences;
    if (p.phase) {
        phase_fixed(results, run.panels[2].haps, run.acc.mcmc_bits);
        confidences = phase_pairwise(results, run.panels[2].haps, run.acc.mcmc_bits);
        write_phase_confidence(results, confidences);
        write_phased_haplotypes(results);
    }
    if (run.plan.variants) write_variant_output(results, confidences);
    if (p.print_allele_probs) write_allele_probabilities(results);
}

void write_merged_panels(const result_inputs& results) {
    if (is_given(results.params.merge_ref_panels_output_ref)) {
        write_merged_haplotypes(results);
    } else if (is_given(results.params.merge_ref_panels_output_gen)) {
        write_merged_genotypes(results);
    }
}

void finish(data& run, const update_passes& passes) {
    print_success_rate(run.log, "diploid", passes.diploid_draws());
    print_success_rate(run.log, "haploid", passes.haploid_draws());
    if (run.params.suppress_imputation_output) {
        write_merged_panels(results_of(run));
    } else {
        write_results(run);
    }
    if (run.plan.tmp_haps) remove_temporary_haplotypes(results_of(run));
    const int n_warnings = run.log.warning_count();
    if (n_warnings > 0) {
        run.log.stage(concat(n_warnings, " warning", n_warnings == 1 ? " was" : "s were",
                             " generated during this run. See the warnings file [", run.params.w_file,
                             "] for details."));
    }
    run.log.close();
}

void start_workers(data& run) {
    const signals_held hold;  // the workers take none, so that this thread is the one to wait or to end
    run.workers.start(run.params.threads == 0 ? usable_processors() : static_cast<std::size_t>(run.params.threads));
}

}  // namespace

void impute(data& run) {
    process_input(run.log, run.params, run.plan, run.panels);
    if (run.plan.tmp_haps) place_temporary_haplotypes(run.log, run.params);
    start_workers(run);
    print_nomenclature(run.log, run.params);
    print_files(run.log, run.params);
    require_output_places(run.log, run.params, run.plan);
    require_temporary_place(run.log, run.params);
    read_data({run.params, run.plan, run.log, run.map, run.panels, run.sites});
    set_state_counts(run.params, run.panels, run.models);
    const type_counts n_of_type = setup_panels(run.log, run.params, run.plan, run.panels, run.sites);
    const bool no_iterations = run.plan.n_iterations == 0 && run.plan.burnin == 0;
    if (no_iterations && run.plan.store_sampled_haps) write_sampled_haplotypes(results_of(run), -1);
    require_memory(run);
    require_space(run);
    setup_models(run.log, run.params, n_of_type, run.plan, run.panels, run.sites, run.models, run.acc);
    print_params(run.log, run.params, run.plan, run.panels, run.models);
    check_variant_output(results_of(run));
    run.log.header("---------", " Run log ");
    const bool by_hap = is_given(run.params.distances_by_hap_file);
    distance_matrix distances;
    if (!run.params.random_cond && (by_hap || is_given(run.params.distances_file))) {
        distances = read_distances(run.log, run.params, run.panels, by_hap);
    }
    iteration_loop loop(run, std::move(distances));
    loop.run_all();
    finish(run, loop.passes());
}
