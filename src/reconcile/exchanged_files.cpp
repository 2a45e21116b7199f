// Signs that files were given in each other's place, or that one of them is of another chromosome or genome build: each
// is sound by itself.

#include <string>
#include <string_view>
#include <unordered_map>

#include "io/text.h"
#include "reconcile/stages.h"
#include "reconcile/typed_sites.h"

namespace {

// Fewer sites or IDs say little.
constexpr std::size_t fewest_sites = 10;
// Where more sites agree, nobody doubts that both are of one chromosome and build.
constexpr std::size_t most_common = 50;

std::string_view option_of(std::size_t panel, const parameters& params) {
    if (panel == 0) return "-h";
    return is_given(params.g_ref_file) ? "-g_ref" : "the second file of -h";
}

// A study with all that a reference has, and much more, which a reference would have to give it. Whether it was said.
bool note_denser_study(run_log& log, const parameters& params, const site_table& sites, std::size_t panel) {
    std::size_t n_study = 0, n_reference = 0, n_alone = 0;
    for (const auto& [position, site] : sites.store) {
        n_study += site.in_panel(2) ? 1 : 0;
        n_reference += site.in_panel(panel) ? 1 : 0;
        n_alone += site.in_panel(panel) && !site.in_panel(2) ? 1 : 0;
    }
    if (n_alone > 0 || n_reference < fewest_sites || n_study < 2 * n_reference) return false;
    const std::string_view option = option_of(panel, params);
    log.note(concat("note: The study has ", n_study, " sites, all ", n_reference, " of ", option,
                    " among them, which have nothing to give it: may -g and ", option, " have been exchanged?"));
    return true;
}

bool is_public_id(std::string_view id) {
    return id.size() > 2 && id.starts_with("rs") && id[2] >= '0' && id[2] <= '9';
}

// What the IDs say of sites that do not meet.
void note_ids(run_log& log, const site_table& sites) {
    std::unordered_map<std::string_view, long> reference;  // position by ID
    for (const auto& [position, site] : sites.store) {
        if ((site.in_panel(0) || site.in_panel(1)) && !site.in_panel(2) && is_public_id(site.rs_id)) {
            reference.emplace(site.rs_id, position);
        }
    }
    std::size_t n_study = 0, n_moved = 0;
    std::string example;
    for (const auto& [position, site] : sites.store) {
        if (!site.in_panel(2) || !is_public_id(site.rs_id)) continue;
        ++n_study;
        const auto found = reference.find(site.rs_id);
        if (found == reference.end() || found->second == position) continue;
        if (++n_moved == 1) example = concat(site.rs_id, ": ", position, " against ", found->second);
    }
    const std::size_t n_common = count_common(sites);
    if (n_moved >= fewest_sites && n_moved > n_common) {
        log.note(concat("note: ", n_moved, " of ", n_study,
                        " IDs of the study are at other positions in the reference (", example,
                        "): the two are of different genome builds."));
    } else if (n_moved + n_common == 0 && n_study >= fewest_sites && reference.size() >= fewest_sites) {
        log.note(concat("note: None of the study's ", n_study, " IDs is among the ", reference.size(),
                        " of the reference: they may be of different chromosomes, or -l may be of another panel than "
                        "-h."));
    }
}

}  // namespace

void note_exchanged_files(run_log& log, const parameters& params, const site_table& sites) {
    // A list of sites may leave of a reference what the study has.
    if (!is_given(params.include_snps_file)) {
        const bool said = params.panel1_given() && note_denser_study(log, params, sites, 1);
        if (!said && params.panel0_given()) note_denser_study(log, params, sites, 0);
    }
    if (count_common(sites) < most_common) note_ids(log, sites);
}
