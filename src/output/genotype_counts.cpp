// Genotype counts and sums of the stored iterations so far, a file per iteration.

#include <unordered_set>

#include "model/text.h"
#include "output/output_common.h"

namespace {

// The sites of the count files: all that take part, or those at the listed positions.
std::vector<std::size_t> counted_sites(const data& run) {
    const bool all = !is_given(run.params.intermed_posns_file);
    const std::unordered_set<long> listed(run.intermed_posns.begin(), run.intermed_posns.end());
    auto selected =
        select_sites(run, run.output_interval(), [&run](const snp& site) { return site.type != run.n_panels; });
    if (!all) std::erase_if(selected, [&](std::size_t s) { return !listed.contains(run.positions[s]); });
    return selected;
}

// One line per site; print(file, one, two) writes what stands for an individual, after a blank.
template <typename Print>
void write_counts(data& run, const std::string& name, const std::vector<std::size_t>& selected, bool sampled,
                  Print print) {
    result_file file(run.log, output_name(run, name), run.params.o_gz);
    const std::size_t n = n_study(run);
    sum_block sums;
    visit_blocks(selected, [&](std::span<const std::size_t> block) {
        if (sampled) {
            sums.gather(run, block);
        } else {
            sums.gather(run.acc.gtype_acc, n, block);
        }
        for (std::size_t j = 0; j < block.size(); ++j) {
            const snp& site = *run.sites[block[j]];
            write_site_columns(file, site, run.positions[block[j]], output_labels(run, site, site.type));
            for (std::size_t i = 0; i < n; ++i) print(file, sums.one(j, i), sums.two(j, i));
            file.end_line();
        }
    });
}

}  // namespace

void data::output_current_gtype_counts(int iter, int count) {
    // The integer counters are those of sampled genotypes; a run that samples none has counted none.
    const auto print = [this, count](result_file& file, double one, double two) {
        const long n1 = params.mc_impute ? static_cast<long>(one) : 0;
        const long n2 = params.mc_impute ? static_cast<long>(two) : 0;
        for (const long n : {count - n1 - n2, n1, n2}) {
            file.character(' ');
            file.integer(n);
        }
    };
    write_counts(*this, concat("_gtcounts_iter", iter + 1), counted_sites(*this), true, print);
}

void data::output_current_gtype_counts_wt(int iter, int count) {
    const auto print = [count](result_file& file, double one, double two) {
        for (const double sum : {count - one - two, one, two}) {
            file.character(' ');
            file.number(sum);
        }
    };
    write_counts(*this, concat("_gtcounts_wt_iter", iter + 1), counted_sites(*this), false, print);
}
