#include "params/population.h"

#include <algorithm>
#include <array>

double harmonic_theta(int n) {
    if (n < 2) return -1.0;
    double sum = 0.0;
    for (int i = 1; i < n; ++i) sum += 1.0 / i;
    return 1.0 / sum;
}

double mutation_rate(int n, double theta) {
    return n > 0 ? (theta * 0.5) / (n + theta) : -1.0;
}

namespace {

struct model_entry {
    std::size_t mode, panel, cond_panel;
};

// A rate that a table can be made of: not the mark of an unused entry, nor the minus infinity of a single state.
bool usable(double mu) {
    return mu > -1e-10;
}

void fill_haploid(emission_table& table, double mu) {
    table[0] = {1.0 - mu, mu, 1.0, 0.0};
    table[1] = {mu, 1.0 - mu, 1.0, 0.0};
}

void fill_diploid(emission_table& table, double mu) {
    const double a = 1.0 - mu;
    table[0] = {a * a, (a + a) * mu, mu * mu, 1.0};
    table[1] = {a * mu, mu * mu + a * a, a * mu, 1.0};
    table[2] = {mu * mu, (a + a) * mu, a * a, 1.0};
}

// Genotype weights of the sweeps at a site: the emissions averaged over the input probabilities.
void weigh_genotypes(const std::vector<float>& probs, std::size_t n, const emission_table& e,
                     std::vector<double>& weights) {
    weights.assign(n * 3, 1.0);
    if (probs.size() < weights.size()) return;
    for (std::size_t i = 0; i < n; ++i) {
        const float* p = probs.data() + 3 * i;
        if (!(static_cast<double>(p[0] + p[1] + p[2]) >= 1e-10)) continue;  // nothing known: neutral
        for (std::size_t row = 0; row < 3; ++row) {
            double sum = 0.0;
            for (std::size_t g = 0; g < 3; ++g) sum += static_cast<double>(p[g]) * e[row][g];
            weights[3 * i + row] = sum;
        }
    }
}

void fill_pair_tables(copying_models& models, std::size_t panel, const emission_table& e) {
    models.pr_alleles_00[panel] = {{{e[0][0], e[1][0]}, {e[1][0], e[2][0]}}};
    models.pr_alleles_01[panel] = {{{e[0][1] * 0.5, e[0][0]}, {e[0][2], e[2][1] * 0.5}}};
    models.pr_alleles_10[panel] = {{{e[0][1] * 0.5, e[0][2]}, {e[0][0], e[2][1] * 0.5}}};
    models.pr_alleles_11[panel] = {{{e[0][2], e[1][2]}, {e[1][2], e[2][2]}}};
}

}  // namespace

void set_theta(const parameters& params, const run_plan& plan, const panel_array& panels, bool full,
               copying_models& models) {
    const auto& counts = full ? models.k_states_full : models.k_states;
    const auto set = [&](std::size_t mode, std::size_t panel, std::size_t cond) {
        models.theta[mode][panel][cond] = harmonic_theta(counts[mode][panel][cond]);
    };
    set(0, 0, 0);
    if (params.use_panel1_for_type0_imputation && !params.stage_one) set(0, 1, 0);
    if (plan.fill_holes) {
        set(0, 0, 1);
        set(0, 0, 2);
        set(0, 1, 2);
    }
    if (is_given(params.known_haps_g_file) || panels[2].any_haploid()) set(0, 2, 2);
    if (is_given(params.g_ref_file) && panels[1].any_haploid()) set(0, 1, 1);
    set(0, 2, 0);
    set(0, 2, 1);
    set(1, 1, 1);
    set(1, 2, 2);
}

void set_pair_mutation(std::size_t panel, double rate, copying_models& models) {
    fill_diploid(models.mutation[1][panel][panel], rate);
    fill_pair_tables(models, panel, models.mutation[1][panel][panel]);
}

void set_mutation(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels, bool full,
                  copying_models& models, site_table& sites) {
    log.stage("-setting mutation matrices");
    const auto& counts = full ? models.k_states_full : models.k_states;
    const auto rate = [&](std::size_t mode, std::size_t panel, std::size_t cond) {
        return mutation_rate(counts[mode][panel][cond], models.theta[mode][panel][cond]);
    };
    constexpr std::array<model_entry, 9> haploid{
        {{0, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 2}, {0, 1, 2}, {0, 2, 0}, {0, 2, 1}, {0, 2, 2}, {0, 1, 1}}};
    for (const auto& [mode, panel, cond] : haploid) {
        const double mu = rate(mode, panel, cond);
        if (usable(mu)) fill_haploid(models.mutation[mode][panel][cond], mu);
    }
    for (std::size_t panel = 1; panel <= 2; ++panel) {
        const double mu = rate(1, panel, panel);
        if (usable(mu)) fill_diploid(models.mutation[1][panel][panel], mu);
    }
    for (auto& [position, site] : sites.store) {
        if (params.prob_g_ref && site.type >= 1 && site.type <= plan.n_panels - 1 && !site.panel1_placeholder) {
            weigh_genotypes(site.gtype_probs[1], panels[1].n_ind, models.mutation[1][1][1], site.gtype_emiss[1]);
        }
        if (params.prob_g && site.type == plan.n_panels - 1) {
            weigh_genotypes(site.gtype_probs[2], plan.n_study, models.mutation[1][2][2], site.gtype_emiss[2]);
        }
    }
    for (std::size_t panel = 1; panel <= 2; ++panel) fill_pair_tables(models, panel, models.mutation[1][panel][panel]);
}
