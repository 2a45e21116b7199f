#pragma once

// Which way round the haplotypes of a chunk stand, relative to those of the chunk before, told by the heterozygotes
// that both have phased.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// A genotype as two alleles with a phase.
struct phased_pair {
    int a = -1, b = -1;  // -1: missing
    bool is_phased = false;

    bool is_phased_heterozygote() const { return is_phased && a >= 0 && b >= 0 && a != b; }
};

// Those next to the middle of the overlap, where one chunk takes over from the other, decide: up to five on each side.
// In this way a switch error elsewhere in the overlap does not turn what follows. Without a majority all of the overlap
// decide.
class phase_votes {
  public:
    explicit phase_votes(std::size_t n_people) : people_(n_people) {}

    // Counts the genotypes of one site, by person; those that are no phased heterozygotes of the same two alleles in
    // both do not count. Sites come in order.
    void add(std::span<const phased_pair> before, std::span<const phased_pair> after, bool is_behind_middle);

    // Whether the later chunk stands the other way round; not so without a majority.
    bool is_turned(std::size_t person) const { return balance(person) < 0; }
    bool is_undecided(std::size_t person) const { return balance(person) == 0; }
    // Heterozygotes that counted, and those that agree with the decision for their person.
    std::size_t n_counted() const;
    std::size_t n_agreeing() const;

  private:
    // Of one person: whether each heterozygote has the same phase in both.
    struct heterozygotes {
        std::vector<bool> left, right;  // of the middle
    };
    // How many more heterozygotes that decide have the same phase than the other one.
    std::ptrdiff_t balance(std::size_t person) const;

    std::vector<heterozygotes> people_;
};
