#pragma once

// What the result writers share: labels and leading columns of a site, genotype probabilities from sums, comparisons.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "io/result_file.h"
#include "model/data.h"

// Chances of genotypes 0, 1 and 2.
using genotype_triple = std::array<double, 3>;

// --- names, sites and columns
// -----------------------------------------------------------------------------------------

// The -o name with an ending, and ".gz" behind it under -o_gz.
std::string output_name(const data& run, const std::string& ending);

// 10^-outdp, the end of the digit 0 in a file of probabilities.
double smallest_printed(int outdp);

// The labels under which a site of a type (0 to 3) is written: those of the lowest panel that such a site has.
const panel_labels& output_labels(const data& run, const snp& site, int type);

// SNP ID, rs ID, position and two labels, with blanks between and none after the last.
void write_site_columns(result_file& file, const snp& site, long position, const panel_labels& labels);

// The indices of the sites in an interval (base pairs, both ends included) for which wanted(site) holds.
template <typename Wanted>
std::vector<std::size_t> select_sites(const data& run, std::pair<long, long> interval, Wanted wanted) {
    std::vector<std::size_t> selected;
    const auto [first, last] = run.sites.range(interval);
    for (std::size_t s = first; s < last; ++s) {
        if (wanted(*run.sites.in_order[s])) selected.push_back(s);
    }
    return selected;
}

inline bool type_is_output(const data& run, const snp& site) {
    return run.plan.output_types[static_cast<std::size_t>(site.type)];
}

// Whether the input probabilities of a study site (type 2 or 3) are kept for the output.
inline bool keeps_input_probs(const data& run, const snp& site) {
    return run.params.store_input_probs[static_cast<std::size_t>(site.type - 2)];
}

// Number of study individuals in the run: all, or the first ones under -nind.
inline std::size_t n_study(const data& run) {
    const std::size_t n = run.panels[2].n_ind;
    return run.params.nind > 0 ? std::min(static_cast<std::size_t>(run.params.nind), n) : n;
}

// By individual of Panel 1 or 2: 1 if it has one haplotype only.
std::vector<char> haploid_individuals(const data& run, int panel);

// Whether every study individual has known haplotypes, or at least one has; true and false without individuals.
bool all_have_known_haps(const data& run);
bool any_has_known_haps(const data& run);

// The genotype of a study individual; missing where the run keeps no genotypes.
inline std::uint8_t study_genotype(const snp& site, std::size_t individual) {
    return site.gtypes[2].empty() ? missing_genotype : site.gtypes[2][individual];
}

// --- genotype probabilities
// -------------------------------------------------------------------------------------------

// The triple of the chances of genotypes 1 and 2; a haploid individual has no genotype 1.
inline genotype_triple triple_of(double one, double two, bool haploid) {
    const double p1 = haploid ? 0.0 : one;
    return {(1.0 - two) - p1, p1, two};
}

// The input probabilities of a study individual; zeros where none are kept.
genotype_triple input_triple(const snp& site, std::size_t individual);

// Index of the largest chance, the first of equals.
inline int most_likely(const genotype_triple& p) {
    return static_cast<int>(std::max_element(p.begin(), p.end()) - p.begin());
}

// The most likely genotype, as an allele for a haploid individual.
inline int called_genotype(const genotype_triple& p, bool haploid) {
    return haploid ? most_likely(p) / 2 : most_likely(p);
}

// Expected copies of allele 1.
inline double dosage(const genotype_triple& p, bool haploid) {
    return haploid ? p[2] : p[1] + 2.0 * p[2];
}

// Variance of the copies of allele 1.
inline double dosage_variance(const genotype_triple& p, bool haploid) {
    const double mean = dosage(p, haploid);
    return (haploid ? p[2] : p[1] + 4.0 * p[2]) - mean * mean;
}

// The entry of an individual in the sample tallies of a site: the individual, or, where only missing genotypes are
// counted, its rank among the individuals that miss theirs; -1 for one that does not.
int tally_entry(const data& run, const snp& site, std::size_t individual);
// Whether the tallies of a site run over its missing genotypes.
bool tallies_by_missing(const data& run, const snp& site);

// Sums of genotypes 1 and 2 of one individual at one site: gtype_acc, or the tallies under -mc_impute.
std::array<double, 2> genotype_sums(const data& run, std::size_t site, std::size_t individual);

// The same sums for all rows at a block of sites. The tables run along the sites of a row, so that reading them site by
// site would miss the cache at every value; a block takes whole cache lines.
class sum_block {
  public:
    static constexpr std::size_t max_sites = 16;
    // From given tables; rows 0 to n_rows - 1.
    void gather(const std::array<sum_table, 2>& tables, std::size_t n_rows, std::span<const std::size_t> sites);
    // From gtype_acc or the tallies, by study individual.
    void gather(const data& run, std::span<const std::size_t> sites);
    // j counts the sites of the block.
    double one(std::size_t j, std::size_t row) const { return values_[0][j * n_rows_ + row]; }
    double two(std::size_t j, std::size_t row) const { return values_[1][j * n_rows_ + row]; }

  private:
    std::size_t n_rows_ = 0;
    std::array<std::vector<double>, 2> values_;  // [genotype 1, 2][site of the block * n_rows + row]
};

// Calls visit(block) for the sites in order, block by block.
template <typename Visit>
void visit_blocks(std::span<const std::size_t> sites, Visit visit) {
    for (std::size_t i = 0; i < sites.size(); i += sum_block::max_sites) {
        visit(sites.subspan(i, std::min(sum_block::max_sites, sites.size() - i)));
    }
}

// What the sums of a site are divided by: the individual's sum of weights at an imputed site of a weighted run, else
// the number of stored iterations.
class sum_divisor {
  public:
    sum_divisor(const data& run, const snp& site, bool imputed);
    // A run without iterations has no weights either.
    double operator[](std::size_t individual) const {
        return weights_ != nullptr && (*weights_)[individual] > 0.0 ? (*weights_)[individual] : count_;
    }

  private:
    const std::vector<double>* weights_ = nullptr;
    double count_;
};

// --- comparison with the study genotypes
// ------------------------------------------------------------------------------

// The genotypes of one site, or of one individual, beside what was imputed for them.
class comparison {
  public:
    // Takes a genotype (as it is stored) and the triple imputed for it; a missing genotype is passed over.
    void add(const genotype_triple& imputed, std::uint8_t genotype, bool haploid);
    void clear();
    std::size_t compared() const { return dosages_.size(); }
    // Share of calls that equal the genotype; undefined when nothing was compared.
    double concordance() const;
    // Squared correlation of dosage and genotype; -1.0 if one of the lists is constant.
    double r2() const;
    // The columns " concordance r2" with 3 decimals, each " -1" when nothing was compared; without the first blank if
    // told.
    void write(result_file& file, bool first_on_line = false) const;

  private:
    std::size_t n_concordant_ = 0;
    std::vector<double> dosages_;
    std::vector<double> truths_;
};

// --- haplotypes
// -------------------------------------------------------------------------------------------------------

// The current alleles of a panel site by site. The packed rows run along the sites, so that 64 sites are turned at
// once: ask for sites in order.
class site_alleles {
  public:
    explicit site_alleles(const packed_haplotypes& haps);
    // Bit h: the allele of haplotype h at the site. Valid until a site of another 64 is asked for.
    const std::uint64_t* row(std::size_t site);

  private:
    void load(std::size_t site_word);

    const packed_haplotypes& haps_;
    std::size_t hap_words_;
    std::size_t loaded_word_;
    std::vector<std::uint64_t> rows_;  // [site of 64][hap_words]
};

inline char allele_digit(const std::uint64_t* row, std::size_t hap) {
    return bits::get(row, hap) ? '1' : '0';
}
