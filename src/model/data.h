#pragma once

// The run: everything that its phases share, in rooms. A function takes the rooms that it needs; only the driver and
// the passes see the whole.

#include <array>
#include <iosfwd>
#include <memory>
#include <utility>
#include <vector>

#include "io/run_log.h"
#include "model/accumulators.h"
#include "model/copying_models.h"
#include "model/genetic_map.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

// The states of the update in hand, by panel and by haplotype index in that panel.
struct conditioning_states {
    std::vector<int> panel;
    std::vector<int> hap;
    std::size_t size() const { return panel.size(); }
    void clear() {
        panel.clear();
        hap.clear();
    }
    void add(int p, int h) {
        panel.push_back(p);
        hap.push_back(h);
    }
};

// The conditioning states recorded for the copy-state files: one line of the file each.
struct copy_state_record {
    std::vector<int> panel;   // copy_state_panels
    std::vector<int> hap;     // copy_state_haps
    std::vector<int> dist_a;  // copy_state_dist_a
    std::vector<int> dist_b;  // copy_state_dist_b, diploid records only
};

// The working tables of the sweeps.
struct sweep_workspace;
class result_file;

struct data {
    // terminal: standard output; notes: standard error.
    data(std::ostream& terminal, std::ostream& notes);
    ~data();
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

    conditioning_states cond_states;
    std::vector<std::vector<double>> dist_matrix;
    bool record_copy_states = false;
    model_table<std::vector<copy_state_record>> copy_states;
    std::unique_ptr<sweep_workspace> work;

    // --- results ----------------------------------------------------------------------------------------------------
    accumulators acc;
    long dip_stay_count = 0, dip_switch_count = 0, hap_stay_count = 0, hap_switch_count = 0;

    // --- diagnostic streams of one iteration ------------------------------------------------------------------------
    std::unique_ptr<result_file> debug_wt_out, ref_copy_out, all_copy_out;
};
