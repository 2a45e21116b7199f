#pragma once

// The phase of two chunks where they overlap, told by the heterozygotes that both have phased: which way round the
// haplotypes of each person stand, site by site, in the file that joins them.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// A genotype as two alleles with a phase.
struct phased_pair {
    int a = -1, b = -1;  // -1: missing
    bool is_phased = false;
    int confidence = -1;  // of the phase relative to the heterozygote before, phred; -1: not told

    bool is_phased_heterozygote() const { return is_phased && a >= 0 && b >= 0 && a != b; }
};

// Where the two chunks do not agree how a heterozygote stands relative to the one before, the one that is more
// confident is followed; with equal confidences the earlier chunk up to the middle of the overlap, the later one behind
// it. A person some of whose heterozygotes have no confidence follows the earlier chunk up to the middle, then the
// later one, turned as up to five heterozygotes on each side of the middle say, without a majority all of them.
class overlap_phase {
  public:
    explicit overlap_phase(std::size_t n_people) : people_(n_people) {}

    // Takes the genotypes of the next site, by person; those that are no phased heterozygotes of the same two alleles
    // in both do not count.
    void add(std::span<const phased_pair> before, std::span<const phased_pair> after, bool is_behind_middle);
    // To be called behind the last site; what follows is known from then on.
    void settle();

    // Who has his haplotypes exchanged at a site, from 0 on: in the record of the earlier chunk, where that is taken,
    // or in that of the later one.
    const std::vector<bool>& turned_before(std::size_t site) const { return sites_[site].turned_before; }
    const std::vector<bool>& turned_after(std::size_t site) const { return sites_[site].turned_after; }
    // The confidence, by person, where the chunks do not agree: the difference of theirs; -1 for the others.
    const std::vector<int>& confidences(std::size_t site) const { return sites_[site].confidences; }

    // Whether the later chunk stands the other way round behind the overlap; not so where nothing tells.
    bool is_turned(std::size_t person) const { return people_[person].turned; }
    bool is_undecided(std::size_t person) const { return people_[person].undecided; }
    // Heterozygotes that counted, and those at which the later chunk stands as it does behind the overlap.
    std::size_t n_counted() const;
    std::size_t n_agreeing() const;

  private:
    struct heterozygote {
        std::size_t site;
        bool differs;  // the later chunk has it the other way round
        int before, after;
        bool is_behind_middle;
        bool turned_before = false, turned_after = false;  // in the joined file
        int joined_confidence = -1;
    };
    struct person_phase {
        std::vector<heterozygote> told;
        bool turned = false, undecided = true;
    };
    struct site_phase {
        std::vector<bool> turned_before, turned_after;
        std::vector<int> confidences;
    };

    static void follow_confidence(person_phase& person);
    static void follow_middle(person_phase& person);
    void spread(std::size_t person);

    std::vector<person_phase> people_;
    std::vector<site_phase> sites_;
};
