#pragma once

// The positions in a file of sites, without its genotypes.

#include <cstddef>
#include <string>
#include <vector>

class run_log;

struct site_positions {
    std::string chromosome;         // empty where the file has none
    std::vector<long> positions;    // base pairs, sorted
    std::size_t n_individuals = 0;  // people, or those of whom the file has two haplotypes
};

// Which text is in a file that is neither VCF nor BCF.
enum class site_text { genotypes, haplotypes, legend };

// Reads a VCF or BCF file, of it the named chromosome, or else a text file. Ends the command when the file cannot be
// read, is not sorted, or has several chromosomes and none is named. A legend has no people.
site_positions read_positions(run_log& log, const std::string& name, const std::string& chromosome, site_text text);

// The number of fields of the first line that has any: the haplotypes of a -h file.
std::size_t count_columns(run_log& log, const std::string& name);
