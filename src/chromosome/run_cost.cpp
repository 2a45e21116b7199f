#include "chromosome/run_cost.h"

namespace {

// Fitted to runs on simulated data, so that memory is rather too high than too low; docs/whole_chromosomes.md has the
// runs.
constexpr double seconds_a_panel_allele = 7e-9;         // reading
constexpr double seconds_a_phased_genotype = 4.5e-5;    // 30 iterations, 80 states
constexpr double seconds_an_imputed_genotype = 1e-6;    // one iteration, 500 states, and writing
constexpr double megabytes_of_program = 30.0;           // with what reading and writing VCF take
constexpr double megabytes_a_panel_allele = 3.0 / 8e6;  // a bit, its classes, and room to read
constexpr double megabytes_an_imputed_genotype = 30e-6;
constexpr double megabytes_a_phased_genotype = 50e-6;

double product(std::size_t a, std::size_t b) {
    return static_cast<double>(a) * static_cast<double>(b);
}

}  // namespace

run_cost phasing_cost(const run_size& size) {
    const double genotypes = product(size.people, size.typed);
    return {seconds_a_panel_allele * product(size.haplotypes, size.sites) + seconds_a_phased_genotype * genotypes,
            megabytes_of_program + megabytes_a_panel_allele * product(size.haplotypes, size.typed) +
                megabytes_a_phased_genotype * genotypes};
}

run_cost imputation_cost(const run_size& size) {
    const double genotypes = product(size.people, size.sites);
    return {seconds_a_panel_allele * product(size.haplotypes, size.sites) + seconds_an_imputed_genotype * genotypes,
            megabytes_of_program + megabytes_a_panel_allele * product(size.haplotypes, size.sites) +
                megabytes_an_imputed_genotype * genotypes};
}
