#include "output/consensus_phasing.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <utility>

#include "io/text.h"
#include "output/posterior_genotypes.h"
#include "output/site_columns.h"
#include "output/temporary_haplotypes.h"
#include "random/random.h"

namespace {

constexpr double tie_tolerance = 1e-10;

}  // namespace

std::size_t which_max_idx(std::span<const double> probs) {
    std::vector<std::size_t> best;
    double largest = 0.0;
    for (std::size_t i = 0; i < probs.size(); ++i) {
        if (std::abs(probs[i] - largest) < tie_tolerance) {
            best.push_back(i);
        } else if (probs[i] > largest) {
            best.assign(1, i);
            largest = probs[i];
        }
    }
    if (best.empty()) return probs.size() - 1;
    if (best.size() == 1) return best.front();
    const double u = Random::RNG->Next();
    const auto n_best = static_cast<double>(best.size());
    std::size_t j = 0;
    while (j + 1 < best.size() && u > static_cast<double>(j + 1) / n_best) ++j;
    return best[j];
}

void check_phasing_probs(run_log& log, const genotype_triple& probs, std::size_t individual, long position,
                         bool known_haps, bool haploid) {
    const std::string head =
        concat("ERROR: The imputed genotype probabilities for ", known_haps ? "ordered individual " : "individual ",
               individual + 1, " (1-indexed) at SNP position ", position);
    const double sum = probs[0] + probs[1] + probs[2];
    if (!(sum > 0.9999999999 && sum < 1.0000000001)) {
        log.fatal(concat(head, " do not sum to 1.0 in the ", known_haps ? "phase_fixed" : "phase_pairwise",
                         "() function; this implies that there was a problem with the imputation. Please contact the "
                         "authors for assistance."));
    }
    if (known_haps && haploid && probs[1] > tie_tolerance) {
        log.fatal(
            concat(head,
                   " include mass on the heterozygous genotype, but the individual is listed as haploid. This issue "
                   "was detected in the phase_fixed() function, and it implies that there was a problem with the "
                   "imputation. Please contact the authors for assistance."));
    }
}

namespace {

// A study individual and its places in the tables.
struct person {
    std::size_t index;
    std::size_t known_slot;   // among the individuals with known haplotypes, if it is one of them
    std::size_t sample_slot;  // in the store of sampled alleles
    std::size_t first_hap;
    bool known;
    bool haploid;
};

std::vector<person> study_people(const result_inputs& run) {
    std::vector<person> people;
    const panel_data& study = run.panels[2];
    std::size_t n_known = 0;
    for (std::size_t i = 0; i < run.n_study(); ++i) {
        const bool known = study.ordered[i];
        const std::size_t sample_slot = run.params.mc_impute ? i : i - n_known;
        people.push_back({i, n_known, sample_slot, study.first_hap(i), known, study.is_haploid(i)});
        if (known) ++n_known;
    }
    return people;
}

// The alleles that were sampled for one individual at one site: one bit per stored iteration.
struct sampled_pair {
    std::array<std::vector<std::uint64_t>, 2> words;

    void load(const sample_bits& samples, std::size_t n_iterations, const person& who, std::size_t s) {
        for (std::size_t h = 0; h < 2; ++h) {
            auto& row = words[h];
            row.assign(bits::words_for(n_iterations), 0);
            if (!samples.has(s)) continue;
            for (std::size_t it = 0; it < n_iterations; ++it) {
                if (samples.get(who.sample_slot, static_cast<int>(h), s, it)) bits::set(row.data(), it, true);
            }
        }
    }
    // Iterations with the alleles (1, 0), (0, 1) and (1, 1).
    struct counts {
        int n10 = 0, n01 = 0, n11 = 0;
    };
    counts count() const {
        counts n;
        for (std::size_t w = 0; w < words[0].size(); ++w) {
            n.n10 += std::popcount(words[0][w] & ~words[1][w]);
            n.n01 += std::popcount(~words[0][w] & words[1][w]);
            n.n11 += std::popcount(words[0][w] & words[1][w]);
        }
        return n;
    }
};

// What a chance of a phase is worth: the states of an iteration are chosen for the phase at hand, so that iterations
// repeat each other, and chances are too sure; those of one final round take the phase of all others as known; several
// know that it is not. The powers make confidences true on panels of known phase (docs/recipes.md).
double power_of_chances(int final_rounds) {
    constexpr double of_iterations = 0.7, of_one_round = 0.85, of_rounds = 1.0;
    return final_rounds == 0 ? of_iterations : final_rounds == 1 ? of_one_round : of_rounds;
}

double tempered(double chance, double power) {
    const double yes = std::pow(chance, power), no = std::pow(1.0 - chance, power);
    return yes / (yes + no);
}

// What the two forms share: the genotype of an individual at a site, and its alleles.
class study_phasing {
  public:
    // by: how it will be asked.
    study_phasing(const result_inputs& run, packed_haplotypes& haps, const sample_bits& samples, sum_reader::order by)
        : run_(run),
          haps_(haps),
          samples_(samples),
          genotype_sums_(run, by),
          allele_sums_(run.acc.gtype_acc2, run.n_with_known_haps(), by) {}

    // The study genotype where there is one, else the likeliest.
    int consensus_genotype(const person& who, std::size_t s) {
        const snp& site = *run_.sites.in_order[s];
        if (!run_.params.prob_g && site.top_panel == run_.plan.n_panels - 1) {
            const std::uint8_t genotype = study_genotype(site, who.index);
            if (genotype != missing_genotype) return genotype;
        }
        const genotype_triple probs = triple_of_person(who, s);
        check_phasing_probs(run_.log, probs, who.index, run_.sites.positions[s], who.known, who.haploid);
        return static_cast<int>(which_max_idx(probs));
    }

    // Chances of allele 1 on the two haplotypes of an individual with known haplotypes.
    std::array<double, 2> allele_chances(const person& who, std::size_t s) {
        const auto n = static_cast<double>(n_iterations());
        const auto [first, second] = allele_sums_.get(who.known_slot, s);
        return {first / n, second / n};
    }

    void load_samples(const person& who, std::size_t s, sampled_pair& sampled) const {
        sampled.load(samples_, n_iterations(), who, s);
    }

    void set_alleles(const person& who, std::size_t s, int first, int second) {
        haps_.set(who.first_hap, s, first);
        if (!who.haploid) haps_.set(who.first_hap + 1, s, second);
    }

    // What the paths told of his phase; null without such sums.
    const phase_sums* sums_of(const person& who) const {
        return run_.acc.phase.empty() ? nullptr : &run_.acc.phase[who.index];
    }

    // Of the chances that these tell.
    double power() const { return power_of_chances(run_.acc.final_rounds); }

  private:
    std::size_t n_iterations() const { return run_.plan.stored_iters.size(); }

    genotype_triple triple_of_person(const person& who, std::size_t s) {
        const parameters& params = run_.params;
        const bool imputed = run_.sites.in_order[s]->top_panel < 2;
        if (imputed || params.pgs_miss || params.pgs || params.pgs_prob) {
            return posterior_triple(run_, genotype_sums_.get(s, who.index), s, who.index, who.haploid, imputed);
        }
        if (!who.known || params.mc_impute) return triple_of_samples(who, s);
        const auto [a, b] = allele_chances(who, s);
        if (who.haploid) return {1.0 - a, 0.0, a};
        const double p0 = (1.0 - a) * (1.0 - b);
        const double p2 = a * b;
        return {p0, (1.0 - p2) - p0, p2};
    }

    genotype_triple triple_of_samples(const person& who, std::size_t s) const {
        sampled_pair sampled;
        load_samples(who, s, sampled);
        const sampled_pair::counts count = sampled.count();
        const auto n = static_cast<double>(n_iterations());
        const int n1 = who.haploid ? 0 : count.n10 + count.n01;
        const int n2 = who.haploid ? count.n10 + count.n11 : count.n11;
        return {(n - n1 - n2) / n, n1 / n, n2 / n};
    }

    const result_inputs& run_;
    packed_haplotypes& haps_;
    const sample_bits& samples_;
    genotype_sums genotype_sums_;
    sum_reader allele_sums_;  // of the first and the second haplotype
};

// The sites whose alleles consensus phasing settles.
std::vector<std::size_t> phased_sites(const result_inputs& run, bool all_sites) {
    return select_sites(run.sites, run.haps_interval(), [&](const snp& site) {
        return type_is_output(run, site) && site.type != run.plan.n_panels && (site.type > 1 || all_sites);
    });
}

// Whether the first allele of a heterozygote is 1, by the weights of (1, 0) and (0, 1); a tie is drawn.
bool first_allele_is_one(double weight10, double weight01) {
    const double sum = weight10 + weight01;
    const double p01 = sum > tie_tolerance ? weight01 / sum : 0.5;
    const double p10 = sum > tie_tolerance ? weight10 / sum : 0.5;
    if (std::abs(p01 - p10) >= tie_tolerance) return !(p01 > p10);
    return Random::RNG->Next() > 0.5;
}

void phase_against_known(study_phasing& phasing, bool by_samples, const person& who, std::size_t s) {
    const int genotype = phasing.consensus_genotype(who, s);
    if (genotype != 1) {
        phasing.set_alleles(who, s, genotype / 2, genotype / 2);
        return;
    }
    double weight10 = 0.0;
    double weight01 = 0.0;
    if (by_samples) {
        sampled_pair sampled;
        phasing.load_samples(who, s, sampled);
        weight10 = sampled.count().n10;
        weight01 = sampled.count().n01;
    } else {
        const auto [a, b] = phasing.allele_chances(who, s);
        weight10 = (1.0 - b) * a;
        weight01 = (1.0 - a) * b;
    }
    const bool one_first = first_allele_is_one(weight10, weight01);
    phasing.set_alleles(who, s, one_first ? 1 : 0, one_first ? 0 : 1);
}

// The last two heterozygotes of an individual that were phased by sums, as the frame of those that follow.
class summed_frame {
  public:
    summed_frame(const phase_sums* sums, double power) : sums_(sums), power_(power) {}

    // The heterozygote at a site, if it has sums. Sites ascend from call to call.
    std::optional<std::size_t> find(std::size_t s) {
        if (sums_ == nullptr) return std::nullopt;
        while (next_ < sums_->site.size() && sums_->site[next_] < s) ++next_;
        return next_ < sums_->site.size() && sums_->site[next_] == s ? std::optional(next_) : std::nullopt;
    }
    bool empty() const { return last_ == 0.0; }
    void append(int first_allele) {
        before_ = last_;
        last_ = first_allele == 1 ? 1.0 : -1.0;
    }
    // Of a heterozygote: the first allele that agrees best with the frame, and how sure it is as its phase
    // relative to the one before it.
    std::pair<int, double> phase(std::size_t het) const {
        const phase_lead lead = lead_of(*sums_, het, last_, before_);
        const bool one = lead.first_is_one();
        const double chance = 0.5 + 0.5 * (one ? lead.with_previous : -lead.with_previous);
        return {one ? 1 : 0, tempered(std::clamp(chance, 0.0, 1.0), power_)};
    }

  private:
    const phase_sums* sums_;
    double power_;
    std::size_t next_ = 0;
    double last_ = 0.0, before_ = 0.0;  // 1 where the first allele is 1, -1 where it is 0, 0 for none
};

// Phases the heterozygotes of one individual, each against the one before. Where there are sums, heterozygotes that
// have none (genotypes that were missing) stand by themselves against the last one that has.
class pairwise_phasing {
  public:
    pairwise_phasing(study_phasing& phasing, phase_confidences& confidences, const person& who, std::size_t slot)
        : phasing_(phasing),
          confidences_(confidences),
          who_(who),
          slot_(slot),
          frame_(phasing.sums_of(who), phasing.power()) {}

    void visit(std::size_t s) {
        const int genotype = phasing_.consensus_genotype(who_, s);
        if (genotype != 1) {
            phasing_.set_alleles(who_, s, genotype / 2, genotype / 2);
            return;  // without a phase call
        }
        phasing_.load_samples(who_, s, current_);
        const std::optional<std::size_t> summed = frame_.find(s);
        const int carried = carried_;
        if (summed && !frame_.empty()) {
            const auto [allele, confidence] = frame_.phase(*summed);
            settle(s, allele, confidence);
        } else if (first_) {
            settle(s, 0, 1.0);
        } else {
            follow_previous(s);
        }
        first_ = false;
        if (summed) {
            frame_.append(settled_);
            carried_ = settled_;
        } else if (!frame_.empty()) {
            carried_ = carried;
            return;
        }
        std::swap(previous_, current_);
    }

  private:
    void settle(std::size_t s, int first_allele, double confidence) {
        phasing_.set_alleles(who_, s, first_allele, 1 - first_allele);
        confidences_[s][slot_] = confidence;
        settled_ = first_allele;
    }

    void follow_previous(std::size_t s) {
        int same = 0;
        int opposite = 0;
        for (std::size_t w = 0; w < current_.words[0].size(); ++w) {
            const std::uint64_t both_het =
                (previous_.words[0][w] ^ previous_.words[1][w]) & (current_.words[0][w] ^ current_.words[1][w]);
            const std::uint64_t differ = previous_.words[0][w] ^ current_.words[0][w];
            same += std::popcount(both_het & ~differ);
            opposite += std::popcount(both_het & differ);
        }
        if (same == opposite) {  // drawn, and of no bearing on the sites that follow
            settle(s, Random::RNG->Next() > 0.5 ? 1 : 0, 0.5);
            return;
        }
        if (opposite > same) carried_ = 1 - carried_;
        settle(s, carried_, static_cast<double>(std::max(same, opposite)) / (same + opposite));
    }

    study_phasing& phasing_;
    phase_confidences& confidences_;
    const person& who_;
    std::size_t slot_;
    bool first_ = true;
    int carried_ = 0;  // first allele at the last heterozygote that the iterations settled
    int settled_ = 0;  // first allele at the last heterozygote
    sampled_pair previous_, current_;
    summed_frame frame_;
};

}  // namespace

void phase_fixed(const result_inputs& run, packed_haplotypes& haps, sample_bits& samples) {
    if (!run.any_has_known_haps()) return;
    run.log.stage("-generating consensus haplotype estimates (relative to fixed input haps)");
    const bool by_samples = run.params.mc_impute;
    if (run.plan.tmp_haps && by_samples) load_temporary_haplotypes(run, samples);
    study_phasing phasing(run, haps, samples, sum_reader::order::site_by_site);
    const std::vector<person> people = study_people(run);
    for (const std::size_t s : phased_sites(run, by_samples || run.all_have_known_haps())) {
        const snp& site = *run.sites.in_order[s];
        for (const person& who : people) {
            if (who.known && !site.phase_known(who.index)) phase_against_known(phasing, by_samples, who, s);
        }
    }
}

phase_confidences phase_pairwise(const result_inputs& run, packed_haplotypes& haps, sample_bits& samples) {
    if (run.all_have_known_haps()) return {};
    run.log.stage("-generating consensus haplotype estimates (minimizing switch error)");
    if (run.plan.tmp_haps) load_temporary_haplotypes(run, samples);
    study_phasing phasing(run, haps, samples, sum_reader::order::row_by_row);
    const std::vector<person> people = study_people(run);
    const std::vector<std::size_t> phased = phased_sites(run, run.params.mc_impute);
    const auto n_unknown = static_cast<std::size_t>(
        std::count_if(people.begin(), people.end(), [](const person& who) { return !who.known; }));
    phase_confidences confidences(run.sites.size());
    for (const std::size_t s : phased) confidences[s].assign(n_unknown, no_phase_call);
    std::size_t slot = 0;
    for (const person& who : people) {
        if (who.known) continue;
        pairwise_phasing person_phasing(phasing, confidences, who, slot++);
        for (const std::size_t s : phased) person_phasing.visit(s);
    }
    return confidences;
}
