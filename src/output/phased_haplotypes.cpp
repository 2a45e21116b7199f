#include "output/phased_haplotypes.h"

#include <array>

#include "output/posterior_genotypes.h"
#include "output/site_alleles.h"
#include "output/site_columns.h"

std::vector<std::size_t> haplotype_sites(const result_inputs& run) {
    const bool with_study_only = run.params.use_prephased_g || run.params.include_unphased_sites_in_output_haps;
    const bool with_imputed = run.params.mc_impute || run.all_have_known_haps();
    return select_sites(run.sites, run.haps_interval(), [&](const snp& site) {
        return type_is_output(run, site) && (site.type != run.plan.n_panels || with_study_only) &&
               (site.type > 1 || with_imputed);
    });
}

namespace {

void write_unphased(result_file& file, const snp& site, const std::vector<char>& haploid) {
    static constexpr std::array<const char*, 3> texts{" 0* 0*", " 0* 1*", " 1* 1*"};
    const bool unknown = site.gtype_probs[2].empty() && site.gtypes[2].empty();
    for (std::size_t i = 0; i < haploid.size(); ++i) {
        file.text(unknown ? " X* X*" : texts[most_likely(input_triple(site, i, haploid[i] != 0))]);
    }
}

void write_phased(result_file& file, const result_inputs& run, const snp& site, const std::uint64_t* alleles,
                  const std::vector<char>& haploid) {
    // A site outside the models may have alleles that nobody knows.
    const auto digit = [&](std::size_t hap) {
        const bool unknown = !site.haps[2].empty() && site.haps[2][hap] == missing_allele;
        return unknown ? '?' : allele_digit(alleles, hap);
    };
    for (std::size_t i = 0; i < haploid.size(); ++i) {
        const std::size_t first = run.panels[2].first_hap(i);
        file.character(' ');
        file.character(digit(first));
        if (run.params.haploid_g) continue;
        file.character(' ');
        file.character(haploid[i] != 0 ? '-' : digit(first + 1));
    }
}

}  // namespace

void write_phased_haplotypes(const result_inputs& run) {
    result_file file(run.log, run.name("_haps"), run.params.o_gz);
    site_alleles alleles(run.panels[2].haps);
    const std::vector<char> haploid = run.haploid_study();
    for (const std::size_t s : haplotype_sites(run)) {
        const snp& site = *run.sites.in_order[s];
        write_site_columns(file, run, s);
        if (site.type == run.plan.n_panels && !run.params.use_prephased_g) {
            write_unphased(file, site, haploid);
        } else {
            write_phased(file, run, site, alleles.row(s), haploid);
        }
        file.end_line();
    }
}
