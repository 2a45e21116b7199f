#pragma once

// The sexes of a panel's people, as a sample file or the number of their alleles tells them.

#include <cstddef>
#include <string>

#include "io/text.h"
#include "model/panel.h"

constexpr int male = 1;
constexpr int female = 2;

// Ploidies of a panel's individuals and where their haplotypes begin. Panel 0 has none; the table then stays unused.
class sex_table {
  public:
    explicit sex_table(panel_data& panel) : panel_(panel) {}
    void add(int sex) {
        ++(sex == male ? panel_.n_males : panel_.n_females);
        panel_.ploidy.push_back(sex);  // one haplotype for a male, coded 1, two for a female, coded 2
        panel_.first_haps.push_back(n_haplotypes_);
        n_haplotypes_ += sex == male ? 1 : 2;
    }
    std::string text() const { return concat(" (", panel_.n_females, " females, ", panel_.n_males, " males)"); }

  private:
    panel_data& panel_;
    std::size_t n_haplotypes_ = 0;
};
