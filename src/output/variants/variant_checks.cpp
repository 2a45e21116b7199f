// What a VCF or BCF file cannot hold, found before the iterations.

#include <algorithm>
#include <limits>
#include <optional>
#include <string_view>
#include <unordered_set>

#include "io/text.h"
#include "output/site_columns.h"
#include "output/variants/site_text.h"
#include "output/variants/variant_format.h"
#include "output/variants/variant_header.h"
#include "output/variants/variant_output.h"

namespace {

constexpr long last_position_of_tbi = 1L << 29;
constexpr long last_position = std::numeric_limits<std::int32_t>::max() - 1;

void check_contig(const result_inputs& run) {
    const std::string name = contig_name(run);
    const bool good = !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return c > ' ' && c <= '~' && std::string_view("\\,\"'`()[]{}<>=*").find(c) == std::string_view::npos;
    });
    if (!good) {
        run.log.fatal(concat("ERROR: [", name,
                             "] cannot name a chromosome in VCF or BCF output. Give -chr a name of "
                             "letters and digits."));
    }
    if (contig_is_unnamed(run)) {
        run.log.note(concat("note: no input names the chromosome; it is called ", name, " in [", run.params.o_file,
                            "] (-chr NAME names it)"));
    }
}

void check_samples(const result_inputs& run) {
    std::unordered_set<std::string_view> seen;
    const std::vector<std::string> names = sample_names(run);
    for (const std::string& name : names) {
        if (seen.insert(name).second) continue;
        run.log.fatal(concat("ERROR: Two individuals of the study have the same IDs [", name,
                             "], so that they cannot be told apart in [", run.params.o_file,
                             "]. Give them different IDs in the sample file."));
    }
}

void check_position(const result_inputs& run, long position, long last) {
    if (position >= 1 && position <= last) return;
    run.log.fatal(concat("ERROR: The site at position ", position, " cannot stand in [", run.params.o_file,
                         "], whose chromosome goes from 1 to ", last,
                         ". Leave the site out, or write text (-o NAME "
                         "without the end of a VCF or BCF file)."));
}

void check_alleles(const result_inputs& run, const std::vector<std::size_t>& sites) {
    std::size_t n_bad = 0;
    std::optional<std::size_t> first;
    const auto labels_of = [&run](std::size_t s) -> const panel_labels& {
        const snp& site = *run.sites.in_order[s];
        return output_labels(run.params, site, site.type);
    };
    for (const std::size_t s : sites) {
        const panel_labels& labels = labels_of(s);
        if (is_sequence(labels.a0) && !alt_text(labels.a1).empty()) continue;
        ++n_bad;
        if (!first) first = s;
    }
    if (!first) return;
    const panel_labels& labels = labels_of(*first);
    run.log.fatal(concat(
        "ERROR: ", n_bad, n_bad == 1 ? " site has" : " sites have", " alleles that cannot stand in [",
        run.params.o_file, "], the first one ", id_text(*run.sites.in_order[*first]), " at position ",
        run.sites.positions[*first], " with ", labels.a0, " and ", labels.a1,
        ": the first allele (REF) has to be bases (A, C, G, T, N). Leave such sites out (-exclude_snps_g, "
        "-exclude_snps_h; -os 0 1 2 for sites of the study alone), or write text (-o NAME without the end of a VCF or "
        "BCF file)."));
}

}  // namespace

void check_variant_output(const result_inputs& run) {
    const auto format = variant_format_of(run.params.o_file);
    if (!format || run.params.suppress_imputation_output || run.plan.sporadic_haploid_imputation) return;
    check_contig(run);
    check_samples(run);
    const std::vector<std::size_t> sites = variant_sites(run);
    long last = *format == variant_format::vcf_gz ? last_position_of_tbi : last_position;
    if (run.sites.contig.length > 0) last = std::min(last, run.sites.contig.length);
    for (const std::size_t s : sites) check_position(run, run.sites.positions[s], last);
    check_alleles(run, sites);
}
