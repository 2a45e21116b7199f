#include "output/comparison.h"

#include <algorithm>
#include <cmath>

#include "model/snp.h"

void comparison::add(const genotype_triple& imputed, std::uint8_t genotype, bool haploid) {
    if (genotype == missing_genotype) return;
    const int truth = haploid ? genotype / 2 : genotype;
    if (called_genotype(imputed, haploid) == truth) ++n_concordant_;
    dosages_.push_back(dosage(imputed, haploid));
    truths_.push_back(truth);
}

void comparison::clear() {
    n_concordant_ = 0;
    dosages_.clear();
    truths_.clear();
}

accuracy comparison::result() const {
    if (compared() == 0) return {};
    return {static_cast<double>(n_concordant_) / static_cast<double>(compared()), r2()};
}

namespace {

constexpr double comparison_tolerance = 1e-10;

bool constant(const std::vector<double>& values) {
    return std::all_of(values.begin(), values.end(),
                       [&values](double value) { return std::abs(value - values.front()) < comparison_tolerance; });
}

double mean_of(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) sum += value;
    return sum / static_cast<double>(values.size());
}

double deviation_of(const std::vector<double>& values, double mean) {
    double squares = 0.0;
    for (const double value : values) squares += (value - mean) * (value - mean);
    return std::sqrt(squares / static_cast<double>(values.size() - 1));
}

}  // namespace

double comparison::r2() const {
    if (constant(dosages_) || constant(truths_)) return -1.0;
    const double mean_x = mean_of(dosages_);
    const double mean_t = mean_of(truths_);
    const double sd_x = deviation_of(dosages_, mean_x);
    const double sd_t = deviation_of(truths_, mean_t);
    double sum = 0.0;
    for (std::size_t i = 0; i < dosages_.size(); ++i) {
        sum += ((dosages_[i] - mean_x) / sd_x) * ((truths_[i] - mean_t) / sd_t);
    }
    const double r = sum / static_cast<double>(dosages_.size() - 1);
    return r * r;
}
