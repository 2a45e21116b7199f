#include "input/study_haplotypes.h"

#include "input/columns.h"
#include "io/run_log.h"
#include "io/text.h"

void check_against_genotypes(run_log& log, std::size_t n_individuals, const std::vector<bool>& exclude_flags,
                             std::size_t n_columns, std::string_view what) {
    if (n_columns - count_excluded(exclude_flags) == n_individuals) return;
    log.fatal(concat("ERROR: The number of individuals in the ", what, " (", n_columns,
                     ") does not match the number of individuals in the Panel 2 genotypes file (", n_individuals,
                     ")."));
}

void check_pairs(const phased_source& source, std::size_t n, std::size_t n_columns) {
    if (n < n_columns) source.fail("There are fewer alleles than in the first line");
    if (n > n_columns) source.fail("There are more alleles than in the first line");
}

void refuse_female_without_allele(run_log& log, const panel_data& study, const allele_pair& pair, std::size_t column,
                                  std::size_t individual) {
    if (!study.sexes_differ || study.is_male(individual)) return;
    if (pair.first != "-" && pair.second != "-") return;
    log.fatal(concat("ERROR: Individual ", column + 1,
                     " (1-indexed) is marked as female but has a '-' allele, which is reserved for males."));
}

label_order compare_labels(std::string_view a0, std::string_view a1, std::string_view entry0, std::string_view entry1) {
    if (a0 == entry0 && a1 == entry1) return label_order::same;
    if (a0 == entry1 && a1 == entry0) return label_order::crossed;
    return label_order::neither;
}
