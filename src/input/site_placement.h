#pragma once

// How a SNP that a reader has put together enters the store. Each reader fills the labels, alleles and genotypes of its
// own panel in a fresh record.

#include <optional>

#include "model/data.h"

using site_match = std::optional<site_store::iterator>;

// The entry at the position that is the same variant as the record's labels in the panel; nothing if there is none.
site_match find_site(data& run, long position, const snp& site, int panel);

// A new entry of Panel 2.
void add_study_site(data& run, long position, snp&& site);

// The Panel 1 part of the record goes into the matched entry, or the record becomes a new entry.
void place_panel1_site(data& run, long position, snp&& site, const site_match& match);

// The Panel 0 part of the record goes into the matched entry. all_missing: no haplotype has an allele here.
void join_panel0_site(const data& run, snp& entry, snp&& site, bool all_missing);
// A new entry of type 0; under -use_panel1_for_type0_imputation it holds zeros in Panel 2 (-stage_one) or 1.
void add_panel0_site(data& run, long position, snp&& site);

// Labels and frequency of one panel given to another, which takes part with zeros; its strand becomes "+".
void copy_as_zeros(snp& site, std::size_t from_panel, std::size_t to_panel, int n_haplotypes);
