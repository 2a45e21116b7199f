#pragma once

// How a site that a reader has put together enters the store. Each reader fills the labels, alleles and genotypes of
// its own panel in the record.

#include "input/input_rooms.h"
#include "input/site_gate.h"

// A new entry of Panel 2.
void add_study_site(const input_rooms& rooms, panel_site&& site);

// The Panel 1 part of the record goes into the matched entry, or the record becomes a new entry.
void place_panel1_site(const input_rooms& rooms, panel_site&& site);

enum class placement { kept, dropped, without_data };
// The Panel 0 part of the record goes into the matched entry, or, where type 0 is put out, the record becomes a new
// entry of type 0; under -use_panel1_for_type0_imputation that holds zeros in Panel 2 (-stage_one) or 1. A site all of
// whose alleles are missing is a hole in the matched entry under -fill_holes; otherwise it is dropped.
// What is kept is moved out of site.
placement place_panel0_site(const input_rooms& rooms, panel_site& site, bool all_missing);

// Labels and frequency of one panel given to another, which takes part with zeros; its strand becomes "+".
void copy_as_zeros(snp& site, std::size_t from_panel, std::size_t to_panel, std::size_t n_haplotypes);
