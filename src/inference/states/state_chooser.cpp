#include "inference/states/state_chooser.h"

void state_chooser::start_iteration(bool late, bool first) {
    late_ = late;
    first_ = first;
    for (local_matches& matches : work_.matches) matches.start_iteration();
}

bool state_chooser::copies_lower_panels(std::size_t panel) const {
    if (!first_ || in_.params.local_states == 0) return false;
    std::size_t n_below = 0;
    for (std::size_t p = 0; p < panel; ++p) n_below += in_.panels[p].n_hap;
    return n_below >= in_.n_states(1, panel, panel);
}

void state_chooser::nearest(const state_target& target, hole_alleles holes, conditioning_states& states,
                            copy_state_record* record) {
    if (by_haplotype()) {
        choose_conditioning_states_from_dist_matrix(in_, distances_, target, work_, states);
    } else {
        choose_informed_conditioning_states(in_, target, holes, work_, states, record);
    }
}

void state_chooser::for_panel0_haplotype(std::size_t hap, conditioning_states& states) {
    const state_target target{0, 0, 0, hap, 1};
    if (!late_) {
        choose_random_conditioning_states(in_, target, states);
    } else {
        nearest(target, hole_alleles::known, states, nullptr);
    }
}

void state_chooser::for_individual(std::size_t panel, std::size_t ind, conditioning_states& states,
                                   copy_state_record* record) {
    const std::size_t n_hap = in_.panels[panel].is_haploid(ind) ? 1 : 2;
    state_target target{n_hap - 1, panel, panel, in_.panels[panel].first_hap(ind), n_hap};
    if (!late_) {
        choose_random_conditioning_states(in_, target, states);
    } else if (by_individual()) {
        choose_conditioning_states_from_dist_matrix(in_, distances_, target, work_, states);
    } else {
        if (n_hap == 2) {
            target.percent_local = static_cast<std::size_t>(in_.params.local_states);
            target.lower_panels_only = copies_lower_panels(panel);
        }
        nearest(target, hole_alleles::known, states, record);
    }
}

void state_chooser::shared(std::size_t panel, std::size_t cond_panel, std::size_t ind, conditioning_states& states,
                           copy_state_record* record) {
    const std::size_t n_hap = in_.panels[panel].is_haploid(ind) ? 1 : 2;
    const state_target target{0, panel, cond_panel, in_.panels[panel].first_hap(ind), n_hap};
    if (!late_) {
        choose_random_conditioning_states(in_, target, states);
    } else if (by_individual()) {
        choose_conditioning_states_from_dist_matrix(in_, distances_, target, work_, states);
    } else if (!in_.params.choose_haploid_family) {
        choose_informed_conditioning_states(in_, target, hole_alleles::known, work_, states, record);
    }
}

void state_chooser::for_haplotype(std::size_t panel, std::size_t cond_panel, std::size_t hap,
                                  conditioning_states& states, copy_state_record* record) {
    if (!late_ || !in_.params.choose_haploid_family || by_individual()) return;
    nearest({0, panel, cond_panel, hap, 1}, hole_alleles::known, states, record);
}

void state_chooser::for_filling(std::size_t panel, std::size_t cond_panel, std::size_t hap, hole_alleles holes,
                                conditioning_states& states) {
    const state_target target{0, panel, cond_panel, hap, 1};
    if (!late_) {
        choose_random_conditioning_states(in_, target, states);
    } else {
        nearest(target, holes, states, nullptr);
    }
}
