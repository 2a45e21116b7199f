// Which site of the store a panel's SNP belongs to, copies of sites restricted to some panels, and stand-ins for
// reference data that hole filling is to find.

#include <algorithm>

#include "io/text.h"
#include "model/data.h"
#include "reconcile/match.h"

namespace {

struct label_pair {
    const std::string& a0;
    const std::string& a1;
};

label_pair labels_of(const snp& site, std::size_t panel) {
    return {site.labels[panel].a0, site.labels[panel].a1};
}

bool same_in_any_order(label_pair x, const std::string& b0, const std::string& b1) {
    return (x.a0 == b0 && x.a1 == b1) || (x.a0 == b1 && x.a1 == b0);
}

bool same_on_other_strand(label_pair x, label_pair y) {
    return same_in_any_order(x, flip(y.a0), flip(y.a1));
}

// Whether a SNP of a panel can be the variant that the record is in Panel 2. Two study SNPs never match across strands.
bool fits_study(label_pair own, int panel, const snp& site) {
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
    if (other.a0 == "*" && other.a1 == "*") return true;
    if (same_in_any_order(own, other.a0, other.a1)) return true;
    const label_pair study = labels_of(site, 2);
    return study.a0 != study.a1 && same_on_other_strand(own, other);
}

// A second SNP of a reference panel claims a study SNP that has its partner.
void note_second_match(data& run, const site_store::iterator& match, int panel) {
    run.sites.multi_match_positions.insert(match->first);
    run.log.warn(
        concat("WARNING: Multiple SNPs at position ", match->first, " in Panel ", panel,
               " have alleles that are compatible with those of SNP ", match->second.snp_id,
               " in Panel 2. Due to this ambiguity, the Panel 2 SNP at this position will be converted to Type "
               "3, which implies that it will not match any reference SNP nor inform the imputation."));
}

// A Panel 0 SNP that fits no study SNP looks for a partner in Panel 1.
bool find_in_panel1(data& run, label_pair own, site_store::iterator& match, const store_range& range) {
    for (auto entry = range.first; entry != range.second; ++entry) {
        const label_pair other = labels_of(entry->second, 1);
        if (other.a0 == other.a1) {
            if (other.a0 == "*") continue;
            run.log.fatal(concat("ERROR: Found monomorphic allele labels in Panel 1 at position ", entry->first, "."));
        }
        if (same_in_any_order(own, other.a0, other.a1) || same_on_other_strand(own, other)) {
            match = entry;
            return true;
        }
    }
    return false;
}

}  // namespace

bool find_compatible_snp(data& run, const std::string& a0, const std::string& a1, int panel,
                         site_store::iterator& match, const store_range& range) {
    const label_pair own{a0, a1};
    const auto found = std::find_if(range.first, range.second,
                                    [&](const auto& entry) { return fits_study(own, panel, entry.second); });
    if (found == range.second) return panel == 0 && find_in_panel1(run, own, match, range);
    match = found;
    if (panel == 2) return true;
    if (panel == 0 && !agrees_with_panel1(own, found->second)) return false;
    const label_pair taken = labels_of(found->second, static_cast<std::size_t>(panel));
    if (taken.a0 == "*" && taken.a1 == "*") return true;
    note_second_match(run, found, panel);
    return false;
}

namespace {

void drop_panel(snp& site, std::size_t panel) {
    site.haps[panel].clear();
    site.labels[panel] = {};
    if (panel == 0) {
        site.ref_missing.clear();
        return;
    }
    site.gtypes[panel].clear();
    site.gtype_probs[panel].clear();
    site.gtype_emiss[panel].clear();
    if (panel == 1) return;
    site.known_phase_flags.clear();
    site.known_haps_flags.clear();
    site.hap_init_flags.clear();
}

// The type of a site that has lost panels; the present one where that stands.
int type_by_panels(const snp& site, bool has_panel0) {
    const bool in0 = site.in_panel(0), in1 = site.in_panel(1), in2 = site.in_panel(2);
    if (in2) return in1 || in0 ? site.type : 3;
    if (in1) return in0 || !has_panel0 ? 1 : site.type;
    return in0 ? 0 : site.type;
}

// Whether the table of types has a word for the site.
bool type_is_settled(const snp& site, bool has_panel0) {
    const bool in0 = site.in_panel(0), in1 = site.in_panel(1), in2 = site.in_panel(2);
    if (in2) return !in1 && !in0;
    if (in1) return in0 || !has_panel0;
    return in0;
}

}  // namespace

void copy_snp(const snp& from, snp& to, const std::set<int>& panels, bool has_panel0) {
    to = from;
    for (int panel = 0; panel < 3; ++panel) {
        if (!panels.contains(panel)) drop_panel(to, static_cast<std::size_t>(panel));
    }
    if (!type_is_settled(to, has_panel0)) return;
    to.type = to.top_panel = type_by_panels(to, has_panel0);
    // A Panel 1 that had no data of its own has none in the copy either.
    to.panel1_placeholder = from.panel1_placeholder && panels.contains(1);
}

namespace {

double other_allele(double frequency) {
    return frequency == no_frequency ? no_frequency : 1.0 - frequency;
}

// Labels and frequency as another panel names them.
struct source_labels {
    std::string a0, a1;
    double freq;
    // The same alleles read from the other strand, in crossed order.
    void cross() {
        std::swap(a0, a1);
        a0 = flip(a0);
        a1 = flip(a1);
        freq = other_allele(freq);
    }
};

// Whether two allele pairs are each other's complement on the other strand and cannot be confused.
bool are_opposite_strands(const std::string& comb, const std::string& other) {
    const auto are = [&](const char* x, const char* y) {
        return (comb == x && other == y) || (comb == y && other == x);
    };
    return are("AC", "GT") || are("AG", "CT");
}

class hole_preparation {
  public:
    explicit hole_preparation(data& run);
    void prepare(snp& site);

  private:
    void withdraw(snp& site) const;
    void fill(snp& site) const;
    void borrow_frequency(snp& site) const;
    source_labels source_of(const snp& site) const {
        return {site.labels[source_].a0, site.labels[source_].a1, site.labels[source_].freq};
    }

    data& run_;
    std::size_t target_;  // the panel whose alleles are to be found
    std::size_t source_;  // the panel that names the site
};

hole_preparation::hole_preparation(data& run)
    : run_(run),
      target_(run.params.panel0_given() ? 0 : 1),
      source_(run.params.panel0_given() && run.params.panel1_given() ? 1 : 2) {}

void hole_preparation::withdraw(snp& site) const {
    site.labels[0].a0 = site.labels[0].a1 = '*';
    site.labels[0].freq = no_frequency;
    site.haps[0].clear();
    site.ref_alleles_missing = false;
}

// All alleles missing, under the names that the source gives.
void hole_preparation::fill(snp& site) const {
    source_labels source = source_of(site);
    if (site.labels[source_].strand == "-") source.cross();
    panel_labels& labels = site.labels[target_];
    labels.a0 = source.a0;
    labels.a1 = source.a1;
    labels.freq = source.freq;
    site.haps[target_].assign(static_cast<std::size_t>(run_.panels[target_].n_hap), missing_allele);
    if (target_ == 1) {
        const auto n = static_cast<std::size_t>(run_.panels[1].n_ind);
        if (run_.params.prob_g_ref) {
            site.gtype_probs[1].assign(3 * n, 0.0F);
        } else {
            site.gtypes[1].assign(n, missing_genotype);
        }
    }
    site.ref_alleles_missing = true;
    site.type = site.top_panel = site.has_labels(2) ? 2 : 1;
}

// The panel has its labels, but no allele; only a frequency is wanting.
void hole_preparation::borrow_frequency(snp& site) const {
    panel_labels& own = site.labels[target_];
    if (target_ == 1 && own.strand == "-") {
        const std::string first = own.a0;
        own.a0 = flip(own.a1);
        own.a1 = flip(first);
    }
    source_labels source = source_of(site);
    if (site.labels[source_].strand == "-" ||
        are_opposite_strands(allele_comb(source.a0, source.a1), allele_comb(own.a0, own.a1))) {
        source.cross();
    }
    if (own.a0 == source.a0 && own.a1 == source.a1) {
        own.freq = source.freq;
    } else if (own.a0 == source.a1 && own.a1 == source.a0) {
        own.freq = other_allele(source.freq);
    } else {
        own.freq = no_frequency;
    }
}

void hole_preparation::prepare(snp& site) {
    if (!site.ref_alleles_missing && site.type != 3) return;
    if (source_ == 1 && !site.has_labels(1)) {
        if (site.ref_alleles_missing) withdraw(site);
        return;
    }
    if (!site.has_labels(static_cast<int>(target_))) {
        fill(site);
    } else if (site.ref_alleles_missing) {
        borrow_frequency(site);
    }
}

}  // namespace

void initialize_missing_ref_panel_snp_info(data& run) {
    if (!run.params.panel0_given() && !run.params.panel1_given()) return;
    hole_preparation holes(run);
    for (auto& [position, site] : run.sites.store) holes.prepare(site);
}
