// Whether a study and its reference have like allele frequencies at typed sites. Where lines of the reference have
// moved against its legend, where its positions are of another build, or where alleles are coded the other way round,
// every line by itself is sound, and the frequencies alone tell; or there is hardly a site in common, and that tells.

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <vector>

#include "input/genotype_calls.h"
#include "io/text.h"
#include "reconcile/stages.h"

namespace {

// Windows of neighbouring typed sites, since a file may be sound up to some line.
constexpr std::size_t window = 50;
constexpr std::size_t window_step = window / 2;
constexpr std::size_t most_shown = 10;
// Both must hold. Sound windows of real data have correlations of 0.95 with 60 people and, since one person tells
// little, down to -0.08 with one, where the distance is below 4.3 and never above 3 where the correlation is low;
// populations apart by an FST of 0.4 have correlations from 0.25 on. Windows of moved lines lie about 0, with distances
// from 4.9 on.
constexpr double low_correlation = 0.2;
constexpr double large_distance = 3.0;
constexpr double population_variance = 0.2;  // of both frequencies, over p (1 - p): an FST of 0.1 each

struct typed_site {
    long position;
    const panel_labels* labels;
    double study, reference;      // frequencies of allele 1
    double n_study, n_reference;  // alleles that they come from
};

double count_study_alleles(const panel_data& study, const snp& site) {
    const std::vector<std::uint8_t>& genotypes = site.gtypes[2];
    if (genotypes.empty()) return static_cast<double>(study.n_hap);
    std::size_t n = 0;
    for (std::size_t i = 0; i < genotypes.size(); ++i) {
        if (genotypes[i] != missing_genotype) n += study.is_haploid(i) ? 1 : 2;
    }
    return static_cast<double>(n);
}

std::vector<typed_site> collect(const panel_array& panels, const site_table& sites) {
    std::vector<typed_site> found;
    for (const auto& [position, site] : sites.store) {
        const std::optional<std::size_t> reference = reference_panel(site);
        if (site.type != 2 || !reference) continue;
        const panel_labels& study_labels = site.labels[2];
        const panel_labels& labels = site.labels[*reference];
        const double n = count_study_alleles(panels[2], site);
        if (!is_usable_frequency(study_labels.freq) || !is_usable_frequency(labels.freq) || n < 1.0) continue;
        found.push_back(
            {position, &labels, study_labels.freq, labels.freq, n, static_cast<double>(panels[*reference].n_hap)});
    }
    return found;
}

// Pearson's; 0 where one of them does not vary.
double correlation(std::span<const typed_site> sites) {
    const auto n = static_cast<double>(sites.size());
    double sum_x = 0.0, sum_y = 0.0, xx = 0.0, yy = 0.0, xy = 0.0;
    for (const typed_site& site : sites) {
        sum_x += site.study;
        sum_y += site.reference;
    }
    for (const typed_site& site : sites) {
        const double x = site.study - sum_x / n, y = site.reference - sum_y / n;
        xx += x * x;
        yy += y * y;
        xy += x * y;
    }
    return xx > 0.0 && yy > 0.0 ? xy / std::sqrt(xx * yy) : 0.0;
}

// The squared difference over its variance by sampling of alleles and by drift of populations (Weir and Hill 2002).
double distance(const typed_site& site) {
    const double n = site.n_study, m = site.n_reference;
    const double least = 0.5 / m;
    const double p = std::clamp((n * site.study + m * site.reference) / (n + m), least, 1.0 - least);
    const double difference = site.study - site.reference;
    return difference * difference / (p * (1.0 - p) * (1.0 / n + 1.0 / m + population_variance));
}

double mean_distance(std::span<const typed_site> sites) {
    double sum = 0.0;
    for (const typed_site& site : sites) sum += distance(site);
    return sum / static_cast<double>(sites.size());
}

// The first window in which the frequencies do not go together; empty when there is none.
std::span<const typed_site> first_unlike(std::span<const typed_site> sites) {
    for (std::size_t begin = 0; begin + window <= sites.size(); begin += window_step) {
        // The last window ends with the sites.
        const std::size_t from = begin + window + window_step > sites.size() ? sites.size() - window : begin;
        const auto part = sites.subspan(from, window);
        if (correlation(part) < low_correlation && mean_distance(part) > large_distance) return part;
    }
    return {};
}

std::string most_unlike(std::span<const typed_site> sites) {
    std::vector<typed_site> sorted(sites.begin(), sites.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const typed_site& a, const typed_site& b) { return distance(a) > distance(b); });
    std::string text;
    for (std::size_t i = 0; i < std::min(most_shown, sorted.size()); ++i) {
        const typed_site& site = sorted[i];
        text +=
            concat("\n  ", site.position, " ", site.labels->a0, "/", site.labels->a1, ": ", fixed_text(site.study, 3),
                   " in the study, ", fixed_text(site.reference, 3), " in the reference");
    }
    return text;
}

// What is wrong with sites that agree; empty when nothing is.
std::string unlike_text(const panel_array& panels, const site_table& sites) {
    const std::vector<typed_site> typed = collect(panels, sites);
    const std::span<const typed_site> unlike = first_unlike(typed);
    if (unlike.empty()) return {};
    return concat(
        "The allele frequencies of study and reference do not go together: at ", window, " typed sites from ",
        unlike.front().position, " to ", unlike.back().position, " their correlation is ",
        fixed_text(correlation(unlike), 3),
        ". Has the haplotype file a line too many or too few against its legend? Are both of the same genome "
        "build? Are alleles 0 and 1 coded alike? The frequencies of the second allele that differ most there:",
        most_unlike(unlike));
}

// Sites of one side, and the first positions that the other one lacks.
struct side {
    std::size_t n = 0;
    std::string alone;
    std::size_t n_alone = 0;
    void add(long position, bool is_common) {
        ++n;
        if (!is_common && ++n_alone <= 3) alone += concat(n_alone > 1 ? ", " : "", position);
    }
};

// What is wrong where so few sites agree that chance may have brought them together; empty when nothing is.
std::string apart_text(const site_table& sites) {
    constexpr std::size_t share = 10;  // fewer than one in so many on either side
    side study, reference;
    std::size_t n_common = 0;
    for (const auto& [position, site] : sites.store) {
        const bool in_reference = reference_panel(site).has_value(), is_common = site.type == 2 && in_reference;
        if (site.in_panel(2)) study.add(position, is_common);
        if (in_reference) reference.add(position, is_common);
        n_common += is_common ? 1 : 0;
    }
    const bool chance = n_common > 0 && n_common < window && study.n >= window && reference.n >= window &&
                        share * n_common < std::min(study.n, reference.n);
    if (!chance) return {};
    return concat("Of ", study.n, " sites of the study and ", reference.n, " of the reference, ", n_common,
                  n_common == 1 ? " is" : " are",
                  " in both, as few as chance gives. Are they of the same genome build? The study has ", study.alone,
                  "; the reference has ", reference.alone, ".");
}

}  // namespace

void check_frequencies(run_log& log, const parameters& params, const panel_array& panels, const site_table& sites) {
    // With two panels a site of the study may be in one of them only, which is no sign of another build.
    const std::string apart = params.panel1_given() ? std::string() : apart_text(sites);
    if (!apart.empty() && !params.allow_unlike_frequencies) log.odd_input(apart);
    const std::string unlike = unlike_text(panels, sites);
    if (unlike.empty()) return;
    if (params.h_files.size() > 1) log.note("note: Two panels are given: do -h and -l name them in the same order?");
    if (!params.allow_unlike_frequencies) {
        log.fatal(concat("ERROR: ", unlike, "\n-allow_unlike_frequencies lets the run go on."));
    }
    log.note(concat("note: ", unlike));
}
