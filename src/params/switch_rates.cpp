#include "params/switch_rates.h"

#include <cmath>
#include <limits>

#include "io/text.h"

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
    explicit chain(run_log& log) : log_(log) {}

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
        log_.warn(concat("WARNING: Positions ", previous_position_, " and ", position, " (with genetic map positions ",
                         fixed_text(previous_->gen_pos, 6), " and ", fixed_text(site.gen_pos, 6),
                         ", respectively) are separated by negative genetic distance ", fixed_text(gap_, 6),
                         "; this will be set to a positive number just slightly larger than zero."));
    }

    run_log& log_;
    const snp* previous_ = nullptr;
    long previous_position_ = 0;
    double gap_ = 0.0;
};

// The tables that the pass over the sites carries along: each site stores the latest value of every slot, so that a
// site outside a slot's chain has the value of the site before.
class switch_rate_pass {
  public:
    switch_rate_pass(run_log& log, const rate_inputs& inputs, bool full, copying_models& models)
        : in_(inputs),
          models_(models),
          k_(full ? models.k_states_full : models.k_states),
          chains_{chain(log), chain(log), chain(log)} {
        const parameters& p = inputs.params;
        panel1_copies_panel0_ = p.use_panel1_for_type0_imputation && !p.stage_one;
        panel0_model_ = p.panel0_given() && (!panel1_copies_panel0_ || p.selfcheck > 0.0);
        haploid_panel1_ = is_given(p.g_ref_file) && inputs.panels[1].any_haploid();
    }

    void run() {
        bool first = true;
        for (auto& [position, site] : in_.sites.store) {
            if (site.type != in_.plan.n_panels) {
                visit(position, site, first);
                if (!first) store(site);
            }
            first = false;
        }
    }

  private:
    void visit(long position, const snp& site, bool first) {
        const bool haploid_study = in_.panels[2].any_haploid();
        if (in_.params.panel0_given() && chains_[0].advance(position, site)) {
            if (panel0_model_) set_haploid(2, 0, chains_[0]);
            if (panel1_copies_panel0_) {
                set_haploid(1, 0, chains_[0]);
                set_haploid(2, 1, chains_[0]);
            }
            if (in_.panels[0].needs_update) set_haploid(0, 0, chains_[0]);
        }
        const bool placeholder = site.panel1_placeholder;
        if (site.type > 0 && !placeholder && in_.params.panel1_given() && chains_[1].advance(position, site)) {
            if (!panel1_copies_panel0_) set_haploid(2, 1, chains_[1]);
            if (haploid_panel1_) set_haploid(1, 1, chains_[1]);
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
        const bool reference = in_.params.panel0_given() || in_.params.panel1_given();
        const bool haploid_tables = reference || (in_.panels[2].any_haploid() && site.type >= 2);
        for (std::size_t panel = 0; panel < 3; ++panel) {
            for (std::size_t cond = 0; cond < 3; ++cond) {
                hmm_model& haploid = models_.chains[0][panel][cond];
                if (haploid_tables) put(haploid, haploid.hap_gap, hap_cursor_[panel][cond], site, hap_[panel][cond]);
            }
            hmm_model& diploid = models_.chains[1][panel][panel];
            if (site.type > 0) put(diploid, diploid.dip_gap, dip_cursor_[panel], site, dip_[panel]);
        }
    }

    template <typename Gap>
    static void put(hmm_model& model, std::vector<Gap>& gaps, std::size_t& cursor, const snp& site, const Gap& gap) {
        gaps.resize(model.n_sites());
        while (cursor < model.n_sites() && model.site[cursor] < site.index) ++cursor;
        if (cursor < model.n_sites() && model.site[cursor] == site.index) gaps[cursor] = gap;
    }

    const rate_inputs& in_;
    copying_models& models_;
    const model_table<int>& k_;
    std::array<chain, 3> chains_;
    bool panel1_copies_panel0_ = false;
    bool panel0_model_ = false;
    bool haploid_panel1_ = false;
    std::array<std::array<haploid_gap, 3>, 3> hap_{};
    std::array<diploid_gap, 3> dip_{};
    std::array<std::array<std::size_t, 3>, 3> hap_cursor_{};
    std::array<std::size_t, 3> dip_cursor_{};
};

}  // namespace

void set_switch_rates(run_log& log, const rate_inputs& inputs, bool full, copying_models& models) {
    log.stage("-setting switch rates");
    ++models.switch_rates_version;
    switch_rate_pass(log, inputs, full, models).run();
}

namespace {

// The model of the panel to be filled leaves the holes out.
void set_own_gaps(run_log& log, const site_table& sites, std::size_t to, const model_table<int>& counts,
                  copying_models& models) {
    hmm_model& own = models.chains[to][to][to];  // Panel 0 has a haploid model, Panel 1 a diploid one
    chain steps(log);
    for (std::size_t v = 0; v < own.n_sites(); ++v) {
        const snp& site = *sites.in_order[own.site[v]];
        if (site.type < to || site.ref_alleles_missing || !steps.advance(sites.positions[own.site[v]], site)) continue;
        if (to == 0) {
            own.hap_gap[v] = make_haploid_gap(steps.gap(), counts[to][to][to]);
        } else {
            const diploid_gap old = own.dip_gap[v];
            own.dip_gap[v] = make_diploid_gap(steps.gap(), counts[to][to][to]);
            own.dip_gap[v].table_stay = old.table_stay;
            own.dip_gap[v].table_move = old.table_move;
        }
    }
}

void set_source_gaps(run_log& log, const site_table& sites, int n_states, hmm_model& source) {
    source.hap_gap.assign(source.n_sites(), haploid_gap{});
    chain steps(log);
    bool first = true;
    for (std::size_t v = 0; v < source.n_sites(); ++v) {
        const std::size_t s = source.site[v];
        const snp& site = *sites.in_order[s];
        const bool starts_map = s == 0;
        if (site.panel1_placeholder && !(starts_map && first)) continue;
        first = false;
        if (steps.advance(sites.positions[s], site)) source.hap_gap[v] = make_haploid_gap(steps.gap(), n_states);
    }
}

}  // namespace

void set_switch_rates_for_hole_filling(run_log& log, const rate_inputs& inputs, bool full, copying_models& models) {
    log.stage("-setting hole-filling switch rates");
    ++models.switch_rates_version;
    const bool panel0 = inputs.params.panel0_given(), panel1 = inputs.params.panel1_given();
    const std::size_t to = panel0 ? 0 : 1;
    const std::size_t from = panel0 && panel1 ? 1 : 2;
    if (!inputs.plan.has_reference || inputs.plan.hole_fill_to != to) return;
    const model_table<int>& counts = full ? models.k_states_full : models.k_states;
    set_own_gaps(log, inputs.sites, to, counts, models);
    set_source_gaps(log, inputs.sites, counts[0][to][from], models.hole_chains[0][to][from]);
}
