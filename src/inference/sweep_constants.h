#pragma once

// What the sweeps of both models agree on.

#include <cstddef>
#include <limits>

// Sums below this are brought back to 1 by a division.
constexpr double rescale_below = 1e-50;
// The smallest positive normal double: a sum of probabilities not above it says nothing.
constexpr double tol = std::numeric_limits<double>::min();
// The sampled state where there are no states at all; stands for allele 0.
constexpr std::size_t no_state = std::numeric_limits<std::size_t>::max();
