#include "reconcile/typed_sites.h"

#include <algorithm>
#include <optional>

#include "io/text.h"
#include "reconcile/stages.h"

namespace {

constexpr std::size_t most_listed = 5;
constexpr std::size_t fewest_typed = 2;

void show(std::vector<std::string>& list, const std::string& text) {
    if (list.size() < most_listed) list.push_back(text);
}

std::string labelled_site(long position, const panel_labels& labels) {
    return concat(position, " ", labels.a0, "/", labels.a1);
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) all += (all.empty() ? "" : ", ") + text;
    return all;
}

enum class fit { same, swapped, flipped, neither };

// Labels that agree in either order on the same strand count as such; A/T and C/G sites agree with their own flip.
fit compare(const panel_labels& study, const panel_labels& reference) {
    if (study.a0 == reference.a0 && study.a1 == reference.a1) return fit::same;
    if (study.a0 == reference.a1 && study.a1 == reference.a0) return fit::swapped;
    const std::string a0 = flip(study.a0), a1 = flip(study.a1);
    const bool flipped = (a0 == reference.a0 && a1 == reference.a1) || (a0 == reference.a1 && a1 == reference.a0);
    return flipped ? fit::flipped : fit::neither;
}

// A site of the reference at the same position; null when there is none.
const panel_labels* reference_at(const site_table& sites, long position) {
    const auto range = sites.store.equal_range(position);
    for (auto at = range.first; at != range.second; ++at) {
        if (const auto panel = reference_panel(at->second)) return &at->second.labels[*panel];
    }
    return nullptr;
}

// Labels that would agree if small letters were capital ones.
bool agree_in_capitals(const panel_labels& study, const panel_labels& reference) {
    const auto capitals = [](std::string text) {
        for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        return text;
    };
    panel_labels a = study, b = reference;
    for (panel_labels* const labels : {&a, &b}) {
        labels->a0 = capitals(labels->a0);
        labels->a1 = capitals(labels->a1);
    }
    return compare(a, b) != fit::neither;
}

}  // namespace

std::size_t count_common(const site_table& sites) {
    std::size_t n = 0;
    for (const auto& [position, site] : sites.store) n += site.type == 2 ? 1 : 0;
    return n;
}

typed_site_census::typed_site_census(const site_table& sites) {
    for (const auto& [position, site] : sites.store) {
        count(site);
        const std::optional<std::size_t> reference = reference_panel(site);
        if (!site.in_panel(2)) {
            if (reference) show(reference_only_, labelled_site(position, site.labels[*reference]));
            continue;
        }
        if (!reference) show(study_only_, labelled_site(position, site.labels[2]));
        const panel_labels* const other = reference ? &site.labels[*reference] : reference_at(sites, position);
        if (other == nullptr || compare(site.labels[2], *other) != fit::neither) continue;
        ++n_differing_;
        n_small_ += agree_in_capitals(site.labels[2], *other) ? 1 : 0;
        show(differing_, concat(labelled_site(position, site.labels[2]), " against ", other->a0, "/", other->a1));
    }
}

void typed_site_census::count(const snp& site) {
    n_study_ += site.in_panel(2) ? 1 : 0;
    if (site.type != 2) return;
    ++n_common_;
    const std::optional<std::size_t> reference = reference_panel(site);
    if (!reference) return;
    const fit how = compare(site.labels[2], site.labels[*reference]);
    n_swapped_ += how == fit::swapped ? 1 : 0;
    n_flipped_ += how == fit::flipped ? 1 : 0;
}

void typed_site_census::report(run_log& log, const site_table& sites) const {
    const std::size_t n_left = count_common(sites);
    log.stage("-comparing the typed sites with the reference");
    log.line(concat(" --of ", n_study_, " study SNPs ", n_common_, " are in the reference (", n_flipped_,
                    " on the other strand, ", n_swapped_, " with the alleles swapped, ",
                    n_common_ - std::min(n_common_, n_left), " dropped)"));
    if (n_left < fewest_typed) refuse(log, n_left);
}

void typed_site_census::note_cause(run_log& log, const site_table& sites) const {
    if (count_common(sites) == 0) log.note(concat("note: No typed site is in the reference. ", cause(0)));
}

void typed_site_census::refuse(run_log& log, std::size_t n_left) const {
    log.fatal(concat("ERROR: Of the study's typed sites ", n_left == 0 ? "none is" : "only one is",
                     " left in the region, too few to impute from. ", cause(n_left)));
}

std::string typed_site_census::cause(std::size_t n_left) const {
    if (n_study_ == 0) return "The study has no site in the region: look at -chr and -int.";
    if (n_common_ == 0 && reference_only_.empty()) {
        return "The reference has no site in the region: look at -chr and -int.";
    }
    if (study_only_.empty() && n_common_ == 0 && differing_.empty()) {
        return "The study's sites are not in all reference panels.";
    }
    if (study_only_.empty() && n_common_ <= n_left) {
        return "The study has only one site in the region: look at -chr and -int.";
    }
    if (differing_.empty() || (n_common_ <= n_left && 2 * n_differing_ <= n_study_)) {
        return concat("The positions of study and reference differ; are they of the same genome build? The study has ",
                      joined(study_only_), "; the reference has ", joined(reference_only_), ".");
    }
    return concat("The alleles of study and reference differ: ", joined(differing_), ".",
                  n_small_ == n_differing_ ? " Small letters are no capitals: write A, C, G and T in both." : "");
}
