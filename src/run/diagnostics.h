#pragma once

// The files that a pass writes as it goes: likelihoods and imputed genotypes under -debug_weighting, and the chance of
// copying each haplotype under -show_ref_copy_probs and -show_all_copy_probs. A file of each kind per iteration.

#include <cstddef>
#include <memory>
#include <utility>

#include "inference/inference_inputs.h"
#include "inference/update/recording.h"
#include "inference/update/update.h"
#include "io/result_file.h"
#include "io/run_log.h"
#include "model/conditioning_states.h"

class pass_diagnostics {
  public:
    // copy_sites: the indices [first, second) of the sites of the copy probability files.
    pass_diagnostics(run_log& log, const inference_inputs& in, std::pair<std::size_t, std::size_t> copy_sites)
        : log_(log), in_(in), copy_sites_(copy_sites) {}

    // Opens what the options ask for. it: iteration from 0.
    void open_for_updates(int it, bool stored);
    void open_for_imputation(int it, bool stored);
    void close();

    // The likelihood of a study individual's genotypes.
    void write_likelihood(std::size_t ind, double log10_likelihood);
    // Genotype chances of an individual at its imputed sites, before they are weighed.
    void write_imputed(const study_member& member, const imputed_alleles& imputed);
    // What an update found of the states that it copied, if anything.
    void write_copying(const haploid_update& update, const conditioning_states& states, const haploid_result& result);
    void write_copying(const pair_update& update, const conditioning_states& states, const pair_result& result);

  private:
    std::unique_ptr<result_file> open(const char* words, int it);
    bool in_copy_sites(std::size_t s) const { return s >= copy_sites_.first && s < copy_sites_.second; }

    run_log& log_;
    const inference_inputs& in_;
    const std::pair<std::size_t, std::size_t> copy_sites_;
    std::unique_ptr<result_file> weights_;  // (debug_wt_out)
    std::unique_ptr<result_file> copying_;  // (ref_copy_out, all_copy_out)
};
