#include "output/info_by_sample.h"

#include <array>

#include "io/text.h"
#include "output/site_columns.h"
#include "output/site_quality.h"

namespace {

// A pair of columns: concordance and squared correlation of the triples of one source.
struct column_pair {
    const char* name;
    bool (*is_there)(const result_inputs& run);
    triple_source source;
};

constexpr std::array column_pairs{
    column_pair{"type2", [](const result_inputs& run) { return run.params.pgs; }, triple_source::posterior},
    column_pair{"type1", [](const result_inputs& run) { return is_selfchecked(run, 1); }, triple_source::masked_1},
    column_pair{"type0", [](const result_inputs& run) { return is_selfchecked(run, 0); }, triple_source::masked_0},
};

void write_pair(result_file& file, const accuracy& figures) {
    write_figure(file, figures.concordance);
    file.character(' ');
    write_figure(file, figures.r2);
}

// Compares the individuals of a range along the typed sites; [individual of the range].
std::vector<accuracy> compare_individuals(const result_inputs& run, genotype_block& genotypes,
                                          std::span<const std::size_t> typed, row_range individuals) {
    std::vector<comparison> comparisons(individuals.n);
    visit_blocks(typed, [&](std::span<const std::size_t> block) {
        genotypes.load(block, individuals);
        for (std::size_t j = 0; j < block.size(); ++j) {
            const snp& site = *run.sites.in_order[block[j]];
            const std::span<const genotype_triple> triples = genotypes.triples(j);
            for (std::size_t k = 0; k < individuals.n; ++k) {
                const std::size_t i = individuals.first + k;
                comparisons[k].add(triples[k], study_genotype(site, i), genotypes.is_haploid(i));
            }
        }
    });
    std::vector<accuracy> results;
    results.reserve(individuals.n);
    for (const comparison& one : comparisons) results.push_back(one.result());
    return results;
}

}  // namespace

void write_info_by_sample(const result_inputs& run) {
    if (run.params.mc_impute) return;
    result_file file(run.log, run.params.i_file + "_by_sample", false);
    std::vector<genotype_block> sources;
    for (const column_pair& pair : column_pairs) {
        if (!pair.is_there(run)) continue;
        file.text(concat(sources.empty() ? "" : " ", "concord_", pair.name, " r2_", pair.name));
        sources.emplace_back(run, pair.source);
    }
    file.end_line();
    if (sources.empty()) return;

    const auto typed = select_sites(run.sites, run.output_interval(), [](const snp& site) { return site.type == 2; });
    // Individuals are taken by the dozens: their dosages at all sites are held at once.
    constexpr std::size_t group = 64;
    for (std::size_t first = 0; first < run.n_study(); first += group) {
        const row_range individuals{first, std::min(group, run.n_study() - first)};
        std::vector<std::vector<accuracy>> results;  // [source][individual]
        for (genotype_block& source : sources) {
            results.push_back(compare_individuals(run, source, typed, individuals));
        }
        for (std::size_t k = 0; k < individuals.n; ++k) {
            for (std::size_t source = 0; source < results.size(); ++source) {
                if (source > 0) file.character(' ');
                write_pair(file, results[source][k]);
            }
            file.end_line();
        }
    }
}
