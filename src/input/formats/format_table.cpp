#include "input/formats/format_table.h"

#include <array>

#include "input/formats/gen.h"
#include "input/formats/hap_legend.h"
#include "input/formats/haps.h"
#include "input/formats/hapsamp.h"

namespace {

template <typename Source>
using opener = std::unique_ptr<Source> (*)(run_log&, const source_request&);

// A format opens as one or more kinds of sources, and is empty for the others.
struct file_format {
    const char* name;
    bool (*recognises)(const source_request&);
    opener<genotype_source> genotypes;
    opener<haplotype_source> haplotypes;
    opener<phased_source> phased;
    opener<sampled_source> sampled;
};

template <typename Kind, typename Format>
std::unique_ptr<Kind> open_as(run_log& log, const source_request& request) {
    return std::make_unique<Format>(log, request);
}

// Plain text has no mark of its own: the option says what is in it.
bool any_text(const source_request& /*request*/) {
    return true;
}

// The first format that recognises the file and has sources of the kind is taken, so that formats with marks of their
// own stand before those of plain text.
constexpr std::array<file_format, 4> formats{{
    {"gen", any_text, open_as<genotype_source, gen_file>, nullptr, nullptr, nullptr},
    {"hap and legend", any_text, nullptr, open_as<haplotype_source, hap_legend_pair>, nullptr, nullptr},
    {"haps", any_text, nullptr, nullptr, open_as<phased_source, haps_file>, nullptr},
    {"hapsamp", any_text, nullptr, nullptr, nullptr, open_as<sampled_source, hapsamp_file>},
}};

template <typename Source>
std::unique_ptr<Source> open(opener<Source> file_format::*kind, run_log& log, const source_request& request) {
    for (const file_format& format : formats) {
        if (format.*kind != nullptr && format.recognises(request)) return (format.*kind)(log, request);
    }
    return nullptr;  // not reached: every kind has a format of plain text
}

}  // namespace

std::unique_ptr<genotype_source> open_genotypes(run_log& log, const source_request& request) {
    return open(&file_format::genotypes, log, request);
}

std::unique_ptr<haplotype_source> open_haplotypes(run_log& log, const source_request& request) {
    return open(&file_format::haplotypes, log, request);
}

std::unique_ptr<phased_source> open_phased(run_log& log, const source_request& request) {
    return open(&file_format::phased, log, request);
}

std::unique_ptr<sampled_source> open_sampled(run_log& log, const source_request& request) {
    return open(&file_format::sampled, log, request);
}
