#pragma once

// The haplotypes that an update may copy, and what the copy-state files tell of them.

#include <cstddef>
#include <cstdint>
#include <vector>

// (cond_states) by panel and by haplotype index in that panel. The sweeps read the indices by the thousand: 32 bits.
struct conditioning_states {
    std::vector<std::size_t> panel;
    std::vector<std::int32_t> hap;
    std::size_t size() const { return panel.size(); }
    void clear() { resize(0); }
    void add(std::size_t p, std::size_t h) {
        panel.push_back(p);
        hap.push_back(static_cast<std::int32_t>(h));
    }
    // Drops all states past the first n.
    void resize(std::size_t n) {
        panel.resize(n);
        hap.resize(n);
    }
};

// The conditioning states of one line of a copy-state file, as far as they were chosen by similarity.
struct copy_state_record {
    std::vector<std::size_t> panel;  // copy_state_panels
    std::vector<std::size_t> hap;    // copy_state_haps
    std::vector<int> dist_a;         // copy_state_dist_a: mismatches with the target's first haplotype
    std::vector<int> dist_b;         // copy_state_dist_b: with its second one, if two were compared
};
