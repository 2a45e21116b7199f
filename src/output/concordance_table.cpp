#include "output/concordance_table.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <sstream>

#include "io/text.h"
#include "output/posterior_genotypes.h"
#include "output/site_columns.h"

namespace {

constexpr std::size_t n_bins = 10;
constexpr std::size_t fewest_judged = 100;  // masked genotypes: fewer may look poor by chance

// Masked genotypes by the largest imputed probability, in bins of width 0.1.
struct concordance_bins {
    std::array<std::size_t, n_bins> n_in_bin{}, n_concordant_in_bin{};
    std::size_t total = 0, n_concordant = 0;
    std::size_t n_guessed = 0;  // by the frequency of the reference alone

    void add(const genotype_triple& p, std::uint8_t genotype, bool haploid) {
        const double largest = p[most_likely(p)];
        const double place = largest * 10.0;
        const std::size_t b = place >= n_bins - 1 ? n_bins - 1 : place > 0.0 ? static_cast<std::size_t>(place) : 0;
        ++n_in_bin[b];
        ++total;
        if (called_genotype(p, haploid) == (haploid ? genotype / 2 : genotype)) {
            ++n_concordant_in_bin[b];
            ++n_concordant;
        }
    }
};

using table_pair = std::array<concordance_bins, 2>;

// The genotype that random mating makes most likely at a frequency of allele 1.
std::uint8_t guess(double frequency, bool haploid) {
    const double p = frequency, q = 1.0 - frequency;
    if (haploid) return p > q ? 2 : 0;
    if (2.0 * p * q >= std::max(p * p, q * q)) return 1;
    return p > q ? 2 : 0;
}

void count_site(const snp& site, genotype_block& genotypes, std::size_t j, concordance_bins& bins) {
    const std::span<const genotype_triple> triples = genotypes.triples(j);
    const double frequency = site.labels[site.has_labels(0) ? 0 : 1].freq;
    for (std::size_t i = 0; i < triples.size(); ++i) {
        const std::uint8_t genotype = study_genotype(site, i);
        if (genotype == missing_genotype) continue;
        bins.add(triples[i], genotype, genotypes.is_haploid(i));
        bins.n_guessed += genotype == guess(frequency, genotypes.is_haploid(i)) ? 1 : 0;
    }
}

// By reference set.
table_pair count_concordance(const result_inputs& run) {
    table_pair tables;
    const auto typed = select_sites(run.sites, run.output_interval(),
                                    [](const snp& site) { return site.type == 2 && !site.panel1_placeholder; });
    for (std::size_t set = 0; set < 2; ++set) {
        if (!run.plan.output_types[set]) continue;
        genotype_block genotypes(run, masked_source(set));
        visit_blocks(typed, [&](std::span<const std::size_t> block) {
            genotypes.load(block);
            for (std::size_t j = 0; j < block.size(); ++j) {
                count_site(*run.sites.in_order[block[j]], genotypes, j, tables[set]);
            }
        });
    }
    return tables;
}

void print_introduction(const result_inputs& run, std::size_t n_evaluated) {
    run_log& log = run.log;
    const bool both = run.plan.output_types[0] && run.plan.output_types[1];
    const char* plural = both ? "s" : "";
    log.header("--------------------------------", " Imputation accuracy assessment ");
    log.line("");
    log.line(
        concat("The table", plural, " below ", both ? "are" : "is",
               " based on an internal cross-validation that is performed during each ORVIDE2 run. For this analysis, "
               "the program masks the genotypes of one variant at a time in the study data (Panel 2) and imputes the "
               "masked genotypes by using the remaining study and reference data. The imputed genotypes are then "
               "compared with the original genotypes to produce the concordance statistics shown in the table",
               plural, ". You can learn more about this procedure and the contents of the table at docs/accuracy.md."));
    log.line("");
    log.line(concat("In the current analysis, ORVIDE2 masked, imputed, and evaluated ", n_evaluated,
                    " genotypes that were called with high confidence (maximum probability >= ",
                    fixed_text(run.params.call_thresh, 3), ") in the Panel 2 input file (-g or -known_haps_g)."));
}

// count out of n as a percentage with one decimal; a quotient 0/0 is spelt as the platform prints it, by either sign.
std::string percent_called(std::size_t count, std::size_t n) {
    return n == 0 ? "-nan" : fixed_text(static_cast<double>(count) * 100.0 / static_cast<double>(n), 1);
}
std::string percent_concordant(std::size_t n_concordant, std::size_t n) {
    const double rate = n > 0 ? static_cast<double>(n_concordant) / static_cast<double>(n) : 0.0;
    return fixed_text(rate * 100.0, 1);
}

void print_table(run_log& log, const concordance_bins& bins) {
    std::array<std::size_t, n_bins> n_at_least = bins.n_in_bin;
    std::array<std::size_t, n_bins> n_concordant_at_least = bins.n_concordant_in_bin;
    for (std::size_t b = n_bins - 1; b-- > 0;) {
        n_at_least[b] += n_at_least[b + 1];
        n_concordant_at_least[b] += n_concordant_at_least[b + 1];
    }
    log.line("  Interval  #Genotypes %Concordance         Interval  %Called %Concordance");
    for (std::size_t b = 0; b < n_bins; ++b) {
        const std::string from = fixed_text(static_cast<double>(b) * 0.1, 1);
        const std::string to = fixed_text(static_cast<double>(b + 1) * 0.1, 1);
        std::ostringstream line;
        line << "  [" << from << "-" << to << "] " << std::setw(10) << bins.n_in_bin[b] << "     " << std::setw(8)
             << percent_concordant(bins.n_concordant_in_bin[b], bins.n_in_bin[b]) << "         [ >= " << from << "] "
             << std::setw(7) << percent_called(n_at_least[b], n_at_least[0]) << " " << std::setw(12)
             << percent_concordant(n_concordant_at_least[b], n_at_least[b]);
        log.line(line.str());
    }
}

// A table that is worse than no panel at all would be.
void warn_of_poor_table(const result_inputs& run, std::size_t set, const concordance_bins& bins) {
    if (bins.total < fewest_judged || bins.n_concordant >= bins.n_guessed) return;
    const auto percent = [&](std::size_t n) { return percent_concordant(n, bins.total); };
    const std::string text =
        concat("Of the masked genotypes ", percent(bins.n_concordant), " % are concordant when imputed from ",
               set == 0 ? "Panel 0" : "the reference", ", and ", percent(bins.n_guessed),
               " % would be when guessed from its allele frequencies alone. Reference and study do not fit each other: "
               "look at "
               "genome build, alleles, map and ancestry, and at the info measures, before using the results.");
    run.log.note(concat("warning: ", text));
    if (!run.params.strict) return;
    run.log.warn(concat("WARNING: ", text));
    run.log.line(concat("\nWARNING: ", text));
}

}  // namespace

void print_concordance_tables(const result_inputs& run) {
    if (run.params.mc_impute || (!run.plan.output_types[0] && !run.plan.output_types[1])) return;
    const table_pair tables = count_concordance(run);
    print_introduction(run, std::max(tables[0].total, tables[1].total));
    const bool two_panels = run.params.panel0_given() && run.params.panel1_given();
    for (std::size_t set = 0; set < 2; ++set) {
        const bool hidden = set == 0 && run.params.use_panel1_for_type0_imputation;
        if (!run.plan.output_types[set] || hidden) continue;
        const std::string panels = set == 1 && two_panels ? "s 0+1" : concat(" ", set);
        run.log.line("");
        run.log.line(concat("When the masked study genotypes were imputed with reference data from Panel", panels,
                            ", the concordance between original and imputed genotypes was as follows:"));
        run.log.line("");
        print_table(run.log, tables[set]);
        warn_of_poor_table(run, set, tables[set]);
    }
}
