#include <array>
#include <numeric>
#include <string>
#include <vector>

#include "io/text.h"
#include "reconcile/stages.h"

namespace {

constexpr std::size_t n_types = 4;

struct site_counts {
    type_counts upstream{}, downstream{}, analysis{}, output{};
    std::size_t n_study = 0;    // sites of the study that take part in the models
    bool any_observed = false;  // at least one of them has alleles in the reference
    type_counts in_region() const {
        type_counts counts = analysis;
        for (std::size_t type = 0; type < n_types; ++type) counts[type] += upstream[type] + downstream[type];
        return counts;
    }
    static std::size_t sum(const type_counts& counts) {
        return std::accumulate(counts.begin(), counts.end(), std::size_t{0});
    }
};

site_counts count_sites(const run_plan& plan, const site_table& sites) {
    site_counts counts;
    for (const auto& [position, site] : sites.store) {
        if (site.type == plan.n_panels - 1) {
            ++counts.n_study;
            if (!site.ref_alleles_missing) counts.any_observed = true;
        }
        type_counts& region = position < plan.int_lower_bp   ? counts.upstream
                              : position > plan.int_upper_bp ? counts.downstream
                                                             : counts.analysis;
        ++region[site.type];
    }
    for (std::size_t type = 0; type < n_types; ++type) {
        if (plan.output_types[type]) counts.output[type] = counts.analysis[type];
    }
    return counts;
}

void add_block(std::vector<std::string>& lines, const char* title, const type_counts& counts, bool with_total) {
    lines.insert(lines.end(), {"", title});
    for (std::size_t type = 0; type < n_types; ++type) {
        lines.push_back(concat(" --", counts[type], " type ", type, " SNPs"));
    }
    if (with_total) lines.push_back(concat(" --", site_counts::sum(counts), " total SNPs"));
}

// The terminal has no total of the output file, the summary file has.
std::vector<std::string> report_lines(const site_counts& counts, bool with_output_total) {
    std::vector<std::string> lines{"",
                                   "--------------",
                                   " Data summary ",
                                   "--------------",
                                   "",
                                   "[type 0 = SNP in Panel 0 only]",
                                   "[type 1 = SNP in Panel 1]",
                                   "[type 2 = SNP in Panel 2 and all ref panels]",
                                   "[type 3 = SNP in Panel 2 only]"};
    add_block(lines, "-Upstream buffer region", counts.upstream, true);
    add_block(lines, "-Downstream buffer region", counts.downstream, true);
    add_block(lines, "-Analysis region (as defined by -int argument)", counts.analysis, true);
    add_block(lines, "-Output file", counts.output, with_output_total);
    lines.insert(lines.end(),
                 {"", concat("-In total, ", site_counts::sum(counts.in_region()),
                             " SNPs will be used in the analysis, including ", counts.n_study, " Panel 2 SNPs")});
    return lines;
}

constexpr const char* no_study_sites =
    "ERROR: There are no type 2 SNPs after applying the command-line settings for this run,"
    " which makes it impossible to perform imputation. One possible reason is that you have"
    " specified an analysis interval (-int) that contains reference panel SNPs but not inference"
    " panel SNPs -- e.g., this can happen at the ends of chromosomes. Another possibility is that"
    " your genotypes and the reference panel are mapped to different genome builds, which can lead"
    " the same SNPs to be assigned different positions in different panels. If you need help fixing"
    " this error, please contact the authors.";

constexpr const char* no_output_sites =
    "Your current command-line settings imply that there will not be any SNPs in the output"
    " file, so ORVIDE2 will not perform any analysis or print output files.";

// The two channels differ in one full stop.
std::string no_common_sites(const char* versus) {
    return concat(
        "ERROR: None of the Panel 2 SNPs in this region are represented in the reference panel,"
        " so it is impossible to perform imputation. Common reasons for this error are that"
        " your panels are mapped to different genome builds (e.g., NCBI b35 ",
        versus,
        " b36) or that"
        " you tried to impute in a region that contains very few SNPs in one or both panels.");
}

std::string no_results_text(const site_counts& counts) {
    const std::size_t n = site_counts::sum(counts.analysis);
    const std::size_t n_buffer = site_counts::sum(counts.upstream) + site_counts::sum(counts.downstream);
    if (n == 0) {
        return concat("There are no results: the -int interval itself has no SNP, its -buffer has ", n_buffer,
                      ". Please check -int.");
    }
    return concat("There are no results: none of the ", n,
                  " SNPs of the -int interval is of a type that is written. Please check -os.");
}

bool one_reference_panel(const parameters& params) {
    const bool genotype_panel = is_given(params.g_ref_file);
    return genotype_panel ? params.h_files.empty() : params.h_files.size() == 1;
}

void stop_if_useless(run_log& log, const parameters& params, const run_plan& plan, const site_counts& counts) {
    if (counts.n_study < 1 && !params.merge_ref_panels) log.fatal(no_study_sites);
    if (site_counts::sum(counts.output) < 1) {
        log.odd_input(no_results_text(counts));
        log.fatal(no_output_sites, 0);
    }
    if (one_reference_panel(params) && plan.fill_holes && !counts.any_observed) {
        log.fatal(no_common_sites("vs."), no_common_sites("vs"), 1);
    }
}

}  // namespace

type_counts report_data_summary(run_log& log, const parameters& params, const run_plan& plan, const site_table& sites) {
    const site_counts counts = count_sites(plan, sites);
    for (const std::string& line : report_lines(counts, false)) log.terminal_line(line);
    for (const std::string& line : report_lines(counts, true)) log.summary_line(line);
    stop_if_useless(log, params, plan, counts);
    return counts.in_region();
}
