#include "output/genotype_counts.h"

#include <unordered_set>

#include "io/text.h"
#include "output/site_columns.h"
#include "output/sum_block.h"

namespace {

// The sites of the count files: all that take part, or those at the listed positions.
std::vector<std::size_t> counted_sites(const result_inputs& run) {
    const bool all = !is_given(run.params.intermed_posns_file);
    const std::unordered_set<long> listed(run.plan.intermed_posns.begin(), run.plan.intermed_posns.end());
    auto selected = select_sites(run.sites, run.output_interval(),
                                 [&run](const snp& site) { return site.type != run.plan.n_panels; });
    if (!all) std::erase_if(selected, [&](std::size_t s) { return !listed.contains(run.sites.positions[s]); });
    return selected;
}

// One line per site: gather(sums, rows, block) fetches the sums of a block, print(file, one, two) writes what stands
// for an individual.
template <typename Gather, typename Print>
void write_counts(const result_inputs& run, const std::string& name, Gather gather, Print print) {
    result_file file(run.log, run.name(name), run.params.o_gz);
    const row_range study{0, run.n_study()};
    const std::vector<std::size_t> selected = counted_sites(run);
    sum_block sums;
    visit_blocks(selected, [&](std::span<const std::size_t> block) {
        gather(sums, study, block);
        for (std::size_t j = 0; j < block.size(); ++j) {
            write_site_columns(file, run, block[j]);
            for (std::size_t i = 0; i < study.n; ++i) print(file, sums.one(j, i), sums.two(j, i));
            file.end_line();
        }
    });
}

}  // namespace

void write_genotype_counts(const result_inputs& run, int iter, std::size_t count) {
    const auto gather = [&run](sum_block& sums, row_range rows, std::span<const std::size_t> block) {
        if (run.params.mc_impute) {
            sums.gather(run, rows, block);
        } else {  // the integer counters are those of sampled genotypes, and nothing was counted
            sums.gather(std::array<sum_table, 2>{}, rows, block);
        }
    };
    const auto print = [count](result_file& file, double one, double two) {
        const auto n1 = static_cast<long>(one);
        const auto n2 = static_cast<long>(two);
        for (const long n : {static_cast<long>(count) - n1 - n2, n1, n2}) {
            file.character(' ');
            file.integer(n);
        }
    };
    write_counts(run, concat("_gtcounts_iter", iter + 1), gather, print);
}

void write_genotype_sums(const result_inputs& run, int iter, std::size_t count) {
    const auto gather = [&run](sum_block& sums, row_range rows, std::span<const std::size_t> block) {
        sums.gather(run.acc.gtype_acc, rows, block);
    };
    const auto print = [count](result_file& file, double one, double two) {
        for (const double sum : {static_cast<double>(count) - one - two, one, two}) {
            file.character(' ');
            file.number(sum);
        }
    };
    write_counts(run, concat("_gtcounts_wt_iter", iter + 1), gather, print);
}
