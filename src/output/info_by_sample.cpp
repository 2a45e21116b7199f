#include "output/info_by_sample.h"

#include <algorithm>
#include <array>
#include <memory>

#include "io/text.h"
#include "output/site_columns.h"
#include "output/site_quality.h"
#include "threads/ordered_jobs.h"

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

void write_pair(result_text& lines, const accuracy& figures) {
    write_figure(lines, figures.concordance);
    lines.character(' ');
    write_figure(lines, figures.r2);
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

// Lines of individuals, with the columns of a run. It is used by one thread.
class individual_formatter {
  public:
    individual_formatter(const result_inputs& run, std::span<const std::size_t> typed) : run_(run), typed_(typed) {
        for (const column_pair& pair : column_pairs) {
            if (pair.is_there(run)) sources_.emplace_back(run, pair.source);
        }
    }

    void write(row_range individuals, result_text& lines) {
        std::vector<std::vector<accuracy>> results;  // [source][individual]
        results.reserve(sources_.size());
        for (genotype_block& source : sources_) {
            results.push_back(compare_individuals(run_, source, typed_, individuals));
        }
        for (std::size_t k = 0; k < individuals.n; ++k) {
            for (std::size_t source = 0; source < results.size(); ++source) {
                if (source > 0) lines.character(' ');
                write_pair(lines, results[source][k]);
            }
            lines.end_line();
        }
    }

  private:
    const result_inputs& run_;
    const std::span<const std::size_t> typed_;
    std::vector<genotype_block> sources_;
};

// False without a column.
bool write_head(const result_inputs& run, result_file& file) {
    bool any = false;
    for (const column_pair& pair : column_pairs) {
        if (!pair.is_there(run)) continue;
        file.text(concat(any ? " " : "", "concord_", pair.name, " r2_", pair.name));
        any = true;
    }
    file.end_line();
    return any;
}

}  // namespace

void write_info_by_sample(const result_inputs& run) {
    if (run.params.mc_impute) return;
    result_file file(run.log, run.params.i_file + "_by_sample", false);
    if (!write_head(run, file)) return;
    const auto typed = select_sites(run.sites, run.output_interval(), [](const snp& site) { return site.type == 2; });
    // Individuals are taken by the dozens: their dosages at all sites are held at once.
    constexpr std::size_t group = 64;
    std::vector<std::unique_ptr<individual_formatter>> formatters(run.workers.size());
    const auto make = [&](std::size_t worker, std::size_t i, result_text& lines) {
        std::unique_ptr<individual_formatter>& formatter = formatters[worker];
        if (!formatter) formatter = std::make_unique<individual_formatter>(run, typed);
        formatter->write({i * group, std::min(group, run.n_study() - i * group)}, lines);
    };
    make_in_order<result_text>(run.workers, (run.n_study() + group - 1) / group, make,
                               [&file](const result_text& lines) { file.append(lines.view()); });
}
