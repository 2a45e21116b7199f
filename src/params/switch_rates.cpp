#include "params/switch_rates.h"

#include <cmath>
#include <limits>

#include "io/text.h"
#include "model/data.h"

haploid_gap make_haploid_gap(double d, int K) {
    const double e = std::exp(-d / K);
    const double t = 1.0 - e;
    const double s = t / K;
    return {e + s, s, e};
}

diploid_gap make_diploid_gap(double d, int K) {
    const double e = std::exp(-d / K);
    const double t = 1.0 - e;
    const double s = t / K;
    // K squared is a 32-bit number here, wrapping around for K of 46,341 and above.
    const double K_squared = static_cast<int>(static_cast<unsigned>(K) * static_cast<unsigned>(K));
    diploid_gap gap;
    gap.both_stay = std::exp(d * -2.0 / K);
    gap.one_moves = t * e / K;
    gap.both_move = t * t / K_squared;
    gap.hap_stay = gap.table_stay = e + s;
    gap.hap_move = gap.table_move = s;
    gap.stay_het = e * e + 2 * t * e / K + 2 * t * t / K_squared;
    gap.stay_hom = e * e + 2 * t * e / K + t * t / K_squared;
    return gap;
}

namespace {

// The sites of one chain, each with its distance from the one before.
class chain {
  public:
    explicit chain(data& run) : run_(run) {}

    // Moves on to a site of the chain. False at the first one, which has no gap; otherwise gap() is the distance.
    bool advance(long position, const snp& site) {
        const bool has_gap = previous_ != nullptr;
        if (has_gap) measure(position, site);
        previous_ = &site;
        previous_position_ = position;
        return has_gap;
    }
    double gap() const { return gap_; }

  private:
    void measure(long position, const snp& site) {
        gap_ = site.gen_pos - previous_->gen_pos;
        if (gap_ >= 0.0) return;
        gap_ = std::numeric_limits<double>::min();
        run_.log.warn(concat("WARNING: Positions ", previous_position_, " and ", position,
                             " (with genetic map positions ", fixed_text(previous_->gen_pos, 6), " and ",
                             fixed_text(site.gen_pos, 6), ", respectively) are separated by negative genetic distance ",
                             fixed_text(gap_, 6),
                             "; this will be set to a positive number just slightly larger than zero."));
    }

    data& run_;
    const snp* previous_ = nullptr;
    long previous_position_ = 0;
    double gap_ = 0.0;
};

// The tables that the pass over the sites carries along: each site stores the latest value of every slot, so that a
// site outside a slot's chain has the value of the site before.
class switch_rate_pass {
  public:
    switch_rate_pass(data& run, bool full)
        : run_(run),
          k_(full ? run.models.k_states_full : run.models.k_states),
          chains_{chain(run), chain(run), chain(run)} {
        const parameters& p = run.params;
        panel1_copies_panel0_ = p.use_panel1_for_type0_imputation && !p.stage_one;
        panel0_model_ = run.params.panel0_given() && (!panel1_copies_panel0_ || p.selfcheck > 0.0);
    }

    void run() {
        bool first = true;
        for (auto& [position, site] : run_.sites.store) {
            if (site.type != run_.plan.n_panels) {
                visit(position, site, first);
                if (!first) store(site);
            }
            first = false;
        }
    }

  private:
    void visit(long position, const snp& site, bool first) {
        const bool haploid_study = run_.haploid_study();
        if (run_.params.panel0_given() && chains_[0].advance(position, site)) {
            if (panel0_model_) set_haploid(2, 0, chains_[0]);
            if (panel1_copies_panel0_) {
                set_haploid(1, 0, chains_[0]);
                set_haploid(2, 1, chains_[0]);
            }
            if (run_.panels[0].needs_update) set_haploid(0, 0, chains_[0]);
        }
        const bool placeholder = site.panel1_placeholder;
        if (site.type > 0 && !placeholder && run_.params.panel1_given() && chains_[1].advance(position, site)) {
            if (!panel1_copies_panel0_) set_haploid(2, 1, chains_[1]);
            if (run_.haploid_panel1()) set_haploid(1, 1, chains_[1]);
            set_diploid(1, chains_[1]);
        }
        // The first site of the map starts this chain even as a placeholder.
        if (site.type >= 2 && (!placeholder || first) && chains_[2].advance(position, site)) {
            if (haploid_study) set_haploid(2, 2, chains_[2]);
            set_diploid(2, chains_[2]);
        }
    }

    void set_haploid(std::size_t panel, std::size_t cond, const chain& c) {
        hap_[panel][cond] = make_haploid_gap(c.gap(), k_[0][panel][cond]);
    }
    void set_diploid(std::size_t panel, const chain& c) {
        dip_[panel] = make_diploid_gap(c.gap(), k_[1][panel][panel]);
    }

    // Hands the latest values to the models that visit the site.
    void store(const snp& site) {
        const bool reference = run_.params.panel0_given() || run_.params.panel1_given();
        const bool haploid_tables = reference || (run_.haploid_study() && site.type >= 2);
        for (std::size_t panel = 0; panel < 3; ++panel) {
            for (std::size_t cond = 0; cond < 3; ++cond) {
                hmm_model& haploid = run_.models.chains[0][panel][cond];
                if (haploid_tables) put(haploid, haploid.hap_gap, hap_cursor_[panel][cond], site, hap_[panel][cond]);
            }
            hmm_model& diploid = run_.models.chains[1][panel][panel];
            if (site.type > 0) put(diploid, diploid.dip_gap, dip_cursor_[panel], site, dip_[panel]);
        }
    }

    template <typename Gap>
    static void put(hmm_model& model, std::vector<Gap>& gaps, std::size_t& cursor, const snp& site, const Gap& gap) {
        gaps.resize(model.n_sites());
        while (cursor < model.n_sites() && model.site[cursor] < site.index) ++cursor;
        if (cursor < model.n_sites() && model.site[cursor] == site.index) gaps[cursor] = gap;
    }

    data& run_;
    const model_table<int>& k_;
    std::array<chain, 3> chains_;
    bool panel1_copies_panel0_ = false;
    bool panel0_model_ = false;
    std::array<std::array<haploid_gap, 3>, 3> hap_{};
    std::array<diploid_gap, 3> dip_{};
    std::array<std::array<std::size_t, 3>, 3> hap_cursor_{};
    std::array<std::size_t, 3> dip_cursor_{};
};

}  // namespace

void set_switch_rates(data& run, bool full) {
    run.log.stage("-setting switch rates");
    ++run.models.switch_rates_version;
    switch_rate_pass(run, full).run();
}

void set_switch_rates_for_hole_filling(data& run, bool full) {
    run.log.stage("-setting hole-filling switch rates");
    ++run.models.switch_rates_version;
    if (!run.plan.has_reference) return;
    const int to = run.params.panel0_given() ? 0 : 1;
    const int from = run.params.panel0_given() && run.params.panel1_given() ? 1 : 2;
    if (to != run.plan.hole_fill_to) return;
    const auto& counts = full ? run.models.k_states_full : run.models.k_states;
    const auto t = static_cast<std::size_t>(to);
    const auto f = static_cast<std::size_t>(from);

    // The filled panel's own model leaves the holes out.
    hmm_model& own = run.models.chains[t][t][t];
    chain own_chain(run);
    for (std::size_t v = 0; v < own.n_sites(); ++v) {
        const auto s = static_cast<std::size_t>(own.site[v]);
        if (run.sites.in_order[s]->type < to || run.sites.in_order[s]->ref_alleles_missing ||
            !own_chain.advance(run.sites.positions[s], *run.sites.in_order[s]))
            continue;
        if (to == 0) {
            own.hap_gap[v] = make_haploid_gap(own_chain.gap(), counts[t][t][t]);
        } else {
            const diploid_gap old = own.dip_gap[v];
            own.dip_gap[v] = make_diploid_gap(own_chain.gap(), counts[t][t][t]);
            own.dip_gap[v].table_stay = old.table_stay;
            own.dip_gap[v].table_move = old.table_move;
        }
    }

    hmm_model& source = run.models.hole_chains[0][t][f];
    source.hap_gap.assign(source.n_sites(), haploid_gap{});
    chain source_chain(run);
    bool first = true;
    for (std::size_t v = 0; v < source.n_sites(); ++v) {
        const auto s = static_cast<std::size_t>(source.site[v]);
        const bool starts_map = s == 0;
        if (run.sites.in_order[s]->panel1_placeholder && !(starts_map && first)) continue;
        first = false;
        if (source_chain.advance(run.sites.positions[s], *run.sites.in_order[s])) {
            source.hap_gap[v] = make_haploid_gap(source_chain.gap(), counts[0][t][f]);
        }
    }
}
