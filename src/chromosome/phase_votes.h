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

class phase_votes {
  public:
    explicit phase_votes(std::size_t n_people) : same_(n_people), turned_(n_people) {}

    // Counts the genotypes of one site, by person; those that are no phased heterozygotes of the same two alleles in
    // both do not count.
    void add(std::span<const phased_pair> before, std::span<const phased_pair> after);

    // Whether the later chunk stands the other way round; not so without a majority.
    bool is_turned(std::size_t person) const { return turned_[person] > same_[person]; }
    bool is_undecided(std::size_t person) const { return turned_[person] == same_[person]; }
    // Heterozygotes that counted, and those that agree with the majority of their person.
    std::size_t n_counted() const;
    std::size_t n_agreeing() const;

  private:
    std::vector<std::size_t> same_, turned_;
};
