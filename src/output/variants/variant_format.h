#pragma once

// The main output in VCF or BCF: when it is asked for, and with which fields.

#include <optional>
#include <string>
#include <string_view>

#include "io/run_log.h"
#include "model/parameters.h"
#include "model/variant_fields.h"

enum class variant_format { vcf, vcf_gz, bcf };

// The format that the end of the -o name asks for: ".vcf", ".vcf.gz" or ".bcf"; none for text in the layout of -g.
std::optional<variant_format> variant_format_of(std::string_view name);

// Whether the run has phased genotypes to write: known haplotypes, or phases that it estimates.
bool has_phase(const parameters& params);

// The fields of -format_fields (names with commas between), or the default ones; none when the output is text. Ends the
// run at a list that cannot be written. params: after -prephase_g has become -phase.
std::optional<variant_fields> choose_variant_fields(run_log& log, const parameters& params);
