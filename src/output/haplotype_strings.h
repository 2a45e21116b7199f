#pragma once

// Lines of sampled haplotypes: the columns of a site and one text with the current alleles of a panel, as the files of
// -hap_samp_out_* and the temporary files of -mem_save_2 have them.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "io/pending_file.h"
#include "output/result_inputs.h"

// For each character of the text the haplotype that it stands for: two an individual, of which a haploid has the first
// and none; one in a panel of haplotypes and under -haploid_g.
std::vector<std::optional<std::size_t>> string_layout(const result_inputs& run, std::size_t panel);

// The labels that a panel has of a site; those of the site's type where it has none.
const panel_labels& panel_labels_of(const result_inputs& run, const snp& site, std::size_t panel);

// Writes a compressed file with a line for each of the sites. invert_equal_labels: a panel whose coding was inverted
// and whose labels are equal, which does not show in the line, is written as it was given.
void write_haplotype_strings(const result_inputs& run, const std::string& name, std::size_t panel,
                             const std::vector<std::size_t>& sites, bool invert_equal_labels,
                             file_life life = file_life::result);
