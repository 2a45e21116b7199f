// One best pair of haplotypes per study individual, from the stored iterations.

#include "output/consensus_phasing.h"

#include <bit>
#include <cmath>
#include <limits>

#include "io/text.h"
#include "output/output_common.h"
#include "output/results.h"
#include "output/sampled_haplotypes.h"
#include "random/random.h"

namespace {

constexpr double tolerance = 1e-10;

}  // namespace

std::size_t which_max_idx(std::span<const double> probs) {
    std::vector<std::size_t> best;
    double largest = 0.0;
    for (std::size_t i = 0; i < probs.size(); ++i) {
        if (std::abs(probs[i] - largest) < tolerance) {
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
    if (known_haps && haploid && probs[1] > tolerance) {
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
    std::size_t known_slot;  // among the individuals with known haplotypes, if it is one of them
    std::size_t bits_slot;   // in the store of sampled alleles
    std::size_t first_hap;
    bool known;
    bool haploid;
};

std::vector<person> study_people(const data& run) {
    std::vector<person> people;
    std::size_t n_known = 0;
    for (std::size_t i = 0; i < n_study(run); ++i) {
        const bool known = run.panels[2].ordered[i];
        const int ind = static_cast<int>(i);
        people.push_back({i, n_known, run.params.mc_impute ? i : i - n_known,
                          static_cast<std::size_t>(run.panels[2].first_hap(ind)), known,
                          run.panels[2].is_haploid(ind)});
        if (known) ++n_known;
    }
    return people;
}

// The alleles that were sampled for one individual at one site: one bit per stored iteration.
struct sampled_pair {
    std::array<std::vector<std::uint64_t>, 2> words;

    void load(const data& run, const person& who, std::size_t s) {
        const std::size_t n = run.plan.stored_iters.size();
        for (int h = 0; h < 2; ++h) {
            auto& row = words[static_cast<std::size_t>(h)];
            row.assign(bits::words_for(n), 0);
            if (!run.acc.mcmc_bits.has(s)) continue;
            for (std::size_t it = 0; it < n; ++it) {
                if (run.acc.mcmc_bits.get(who.bits_slot, h, s, it)) bits::set(row.data(), it, true);
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

// Chances of allele 1 on the two haplotypes of an individual with known haplotypes.
std::array<double, 2> allele_chances(const data& run, const person& who, std::size_t s) {
    const auto n = static_cast<double>(run.plan.stored_iters.size());
    return {run.acc.gtype_acc2[0].get(who.known_slot, s) / n, run.acc.gtype_acc2[1].get(who.known_slot, s) / n};
}

genotype_triple triple_of_samples(const data& run, const person& who, std::size_t s) {
    sampled_pair sampled;
    sampled.load(run, who, s);
    const sampled_pair::counts count = sampled.count();
    const auto n = static_cast<double>(run.plan.stored_iters.size());
    const int n1 = who.haploid ? 0 : count.n10 + count.n01;
    const int n2 = who.haploid ? count.n10 + count.n11 : count.n11;
    return {(n - n1 - n2) / n, n1 / n, n2 / n};
}

genotype_triple triple_of_person(const data& run, const person& who, std::size_t s) {
    const snp& site = *run.sites.in_order[s];
    const parameters& params = run.params;
    const bool imputed = site.top_panel < 2;
    if (imputed || params.pgs_miss || params.pgs || params.pgs_prob) {
        const std::array<double, 2> sums = genotype_sums(run, s, who.index);
        const double divisor = sum_divisor(run, site, imputed)[who.index];
        return triple_of(sums[0] / divisor, sums[1] / divisor, who.haploid);
    }
    if (!who.known || params.mc_impute) return triple_of_samples(run, who, s);
    const auto [a, b] = allele_chances(run, who, s);
    if (who.haploid) return {1.0 - a, 0.0, a};
    const double p0 = (1.0 - a) * (1.0 - b);
    const double p2 = a * b;
    return {p0, (1.0 - p2) - p0, p2};
}

// The study genotype where there is one, else the likeliest.
int consensus_genotype(data& run, const person& who, std::size_t s) {
    const snp& site = *run.sites.in_order[s];
    if (!run.params.prob_g && site.top_panel == run.plan.n_panels - 1) {
        const std::uint8_t genotype = study_genotype(site, who.index);
        if (genotype != missing_genotype) return genotype;
    }
    const genotype_triple probs = triple_of_person(run, who, s);
    check_phasing_probs(run.log, probs, who.index, run.sites.positions[s], who.known, who.haploid);
    return static_cast<int>(which_max_idx(probs));
}

void set_alleles(data& run, const person& who, std::size_t s, int first, int second) {
    run.panels[2].haps.set(who.first_hap, s, first);
    if (!who.haploid) run.panels[2].haps.set(who.first_hap + 1, s, second);
}

// The sites whose alleles consensus phasing settles.
std::vector<std::size_t> phased_sites(const data& run, bool all_sites) {
    return select_sites(run, run.haps_interval(), [&](const snp& site) {
        return type_is_output(run, site) && site.type != run.plan.n_panels && (site.type > 1 || all_sites);
    });
}

// Whether the first allele of a heterozygote is 1, by the weights of (1, 0) and (0, 1); a tie is drawn.
bool first_allele_is_one(double weight10, double weight01) {
    const double sum = weight10 + weight01;
    const double p01 = sum > tolerance ? weight01 / sum : 0.5;
    const double p10 = sum > tolerance ? weight10 / sum : 0.5;
    if (std::abs(p01 - p10) >= tolerance) return !(p01 > p10);
    return Random::RNG->Next() > 0.5;
}

void phase_against_known(data& run, const person& who, std::size_t s) {
    const int genotype = consensus_genotype(run, who, s);
    if (genotype != 1) {
        set_alleles(run, who, s, genotype / 2, genotype / 2);
        return;
    }
    double weight10 = 0.0;
    double weight01 = 0.0;
    if (run.params.mc_impute) {
        sampled_pair sampled;
        sampled.load(run, who, s);
        weight10 = sampled.count().n10;
        weight01 = sampled.count().n01;
    } else {
        const auto [a, b] = allele_chances(run, who, s);
        weight10 = (1.0 - b) * a;
        weight01 = (1.0 - a) * b;
    }
    const bool one_first = first_allele_is_one(weight10, weight01);
    set_alleles(run, who, s, one_first ? 1 : 0, one_first ? 0 : 1);
}

// Phases the heterozygotes of one individual, each against the one before.
class pairwise_phasing {
  public:
    pairwise_phasing(data& run, const person& who, std::size_t slot) : run_(run), who_(who), slot_(slot) {}

    void visit(std::size_t s) {
        const int genotype = consensus_genotype(run_, who_, s);
        if (genotype != 1) {
            set_alleles(run_, who_, s, genotype / 2, genotype / 2);
            return;  // the certainty stays -1.0
        }
        current_.load(run_, who_, s);
        if (first_) {
            settle(s, 0, 1.0);
        } else {
            follow_previous(s);
        }
        first_ = false;
        std::swap(previous_, current_);
    }

  private:
    void settle(std::size_t s, int first_allele, double certainty) {
        set_alleles(run_, who_, s, first_allele, 1 - first_allele);
        run_.pairwise_certainty[s][slot_] = certainty;
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

    data& run_;
    const person& who_;
    std::size_t slot_;
    bool first_ = true;
    int carried_ = 0;  // first allele at the last heterozygote that the iterations settled
    sampled_pair previous_, current_;
};

}  // namespace

void phase_fixed(data& run) {
    if (!any_has_known_haps(run)) return;
    run.log.stage("-generating consensus haplotype estimates (relative to fixed input haps)");
    if (run.plan.tmp_haps && run.params.mc_impute) load_tmp_haps(run);
    const std::vector<person> people = study_people(run);
    for (const std::size_t s : phased_sites(run, run.params.mc_impute || all_have_known_haps(run))) {
        for (const person& who : people) {
            if (who.known && !run.sites.in_order[s]->phase_known(who.index)) phase_against_known(run, who, s);
        }
    }
}

void phase_pairwise(data& run) {
    if (all_have_known_haps(run)) return;
    run.log.stage("-generating consensus haplotype estimates (minimizing switch error)");
    if (run.plan.tmp_haps) load_tmp_haps(run);
    const std::vector<person> people = study_people(run);
    const std::vector<std::size_t> phased = phased_sites(run, run.params.mc_impute);
    const auto n_unknown =
        static_cast<std::size_t>(std::count(run.panels[2].ordered.begin(), run.panels[2].ordered.end(), false));
    run.pairwise_certainty.assign(run.sites.in_order.size(), {});
    for (const std::size_t s : phased) run.pairwise_certainty[s].assign(n_unknown, -1.0);
    std::size_t slot = 0;
    for (const person& who : people) {
        if (who.known) continue;
        pairwise_phasing phasing(run, who, slot++);
        for (const std::size_t s : phased) phasing.visit(s);
    }
}
