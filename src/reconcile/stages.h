#pragma once

// The stages of data::setup, which turn what the readers left in the store into one consistent site list with a plan of
// updates. Each one writes its own lines of the log; data::setup decides which of them a run needs.

struct data;
struct snp;

// Erases the sites of the buffer that no known haplotype spoke of.
void trim_non_scaffold(data& run);

// Erases the sites of the buffer that carry no study data.
void trim_reference_only(data& run);

// At each of data::multi_match_positions takes the first site that joins Panel 2 with a reference panel apart: a site
// of Panel 2 alone, and behind it a site of the reference alone.
void split_multiple_matches(data& run);

// Flips the labels of Panel 1 where they were reported on the other strand than those of Panel 0.
void check_strand_of_panel1(data& run);

// Flips the labels of Panel 2 where they were reported on the other strand than those of the reference.
void check_strand_of_panel2(data& run);

// Brings labels, frequencies, genotypes and haplotypes of Panels 1 and 2 into the allele order of the reference.
void align_labels(data& run);

// Erases the sites at which the alleles of two panels still differ.
void remove_non_aligned(data& run);

// Reports how many sites of each type there are, and ends the run when they allow no analysis or no output.
void report_data_summary(data& run);

// Settles who needs sampling, who is modelled by ordered haplotypes, and what becomes of the hole filling; shortens the
// run to one iteration when nobody needs sampling. Ends the run when -use_prephased_g meets unphased genotypes.
void make_update_plan(data& run);

// Draws first haplotypes for the panels that need them, Panel 2 first and Panel 0 last: phases heterozygotes at random
// and fills what is missing from the allele frequencies. Missing Panel 0 alleles are kept in snp::ref_missing. Ends the
// run at a site whose frequency is undefined. One uniform draw a decision, sites in order, members in order.
void make_initial_haplotypes(data& run);

// Fixes the site list (data::sites, data::positions, snp::index) and moves the alleles of all panels from the sites
// into data::haps; what was missing in Panel 0 goes to data::ref_missing. The rows of the sites are released.
void pack_haplotypes(data& run);

// The panel that sets the standard for a site: 0 or 1, the first one whose two labels are known; -1 if there is none.
int reference_panel(const snp& site);
