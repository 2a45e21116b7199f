#pragma once

// Classes of states with equal alleles at the sites of a stretch: over short stretches many haplotypes are few
// different ones.

#include <cstddef>
#include <cstdint>
#include <vector>

class state_classes {
  public:
    // All states in one class.
    void start(std::size_t n_states);
    // Tells the states of every class apart by their alleles at one more site, bit k of the row for state k.
    void split(const std::uint64_t* alleles);

    std::size_t n_states() const { return n_states_; }
    std::size_t n_classes() const { return sets_.size() / words_; }
    // Fills the class of each state, and the number of states and one state of each class.
    void list(std::vector<std::uint32_t>& of_state, std::vector<double>& size, std::vector<std::size_t>& member) const;

  private:
    std::size_t n_states_ = 0, words_ = 1;
    std::vector<std::uint64_t> sets_;  // [class][words]: bit k for state k
};
