#pragma once

// The run: everything that its phases share, in rooms. A function takes the rooms that it needs; only the driver and
// the passes see the whole.

#include <iosfwd>
#include <utility>

#include "io/run_log.h"
#include "model/accumulators.h"
#include "model/copying_models.h"
#include "model/genetic_map.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

struct data {
    // terminal: standard output; notes: standard error.
    data(std::ostream& terminal, std::ostream& notes) : log(terminal, notes) {}
    data(const data&) = delete;
    data& operator=(const data&) = delete;

    parameters params;
    run_log log;
    run_plan plan;
    site_table sites;
    panel_array panels;
    genetic_map map;
    copying_models models;

    // Whether a haploid model of the study, or of Panel 1, is used.
    bool haploid_study() const { return params.haploid_g || (plan.chrx_haploid && panels[2].n_males >= 1); }
    bool haploid_panel1() const { return plan.chrx_haploid && is_given(params.g_ref_file) && panels[1].n_males >= 1; }
    // Whether the observed alleles of a model are all that count: false for the panel whose holes are being filled.
    bool full_sites(std::size_t panel, std::size_t cond_panel) const {
        return !(params.fill_holes && panel == cond_panel && panel == plan.hole_fill_to);
    }
    // The interval of the main output and of the count files.
    std::pair<long, long> output_interval() const;
    // The interval of accumulation and of the haplotype files.
    std::pair<long, long> haps_interval() const;

    // --- results ----------------------------------------------------------------------------------------------------
    accumulators acc;
};
