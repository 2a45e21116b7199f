#pragma once

// The choice of the K nearest candidates, ties at the K-th place broken at random.

#include <cstddef>
#include <cstdint>
#include <vector>

// Marks with 1 the candidates to keep: those below the K-th smallest figure, and as many of the tied ones at it as are
// needed, drawn uniformly. With no tie beyond the K-th place there is no draw. K is from 1 to the number of candidates.
// Integer figures are found by counting (figures are not negative), doubles by selection.
void select_nearest(const std::vector<int>& figures, std::size_t K, std::vector<std::uint8_t>& keep);
void select_nearest(const std::vector<double>& figures, std::size_t K, std::vector<std::uint8_t>& keep);
