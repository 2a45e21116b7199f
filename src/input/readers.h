#pragma once

// The stages of data::read_data. Each one writes its own lines of the log and ends the run on a fault of its file.

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "input/input_rooms.h"
#include "input/reading_context.h"
#include "model/genetic_map.h"

// All input files but the distances: the genetic map, then the study, Panel 1 and Panel 0 into sites and panels.
void read_data(const input_rooms& rooms);

// --- the stages, in order -------------------------------------------------------------------------------------------

struct map_reading {
    genetic_map map;
    std::string out_of_reach;  // what is to be said of a map that ends left of the region if that has sites; else empty
};
// The stretch of -m that covers the interval plus buffer.
map_reading read_genetic_map(run_log& log, const parameters& params, const run_plan& plan);

// Strand by position within the interval plus buffer; the first line of a position counts.
std::map<long, std::string> read_strand_file(run_log& log, const run_plan& plan, const std::string& file,
                                             std::size_t panel);
// Applies the strand map of Panel 2 to all sites of the store.
void align_study_to_strand_map(reading_context& context, site_table& sites);
// Says how often the strand file of a panel was applied.
void report_strand_use(run_log& log, const reading_context& context, std::size_t panel);

// The exclusion list of a panel, or the inclusion list.
id_set read_snp_list(run_log& log, const std::string& file, std::optional<std::size_t> panel);
id_set read_sample_list(run_log& log, const std::string& file, std::size_t panel, bool is_inclusion);

// Fills the flags of the context by the exclusion list of the panel, and stores the IDs of the study. main_diploid: the
// file tells the sexes of a panel of individuals, which a chrX run needs, and, for the study, is copied to
// <o_file>_samples without the excluded people.
void read_sample_file(const input_rooms& rooms, reading_context& context, const std::string& file, std::size_t panel,
                      bool is_known_haps, bool is_main_diploid);

// -g into Panel 2, or -g_ref into Panel 1.
void read_genotypes(const input_rooms& rooms, reading_context& context, std::size_t panel);
// The first pair of -h and -l into Panel 0, or the second one into Panel 1.
void read_haplotypes(const input_rooms& rooms, reading_context& context, std::size_t panel);
// The file of the first iteration under -hap_samp_in_g (Panel 2), -hap_samp_in_g_ref (1) or -hap_samp_in_h (0).
void read_first_sampled_haplotypes(const input_rooms& rooms, reading_context& context, std::size_t panel);
// -hap_init_g: starting phase of genotypes that the store holds.
void read_initial_haplotypes(const input_rooms& rooms, reading_context& context);
// -sample_known_haps_g and -known_haps_g: haplotypes that stand, on SNPs of the store and on new ones.
void read_known_haplotypes(const input_rooms& rooms, reading_context& context);
// [ID_1, ID_2] of people.
using sample_id_pairs = std::array<std::vector<std::string>, 2>;
// For each person with known haplotypes the index among those of -g.
std::vector<std::optional<std::size_t>> map_known_haps_to_gtypes(const sample_id_pairs& known,
                                                                 const sample_id_pairs& study);

// Enforces that a site is in the panels which the models need, applies -include_snps, and ends the run with status 0
// when there is no site at all.
void close_reading(const input_rooms& rooms);

// --- during the iterations ------------------------------------------------------------------------------------------

// Replaces the panel's haplotypes by those of the file of an iteration (from 0).
void read_sampled_haps(run_log& log, const parameters& params, const site_table& sites, panel_array& panels,
                       std::size_t iteration, std::size_t panel);
// The matrix of -distances_by_hap, [haplotype][haplotype] over all panels, or of -distances, where the individuals of
// Panels 1 and 2 take the place of their haplotypes. (read_distances_file)
std::vector<std::vector<double>> read_distances(run_log& log, const parameters& params, const panel_array& panels,
                                                bool by_hap);
