#pragma once

// How a chromosome is parted into stretches for one run each.

#include <cstddef>
#include <span>
#include <vector>

// Lengths in base pairs.
struct plan_limits {
    long longest = 5'000'000;
    std::size_t min_typed = 100;  // typed sites that a chunk should have
    long gap = 1'000'000;         // a longer stretch without typed sites is crossed by no chunk, as at a centromere
    long edge = 250'000;          // how far a chunk reaches beyond the outermost typed site
};

struct chunk {
    long lower, upper;  // both included
    std::size_t n_typed;
    std::size_t arm;  // from 0; a gap lies between two arms
};

// The chunks of the chromosome in order, for the positions of typed sites, which are sorted. Between two gaps they
// follow each other without a hole. There are as few chunks with less than `min_typed` typed sites as can be, then as
// few chunks as can be, then as equal ones; their borders lie on a grid of a fiftieth of `longest`.
std::vector<chunk> plan_chunks(std::span<const long> typed, const plan_limits& limits);
