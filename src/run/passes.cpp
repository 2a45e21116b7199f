#include "run/passes.h"

#include "inference/states/conditioning.h"
#include "inference/update/accumulate.h"
#include "inference/update/updates.h"
#include "io/result_file.h"
#include "io/text.h"
#include "model/data.h"

namespace {

std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

// Says which member of a panel is in hand: on the terminal under -verbose, else on the progress line.
void report_member(data& run, progress_line& progress, const char* verbose_words, const char* words, int member,
                   int n_members) {
    if (run.params.verbose) {
        run.log.terminal_text(concat("\r-updating ", verbose_words, " [", member + 1, "/", n_members, "]"));
    } else {
        progress.update(words, member, n_members);
    }
}

void end_members(data& run) {
    if (run.params.verbose) run.log.terminal_line("");
}

void say_sweep(data& run, const std::string& words) {
    if (run.params.verbose) run.log.terminal_text(words);
}

double haploid(data& run, const haploid_update& update) {
    say_sweep(run, concat(" [hap ", update.hap, "]"));
    return update_haploid(run, update);
}

double diploid(data& run, const diploid_update& update) {
    say_sweep(run, " [dip]");
    return update_diploid(run, update);
}

bool by_matrix(const data& run) {
    return is_given(run.params.distances_by_hap_file);
}

// States of a reference panel's own, or of a study individual's phasing update.
void choose_own_states(data& run, const iteration& now, int i, int panel) {
    const parameters& p = run.params;
    const bool haploid_panel = panel == 2 && p.haploid_g;
    const bool haploid_member = run.panels[panel].is_haploid(i);
    const int first = run.panels[panel].first_hap(i);
    const int ploidy = haploid_member ? 0 : 1;
    if (!now.late) {
        choose_random_conditioning_states(run, first, ploidy, panel, panel);
    } else if (is_given(p.distances_file) || is_given(p.distances_by_hap_file)) {
        choose_conditioning_states_from_dist_matrix(run, i, ploidy, panel, panel, false);
    } else {
        choose_informed_conditioning_states(run, first, ploidy, panel, panel, haploid_panel || haploid_member);
    }
}

// States of a one-way pass from a lower panel, as far as an individual's haplotypes share them.
void choose_shared_states(data& run, const iteration& now, int i, int panel, int cond_panel) {
    const parameters& p = run.params;
    if (!now.late) {
        choose_random_conditioning_states(run, -1, 0, panel, cond_panel);
    } else if (is_given(p.distances_file)) {
        choose_conditioning_states_from_dist_matrix(run, i, 0, panel, cond_panel, false);
    } else if (!p.choose_haploid_family) {
        choose_informed_conditioning_states(run, run.panels[panel].first_hap(i), 0, panel, cond_panel,
                                            run.panels[panel].is_haploid(i));
    }
}

// The states that each haplotype of a one-way pass has of its own.
void choose_haplotype_states(data& run, const iteration& now, int hap, int panel, int cond_panel) {
    const parameters& p = run.params;
    if (!now.late || !p.choose_haploid_family || is_given(p.distances_file)) return;
    if (by_matrix(run)) {
        choose_conditioning_states_from_dist_matrix(run, hap, 0, panel, cond_panel, true);
    } else {
        choose_informed_conditioning_states(run, hap, 0, panel, cond_panel, true);
    }
}

// The states of one haplotype that is filled from another panel.
void choose_filling_states(data& run, const iteration& now, int hap, int panel, int cond_panel) {
    if (!now.late) {
        choose_random_conditioning_states(run, -1, 0, panel, cond_panel);
    } else if (by_matrix(run)) {
        choose_conditioning_states_from_dist_matrix(run, hap, 0, panel, cond_panel, true);
    } else {
        choose_informed_conditioning_states(run, hap, 0, panel, cond_panel, true);
    }
}

void fill_haplotype(data& run, const iteration& now, int hap, int panel, int states_from) {
    choose_filling_states(run, now, hap, panel, states_from);
    say_sweep(run, " [fill holes]");
    fill_holes_of_haplotype(run, hap, panel, static_cast<int>(*run.plan.hole_fill_from));
}

}  // namespace

void update_panel0_haplotypes(data& run, const iteration& now, progress_line& progress) {
    for (int h = 0; h < run.panels[0].n_hap; ++h) {
        report_member(run, progress, "haplotype", "Panel 0 haplotype", h, run.panels[0].n_hap);
        if (!run.panels[0].update[at(h)]) continue;
        if (!now.late) {
            choose_random_conditioning_states(run, h, 0, 0, 0);
        } else if (by_matrix(run)) {
            choose_conditioning_states_from_dist_matrix(run, h, 0, 0, 0, true);
        } else {
            choose_informed_conditioning_states(run, h, 0, 0, 0, true);
        }
        haploid_update update;
        update.ind = update.hap = h;
        update.sample = true;
        update.save_alleles = now.stored && run.plan.sporadic_haploid_imputation;
        update.stored = now.stored;
        haploid(run, update);
        if (update.save_alleles) store_counts_or_haps(run, h, h, 0, 0, now.stored_count, false, -1, -1, false);
    }
    end_members(run);
}

void fill_panel0_holes(data& run, const iteration& now, progress_line& progress) {
    for (int h = 0; h < run.panels[0].n_hap; ++h) {
        report_member(run, progress, "haplotype", "Panel 0 haplotype", h, run.panels[0].n_hap);
        fill_haplotype(run, now, h, 0, static_cast<int>(*run.plan.hole_fill_from));
    }
    end_members(run);
}

void update_panel1_individuals(data& run, const iteration& now, progress_line& progress) {
    for (int i = 0; i < run.panels[1].n_ind; ++i) {
        report_member(run, progress, "ref indiv", "reference individual", i, run.panels[1].n_ind);
        if (!run.panels[1].update[at(i)]) continue;
        choose_own_states(run, now, i, 1);
        const int hap = run.panels[1].first_hap(i);
        if (run.panels[1].is_haploid(i)) {
            haploid_update update;
            update.ind = i;
            update.hap = hap;
            update.panel = update.cond_panel = 1;
            update.sample = true;
            haploid(run, update);
            continue;
        }
        diploid_update update;
        update.ind = i;
        update.hap = hap;
        update.panel = 1;
        if (run.panels[1].ordered[at(i)]) {
            update_ordered(run, update);
        } else {
            diploid(run, update);
        }
    }
    end_members(run);
}

void update_panel1_from_panel0(data& run, const iteration& now, progress_line& progress) {
    for (int i = 0; i < run.panels[1].n_ind; ++i) {
        report_member(run, progress, "ref indiv", "reference individual", i, run.panels[1].n_ind);
        choose_shared_states(run, now, i, 1, 0);
        for (int strand = 0; strand < (run.panels[1].is_haploid(i) ? 1 : 2); ++strand) {
            haploid_update update;
            update.ind = i;
            update.hap = run.panels[1].first_hap(i) + strand;
            update.panel = 1;
            update.strand = strand;
            update.sample = true;
            choose_haplotype_states(run, now, update.hap, 1, 0);
            haploid(run, update);
        }
    }
    end_members(run);
}

void fill_panel1_holes(data& run, const iteration& now, progress_line& progress) {
    for (int i = 0; i < run.panels[1].n_ind; ++i) {
        report_member(run, progress, "ref indiv", "reference individual", i, run.panels[1].n_ind);
        for (int strand = 0; strand < (run.panels[1].is_haploid(i) ? 1 : 2); ++strand) {
            // States come from the study, whatever panel the sweep copies.
            fill_haplotype(run, now, run.panels[1].first_hap(i) + strand, 1, 2);
        }
    }
    end_members(run);
}

namespace {

// What a phasing update of a study individual accumulates.
struct study_flags {
    bool backward = false;
    bool genotype_probs = false;
};

study_flags settle_flags(const data& run, const iteration& now, bool known) {
    const parameters& p = run.params;
    if (!now.stored || p.mc_impute) return {};
    const bool store_geno = p.pgs || p.pgs_miss || p.pgs_prob;
    const bool known_sums = known && (p.phase || p.print_allele_probs);
    return {store_geno || p.show_all_copy_probs || known_sums, store_geno || known_sums};
}

void update_study_haplotype(data& run, const iteration& now, int i, int known_index, const study_flags& flags) {
    haploid_update update;
    update.ind = i;
    update.hap = run.panels[2].first_hap(i);
    update.panel = update.cond_panel = 2;
    update.known_index = known_index;
    update.sample = true;
    update.backward = flags.backward;
    update.genotype_probs = flags.genotype_probs;
    update.stored = now.stored;
    haploid(run, update);
}

void update_study_individual(data& run, const iteration& now, int i, bool known, int known_index) {
    const parameters& p = run.params;
    const study_flags flags = settle_flags(run, now, known);
    choose_own_states(run, now, i, 2);
    diploid_update update;
    update.ind = i;
    update.hap = run.panels[2].first_hap(i);
    update.panel = 2;
    update.known_index = known ? known_index : -1;
    update.backward = flags.backward;
    update.genotype_probs = flags.genotype_probs;
    update.stored = now.stored;
    const bool weighted = p.weight_imputed_gt == 3 || p.debug_weighting;
    if (!known && weighted) {
        update.keep_all_tables = p.use_old_code;
        const double w = diploid(run, update);
        if (p.weight_imputed_gt == 3) run.acc.dip_like[at(i)] = w;
        if (run.debug_wt_out) {
            run.debug_wt_out->integer(i);
            run.debug_wt_out->character(' ');
            run.debug_wt_out->number(w);
            run.debug_wt_out->end_line();
        }
    } else if (run.panels[2].is_haploid(i)) {
        update_study_haplotype(run, now, i, update.known_index, flags);
    } else if (known) {
        update_ordered(run, update);
    } else {
        diploid(run, update);
    }
}

void record_if_counted(data& run, const iteration& now, int i, int known_index) {
    if (now.stored && !run.params.mc_impute) {
        record_known_individual(run, i, known_index);
    }
}

std::unique_ptr<result_file> open_iteration_file(data& run, const char* words, int it) {
    return std::make_unique<result_file>(run.log, concat(run.params.o_file, words, it + 1, ".gz"), true);
}

}  // namespace

void update_study_individuals(data& run, const iteration& now, progress_line& progress) {
    const parameters& p = run.params;
    if (p.debug_weighting) {
        run.debug_wt_out = open_iteration_file(run, "_debug_wt_diploid_iter", now.it);
        run.debug_wt_out->text("indiv dip_like");
        run.debug_wt_out->end_line();
    }
    if (p.show_all_copy_probs && now.stored) {
        run.all_copy_out = open_iteration_file(run, "_all_copy_probs_iter", now.it);
    }
    int known_index = -1;
    for (int i = 0; i < p.nind; ++i) {
        report_member(run, progress, "inf indiv", "individual", i, p.nind);
        const bool known = run.panels[2].ordered[at(i)];
        if (known) ++known_index;
        if (run.panels[2].update[at(i)]) {
            update_study_individual(run, now, i, known, known_index);
        } else {
            record_if_counted(run, now, i, known_index);
        }
    }
    end_members(run);
    run.debug_wt_out.reset();
    run.all_copy_out.reset();
}

void record_known_study(data& run, const iteration& now) {
    int known_index = -1;
    for (int i = 0; i < run.params.nind; ++i) {
        if (run.panels[2].ordered[at(i)]) ++known_index;
        record_if_counted(run, now, i, known_index);
    }
}

namespace {

// Imputes an individual's haplotypes from one panel's reference.
void impute_section(data& run, const iteration& now, int i, int cond_panel, int known_index) {
    const parameters& p = run.params;
    const bool keep_out = now.stored && !p.suppress_imputation_output;
    const bool sample_states = cond_panel == 0 && p.use_panel1_for_type0_imputation && p.stage_one;
    choose_shared_states(run, now, i, 2, cond_panel);
    for (int strand = 0; strand < (run.panels[2].is_haploid(i) ? 1 : 2); ++strand) {
        haploid_update update;
        update.ind = i;
        update.hap = run.panels[2].first_hap(i) + strand;
        update.panel = 2;
        update.cond_panel = cond_panel;
        update.strand = strand;
        update.known_index = known_index;
        update.stored = now.stored;
        if (p.mc_impute) {
            update.sample = true;
            update.save_alleles = now.stored;
        } else {
            update.sample = sample_states;
            update.backward = update.allele_probs = keep_out;
            update.selfcheck = now.selfcheck;
        }
        choose_haplotype_states(run, now, update.hap, 2, cond_panel);
        const double likelihood = haploid(run, update);
        if (!p.mc_impute && p.weight_imputed_gt >= 0 && now.stored) {
            run.acc.term_prob[at(cond_panel)][at(strand)] = likelihood;
        }
    }
}

}  // namespace

void impute_study_from_reference(data& run, const iteration& now, progress_line& progress) {
    const parameters& p = run.params;
    if (p.debug_weighting) {
        run.debug_wt_out = open_iteration_file(run, "_debug_wt_haploid_iter", now.it);
        run.debug_wt_out->text("indiv snp_type snp_pos hap1_like hap2_like pr_gt0 pr_gt1 pr_gt2");
        run.debug_wt_out->end_line();
    }
    if (p.show_ref_copy_probs && now.stored) {
        run.ref_copy_out = open_iteration_file(run, "_ref_copy_probs_iter", now.it);
    }
    const bool from_panel1 = run.panels[1].n_hap >= 1 && run.plan.output_types[1];
    const bool from_panel0 = run.panels[0].n_hap >= 1 && (run.plan.output_types[0] || p.show_ref_copy_probs) &&
                             (!p.use_panel1_for_type0_imputation || now.selfcheck || p.stage_one);
    const bool shows_progress =
        (run.panels[1].n_hap > 0 && run.plan.output_types[1]) || (run.panels[0].n_hap >= 1 && run.plan.output_types[0]);
    int known_index = -1;
    int unknown_index = -1;
    for (int i = 0; i < p.nind; ++i) {
        const bool known = run.panels[2].ordered[at(i)];
        ++(known ? known_index : unknown_index);
        run.acc.term_prob = {};
        if (shows_progress) report_member(run, progress, "inf indiv", "individual", i, p.nind);
        if (from_panel1) impute_section(run, now, i, 1, known_index);
        if (from_panel0) impute_section(run, now, i, 0, known_index);
        if (now.stored && !p.suppress_imputation_output) {
            store_counts_or_haps(run, i, run.panels[2].first_hap(i), run.panels[2].is_haploid(i) ? 0 : 1, 2,
                                 now.stored_count, now.selfcheck, known_index, unknown_index, known);
        }
    }
    if (shows_progress) end_members(run);
    run.debug_wt_out.reset();
    run.ref_copy_out.reset();
}
