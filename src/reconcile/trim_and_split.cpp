#include <string>
#include <utility>

#include "io/text.h"
#include "reconcile/match.h"
#include "reconcile/stages.h"

namespace {

// Erases the sites outside the analysis interval, bounds inside, that are not worth keeping; says how many.
template <typename Predicate>
void trim_buffer(run_log& log, const run_plan& plan, site_table& sites, const char* stage_line,
                 Predicate worth_keeping) {
    log.stage(stage_line);
    const auto n_removed = std::erase_if(sites.store, [&](const auto& entry) {
        const bool inside = entry.first >= plan.int_lower_bp && entry.first <= plan.int_upper_bp;
        return !inside && !worth_keeping(entry.second);
    });
    log.line(concat(" --removed ", n_removed, " SNPs"));
}

bool joins_study_and_reference(const snp& site) {
    const auto any_label = [&site](std::size_t panel) {
        return site.labels[panel].a0 != no_label || site.labels[panel].a1 != no_label;
    };
    return any_label(2) && (any_label(0) || any_label(1));
}

// Splits the first site at the position that can be split; false if there is none.
bool split_at(site_table& sites, bool has_panel0, long position) {
    const auto [begin, end] = sites.store.equal_range(position);
    for (auto entry = begin; entry != end; ++entry) {
        if (!joins_study_and_reference(entry->second)) continue;
        snp study_part;
        snp reference_part;
        copy_snp(entry->second, study_part, {2}, has_panel0);
        copy_snp(entry->second, reference_part, {0, 1}, has_panel0);
        sites.store.erase(entry);
        sites.store.emplace(position, std::move(study_part));
        sites.store.emplace(position, std::move(reference_part));
        return true;
    }
    return false;
}

}  // namespace

void trim_non_scaffold(run_log& log, const run_plan& plan, site_table& sites) {
    trim_buffer(log, plan, sites, "-removing non-scaffold SNPs from buffer region",
                [](const snp& site) { return !site.known_phase_flags.empty(); });
}

void trim_reference_only(run_log& log, const run_plan& plan, site_table& sites) {
    trim_buffer(log, plan, sites, "-removing reference-only SNPs from buffer region",
                [](const snp& site) { return site.type > 1; });
}

void split_multiple_matches(run_log& log, const parameters& params, site_table& sites) {
    log.stage("-converting Panel 2 SNPs that match multiple reference SNPs to Type 3 (will not inform the imputation)");
    int n_converted = 0;
    for (const long position : sites.multi_match_positions) {
        if (split_at(sites, params.panel0_given(), position)) ++n_converted;
    }
    log.line(concat(" --converted ", n_converted, " SNPs"));
}
