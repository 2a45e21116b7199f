#include "output/variants/variant_records.h"

#include <algorithm>
#include <cmath>

#include "output/main_output.h"
#include "output/site_columns.h"
#include "output/variants/variant_format.h"

namespace {

constexpr double sum_tolerance = 1e-6;  // as fine as the finest value that is written
constexpr int highest_confidence = 99;  // phred; of a phase that every iteration has

// The triple scaled to sum to 1; none where it says nothing: no chance at all, or, if it was not computed, the equal
// chances of a missing genotype. A haploid has no genotype 1.
std::optional<genotype_triple> sound_triple(genotype_triple p, bool haploid, bool computed) {
    if (haploid) p[1] = 0.0;
    const double sum = p[0] + p[1] + p[2];
    if (!(sum > sum_tolerance)) return std::nullopt;
    const bool equal = std::abs(p[0] - p[2]) < sum_tolerance && (haploid || std::abs(p[0] - p[1]) < sum_tolerance);
    if (equal && !computed) return std::nullopt;
    for (double& value : p) value /= sum;
    return p;
}

int phred(double confidence) {
    const double value = -10.0 * std::log10(1.0 - confidence);  // infinite at 1
    return static_cast<int>(std::lround(std::min(value, static_cast<double>(highest_confidence))));
}

}  // namespace

int variant_decimals(const parameters& params) {
    return std::clamp(params.outdp, 4, 6);
}

int variant_unit(const parameters& params) {
    int units = 1;
    for (int k = 0; k < variant_decimals(params); ++k) units *= 10;
    return units;
}

std::pair<long, long> variant_interval(const result_inputs& run) {
    return run.params.phase ? run.haps_interval() : run.output_interval();
}

std::vector<std::size_t> variant_sites(const result_inputs& run) {
    return select_sites(run.sites, variant_interval(run),
                        [&run](const snp& site) { return type_is_output(run, site); });
}

variant_block::variant_block(const result_inputs& run, const phase_confidences& confidences)
    : run_(run),
      confidences_(confidences),
      one_(variant_unit(run.params)),
      low_(smallest_printed(run.params.outdp)),
      all_known_(run.all_have_known_haps()),
      genotypes_(main_genotypes(run)),
      quality_(run, run.params.snp_qc_info),
      alleles_(run.panels[2].haps) {
    std::size_t n_known = 0;
    for (std::size_t i = 0; i < run.n_study(); ++i) {
        person who{run.panels[2].first_hap(i), std::nullopt, std::nullopt};
        if (run.panels[2].ordered[i]) {
            who.known_slot = n_known++;
        } else {
            who.unknown_slot = i - n_known;
        }
        people_.push_back(who);
    }
}

void variant_block::load(std::span<const std::size_t> sites) {
    sites_.assign(sites.begin(), sites.end());
    genotypes_.load(sites);
    quality_.load(sites);
    if (run_.any_has_known_haps()) known_sums_.gather(run_.acc.gtype_acc2, {0, run_.n_with_known_haps()}, sites);
}

// The sites whose alleles -phase has settled are those of "_haps".
variant_block::phase_rule variant_block::rule_at(const snp& site) const {
    const parameters& params = run_.params;
    if (!has_phase(params)) return phase_rule::nobody;
    if (!params.phase) return phase_rule::as_given;
    if (site.type == run_.plan.n_panels) return params.use_prephased_g ? phase_rule::everybody : phase_rule::nobody;
    const bool settled = site.type > 1 || params.mc_impute || all_known_;
    return settled ? phase_rule::everybody : phase_rule::as_given;
}

variant_record variant_block::record(std::size_t j) {
    const std::size_t s = sites_[j];
    const snp& site = *run_.sites.in_order[s];
    variant_record record;
    record.site = s;
    rule_ = rule_at(site);
    if (rule_ != phase_rule::nobody) row_ = alleles_.row(s);
    has_known_sums_ = rule_ != phase_rule::nobody && !run_.params.mc_impute && run_.acc.gtype_acc2[0].has(s);
    const std::span<const genotype_triple> triples = genotypes_.triples(j);
    check_sums(run_, s, genotypes_.source(j), triples, low_);
    line_.clear();
    long dosages = 0;
    long n_alleles = 0;
    for (std::size_t i = 0; i < triples.size(); ++i) {
        const variant_genotype& g = line_.emplace_back(genotype(j, s, i, triples[i]));
        record.any_haps = record.any_haps || g.haps[0] != variant_genotype::none;
        record.any_confidence = record.any_confidence || g.confidence != variant_genotype::none;
        if (!g.has_probs && g.alleles[0] == variant_genotype::none) continue;
        const int n_ones = g.alleles[0] + (g.haploid ? 0 : g.alleles[1]);
        dosages += g.has_probs ? g.dosage : n_ones * one_;
        n_alleles += g.haploid ? 1 : 2;
    }
    if (n_alleles > 0) record.frequency = static_cast<double>(dosages) / (static_cast<double>(n_alleles) * one_);
    if (has_quality(run_, site)) record.quality = quality_.measure(j);
    record.genotypes = line_;
    return record;
}

variant_genotype variant_block::genotype(std::size_t j, std::size_t s, std::size_t i, genotype_triple triple) {
    variant_genotype g;
    g.haploid = genotypes_.is_haploid(i);
    const bool computed = is_computed(genotypes_.source(j), *run_.sites.in_order[s], i);
    const auto sound = sound_triple(triple, g.haploid, computed);
    if (sound) add_probs(*sound, g);
    add_alleles(s, i, g);
    if (sound) {
        const std::optional<allele_pair_chances> chances = known_chances(j, i);
        if (g.alleles[0] == variant_genotype::none) call_alleles(*sound, chances, g);
        if (rule_ != phase_rule::nobody) add_haps(dosage(*sound, g.haploid), chances, g);
    }
    if (rule_ == phase_rule::everybody) add_confidence(s, i, g);
    return g;
}

int variant_block::units(double value) const {
    const double scaled = value * one_;
    auto n = static_cast<int>(scaled);
    if (scaled - n >= 0.5) ++n;
    // Beside a whole digit a single-precision number has room for five decimals.
    return one_ > 100000 && n > one_ ? (n + 5) / 10 * 10 : n;
}

void variant_block::add_probs(const genotype_triple& triple, variant_genotype& g) const {
    g.has_probs = true;
    g.dosage = units(dosage(triple, g.haploid));
    int sum = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        g.probs[k] = units(triple[k]);
        sum += g.probs[k];
    }
    g.probs[most_likely(triple)] += one_ - sum;  // so that the rounded ones sum to 1, too
}

// The alleles of the haplotypes, where the rule says so and they are known.
void variant_block::add_alleles(std::size_t s, std::size_t i, variant_genotype& g) const {
    const snp& site = *run_.sites.in_order[s];
    const bool given = rule_ == phase_rule::as_given && site.type > 1 && site.phase_known(i);
    if (!given && rule_ != phase_rule::everybody) return;
    const std::size_t first = people_[i].first_hap;
    for (std::size_t h = 0; h < (g.haploid ? 1 : 2); ++h) {
        // A site outside the models may have alleles that nobody knows.
        const bool unknown = !site.haps[2].empty() && site.haps[2][first + h] == missing_allele;
        if (unknown) {
            g.alleles = {variant_genotype::none, variant_genotype::none};
            return;
        }
        g.alleles[h] = bits::get(row_, first + h) ? 1 : 0;
    }
    g.phased = true;
}

// The likeliest genotype, in the order that the chances of known haplotypes give.
void variant_block::call_alleles(const genotype_triple& triple, const std::optional<allele_pair_chances>& chances,
                                 variant_genotype& g) {
    const int n_ones = called_genotype(triple, g.haploid);
    if (g.haploid) {
        g.alleles[0] = n_ones;
        return;
    }
    g.alleles = {n_ones / 2, (n_ones + 1) / 2};
    if (!chances) return;
    const auto [a, b] = *chances;
    const double lead = a * (1.0 - b) - b * (1.0 - a);
    g.phased = n_ones != 1 || std::abs(lead) > sum_tolerance;  // a tie says nothing
    if (n_ones == 1 && lead > sum_tolerance) g.alleles = {1, 0};
}

std::optional<variant_block::allele_pair_chances> variant_block::known_chances(std::size_t j, std::size_t i) const {
    const std::optional<std::size_t>& slot = people_[i].known_slot;
    if (!has_known_sums_ || !slot) return std::nullopt;
    const auto n = static_cast<double>(run_.plan.stored_iters.size());
    return allele_pair_chances{known_sums_.one(j, *slot) / n, known_sums_.two(j, *slot) / n};
}

void variant_block::add_haps(double dosage, const std::optional<allele_pair_chances>& chances,
                             variant_genotype& g) const {
    if (g.haploid) {
        g.haps[0] = g.dosage;
        return;
    }
    if (!g.phased) return;
    // Sums without weights, or none at all, do not make up the dosage of a run that weighs or was given the genotype.
    if (chances && std::abs((*chances)[0] + (*chances)[1] - dosage) < sum_tolerance) {
        g.haps = {units((*chances)[0]), units((*chances)[1])};
        return;
    }
    const int n_ones = g.alleles[0] + g.alleles[1];
    if (g.probs[static_cast<std::size_t>(n_ones)] == one_) g.haps = {g.alleles[0] * one_, g.alleles[1] * one_};
}

void variant_block::add_confidence(std::size_t s, std::size_t i, variant_genotype& g) const {
    const std::optional<std::size_t> slot = people_[i].unknown_slot;
    if (!slot || s >= confidences_.size() || confidences_[s].empty()) return;
    const double confidence = confidences_[s][*slot];
    if (confidence != no_phase_call) g.confidence = phred(confidence);
}
