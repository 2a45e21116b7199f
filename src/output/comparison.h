#pragma once

// Imputed genotypes beside the genotypes of the study: concordance and squared correlation.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "io/result_file.h"
#include "output/genotype_triple.h"

// Undefined where nothing was compared.
struct accuracy {
    std::optional<double> concordance;  // share of calls that equal the genotype
    std::optional<double> r2;           // squared correlation of dosage and genotype; -1.0 if one of them is constant
};

// The genotypes of one site, or of one individual, beside what was imputed for them.
class comparison {
  public:
    // Takes a genotype (as it is stored) and the triple imputed for it; a missing genotype is passed over.
    void add(const genotype_triple& imputed, std::uint8_t genotype, bool haploid);
    void clear();
    std::size_t compared() const { return dosages_.size(); }
    accuracy result() const;

  private:
    double r2() const;

    std::size_t n_concordant_ = 0;
    std::vector<double> dosages_;
    std::vector<double> truths_;
};

// A quality figure with 3 decimals; -1 when it is undefined.
inline void write_figure(result_text& file, const std::optional<double>& figure) {
    if (figure) {
        file.fixed(*figure, 3);
    } else {
        file.text("-1");
    }
}
