#include "input/haplotype_columns.h"

#include "input/reader_common.h"
#include "model/data.h"

int count_individuals(data& run, const std::vector<bool>& exclude_flags, text_input& file, const std::string& what) {
    const int n_fields = count_columns_after_site(file);
    if (!run.params.haploid_g && n_fields % 2 != 0) run.log.fatal(bad_columns_text(what, file.name()));
    const int n_columns = run.params.haploid_g ? n_fields : n_fields / 2;
    check_against_sample_file(run.log, exclude_flags, n_columns, {"individuals", what});
    return n_columns;
}

void check_against_genotypes(data& run, const std::vector<bool>& exclude_flags, int n_columns,
                             const std::string& what) {
    if (n_columns - count_excluded(exclude_flags) == run.panels[2].n_ind) return;
    run.log.fatal(concat("ERROR: The number of individuals in the ", what, " (", n_columns,
                         ") does not match the number of individuals in the Panel 2 genotypes file (",
                         run.panels[2].n_ind, ")."));
}

allele_fields allele_field_scanner::next() {
    allele_fields fields;
    bool complete = fields_.next(fields.first);
    if (one_field_) {
        fields.second = ".";
    } else {
        complete = fields_.next(fields.second) && complete;
    }
    if (!complete) file_.fail("There are fewer alleles than in the first line");
    return fields;
}

void allele_field_scanner::finish() {
    std::string_view field;
    if (fields_.next(field)) file_.fail("There are more alleles than in the first line");
}

void refuse_female_without_allele(data& run, const allele_fields& fields, std::size_t column, std::size_t individual) {
    if (!run.plan.chrx_haploid || run.panels[2].is_male(individual)) return;
    if (fields.first != "-" && fields.second != "-") return;
    run.log.fatal(concat("ERROR: Individual ", column + 1,
                         " (1-indexed) is marked as female but has a '-' allele, which is reserved for males."));
}

label_order compare_labels(std::string_view a0, std::string_view a1, const std::string& entry0,
                           const std::string& entry1) {
    if (a0 == entry0 && a1 == entry1) return label_order::same;
    if (a0 == entry1 && a1 == entry0) return label_order::crossed;
    return label_order::neither;
}
