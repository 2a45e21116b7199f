#pragma once

// What the writers of results read: the rooms of a run, none of which they change; the log for their messages, and who
// works beside. A
// writer takes this struct and, where it has one, the object that it writes (haplotype confidences, copied states); the
// driver makes one at the start of the iterations and passes it to all.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "io/run_log.h"
#include "model/accumulators.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"
#include "threads/worker_pool.h"

struct result_inputs {
    const parameters& params;
    const run_plan& plan;
    const site_table& sites;
    const panel_array& panels;
    const accumulators& acc;
    run_log& log;
    worker_pool& workers;

    // The interval of the main output, of the quality and of the count files.
    std::pair<long, long> output_interval() const;
    // The interval of the files of haplotypes.
    std::pair<long, long> haps_interval() const;

    // Number of study individuals in the results: all, or the first ones under -nind.
    std::size_t n_study() const;
    // By individual of those: 1 if it has one haplotype only.
    std::vector<char> haploid_study() const;
    // Whether every study individual has known haplotypes (true without individuals), or at least one has.
    bool all_have_known_haps() const;
    bool any_has_known_haps() const;
    std::size_t n_with_known_haps() const;

    // The -o name with an ending, and ".gz" behind it under -o_gz.
    std::string name(const std::string& ending) const;
};
