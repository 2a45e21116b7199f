#include "output/posterior_genotypes.h"

#include <utility>

genotype_triple input_triple(const snp& site, std::size_t individual, bool haploid) {
    const std::vector<float>& probs = site.gtype_probs[2];
    if (!probs.empty()) {
        const float* p = probs.data() + individual * 3;
        return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
    }
    if (site.gtypes[2].empty()) return {0.0, 0.0, 0.0};
    const std::uint8_t genotype = study_genotype(site, individual);
    if (genotype == missing_genotype) {
        constexpr double third = 1.0F / 3.0F;  // as a reader keeps it
        return haploid ? genotype_triple{0.5, 0.0, 0.5} : genotype_triple{third, third, third};
    }
    genotype_triple triple{};
    triple[genotype] = 1.0;
    return triple;
}

namespace {

double n_stored(const result_inputs& run) {
    return static_cast<double>(run.plan.stored_iters.size());
}

double n_selfcheck(const result_inputs& run) {
    return static_cast<double>(run.plan.selfcheck_iters.size());
}

// The sums of weights by individual that an imputed site is divided by; null in a run without weights.
const double* imputation_weights(const result_inputs& run, const snp& site) {
    if (run.params.weight_imputed_gt < 0 || run.params.mc_impute) return nullptr;
    return run.acc.weight_sum[site.top_panel].data();
}

bool wants_posteriors(const result_inputs& run) {
    return run.params.pgs || run.params.pgs_prob;
}

bool uses_prephased(const result_inputs& run) {
    return run.params.use_prephased_g && run.params.weight_panel >= 0 && !run.params.mc_impute;
}

triple_source main_source(const result_inputs& run, const snp& site) {
    const parameters& params = run.params;
    if (site.type < 2) return triple_source::posterior;
    if (!keeps_input_probs(run, site) || (params.pgs_prob && site.type != run.plan.n_panels)) {
        if (!wants_posteriors(run)) return triple_source::none;
        return uses_prephased(run) ? triple_source::prephased : triple_source::posterior;
    }
    const bool study_site = site.type == run.plan.n_panels - 1;
    if (!params.prob_g && params.pgs_miss && study_site) return triple_source::input_or_posterior;
    return triple_source::input;
}

triple_source quality_source(const result_inputs& run, const snp& site) {
    if (site.type < 2 || (site.type == run.plan.n_panels - 1 && wants_posteriors(run))) return triple_source::posterior;
    return keeps_input_probs(run, site) ? triple_source::input : triple_source::none;
}

// The source under which the sums of a source are kept.
std::size_t sums_of(triple_source source) {
    const bool mixed = source == triple_source::input_or_posterior;
    return static_cast<std::size_t>(mixed ? triple_source::posterior : source);
}

}  // namespace

genotype_triple posterior_triple(const result_inputs& run, const std::array<double, 2>& sums, std::size_t s,
                                 std::size_t individual, bool haploid, bool imputed) {
    const double* weights = imputed ? imputation_weights(run, *run.sites.in_order[s]) : nullptr;
    const bool weighted = weights != nullptr && weights[individual] > 0.0;
    const double divisor = weighted ? weights[individual] : n_stored(run);
    return triple_of(sums[0] / divisor, sums[1] / divisor, haploid);
}

genotype_block::genotype_block(const result_inputs& run, source_rule rule)
    : run_(run), rule_(std::move(rule)), haploid_(run.haploid_study()) {}

genotype_block::genotype_block(const result_inputs& run, triple_source source)
    : genotype_block(run, [source](const snp& /*site*/) { return source; }) {}

void genotype_block::load(std::span<const std::size_t> sites, row_range individuals) {
    individuals_ = individuals;
    sites_.assign(sites.begin(), sites.end());
    sources_.clear();
    places_.clear();
    triples_.resize(individuals.n);
    std::array<std::vector<std::size_t>, std::tuple_size_v<decltype(sums_)>> wanted;
    for (const std::size_t s : sites) {
        sources_.push_back(rule_(*run_.sites.in_order[s]));
        std::vector<std::size_t>& list = wanted[sums_of(sources_.back())];
        places_.push_back(list.size());
        list.push_back(s);
    }
    for (const triple_source source :
         {triple_source::posterior, triple_source::prephased, triple_source::masked_0, triple_source::masked_1}) {
        fetch_sums(wanted[sums_of(source)], source);
    }
}

void genotype_block::fetch_sums(const std::vector<std::size_t>& sites, triple_source source) {
    if (sites.empty()) return;
    sum_block& sums = sums_[sums_of(source)];
    if (source == triple_source::posterior) {
        sums.gather(run_, individuals_, sites);
        return;
    }
    const bool from_panel0 =
        source == triple_source::masked_0 || (source == triple_source::prephased && run_.params.weight_panel == 0);
    sums.gather(run_.acc.gtype_acc3[from_panel0 ? 0 : 1], individuals_, sites);
}

// Null where the triples of the site are not divided by weights.
const double* genotype_block::weights_at(const snp& site, triple_source source) const {
    if (source != triple_source::posterior || site.type >= 2) return nullptr;
    const double* weights = imputation_weights(run_, site);
    return weights == nullptr ? nullptr : weights + individuals_.first;
}

std::span<const genotype_triple> genotype_block::triples(std::size_t j) {
    const triple_source source = sources_[j];
    const snp& site = *run_.sites.in_order[sites_[j]];
    const sum_block& sums = sums_[sums_of(source)];
    const std::size_t place = places_[j];
    const double* const weights = weights_at(site, source);
    const bool masked = source == triple_source::masked_0 || source == triple_source::masked_1;
    const double n = masked ? n_selfcheck(run_) : n_stored(run_);
    for (std::size_t k = 0; k < individuals_.n; ++k) {
        const std::size_t i = individuals_.first + k;
        if (is_computed(source, site, i)) {
            const double divisor = weights != nullptr ? weights[k] : n;
            triples_[k] = triple_of(sums.one(place, k) / divisor, sums.two(place, k) / divisor, is_haploid(i));
        } else if (source == triple_source::none) {
            triples_[k] = {};
        } else {
            triples_[k] = input_triple(site, i, is_haploid(i));
        }
    }
    return triples_;
}

genotype_block main_genotypes(const result_inputs& run) {
    return {run, [&run](const snp& site) { return main_source(run, site); }};
}

genotype_block quality_genotypes(const result_inputs& run) {
    return {run, [&run](const snp& site) { return quality_source(run, site); }};
}

bool has_quality(const result_inputs& run, const snp& site) {
    return site.type < 2 || wants_posteriors(run) || keeps_input_probs(run, site);
}
