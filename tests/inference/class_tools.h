#pragma once

// Panels whose haplotypes are few different ones over short stretches, as those of a sequenced reference panel.

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

#include "inference/inference_tools.h"
#include "model/packed_haplotypes.h"

struct mosaic_panel {
    std::size_t n_hap = 200;
    std::size_t n_sites = 300;  // of the store
    int n_founders = 5;
    double switch_chance = 1e-3;    // to another founder, by site
    double mutation_chance = 3e-4;  // by site
    // A stretch of the store where all haplotypes differ.
    std::size_t diverse_from = 0, diverse_to = 0;
};

inline packed_haplotypes make_panel(input_source& source, const mosaic_panel& m) {
    std::vector<std::vector<int>> founders;
    for (std::size_t s = 0; s < m.n_sites; ++s) founders.push_back(random_row(source, m.n_founders));
    packed_haplotypes panel(m.n_hap, m.n_sites);
    for (std::size_t s = 0; s < m.n_sites; ++s) panel.set_holds(s);
    for (std::size_t h = 0; h < m.n_hap; ++h) {
        int founder = source.integer(0, m.n_founders - 1);
        for (std::size_t s = 0; s < m.n_sites; ++s) {
            if (source.chance(m.switch_chance)) founder = source.integer(0, m.n_founders - 1);
            int allele = founders[s][static_cast<std::size_t>(founder)];
            if (source.chance(m.mutation_chance)) allele = 1 - allele;
            if (s >= m.diverse_from && s < m.diverse_to) allele = source.integer(0, 1);
            panel.set(h, s, allele);
        }
    }
    return panel;
}

// n of the numbers first .. last - 1 in ascending order.
inline std::vector<std::size_t> choose_ascending(input_source& source, std::size_t n, std::size_t first,
                                                 std::size_t last) {
    std::vector<std::size_t> all(last - first);
    std::iota(all.begin(), all.end(), first);
    for (std::size_t i = 0; i < n; ++i) {
        std::swap(
            all[i],
            all[static_cast<std::size_t>(source.integer(static_cast<int>(i), static_cast<int>(last - first) - 1))]);
    }
    all.resize(n);
    std::sort(all.begin(), all.end());
    return all;
}

inline std::vector<std::size_t> consecutive(std::size_t first, std::size_t n) {
    std::vector<std::size_t> all(n);
    std::iota(all.begin(), all.end(), first);
    return all;
}
