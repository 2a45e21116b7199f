#pragma once

// How the typed sites of a study fit the reference, told by the labels that the files have.

#include <cstddef>
#include <string>
#include <vector>

#include "io/run_log.h"
#include "model/site_table.h"

// Taken before strands and labels are aligned, which changes labels and erases sites.
class typed_site_census {
  public:
    explicit typed_site_census(const site_table& sites);
    // One line of the log, behind the alignment. Ends the run when less than two typed sites are left in the region,
    // with what the files show of the likely cause.
    void report(run_log& log, const site_table& sites) const;
    // The same for a run of text, where the end of the run has words of its own: a note of the likely cause when no
    // typed site is left in the region.
    void note_cause(run_log& log, const site_table& sites) const;

  private:
    void count(const snp& site);
    [[noreturn]] void refuse(run_log& log, std::size_t n_left) const;
    std::string cause(std::size_t n_left) const;

    std::size_t n_study_ = 0, n_common_ = 0, n_swapped_ = 0, n_flipped_ = 0, n_differing_ = 0, n_small_ = 0;
    // The first sites of the study that the reference lacks, of the reference that the study lacks, and those at whose
    // position both have alleles that do not fit.
    std::vector<std::string> study_only_, reference_only_, differing_;
};

// The number of typed sites that the reference has, too.
std::size_t count_common(const site_table& sites);
