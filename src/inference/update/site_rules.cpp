#include "inference/update/site_rules.h"

namespace {

// Whether somebody of a panel is seen through input probabilities.
bool probabilistic(const parameters& params, std::size_t panel) {
    return panel == 2 ? params.prob_g : params.prob_g_ref;
}

bool own_data_missing(const inference_inputs& in, const haploid_update& u, std::size_t s) {
    return u.panel == 0 ? ref_allele_missing(in, u.hap, s)
                        : genotype_at(in.site(s), u.panel, u.ind) == missing_genotype;
}

}  // namespace

std::uint8_t genotype_at(const snp& site, std::size_t panel, std::size_t ind) {
    const auto& gtypes = site.gtypes[panel];
    return gtypes.empty() ? missing_genotype : gtypes[ind];
}

bool ref_allele_missing(const inference_inputs& in, std::size_t hap, std::size_t s) {
    const packed_haplotypes& missing = in.panels[0].missing;
    return missing.n_hap() > 0 && missing.allele(hap, s) == 1;
}

std::uint8_t observed_allele(const inference_inputs& in, const haploid_update& u, std::size_t s) {
    const site_traits& traits = in.traits(s);
    const auto allele = [&] { return static_cast<std::uint8_t>(bits::get(alleles_of(in, u), s)); };
    if (u.panel == 0) return ref_allele_missing(in, u.hap, s) ? unobserved : allele();
    if (u.panel == 1 && traits.panel1_placeholder) return unobserved;
    if (u.panel > u.cond_panel) return traits.type >= u.panel ? allele() : unobserved;
    const std::uint8_t g = genotype_at(in.site(s), u.panel, u.ind);
    return g == missing_genotype ? unobserved : static_cast<std::uint8_t>(g / 2);
}

void list_observed(const inference_inputs& in, const haploid_update& u, std::vector<std::uint8_t>& observed) {
    const std::vector<std::size_t>& sites = model_of(in, u).site;
    observed.resize(sites.size());
    std::uint8_t* out = observed.data();
    if (u.panel < 2 || u.panel == u.cond_panel) {
        for (const std::size_t s : sites) *out++ = observed_allele(in, u, s);
        return;
    }
    // The study haplotypes at all sites of the reference: the most frequent update.
    const std::uint64_t* alleles = alleles_of(in, u);
    const site_traits* traits = in.sites.traits.data();
    for (const std::size_t s : sites) {
        *out++ = traits[s].type >= 2 ? static_cast<std::uint8_t>(bits::get(alleles, s)) : unobserved;
    }
}

bool draws_allele(const inference_inputs& in, const haploid_update& u, std::size_t s) {
    const site_traits& traits = in.traits(s);
    if (u.panel == 1 && traits.panel1_placeholder) return true;
    if (in.params.use_panel1_for_type0_imputation && u.panel == 2) {
        if (traits.top_panel != u.cond_panel) return false;
    } else {
        if (traits.type != u.cond_panel) return false;
        if (u.panel == 0) return own_data_missing(in, u, s);
    }
    return u.panel > u.cond_panel ? traits.type < u.panel : own_data_missing(in, u, s);
}

bool draws_allele_old(const inference_inputs& in, const haploid_update& u, std::size_t s) {
    const site_traits& traits = in.traits(s);
    if (u.panel == u.cond_panel) return own_data_missing(in, u, s);
    if (u.panel == 1 && traits.panel1_placeholder) return true;
    return (in.params.use_panel1_for_type0_imputation ? traits.top_panel : traits.type) == u.cond_panel;
}

void list_requests(const inference_inputs& in, const haploid_update& u, haploid_result& result) {
    const std::vector<std::size_t>& sites = model_of(in, u).site;
    result.requests.assign(sites.size(), {});
    haploid_request* requests = result.requests.data();
    if (u.sample) {
        const auto draws = in.params.use_old_code ? draws_allele_old : draws_allele;
        for (std::size_t v = 0; v < sites.size(); ++v) requests[v].draw_allele = draws(in, u, sites[v]);
    }
    if (!u.backward) return;
    const allele_posteriors alleles(in, u);
    const site_traits* traits = in.sites.traits.data();
    for (std::size_t v = result.first_kept; v < result.end_kept; ++v) {
        requests[v].posterior = alleles.wanted(traits[sites[v]]);
    }
    if (!u.genotype_probs) return;
    for (std::size_t v = result.first_kept; v < result.end_kept; ++v) {
        if (!requests[v].posterior) requests[v].posterior = genotype_posterior_needed(in, u, in.site(sites[v]));
    }
}

bool genotype_posterior_needed(const inference_inputs& in, const haploid_update& u, const snp& site) {
    if (!u.genotype_probs || phase_given(site, u.panel, u.ind)) return false;
    if (genotype_at(site, u.panel, u.ind) == missing_genotype) return true;
    return !in.plan.count_missing_only && posteriors_asked(in.params);
}

bool genotype_posterior_needed(const inference_inputs& in, const pair_update& u, const snp& site) {
    if (!u.genotype_probs || (u.ordered && phase_given(site, u.panel, u.ind))) return false;
    return !in.plan.count_missing_only || genotype_at(site, u.panel, u.ind) == missing_genotype;
}

std::array<double, 4> emission_at(const inference_inputs& in, const pair_update& u, std::size_t s) {
    const snp& site = in.site(s);
    if (u.ordered && phase_given(site, u.panel, u.ind)) {
        const emission_table& Mh = in.models.mutation[0][u.panel][u.panel];
        const auto x = static_cast<std::size_t>(in.panels[u.panel].haps.allele(u.hap, s));
        const auto y = static_cast<std::size_t>(in.panels[u.panel].haps.allele(u.hap + 1, s));
        return {Mh[0][x] * Mh[0][y], Mh[0][x] * Mh[1][y], Mh[1][x] * Mh[0][y], Mh[1][x] * Mh[1][y]};
    }
    if (probabilistic(in.params, u.panel)) {
        const double* e = site.gtype_emiss[u.panel].data() + 3 * u.ind;
        return {e[0], e[1], e[1], e[2]};
    }
    const emission_table& M = in.models.mutation[1][u.panel][u.panel];
    const std::size_t g = genotype_at(site, u.panel, u.ind);
    return {M[0][g], M[1][g], M[1][g], M[2][g]};
}

pair_request request_at(const inference_inputs& in, const pair_update& u, std::size_t s) {
    const snp& site = in.site(s);
    const std::uint8_t g = genotype_at(site, u.panel, u.ind);
    pair_request request;
    if (!phase_given(site, u.panel, u.ind)) {
        const bool free_genotype = probabilistic(in.params, u.panel);
        request.draw_alleles = free_genotype || g == 1 || g == missing_genotype;
        request.heterozygous = !free_genotype && g == 1;
    }
    request.posterior = u.backward && in.keeps(s) && genotype_posterior_needed(in, u, site);
    return request;
}
