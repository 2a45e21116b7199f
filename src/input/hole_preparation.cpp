#include "input/hole_preparation.h"

#include <string>
#include <utility>

#include "io/text.h"

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
    hole_preparation(const parameters& params, const panel_array& panels);
    void prepare(snp& site);

  private:
    void withdraw(snp& site) const;
    void fill(snp& site) const;
    void borrow_frequency(snp& site) const;
    source_labels source_of(const snp& site) const {
        return {site.labels[source_].a0, site.labels[source_].a1, site.labels[source_].freq};
    }

    const parameters& params_;
    const panel_array& panels_;
    std::size_t target_;  // the panel whose alleles are to be found
    std::size_t source_;  // the panel that names the site
};

hole_preparation::hole_preparation(const parameters& params, const panel_array& panels)
    : params_(params),
      panels_(panels),
      target_(params.panel0_given() ? 0 : 1),
      source_(params.panel0_given() && params.panel1_given() ? 1 : 2) {}

void hole_preparation::withdraw(snp& site) const {
    site.labels[0].a0 = site.labels[0].a1 = no_label;
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
    site.haps[target_].assign(panels_[target_].n_hap, missing_allele);
    if (target_ == 1) {
        const std::size_t n = panels_[1].n_ind;
        if (params_.prob_g_ref) {
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
    if (!site.has_labels(target_)) {
        fill(site);
    } else if (site.ref_alleles_missing) {
        borrow_frequency(site);
    }
}

}  // namespace

void prepare_holes(const parameters& params, const panel_array& panels, site_store& store) {
    if (!params.panel0_given() && !params.panel1_given()) return;
    hole_preparation holes(params, panels);
    for (auto& [position, site] : store) holes.prepare(site);
}
