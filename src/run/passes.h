#pragma once

// The passes of an iteration over the members of a panel. For each member: the choice of its states, an update, the
// record of what the update found. The order of these decides the random draws.
//
// clang-format off
//
//     pass                        iterations      model [mode][panel][cond]  asked for                   recorded by
//     update_panel0_haplotypes    all             [0][0][0]                  path, alleles               record_haploid
//     update_panel1_individuals   all             [1][1][1], males [0][1][1] path, alleles               record_pair, _haploid
//     update_panel1_from_panel0   all             [0][1][0]                  path, alleles               record_haploid
//     fill_holes                  all             hole_chains                path, alleles               record_holes
//     update_study_individuals    all             [1][2][2], haploid         path, alleles; where they   record_pair, _haploid
//                                                 [0][2][2]                  count, posteriors of typed
//                                                                            genotypes if asked for
//     impute_study_from_reference that count, and [0][2][1], then [0][2][0], posteriors; paths under     record_haploid, record_alleles,
//                                 all of a first  each haplotype             -mc_impute and in a first   record_imputed_individual
//                                 stage                                      stage
//     phase_once_more             after the last  [1][2][2]                  paths                       record_phase
//
// clang-format on
// Members that need no update are passed over; those of the study are recorded as they are known.

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "inference/haploid/haplotype_classes.h"
#include "inference/inference_inputs.h"
#include "inference/states/state_chooser.h"
#include "inference/update/recording.h"
#include "inference/update/update.h"
#include "inference/update/workspace.h"
#include "model/conditioning_states.h"
#include "run/diagnostics.h"
#include "run/imputation_jobs.h"
#include "run/progress.h"

struct data;

// What an iteration is used for.
struct iteration {
    int it = 0;                    // from 0
    bool late = false;             // states are chosen by similarity
    bool stored = false;           // its results count
    bool selfcheck = false;        // typed genotypes are masked
    std::size_t stored_count = 0;  // stored iterations before this one
};

// State draws of walks that stayed in the state of the site to the right (hap_stay_count, dip_stay_count), and that
// switched (hap_switch_count, dip_switch_count).
struct draw_counts {
    std::size_t n_stay = 0, n_switch = 0;
    template <typename Walk>
    void add(const Walk& walk) {
        n_stay += walk.stay_count;
        n_switch += walk.switch_count;
    }
};

// (copy_states) What the copy-state files of an iteration tell: of study individuals, and of study haplotypes by the
// reference panel that they copy. Empty where no file was asked for.
struct copy_state_tables {
    std::vector<copy_state_record> by_individual;
    std::array<std::vector<copy_state_record>, 2> by_haplotype;
};

class update_passes {
  public:
    // distances: of -distances or -distances_by_hap, else empty.
    update_passes(data& run, progress_line& progress, distance_matrix distances);
    update_passes(const update_passes&) = delete;
    update_passes& operator=(const update_passes&) = delete;

    void start_iteration(const iteration& now);
    void update_panel0_haplotypes();
    void update_panel1_individuals();
    void update_panel1_from_panel0();
    // Fills the holes of the panel that has some.
    void fill_holes();
    void update_study_individuals();
    // What stands for the pass over the study when nobody in it needs sampling.
    void record_known_study();
    // Where nothing but the study changes it may go on until the next one, or until finish_imputation().
    void impute_study_from_reference();
    // Phases the individuals of whom the iterations summed something once more, each against the phase that the sums
    // tell of all others; in further rounds against a phase drawn from the sums of the round before. The sums are
    // replaced by those of all rounds. Nothing where there is nobody to phase or to copy. Nothing else is to be updated
    // afterwards: the models are other ones.
    void phase_once_more();
    // Returns when all that was imputed has been recorded.
    void finish_imputation() { jobs_.finish(); }

    const draw_counts& haploid_draws() const { return haploid_draws_; }
    const draw_counts& diploid_draws() const { return diploid_draws_; }
    copy_state_tables& copy_states() { return copy_states_; }

  private:
    struct member_words {
        const char* verbose;
        const char* progress;
    };
    // Which member of a pass is in hand: on the terminal under -verbose, else on the progress line.
    void say_member(const member_words& words, std::size_t member, std::size_t n_members);
    void say_last_member();
    // Calls visit for the members of a pass in order.
    template <typename Visit>
    void for_each_member(const member_words& words, std::size_t n_members, bool shown, Visit visit);
    void say_sweep(const std::string& words);
    void say_haplotype(const haploid_update& update);
    study_member member_of_study(std::size_t ind);

    void run_haploid(const haploid_update& update);
    void run_pair(const pair_update& update);
    struct phasing_workspace;  // of a thread
    void phase_everybody(std::vector<phasing_workspace>& work, std::vector<phase_sums>& sums);
    void fill_haplotype(std::size_t panel, std::size_t states_from, std::size_t hap, hole_alleles holes);
    bool alleles_of_holes_guessed(std::size_t panel) const;

    void update_study_individual(const study_member& member);
    void record_if_counted(const study_member& member);
    std::vector<std::size_t> imputing_panels() const;
    template <typename Visit>
    void for_each_imputation(const study_member& member, std::size_t cond_panel, Visit visit);
    bool imputes_beside() const;
    bool study_alone_changes() const;
    void impute_in_order(const study_member& member);
    void impute_beside(const study_member& member);

    data& run_;
    progress_line& progress_;
    const inference_inputs in_;
    iteration now_;
    state_chooser chooser_;
    conditioning_states states_;
    sweep_workspace work_;
    haplotype_classes reference_classes_;  // of Panel 0, at the sites of the study's models
    haploid_result haploid_;
    pair_result pair_;
    imputed_alleles imputed_;
    pass_diagnostics diagnostics_;
    draw_counts haploid_draws_, diploid_draws_;
    copy_state_tables copy_states_;
    // Individuals met in the pass over the study, with known haplotypes and without.
    std::size_t n_known_ = 0, n_unknown_ = 0;
    imputation_jobs jobs_;  // last, since they read the others
};
