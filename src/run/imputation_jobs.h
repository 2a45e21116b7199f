#pragma once

// The imputation of study individuals from the reference as jobs: it draws no random numbers and adds to sums of the
// individual alone, and so goes on beside the choice of states for the next ones and beside the phasing of the next
// iteration. What it reads must not change meanwhile: panels 0 and 1, sites, models. Alleles of the study may, since a
// job has its own copy where they do.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "inference/haploid/haplotype_classes.h"
#include "inference/inference_inputs.h"
#include "inference/update/recording.h"
#include "inference/update/update.h"
#include "inference/update/workspace.h"
#include "model/conditioning_states.h"
#include "threads/ordered_jobs.h"

struct data;

// One individual.
struct imputation_job {
    study_member member;
    std::vector<haploid_update> updates;      // in their order; none samples
    std::vector<conditioning_states> states;  // by update
    bool recorded = false;                    // it goes into the sums
    std::size_t stored_count = 0;             // as record_imputed_individual takes it
    bool selfcheck = false;
    std::array<std::vector<std::uint64_t>, 2> alleles{};  // of an individual that is phased, as they were
};

class imputation_jobs {
  public:
    // The pool of the run must have been started.
    imputation_jobs(data& run, const inference_inputs& in);

    // Waits, helping, while as many jobs as most are there.
    void add(imputation_job job, std::size_t most);
    // Returns when all are done.
    void finish() { jobs_.take_all(); }

  private:
    struct workspace {
        explicit workspace(std::size_t n_sites) : imputed(n_sites) {}
        sweep_workspace sweeps;
        haploid_result result;
        imputed_alleles imputed;
    };
    void keep_alleles(imputation_job& job) const;
    void impute(const imputation_job& job, workspace& work);

    data& run_;
    const inference_inputs& in_;
    std::vector<std::unique_ptr<workspace>> work_;  // by worker
    ordered_jobs jobs_;
};
