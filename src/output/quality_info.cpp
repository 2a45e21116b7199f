// The quality files: a line per SNP, and a line per study individual.

#include <cmath>

#include "io/text.h"
#include "output/output_common.h"
#include "output/results.h"

namespace {

constexpr double tolerance = 1e-10;

// Expected allele frequency and information measure of one site.
class info_measure {
  public:
    void add(const genotype_triple& p, bool haploid) {
        dosages_ += dosage(p, haploid);
        variances_ += dosage_variance(p, haploid);
        alleles_ += haploid ? 1.0 : 2.0;
    }
    // Undefined without individuals, as is the measure.
    double frequency() const { return dosages_ / alleles_; }
    // 1 - the variance of the allele count over that of a draw from the frequency; 1 at a monomorphic site.
    double info() const {
        const double f = frequency();
        if (std::min(f, 1.0 - f) < tolerance) return 1.0;
        return 1.0 - variances_ / (alleles_ * f * (1.0 - f));
    }

  private:
    double dosages_ = 0.0, variances_ = 0.0, alleles_ = 0.0;
};

bool wants_posterior_columns(const data& run) {
    return run.params.snp_qc_info && run.params.pgs;
}

// The reference sets whose self-check results are written, in their order.
std::vector<std::size_t> selfcheck_sets(const data& run) {
    std::vector<std::size_t> sets;
    for (const std::size_t set : {std::size_t{1}, std::size_t{0}}) {
        if (!run.plan.selfcheck_iters.empty() && run.plan.output_types[set]) sets.push_back(set);
    }
    return sets;
}

// Whether the triples of a site are posterior chances, and whether it has triples at all.
bool has_posterior(const data& run, const snp& site) {
    return site.type < 2 || (site.type == run.plan.n_panels - 1 && (run.params.pgs || run.params.pgs_prob));
}
bool is_written(const data& run, const snp& site) {
    return site.type < 2 || run.params.pgs || run.params.pgs_prob || keeps_input_probs(run, site);
}

class snp_info_writer {
  public:
    snp_info_writer(data& run, result_file& file)
        : run_(run),
          file_(file),
          haploid_(haploid_individuals(run, 2)),
          sets_(run.params.snp_qc_info ? selfcheck_sets(run) : std::vector<std::size_t>{}) {}

    void write_head() {
        file_.text("snp_id rs_id position a0 a1 exp_freq_a1 info certainty type");
        if (wants_posterior_columns(run_)) file_.text(" concord_type2 r2_type2");
        for (const std::size_t set : sets_) {
            file_.text(concat(" info_type", set, " concord_type", set, " r2_type", set));
        }
        file_.end_line();
    }

    void write(std::span<const std::size_t> block) {
        sums_.gather(run_, block);
        for (const std::size_t set : sets_) set_sums_[set].gather(run_.acc.gtype_acc3[set], haploid_.size(), block);
        for (std::size_t j = 0; j < block.size(); ++j) write_line(j, block[j]);
    }

  private:
    void write_line(std::size_t j, std::size_t s) {
        const snp& site = *run_.sites.in_order[s];
        info_measure measure;
        double certainty_sum = 0.0;
        measure_site(j, s, measure, certainty_sum);
        write_site_columns(file_, site, run_.sites.positions[s], output_labels(run_, site, site.type));
        for (const double value :
             {measure.frequency(), measure.info(), certainty_sum / static_cast<double>(haploid_.size())}) {
            file_.character(' ');
            file_.fixed(value, 3);
        }
        file_.character(' ');
        file_.integer(site.type);
        if (wants_posterior_columns(run_)) write_posterior_columns(j, site);
        for (const std::size_t set : sets_) write_selfcheck_columns(j, site, set_sums_[set]);
        file_.end_line();
    }

    void measure_site(std::size_t j, std::size_t s, info_measure& measure, double& certainty_sum) {
        const snp& site = *run_.sites.in_order[s];
        const bool posterior = has_posterior(run_, site);
        if (!posterior && !keeps_input_probs(run_, site)) return;
        const sum_divisor divisor(run_, site, site.type < 2);
        for (std::size_t i = 0; i < haploid_.size(); ++i) {
            const bool haploid = haploid_[i] != 0;
            genotype_triple p = posterior
                                    ? triple_of(sums_.one(j, i) / divisor[i], sums_.two(j, i) / divisor[i], haploid)
                                    : input_triple(site, i);
            if (!posterior && haploid) make_haploid(p, site, run_.sites.positions[s]);
            certainty_sum += *std::max_element(p.begin(), p.end());
            const double total = p[0] + p[1] + p[2];
            for (double& value : p) value /= total;
            measure.add(p, haploid);
        }
    }

    // Leaves the two homozygotes, scaled to sum to 1; without any chance of either, the frequency stands in.
    void make_haploid(genotype_triple& p, const snp& site, long position) {
        const double sum = p[0] + p[2];
        p[1] = 0.0;
        if (sum > tolerance) {
            p[0] /= sum;
            p[2] /= sum;
            return;
        }
        const double freq = site.labels[2].freq;
        if (freq < -1e-10 || freq > 1.0000000001) {
            run_.log.fatal(concat("ERROR: Unexpected gens1 frequency of ", fixed_text(freq, 3), " at position ",
                                  position, ". Please contact the authors for assistance."));
        }
        p[0] = 1.0 - freq;
        p[2] = freq;
    }

    void write_posterior_columns(std::size_t j, const snp& site) {
        comparison_.clear();
        if (site.type == 2) {
            const auto n = static_cast<double>(run_.plan.stored_iters.size());
            for (std::size_t i = 0; i < haploid_.size(); ++i) {
                const bool haploid = haploid_[i] != 0;
                const genotype_triple p = triple_of(sums_.one(j, i) / n, sums_.two(j, i) / n, haploid);
                comparison_.add(p, study_genotype(site, i), haploid);
            }
        }
        comparison_.write(file_);
    }

    void write_selfcheck_columns(std::size_t j, const snp& site, const sum_block& sums) {
        if (site.type != 2) {
            file_.text(" -1 -1 -1");
            return;
        }
        const auto m = static_cast<double>(run_.plan.selfcheck_iters.size());
        info_measure measure;
        comparison_.clear();
        for (std::size_t i = 0; i < haploid_.size(); ++i) {
            const bool haploid = haploid_[i] != 0;
            const genotype_triple p = triple_of(sums.one(j, i) / m, sums.two(j, i) / m, haploid);
            comparison_.add(p, study_genotype(site, i), haploid);
            measure.add(p, haploid);
        }
        file_.character(' ');
        file_.fixed(measure.info(), 3);
        comparison_.write(file_);
    }

    data& run_;
    result_file& file_;
    std::vector<char> haploid_;
    std::vector<std::size_t> sets_;
    sum_block sums_;
    std::array<sum_block, 2> set_sums_;
    comparison comparison_;
};

// A pair of columns of the file by sample: where its triples come from and what they are divided by.
struct sample_source {
    const char* name;
    const std::array<sum_table, 2>* sums;
    double divisor;
};

std::vector<sample_source> sample_sources(const data& run) {
    std::vector<sample_source> sources;
    if (run.params.pgs)
        sources.push_back({"type2", &run.acc.gtype_acc, static_cast<double>(run.plan.stored_iters.size())});
    for (const std::size_t set : selfcheck_sets(run)) {
        const auto m = static_cast<double>(run.plan.selfcheck_iters.size());
        sources.push_back({set == 1 ? "type1" : "type0", &run.acc.gtype_acc3[set], m});
    }
    return sources;
}

void compare_individual(const data& run, const sample_source& source, std::size_t individual, std::size_t s,
                        bool haploid, comparison& result) {
    const std::uint8_t genotype = study_genotype(*run.sites.in_order[s], individual);
    if (genotype == missing_genotype) return;
    const double one = (*source.sums)[0].get(individual, s) / source.divisor;
    const double two = (*source.sums)[1].get(individual, s) / source.divisor;
    result.add(triple_of(one, two, haploid), genotype, haploid);
}

}  // namespace

void mcmc_info(data& run) {
    result_file file(run.log, run.params.i_file, false);
    snp_info_writer writer(run, file);
    writer.write_head();
    const auto selected = select_sites(run, run.output_interval(), [&run](const snp& site) {
        return type_is_output(run, site) && is_written(run, site);
    });
    visit_blocks(selected, [&writer](std::span<const std::size_t> block) { writer.write(block); });
}

void mcmc_info_by_sample(data& run) {
    if (run.params.mc_impute) return;
    result_file file(run.log, run.params.i_file + "_by_sample", false);
    const std::vector<sample_source> sources = sample_sources(run);
    for (std::size_t k = 0; k < sources.size(); ++k) {
        file.text(concat(k == 0 ? "" : " ", "concord_", sources[k].name, " r2_", sources[k].name));
    }
    file.end_line();
    if (sources.empty()) return;

    const auto typed = select_sites(run, run.output_interval(), [](const snp& site) { return site.type == 2; });
    const std::vector<char> haploid = haploid_individuals(run, 2);
    // Individuals are taken by the dozens, so that the genotypes of a site are read in runs.
    constexpr std::size_t group = 64;
    for (std::size_t first = 0; first < haploid.size(); first += group) {
        const std::size_t n = std::min(group, haploid.size() - first);
        std::vector<comparison> results(n * sources.size());
        for (const std::size_t s : typed) {
            for (std::size_t i = 0; i < n; ++i) {
                for (std::size_t k = 0; k < sources.size(); ++k) {
                    compare_individual(run, sources[k], first + i, s, haploid[first + i] != 0,
                                       results[i * sources.size() + k]);
                }
            }
        }
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t k = 0; k < sources.size(); ++k) results[i * sources.size() + k].write(file, k == 0);
            file.end_line();
        }
    }
}
