// The consensus haplotypes and the confidence in their phase.

#include "output/output_common.h"
#include "output/results.h"

namespace {

constexpr double no_call = -1e-10;  // a certainty below this says that the site has no phase

std::vector<std::size_t> haplotype_sites(const data& run) {
    const bool with_study_only = run.params.use_prephased_g || run.params.include_unphased_sites_in_output_haps;
    const bool with_imputed = run.params.mc_impute || all_have_known_haps(run);
    return select_sites(run, run.haps_interval(), [&](const snp& site) {
        return type_is_output(run, site) && (site.type != run.plan.n_panels || with_study_only) &&
               (site.type > 1 || with_imputed);
    });
}

void write_unphased(result_file& file, const snp& site, std::size_t n_individuals) {
    static constexpr std::array<const char*, 3> texts{" 0* 0*", " 0* 1*", " 1* 1*"};
    for (std::size_t i = 0; i < n_individuals; ++i) {
        const bool unknown = site.gtype_probs[2].empty();
        file.text(unknown ? " X* X*" : texts[static_cast<std::size_t>(most_likely(input_triple(site, i)))]);
    }
}

void write_phased(result_file& file, const data& run, const snp& site, const std::uint64_t* alleles,
                  const std::vector<char>& haploid) {
    // A site outside the models may have alleles that nobody knows.
    const auto digit = [&](std::size_t hap) {
        const bool unknown = !site.haps[2].empty() && site.haps[2][hap] == missing_allele;
        return unknown ? '?' : allele_digit(alleles, hap);
    };
    for (std::size_t i = 0; i < haploid.size(); ++i) {
        const auto first = static_cast<std::size_t>(run.panels[2].first_hap(static_cast<int>(i)));
        file.character(' ');
        file.character(digit(first));
        if (run.params.haploid_g) continue;
        file.character(' ');
        file.character(haploid[i] != 0 ? '-' : digit(first + 1));
    }
}

}  // namespace

void output_phased_haps(data& run) {
    result_file file(run.log, output_name(run, "_haps"), run.params.o_gz);
    site_alleles alleles(run.panels[2].haps);
    const std::vector<char> haploid = haploid_individuals(run, 2);
    for (const std::size_t s : haplotype_sites(run)) {
        const snp& site = *run.sites.in_order[s];
        write_site_columns(file, site, run.sites.positions[s], output_labels(run, site, site.type));
        if (site.type == run.plan.n_panels && !run.params.use_prephased_g) {
            write_unphased(file, site, haploid.size());
        } else {
            write_phased(file, run, site, alleles.row(s), haploid);
        }
        file.end_line();
    }
}

void output_pairwise_certainties(data& run) {
    if (!run.params.phase || all_have_known_haps(run)) return;
    result_file file(run.log, output_name(run, "_haps_confidence"), run.params.o_gz);
    const double low = smallest_printed(run.params.outdp);
    for (const std::size_t s : haplotype_sites(run)) {
        const snp& site = *run.sites.in_order[s];
        write_site_columns(file, site, run.sites.positions[s], output_labels(run, site, site.type));
        std::size_t slot = 0;
        for (const bool known : run.panels[2].ordered) {
            file.character(' ');
            if (known) {
                file.character('-');
                continue;
            }
            const double certainty = site.type == run.plan.n_panels ? -1.0 : run.pairwise_certainty[s][slot];
            ++slot;
            if (certainty < no_call) {
                file.character('*');
            } else {
                file.probability(certainty, run.params.outdp, low);
            }
        }
        file.end_line();
    }
}
