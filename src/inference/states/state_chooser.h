#pragma once

// Which of the choices of states an update makes, by iteration and options.

#include <cstddef>
#include <optional>
#include <utility>

#include "inference/inference_inputs.h"
#include "inference/states/choice_workspace.h"
#include "inference/states/conditioning.h"
#include "model/conditioning_states.h"

class state_chooser {
  public:
    // distances: of -distances or -distances_by_hap, empty without.
    state_chooser(const inference_inputs& in, distance_matrix distances) : in_(in), distances_(std::move(distances)) {}

    // late: states are chosen by similarity from this iteration on, at random before it. first: it is the first one.
    void start_iteration(bool late, bool first = false);

    // All of them fill states. A record gets what was chosen by similarity; it may be null.

    // For a haplotype of Panel 0 that copies its own panel.
    void for_panel0_haplotype(std::size_t hap, conditioning_states& states);
    // For an individual that copies its own panel and those below it.
    void for_individual(std::size_t panel, std::size_t ind, conditioning_states& states, copy_state_record* record);
    // For an individual that copies lower panels: what its haplotypes share, if they share states; else leaves the
    // states as they are.
    void shared(std::size_t panel, std::size_t cond_panel, std::size_t ind, conditioning_states& states,
                copy_state_record* record);
    // For one haplotype of such an individual: its own states, if it has some; else leaves the states as they are.
    void for_haplotype(std::size_t panel, std::size_t cond_panel, std::size_t hap, conditioning_states& states,
                       copy_state_record* record);
    // For a haplotype whose holes are filled.
    void for_filling(std::size_t panel, std::size_t cond_panel, std::size_t hap, hole_alleles holes,
                     conditioning_states& states);

  private:
    bool by_haplotype() const { return is_given(in_.params.distances_by_hap_file); }
    bool by_individual() const { return is_given(in_.params.distances_file); }
    // By similarity, or by the matrix of haplotypes.
    void nearest(const state_target& target, hole_alleles holes, conditioning_states& states,
                 copy_state_record* record);

    const inference_inputs& in_;
    distance_matrix distances_;
    choice_workspace work_;
    // Whether two haplotypes of a panel copy the panels below alone, where there are local matches: while phases are
    // still random, people of the same panel would keep each other wrong.
    bool copies_lower_panels(std::size_t panel) const;

    bool late_ = false, first_ = false;
};
