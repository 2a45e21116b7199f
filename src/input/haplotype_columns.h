#pragma once

// What the readers of initial and of known haplotypes of Panel 2 share.

#include <string>
#include <string_view>
#include <vector>

#include "io/text.h"
#include "io/text_input.h"

struct data;

// The number of individuals by the first line of a file with two allele fields an individual, or one under -haploid_g;
// checked against the sample file. what: as in "Panel 2 haplotypes file".
int count_individuals(data& run, const std::vector<bool>& exclude_flags, text_input& file, const std::string& what);
// Ends the run unless n_columns less the excluded ones are the individuals of -g.
void check_against_genotypes(data& run, const std::vector<bool>& exclude_flags, int n_columns, const std::string& what);

// The two allele fields of one individual; under -haploid_g the second one is ".".
struct allele_fields {
    std::string_view first, second;
};
// Walks through the individuals of one line.
class allele_field_scanner {
  public:
    allele_field_scanner(const text_input& file, std::string_view fields, bool one_field)
        : file_(file), fields_(fields), one_field_(one_field) {}
    // Ends the run when the line has no more fields.
    allele_fields next();
    // Ends the run when the line has fields left.
    void finish();

  private:
    const text_input& file_;
    field_scanner fields_;
    bool one_field_;
};

// In a run with haploid males, ends the run when a female has a "-". column counts from 0.
void refuse_female_without_allele(data& run, const allele_fields& fields, std::size_t column, std::size_t individual);

enum class label_order { same, crossed, neither };
// How two labels stand to those that the entry has in Panel 2.
label_order compare_labels(std::string_view a0, std::string_view a1, const std::string& entry0,
                           const std::string& entry1);
