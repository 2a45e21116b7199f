#include "output/site_quality.h"

#include <algorithm>

#include "io/text.h"

namespace {

constexpr double quality_tolerance = 1e-10;

}  // namespace

void info_measure::add(const genotype_triple& p, bool haploid) {
    dosages_ += dosage(p, haploid);
    variances_ += dosage_variance(p, haploid);
    alleles_ += haploid ? 1.0 : 2.0;
}

double info_measure::info() const {
    const double f = frequency();
    if (std::min(f, 1.0 - f) < quality_tolerance) return 1.0;
    return 1.0 - variances_ / (alleles_ * f * (1.0 - f));
}

quality_block::quality_block(const result_inputs& run, bool compared)
    : run_(run),
      genotypes_(quality_genotypes(run)),
      masked_{genotype_block(run, triple_source::masked_0), genotype_block(run, triple_source::masked_1)},
      compares_posteriors_(compared && run.params.pgs) {
    for (std::size_t set = 0; set < 2; ++set) {
        if (compared && is_selfchecked(run, set)) sets_.push_back(set);
    }
}

void quality_block::load(std::span<const std::size_t> sites) {
    sites_.assign(sites.begin(), sites.end());
    genotypes_.load(sites);
    for (const std::size_t set : sets_) masked_[set].load(sites);
}

site_quality quality_block::measure(std::size_t j) {
    const snp& site = *run_.sites.in_order[sites_[j]];
    site_quality quality;
    measure_genotypes(j, site, run_.sites.positions[sites_[j]], quality);
    if (site.type != 2) return quality;
    if (compares_posteriors_) compare(genotypes_, j, site, quality.posterior, nullptr);
    for (const std::size_t set : sets_) {
        compare(masked_[set], j, site, quality.masked[set], &quality.masked_info[set]);
    }
    return quality;
}

void quality_block::measure_genotypes(std::size_t j, const snp& site, long position, site_quality& quality) {
    const triple_source source = genotypes_.source(j);
    const std::span<const genotype_triple> triples = genotypes_.triples(j);
    info_measure measure;
    double certainty_sum = 0.0;
    if (source != triple_source::none) {
        for (std::size_t i = 0; i < triples.size(); ++i) {
            const bool haploid = genotypes_.is_haploid(i);
            genotype_triple p = triples[i];
            if (haploid && source == triple_source::input) make_haploid(p, site, position);
            certainty_sum += *std::max_element(p.begin(), p.end());
            const double total = p[0] + p[1] + p[2];
            for (double& value : p) value /= total;
            measure.add(p, haploid);
        }
    }
    quality.frequency = measure.frequency();
    quality.info = measure.info();
    quality.certainty = certainty_sum / static_cast<double>(triples.size());
}

void quality_block::compare(genotype_block& genotypes, std::size_t j, const snp& site, accuracy& result,
                            std::optional<double>* info) {
    const std::span<const genotype_triple> triples = genotypes.triples(j);
    info_measure measure;
    comparison_.clear();
    for (std::size_t i = 0; i < triples.size(); ++i) {
        const bool haploid = genotypes.is_haploid(i);
        comparison_.add(triples[i], study_genotype(site, i), haploid);
        measure.add(triples[i], haploid);
    }
    result = comparison_.result();
    if (info != nullptr) *info = measure.info();
}

// Leaves the two homozygotes, scaled to sum to 1; without any chance of either, the frequency stands in.
void quality_block::make_haploid(genotype_triple& p, const snp& site, long position) {
    const double sum = p[0] + p[2];
    p[1] = 0.0;
    if (sum > quality_tolerance) {
        p[0] /= sum;
        p[2] /= sum;
        return;
    }
    const double freq = site.labels[2].freq;
    if (freq < -1e-10 || freq > 1.0000000001) {
        throw run_fault(concat("ERROR: Unexpected gens1 frequency of ", fixed_text(freq, 3), " at position ", position,
                               ". Please contact the authors for assistance."));
    }
    p[0] = 1.0 - freq;
    p[2] = freq;
}
