#include "input/formats/format_table.h"

#include <array>
#include <utility>

#include "input/announce.h"
#include "input/formats/gen.h"
#include "input/formats/hap_legend.h"
#include "input/formats/haps.h"
#include "input/formats/hapsamp.h"
#include "input/formats/variant_genotypes.h"
#include "input/formats/variant_haplotypes.h"
#include "input/formats/variant_pairs.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/run_plan.h"

namespace {

template <typename Source>
using opener = std::unique_ptr<Source> (*)(run_log&, const source_request&, input_file&&);

// A format opens as one or more kinds of sources, and is empty for the others.
struct file_format {
    const char* name;
    bool (*recognises)(const input_file&);
    opener<genotype_source> genotypes;
    opener<haplotype_source> haplotypes;
    opener<phased_source> phased;
    opener<sampled_source> sampled;
};

template <typename Kind, typename Format>
std::unique_ptr<Kind> open_as(run_log& log, const source_request& request, input_file&& file) {
    return std::make_unique<Format>(log, request, std::move(file));
}

bool is_variants(const input_file& file) {
    return file.holds_variants();
}

// Plain text has no mark of its own: the option says what is in it.
bool is_any_text(const input_file& /*file*/) {
    return true;
}

// The first format that recognises the file is taken, so that formats with marks of their own stand before those of
// plain text; of these, the one with sources of the kind.
constexpr std::array<file_format, 5> formats{{
    {"VCF or BCF", is_variants, open_as<genotype_source, variant_genotypes>,
     open_as<haplotype_source, variant_haplotypes>, open_as<phased_source, variant_pairs>, nullptr},
    {"genotypes", is_any_text, open_as<genotype_source, gen_file>, nullptr, nullptr, nullptr},
    {"haplotypes with a legend", is_any_text, nullptr, open_as<haplotype_source, hap_legend_pair>, nullptr, nullptr},
    {"haplotypes of people", is_any_text, nullptr, nullptr, open_as<phased_source, haps_file>, nullptr},
    {"sampled haplotypes", is_any_text, nullptr, nullptr, nullptr, open_as<sampled_source, hapsamp_file>},
}};

template <typename Source>
std::unique_ptr<Source> open_kind(opener<Source> file_format::*kind, run_log& log, const source_request& request) {
    input_file file = open_input(log, request);
    for (const file_format& format : formats) {
        const bool is_text = format.recognises == is_any_text;
        if ((is_text && format.*kind == nullptr) || !format.recognises(file)) continue;
        if (format.*kind != nullptr) return (format.*kind)(log, request, std::move(file));
        log.fatal(concat("ERROR: The ", request.words, " [", request.file, "] is ", format.name,
                         ", which this option does not read."));
    }
    return nullptr;  // not reached: every kind has a format of plain text
}

}  // namespace

input_file open_input(run_log& log, const source_request& request) {
    return {log, request.file, request.missing_text, unopened_text(request.words, request.file)};
}

source_request request_for(const parameters& params, const run_plan& plan, std::string option, std::string file,
                           std::string words) {
    source_request request;
    request.file = std::move(file);
    request.words = std::move(words);
    request.missing_text = missing_text(option);
    request.option = std::move(option);
    request.read_ahead = params.threads != 1;
    request.chromosome = params.chr;
    request.lower = plan.buffer_lower;
    request.upper = plan.buffer_upper;
    request.interval_lower = plan.int_lower_bp;
    request.interval_upper = plan.int_upper_bp;
    return request;
}

std::unique_ptr<genotype_source> open_genotypes(run_log& log, const source_request& request) {
    return open_kind(&file_format::genotypes, log, request);
}

std::unique_ptr<haplotype_source> open_haplotypes(run_log& log, const source_request& request) {
    return open_kind(&file_format::haplotypes, log, request);
}

std::unique_ptr<phased_source> open_phased(run_log& log, const source_request& request) {
    return open_kind(&file_format::phased, log, request);
}

std::unique_ptr<sampled_source> open_sampled(run_log& log, const source_request& request) {
    return open_kind(&file_format::sampled, log, request);
}
