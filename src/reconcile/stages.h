#pragma once

// The stages of data::setup, which turn what the readers left in the store into one consistent site list with a plan of
// updates. Each one writes its own lines of the log; reconcile_sites and its caller decide which of them a run needs.

#include <array>
#include <cstddef>
#include <optional>

#include "io/run_log.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

// Notes what tells that files may have been given in each other's place, or be of different chromosomes or genome
// builds: a study with all sites of a reference and as many again, and IDs where hardly a site is in common.
void note_exchanged_files(run_log& log, const parameters& params, const site_table& sites);

// Erases the sites of the buffer that no known haplotype spoke of.
void trim_non_scaffold(run_log& log, const run_plan& plan, site_table& sites);

// Erases the sites of the buffer that carry no study data.
void trim_reference_only(run_log& log, const run_plan& plan, site_table& sites);

// At each of sites.multi_match_positions takes the first site that joins Panel 2 with a reference panel apart: a site
// of Panel 2 alone, and behind it a site of the reference alone.
void split_multiple_matches(run_log& log, const parameters& params, site_table& sites);

// Flips the labels of Panel 1 where they were reported on the other strand than those of Panel 0.
void check_strand_of_panel1(run_log& log, const parameters& params, site_table& sites);

// Flips the labels of Panel 2 where they were reported on the other strand than those of the reference.
void check_strand_of_panel2(run_log& log, const parameters& params, site_table& sites);

// Brings labels, frequencies, genotypes and haplotypes of Panels 1 and 2 into the allele order of the reference.
void align_labels(run_log& log, const parameters& params, site_table& sites);

// Erases the sites at which the alleles of two panels still differ.
void remove_non_aligned(run_log& log, const parameters& params, site_table& sites);

// Sites by type, 0 to 3.
using type_counts = std::array<std::size_t, 4>;

// Compares the allele frequencies of the study with those of the reference at typed sites. Ends the run where they do
// not go together, unless -allow_unlike_frequencies; without enough typed sites nothing is said.
void check_frequencies(run_log& log, const parameters& params, const panel_array& panels, const site_table& sites);

// Reports how many sites of each type there are, and ends the run when they allow no analysis or no output. Returns the
// numbers in the region.
type_counts report_data_summary(run_log& log, const parameters& params, const run_plan& plan, const site_table& sites);

// Settles who needs sampling, who is modelled by ordered haplotypes, and what becomes of the hole filling; shortens the
// run to one iteration when nobody needs sampling. Ends the run when -use_prephased_g meets unphased genotypes.
void make_update_plan(run_log& log, const parameters& params, run_plan& plan, panel_array& panels, site_table& sites);

// Draws first haplotypes for the panels that need them, Panel 2 first and Panel 0 last: phases heterozygotes at random
// and fills what is missing from the allele frequencies. Missing Panel 0 alleles are kept in snp::ref_missing. Ends the
// run at a site whose frequency is undefined. One uniform draw a decision, sites in order, members in order.
void make_initial_haplotypes(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                             site_table& sites);

// Fixes the site list (site_table::in_order, positions, snp::index) and moves the alleles of all panels from the sites
// into panel_data::haps; what was missing in Panel 0 goes to panel_data::missing. The rows of the sites are released.
void pack_haplotypes(const parameters& params, const run_plan& plan, panel_array& panels, site_table& sites);

// The panel that sets the standard for a site: 0 or 1, the first one whose two labels are known, if there is one.
std::optional<std::size_t> reference_panel(const snp& site);
