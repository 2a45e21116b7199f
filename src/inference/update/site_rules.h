#pragma once

// What an update knows, draws and computes at each site.

#include <array>
#include <cstddef>
#include <cstdint>

#include "inference/inference_inputs.h"
#include "inference/update/update.h"

// Genotype code of an individual of Panel 1 or 2; missing where the panel holds none.
std::uint8_t genotype_at(const snp& site, std::size_t panel, std::size_t ind);
// Whether a missing Panel 0 allele was given.
bool ref_allele_missing(const inference_inputs& in, std::size_t hap, std::size_t s);

// --- one haplotype --------------------------------------------------------------------------------------------------

// The haplotype's alleles in its own panel, by site of the store.
inline const std::uint64_t* alleles_of(const inference_inputs& in, const haploid_update& update) {
    return update.alleles != nullptr ? update.alleles : in.panels[update.panel].haps.row(update.hap);
}
// Observed allele at site s: 0, 1, or unobserved.
std::uint8_t observed_allele(const inference_inputs& in, const haploid_update& update, std::size_t s);
// The same at all visited sites.
void list_observed(const inference_inputs& in, const haploid_update& update, std::vector<std::uint8_t>& observed);

// Whether a walk that samples draws the haplotype's allele at site s.
bool draws_allele(const inference_inputs& in, const haploid_update& update, std::size_t s);
// The same under -use_old_code.
bool draws_allele_old(const inference_inputs& in, const haploid_update& update, std::size_t s);

// Where the posterior of the haplotype's allele is wanted, and where without its own observation.
class allele_posteriors {
  public:
    allele_posteriors(const inference_inputs& in, const haploid_update& update)
        : cond_(update.cond_panel),
          wanted_(update.allele_probs),
          selfcheck_(update.selfcheck),
          cond_used_(in.plan.output_types[update.cond_panel] ||
                     in.params.weight_panel == static_cast<int>(update.cond_panel)) {}

    bool without_own(const site_traits& site) const { return selfcheck_ && site.type == 2; }
    bool wanted(const site_traits& site) const {
        return wanted_ && (site.top_panel == cond_ || (without_own(site) && cond_used_));
    }

  private:
    std::size_t cond_;
    bool wanted_, selfcheck_, cond_used_;
};

// What the walk is to do at all visited sites.
void list_requests(const inference_inputs& in, const haploid_update& update, haploid_result& result);

// --- posterior genotypes --------------------------------------------------------------------------------------------

// Whether an option asks for posterior genotypes of study sites.
inline bool posteriors_asked(const parameters& p) {
    return p.pgs || p.pgs_miss || p.pgs_prob;
}
// Whether the phase of the individual's genotype was given to stand.
inline bool phase_given(const snp& site, std::size_t panel, std::size_t ind) {
    return panel == 2 && site.phase_known(ind);
}
// Whether the posterior of an individual at a site needs the sweeps: false where the data alone decide, or nothing is
// kept. Of a haploid individual, and of a pair.
bool genotype_posterior_needed(const inference_inputs& in, const haploid_update& update, const snp& site);
bool genotype_posterior_needed(const inference_inputs& in, const pair_update& update, const snp& site);

// --- two haplotypes -------------------------------------------------------------------------------------------------

// Chance of what is observed at site s by the alleles of the two states, [x * 2 + y].
std::array<double, 4> emission_at(const inference_inputs& in, const pair_update& update, std::size_t s);
// What the walk is to do there.
pair_request request_at(const inference_inputs& in, const pair_update& update, std::size_t s);
