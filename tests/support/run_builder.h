#pragma once

// Fills the rooms of a run for tests.

#include <array>
#include <cstddef>

#include "model/panel.h"

inline void set_haplotypes(panel_array& panels, std::array<std::size_t, 3> n_hap) {
    for (std::size_t p = 0; p < 3; ++p) panels[p].n_hap = n_hap[p];
}
inline void set_individuals(panel_array& panels, std::array<std::size_t, 3> n_ind) {
    for (std::size_t p = 0; p < 3; ++p) panels[p].n_ind = n_ind[p];
}
inline std::array<bool, 3> panels_to_update(const panel_array& panels) {
    return {panels[0].needs_update, panels[1].needs_update, panels[2].needs_update};
}
inline std::array<bool, 3> panels_to_phase(const panel_array& panels) {
    return {panels[0].needs_phasing, panels[1].needs_phasing, panels[2].needs_phasing};
}
