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
      diagnostics_(run.log, in_, run.sites.range(output_interval(run.params, run.plan))),
      jobs_(run, in_) {
    if (run.params.show_diploid_copy_states) copy_states_.by_individual.resize(run.panels[2].n_ind);
    if (run.params.show_haploid_copy_states) {
        for (auto& records : copy_states_.by_haplotype) records.resize(run.panels[2].n_hap);
    }
}

void update_passes::start_iteration(const iteration& now) {
    now_ = now;
    chooser_.start_iteration(now.late, now.it == 0);
}

// --- what the passes share ------------------------------------------------------------------------------------------

void update_passes::say_member(const member_words& words, std::size_t member, std::size_t n_members) {
    if (run_.params.verbose) {
        run_.log.terminal_text(concat("\r-updating ", words.verbose, " [", member + 1, "/", n_members, "]"));
    } else {
        progress_.update(words.progress, member, n_members);
    }
}

void update_passes::say_last_member() {
    if (run_.params.verbose) run_.log.terminal_line("");
}

template <typename Visit>
void update_passes::for_each_member(const member_words& words, std::size_t n_members, bool shown, Visit visit) {
    for (std::size_t member = 0; member < n_members; ++member) {
        if (shown) say_member(words, member, n_members);
        visit(member);
    }
    if (shown) say_last_member();
}

void update_passes::say_sweep(const std::string& words) {
    if (run_.params.verbose) run_.log.terminal_text(words);
}

void update_passes::say_haplotype(const haploid_update& update) {
    say_sweep(concat(" [hap ", update.hap, "]"));
}

// To be called for every individual of the study in order.
study_member update_passes::member_of_study(std::size_t ind) {
    const panel_data& study = run_.panels[2];
    const bool known = study.ordered[ind];
    return {ind, study.first_hap(ind), !study.is_haploid(ind), known, known ? n_known_++ : n_unknown_++};
}

void update_passes::run_haploid(const haploid_update& update) {
    say_haplotype(update);
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
    update.sums_phase = now_.stored && !member.known && !run_.acc.phase.empty();
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
    ordered_jobs jobs(run_.workers);
    for (std::size_t i = 0; i < run_.plan.n_study; ++i) {
        jobs.add([this, member = member_of_study(i)](std::size_t /*worker*/) { record_if_counted(member); });
    }
    jobs.take_all();
}

// The panels from whose reference the study is imputed, in their order.
std::vector<std::size_t> update_passes::imputing_panels() const {
    const parameters& p = run_.params;
    const std::array<bool, 4>& wanted = run_.plan.output_types;
    std::vector<std::size_t> panels;
    if (run_.panels[1].n_hap >= 1 && wanted[1]) panels.push_back(1);
    const bool from_panel0 =
        (wanted[0] || p.show_ref_copy_probs) && (!p.use_panel1_for_type0_imputation || now_.selfcheck || p.stage_one);
    if (run_.panels[0].n_hap >= 1 && from_panel0) panels.push_back(0);
    return panels;
}

// Calls visit(update) for an individual's haplotypes, which copy one panel's reference, when states_ are theirs.
template <typename Visit>
void update_passes::for_each_imputation(const study_member& member, std::size_t cond_panel, Visit visit) {
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
        update.classes = serving_classes(in_, update, states_, reference_classes_);
        visit(update);
    }
}

// Whether imputation draws no random numbers, writes no file as it goes, and ends no run.
bool update_passes::imputes_beside() const {
    const parameters& p = run_.params;
    const bool samples = p.mc_impute || (p.use_panel1_for_type0_imputation && p.stage_one);
    const bool weighs_in_no_way = p.weight_imputed_gt > 3;
    return !samples && !p.show_ref_copy_probs && !p.debug_weighting && !weighs_in_no_way;
}

// Whether nothing that imputation reads, other than the study, changes from iteration to iteration, and nobody reads
// its sums between them.
bool update_passes::study_alone_changes() const {
    const parameters& p = run_.params;
    const bool panels_change = run_.panels[0].needs_update || run_.panels[1].needs_update || run_.plan.hole_fill_to ||
                               p.use_panel1_for_type0_imputation || is_given(p.hap_samp_in_h) ||
                               is_given(p.hap_samp_in_g_ref) || is_given(p.hap_samp_in_g);
    const bool sums_are_read =
        p.counts_per_iter || p.counts_wt_per_iter || p.weight_imputed_gt >= 0 || run_.plan.tmp_haps;
    return !panels_change && !sums_are_read;
}

void update_passes::impute_in_order(const study_member& member) {
    const parameters& p = run_.params;
    imputed_.log10_likelihood = {};
    for (const std::size_t cond_panel : imputing_panels()) {
        for_each_imputation(member, cond_panel, [&](const haploid_update& update) {
            run_haploid(update);
            if (!p.mc_impute) record_alleles(in_, update, haploid_, imputed_);
        });
    }
    if (!now_.stored || p.suppress_imputation_output) return;
    diagnostics_.write_imputed(member, imputed_);
    record_imputed_individual(run_.log, in_, member, now_.stored_count, now_.selfcheck, imputed_, run_.acc);
}

void update_passes::impute_beside(const study_member& member) {
    imputation_job job;
    job.member = member;
    job.recorded = now_.stored && !run_.params.suppress_imputation_output;
    job.stored_count = now_.stored_count;
    job.selfcheck = now_.selfcheck;
    for (const std::size_t cond_panel : imputing_panels()) {
        for_each_imputation(member, cond_panel, [&](const haploid_update& update) {
            say_haplotype(update);
            job.updates.push_back(update);
            job.states.push_back(states_);
        });
    }
    // Where the study is phased next, all wait for their turn beside it; else a few keep the workers busy.
    const bool all_wait = run_.panels[2].needs_update && study_alone_changes();
    jobs_.add(std::move(job), all_wait ? run_.plan.n_study : 4 * run_.workers.size());
}

void update_passes::impute_study_from_reference() {
    finish_imputation();
    const std::array<bool, 4>& wanted = run_.plan.output_types;
    const bool shown = (run_.panels[1].n_hap >= 1 && wanted[1]) || (run_.panels[0].n_hap >= 1 && wanted[0]);
    const bool beside = imputes_beside();
    n_known_ = n_unknown_ = 0;
    diagnostics_.open_for_imputation(now_.it, now_.stored);
    for_each_member({"inf indiv", "individual"}, run_.plan.n_study, shown, [&](std::size_t i) {
        const study_member member = member_of_study(i);
        if (beside) {
            impute_beside(member);
        } else {
            impute_in_order(member);
        }
    });
    diagnostics_.close();
    if (!study_alone_changes()) finish_imputation();
}
