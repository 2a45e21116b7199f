#include "run/passes.h"

#include <optional>
#include <string>
#include <utility>

#include "io/text.h"
#include "model/data.h"
#include "model/intervals.h"

namespace {

inference_inputs inputs_of(const data& run) {
    const auto [first, end] = run.sites.range(haps_interval(run.params, run.plan));
    return {run.params, run.plan, run.sites, run.panels, run.models, first, end};
}

// The record of a line of a copy-state file, null where none is kept.
copy_state_record* record_of(std::vector<copy_state_record>& records, std::size_t line) {
    return line < records.size() ? &records[line] : nullptr;
}

}  // namespace

update_passes::update_passes(data& run, progress_line& progress, distance_matrix distances)
    : run_(run),
      progress_(progress),
      in_(inputs_of(run)),
      chooser_(in_, std::move(distances)),
      imputed_(run.sites.size()),
      diagnostics_(run.log, in_, run.sites.range(output_interval(run.params, run.plan))) {
    if (run.params.show_diploid_copy_states) copy_states_.by_individual.resize(run.panels[2].n_ind);
    if (run.params.show_haploid_copy_states) {
        for (auto& records : copy_states_.by_haplotype) records.resize(run.panels[2].n_hap);
    }
}

void update_passes::start_iteration(const iteration& now) {
    now_ = now;
    chooser_.start_iteration(now.late);
}

// --- what the passes share ------------------------------------------------------------------------------------------

template <typename Visit>
void update_passes::for_each_member(const member_words& words, std::size_t n_members, bool shown, Visit visit) {
    for (std::size_t member = 0; member < n_members; ++member) {
        if (shown && run_.params.verbose) {
            run_.log.terminal_text(concat("\r-updating ", words.verbose, " [", member + 1, "/", n_members, "]"));
        } else if (shown) {
            progress_.update(words.progress, member, n_members);
        }
        visit(member);
    }
    if (shown && run_.params.verbose) run_.log.terminal_line("");
}

void update_passes::say_sweep(const std::string& words) {
    if (run_.params.verbose) run_.log.terminal_text(words);
}

// To be called for every individual of the study in order.
study_member update_passes::member_of_study(std::size_t ind) {
    const panel_data& study = run_.panels[2];
    const bool known = study.ordered[ind];
    return {ind, study.first_hap(ind), !study.is_haploid(ind), known, known ? n_known_++ : n_unknown_++};
}

void update_passes::run_haploid(const haploid_update& update) {
    say_sweep(concat(" [hap ", update.hap, "]"));
    update_haploid(in_, update, states_, work_, haploid_);
    haploid_draws_.add(haploid_.walk);
    diagnostics_.write_copying(update, states_, haploid_);
    record_haploid(in_, update, haploid_, run_.panels[update.panel], run_.acc);
}

void update_passes::run_pair(const pair_update& update) {
    if (!update.ordered) say_sweep(" [dip]");
    update_pair(in_, update, states_, work_, pair_);
    diploid_draws_.add(pair_.walk);
    diagnostics_.write_copying(update, states_, pair_);
    record_pair(in_, update, pair_, run_.panels[update.panel], run_.acc);
}

// --- reference panels -----------------------------------------------------------------------------------------------

namespace {

constexpr const char* panel0_words = "Panel 0 haplotype";

}  // namespace

void update_passes::update_panel0_haplotypes() {
    const bool sporadic = now_.stored && run_.plan.sporadic_haploid_imputation;
    for_each_member({"haplotype", panel0_words}, run_.panels[0].n_hap, true, [&](std::size_t h) {
        if (!run_.panels[0].update[h]) return;
        chooser_.for_panel0_haplotype(h, states_);
        haploid_update update;
        update.ind = update.hap = h;
        update.sample = true;
        update.save_alleles = sporadic;
        update.stored = now_.stored;
        run_haploid(update);
        if (sporadic) record_sporadic_alleles(run_.log, in_, h, run_.acc);
    });
}

void update_passes::update_panel1_individuals() {
    const panel_data& panel = run_.panels[1];
    for_each_member({"ref indiv", "reference individual"}, panel.n_ind, true, [&](std::size_t i) {
        if (!panel.update[i]) return;
        chooser_.for_individual(1, i, states_, nullptr);
        if (panel.is_haploid(i)) {
            haploid_update update;
            update.ind = i;
            update.hap = panel.first_hap(i);
            update.panel = update.cond_panel = 1;
            update.sample = true;
            run_haploid(update);
        } else {
            pair_update update;
            update.ind = i;
            update.hap = panel.first_hap(i);
            update.panel = 1;
            update.ordered = panel.ordered[i];
            run_pair(update);
        }
    });
}

void update_passes::update_panel1_from_panel0() {
    const panel_data& panel = run_.panels[1];
    for_each_member({"ref indiv", "reference individual"}, panel.n_ind, true, [&](std::size_t i) {
        chooser_.shared(1, 0, i, states_, nullptr);
        for (std::size_t strand = 0; strand < (panel.is_haploid(i) ? 1 : 2); ++strand) {
            haploid_update update;
            update.ind = i;
            update.hap = panel.first_hap(i) + strand;
            update.panel = 1;
            update.strand = strand;
            update.sample = true;
            chooser_.for_haplotype(1, 0, update.hap, states_, nullptr);
            run_haploid(update);
        }
    });
}

// Whether the alleles of a panel's holes have been drawn from their frequencies before they are first filled.
bool update_passes::alleles_of_holes_guessed(std::size_t panel) const {
    const parameters& p = run_.params;
    return run_.panels[panel].needs_update ||
           (panel == 1 && is_given(p.g_ref_file) && (p.chrX || !is_given(p.hap_samp_in_g_ref)));
}

void update_passes::fill_haplotype(std::size_t panel, std::size_t states_from, std::size_t hap, hole_alleles holes) {
    chooser_.for_filling(panel, states_from, hap, holes, states_);
    say_sweep(" [fill holes]");
    const hole_update update{hap, panel, *run_.plan.hole_fill_from};
    update_holes(in_, update, states_, work_, haploid_);
    haploid_draws_.add(haploid_.walk);
    record_holes(in_, update, haploid_, run_.panels[panel]);
}

void update_passes::fill_holes() {
    const std::size_t to = *run_.plan.hole_fill_to;
    const bool unknown = now_.it == 0 && !alleles_of_holes_guessed(to);
    const hole_alleles holes = unknown ? hole_alleles::not_known : hole_alleles::known;
    if (to == 0) {
        for_each_member({"haplotype", panel0_words}, run_.panels[0].n_hap, true,
                        [&](std::size_t h) { fill_haplotype(0, *run_.plan.hole_fill_from, h, holes); });
        return;
    }
    const panel_data& panel = run_.panels[to];
    for_each_member({"ref indiv", "reference individual"}, panel.n_ind, true, [&](std::size_t i) {
        const std::size_t n_hap = panel.is_haploid(i) ? 1 : 2;
        // States come from the study, whatever panel the sweep copies.
        for (std::size_t h = 0; h < n_hap; ++h) fill_haplotype(to, 2, panel.first_hap(i) + h, holes);
    });
}

// --- the study ------------------------------------------------------------------------------------------------------

void update_passes::update_study_individual(const study_member& member) {
    const parameters& p = run_.params;
    const bool posteriors = now_.stored && !p.mc_impute;
    const bool asked = p.pgs || p.pgs_miss || p.pgs_prob;
    const bool known_sums = member.known && (p.phase || p.print_allele_probs);
    const bool genotype_probs = posteriors && (asked || known_sums);
    const bool backward = posteriors && (asked || known_sums || p.show_all_copy_probs);
    const bool weighted = !member.known && (p.weight_imputed_gt == 3 || p.debug_weighting);
    const std::optional<std::size_t> known_slot = member.known ? std::optional(member.slot) : std::nullopt;

    copy_state_record* record = member.diploid ? record_of(copy_states_.by_individual, member.hap / 2) : nullptr;
    chooser_.for_individual(2, member.ind, states_, record);
    if (!member.diploid && !weighted) {
        haploid_update update;
        update.ind = member.ind;
        update.hap = member.hap;
        update.panel = update.cond_panel = 2;
        update.known_slot = known_slot;
        update.sample = true;
        update.backward = backward;
        update.genotype_probs = genotype_probs;
        update.stored = now_.stored;
        run_haploid(update);
        return;
    }
    pair_update update;
    update.ind = member.ind;
    update.hap = member.hap;
    update.panel = 2;
    update.known_slot = known_slot;
    update.ordered = member.known;
    update.backward = backward;
    update.genotype_probs = genotype_probs;
    update.stored = now_.stored;
    update.weighted = weighted;
    run_pair(update);
    if (!weighted) return;
    if (p.weight_imputed_gt == 3) run_.acc.dip_like[member.ind] = pair_.log10_likelihood;
    diagnostics_.write_likelihood(member.ind, pair_.log10_likelihood);
}

void update_passes::record_if_counted(const study_member& member) {
    if (now_.stored && !run_.params.mc_impute) record_known_individual(in_, member, run_.acc);
}

void update_passes::update_study_individuals() {
    n_known_ = n_unknown_ = 0;
    diagnostics_.open_for_updates(now_.it, now_.stored);
    const std::size_t n = run_.plan.n_study;
    for_each_member({"inf indiv", "individual"}, n, true, [&](std::size_t i) {
        const study_member member = member_of_study(i);
        if (run_.panels[2].update[i]) {
            update_study_individual(member);
        } else {
            record_if_counted(member);
        }
    });
    diagnostics_.close();
}

void update_passes::record_known_study() {
    n_known_ = n_unknown_ = 0;
    for (std::size_t i = 0; i < run_.plan.n_study; ++i) record_if_counted(member_of_study(i));
}

// Imputes an individual's haplotypes from one panel's reference.
void update_passes::impute_individual(const study_member& member, std::size_t cond_panel) {
    const parameters& p = run_.params;
    const bool keep_out = now_.stored && !p.suppress_imputation_output;
    const bool sample_states = cond_panel == 0 && p.use_panel1_for_type0_imputation && p.stage_one;
    auto& records = copy_states_.by_haplotype[cond_panel];
    chooser_.shared(2, cond_panel, member.ind, states_, record_of(records, member.hap));
    for (std::size_t strand = 0; strand < (member.diploid ? 2 : 1); ++strand) {
        haploid_update update;
        update.ind = member.ind;
        update.hap = member.hap + strand;
        update.panel = 2;
        update.cond_panel = cond_panel;
        update.strand = strand;
        update.stored = now_.stored;
        update.sample = p.mc_impute || sample_states;
        update.save_alleles = p.mc_impute && now_.stored;
        update.backward = update.allele_probs = !p.mc_impute && keep_out;
        update.selfcheck = !p.mc_impute && now_.selfcheck;
        chooser_.for_haplotype(2, cond_panel, update.hap, states_, record_of(records, update.hap));
        run_haploid(update);
        if (!p.mc_impute) record_alleles(in_, update, haploid_, imputed_);
    }
}

void update_passes::impute_study_from_reference() {
    const parameters& p = run_.params;
    const std::array<bool, 4>& wanted = run_.plan.output_types;
    const bool has_panel0 = run_.panels[0].n_hap >= 1, has_panel1 = run_.panels[1].n_hap >= 1;
    const bool from_panel1 = has_panel1 && wanted[1];
    const bool from_panel0 = has_panel0 && (wanted[0] || p.show_ref_copy_probs) &&
                             (!p.use_panel1_for_type0_imputation || now_.selfcheck || p.stage_one);
    const bool shown = (has_panel1 && wanted[1]) || (has_panel0 && wanted[0]);
    n_known_ = n_unknown_ = 0;
    diagnostics_.open_for_imputation(now_.it, now_.stored);
    for_each_member({"inf indiv", "individual"}, run_.plan.n_study, shown, [&](std::size_t i) {
        const study_member member = member_of_study(i);
        imputed_.log10_likelihood = {};
        if (from_panel1) impute_individual(member, 1);
        if (from_panel0) impute_individual(member, 0);
        if (!now_.stored || p.suppress_imputation_output) return;
        diagnostics_.write_imputed(member, imputed_);
        record_imputed_individual(run_.log, in_, member, now_.stored_count, now_.selfcheck, imputed_, run_.acc);
    });
    diagnostics_.close();
}
