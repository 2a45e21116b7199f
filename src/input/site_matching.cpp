#include "input/site_matching.h"

#include <algorithm>
#include <string>
#include <utility>

#include "io/run_log.h"
#include "io/text.h"

namespace {

using store_range = std::pair<site_store::iterator, site_store::iterator>;

struct label_pair {
    const std::string& a0;
    const std::string& a1;
};

label_pair pair_of(const panel_labels& labels) {
    return {labels.a0, labels.a1};
}

label_pair labels_of(const snp& site, std::size_t panel) {
    return pair_of(site.labels[panel]);
}

bool same_in_any_order(label_pair x, const std::string& b0, const std::string& b1) {
    return (x.a0 == b0 && x.a1 == b1) || (x.a0 == b1 && x.a1 == b0);
}

bool same_on_other_strand(label_pair x, label_pair y) {
    return same_in_any_order(x, flip(y.a0), flip(y.a1));
}

// Whether a SNP of a panel can be the variant that the record is in Panel 2. Two study SNPs never match across strands.
bool fits_study(label_pair own, std::size_t panel, const snp& site) {
    const label_pair study = labels_of(site, 2);
    if (study.a0 == study.a1) {
        if (panel == 2) return own.a0 == own.a1 && own.a0 == study.a0;
        return own.a0 == study.a0 || own.a1 == study.a0;
    }
    return same_in_any_order(own, study.a0, study.a1) || (panel < 2 && same_on_other_strand(own, study));
}

// Whether a Panel 0 SNP that fits the record's Panel 2 labels fits its Panel 1 labels too.
bool agrees_with_panel1(label_pair own, const snp& site) {
    const label_pair other = labels_of(site, 1);
    if (other.a0 == no_label && other.a1 == no_label) return true;
    if (same_in_any_order(own, other.a0, other.a1)) return true;
    const label_pair study = labels_of(site, 2);
    return study.a0 != study.a1 && same_on_other_strand(own, other);
}

// A second SNP of a reference panel claims a study SNP that has its partner.
void note_second_match(run_log& log, site_table& sites, site_store::iterator match, std::size_t panel) {
    sites.multi_match_positions.insert(match->first);
    log.warn(concat("WARNING: Multiple SNPs at position ", match->first, " in Panel ", panel,
                    " have alleles that are compatible with those of SNP ", match->second.snp_id,
                    " in Panel 2. Due to this ambiguity, the Panel 2 SNP at this position will be converted to Type "
                    "3, which implies that it will not match any reference SNP nor inform the imputation."));
}

// A Panel 0 SNP that fits no study SNP looks for a partner in Panel 1.
site_match find_in_panel1(run_log& log, label_pair own, const store_range& range) {
    for (auto entry = range.first; entry != range.second; ++entry) {
        const label_pair other = labels_of(entry->second, 1);
        if (other.a0 == other.a1) {
            if (other.a0 == no_label) continue;
            log.fatal(concat("ERROR: Found monomorphic allele labels in Panel 1 at position ", entry->first, "."));
        }
        if (same_in_any_order(own, other.a0, other.a1) || same_on_other_strand(own, other)) return entry;
    }
    return {};
}

}  // namespace

site_match find_compatible_snp(run_log& log, site_table& sites, long position, const panel_labels& labels,
                               std::size_t panel) {
    const store_range range = sites.store.equal_range(position);
    const label_pair own = pair_of(labels);
    const auto found = std::find_if(range.first, range.second,
                                    [&](const auto& entry) { return fits_study(own, panel, entry.second); });
    if (found == range.second) return panel == 0 ? find_in_panel1(log, own, range) : site_match{};
    if (panel == 2) return found;
    if (panel == 0 && !agrees_with_panel1(own, found->second)) return {};
    const label_pair taken = labels_of(found->second, panel);
    if (taken.a0 == no_label && taken.a1 == no_label) return found;
    note_second_match(log, sites, found, panel);
    return {};
}
