#pragma once

// The stages of data::read_data. Each one writes its own lines of the log and ends the run on a fault of its file.

#include <map>
#include <set>
#include <string>
#include <vector>

#include "input/reading_context.h"

struct data;

// Strand by position within the interval plus buffer; the first line of a position counts.
void read_strand_file(data& run, const std::string& file, int panel, std::map<long, std::string>& strand_map);
// Applies the strand map of Panel 2 to all sites of the store.
void align_study_to_strand_map(data& run, reading_context& context);
// Says how often the strand file of a panel was applied.
void report_strand_use(data& run, const reading_context& context, int panel);

// list_code: 2, 1, 0 for the exclusion list of that panel, -1 for the inclusion list.
void read_snp_list(data& run, const std::string& file, id_set& ids, int list_code);

// -g into Panel 2, or -g_ref into Panel 1.
void read_genotypes(data& run, reading_context& context, int panel);
// The first pair of -h and -l into Panel 0, or the second one into Panel 1.
void read_haplotypes(data& run, reading_context& context, int panel);
// The file of the first iteration under -hap_samp_in_g (Panel 2), -hap_samp_in_g_ref (1) or -hap_samp_in_h (0).
void read_first_sampled_haplotypes(data& run, reading_context& context, int panel);
// -hap_init_g: starting phase of genotypes that the store holds.
void read_initial_haplotypes(data& run, const reading_context& context);
// -sample_known_haps_g and -known_haps_g: haplotypes that stand, on SNPs of the store and on new ones.
void read_known_haplotypes(data& run, reading_context& context);

// Enforces that a site is in the panels which the models need, applies -include_snps, and ends the run with status 0
// when there is no site at all.
void close_reading(data& run);

// All of it, in order.
void read_data(data& run);
void read_genetic_map(data& run);
void read_sample_inclusion_exclusion_list(data& run, const std::string& file, std::set<std::string>& ids, int panel,
                                          bool is_inclusion);
void read_sample_file(data& run, const std::string& file, const std::set<std::string>& exclude_ids,
                      const std::set<std::string>& include_ids, std::vector<bool>& exclude_flags, int panel,
                      bool is_known_haps, bool is_main_diploid);
// For each person of the known-haplotypes sample file the index among the -g individuals, or -1.
void map_known_haps_to_gtypes(data& run, std::vector<int>& map);
// Replaces the panel's haplotypes by those of the file of an iteration (from 0).
void read_sampled_haps(data& run, int iteration, int panel);
std::vector<std::vector<double>> read_distances_file(data& run, bool by_hap);
