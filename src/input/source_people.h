#pragma once

// What a file in a format that names people and chromosome says of them: compared with what else is known, and used
// where nothing else is. A file in another format passes unseen.

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "input/input_rooms.h"
#include "input/reading_context.h"
#include "input/site_source.h"

// The chromosome of the file is that of the run, which is named after the first such file unless -chr does. Ends the
// run when they differ in more than a "chr" in front.
void settle_contig(const input_rooms& rooms, const site_source& source, std::string_view file_name);

// The people of a panel, by its genotypes or its haplotypes: without a sample file, the exclusion list acts on the
// names of the file, and in a run of chromosome X the number of alleles tells the sexes. Sets the flags of the context
// and, for the study, the IDs of the kept people. Ends the run where the file contradicts the sample file or the
// options; warns of people of the study who are in a reference panel, too.
void settle_people(const input_rooms& rooms, reading_context& context, const site_source& source, std::size_t panel,
                   std::string_view file_name);

// For each person of -known_haps_g or -hap_init_g the index among the people of -g, by name; empty when one of the
// files tells no names. The run ends when nobody is found.
std::vector<std::optional<std::size_t>> map_people(const input_rooms& rooms, const site_source& source,
                                                   std::string_view file_name);

// Ends the run when a person of -known_haps_g or -hap_init_g has another number of alleles than in the study. places:
// for each column the index among the people of the study, if there.
void check_ploidies(const input_rooms& rooms, const site_source& source, std::string_view file_name,
                    const std::vector<std::optional<std::size_t>>& places);

// The remarks of the source, a line each.
void report_remarks(run_log& log, const site_source& source);
