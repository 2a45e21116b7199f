#include "output/variants/variant_format.h"

#include <array>
#include <vector>

#include "io/text.h"

namespace {

struct field_row {
    std::string_view name;
    bool variant_fields::*field;
    bool needs_phase;
};

constexpr std::array<field_row, 5> field_table{{
    {"GT", &variant_fields::gt, false},
    {"DS", &variant_fields::ds, false},
    {"GP", &variant_fields::gp, false},
    {"HDS", &variant_fields::hds, true},
    {"PQ", &variant_fields::pq, true},
}};

void add_field(run_log& log, const std::string& name, bool phased, variant_fields& fields) {
    for (const field_row& row : field_table) {
        if (row.name != name) continue;
        if (row.needs_phase && !phased) {
            log.fatal(concat("ERROR: The field ", name,
                             " of -format_fields needs phased genotypes, and this run has none. Leave it out, or phase "
                             "the study (-phase) or give its haplotypes (-known_haps_g)."));
        }
        if (fields.*row.field) {
            log.fatal(concat("ERROR: The field ", name, " stands twice in the list of -format_fields."));
        }
        fields.*row.field = true;
        return;
    }
    log.fatal(concat("ERROR: -format_fields does not know the field [", name,
                     "]. It takes a list of GT, DS, GP, HDS and PQ with commas between and no blanks."));
}

}  // namespace

std::optional<variant_format> variant_format_of(std::string_view name) {
    if (name.ends_with(".vcf")) return variant_format::vcf;
    if (name.ends_with(".vcf.gz")) return variant_format::vcf_gz;
    if (name.ends_with(".bcf")) return variant_format::bcf;
    return std::nullopt;
}

bool has_phase(const parameters& params) {
    return params.phase || is_given(params.known_haps_g_file);
}

std::optional<variant_fields> choose_variant_fields(run_log& log, const parameters& params) {
    const bool listed = is_given(params.format_fields);
    if (!variant_format_of(params.o_file)) {
        if (listed) {
            log.fatal(concat("ERROR: -format_fields chooses the fields of a VCF or BCF file, but the main output [",
                             params.o_file, "] is text. Let the -o name end in .vcf.gz, .bcf or .vcf."));
        }
        return std::nullopt;
    }
    const bool phased = has_phase(params);
    if (!listed) return variant_fields{true, true, true, phased, phased, false};
    variant_fields fields;
    fields.listed = true;
    std::vector<std::string> names;
    strsplit(params.format_fields, ",", names, true);
    for (const std::string& name : names) add_field(log, name, phased, fields);
    return fields;
}
