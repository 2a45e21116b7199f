#include "output/copy_probabilities.h"

#include "model/conditioning_states.h"
#include <vector>

#include "io/run_log.h"
#include "io/text.h"
#include "model/conditioning_states.h"

namespace {

// Chances by haplotype from the posteriors of the states that stand for them.
struct placed_states {
    std::vector<double> values;
    double sum = 0.0;
    std::size_t n_placed = 0;

    explicit placed_states(std::size_t n_haplotypes) : values(n_haplotypes, 0.0) {}
    void place(std::size_t haplotype, double posterior) {
        values[haplotype] = posterior;
        sum += posterior;
        ++n_placed;
    }
    // Makes the values sum to 1.
    void scale() {
        for (double& value : values) value /= sum;
    }
};

void check_count(run_log& log, const char* which, std::size_t n_placed, std::size_t n_expected) {
    if (n_placed == n_expected) return;
    log.fatal(concat("ERROR: In trying to print ", which, " copy probabilities, found ", n_placed,
                     " states when expecting ", n_expected, " states."));
}

}  // namespace

void output_ref_copy_probs(result_file& file, run_log& log, std::size_t individual, std::size_t strand, long position,
                           const conditioning_states& states, std::span<const double> posterior, std::size_t n_hap0,
                           std::size_t n_expected, int outdp) {
    placed_states placed(n_hap0);
    for (std::size_t k = 0; k < posterior.size(); ++k) {
        if (states.panel[k] == 0) placed.place(states.hap[k], posterior[k]);
    }
    check_count(log, "reference", placed.n_placed, n_expected);
    placed.scale();
    file.integer(static_cast<long>(2 * individual + strand));
    file.character(' ');
    file.integer(position);
    file.probabilities(placed.values, outdp, smallest_printed(outdp));
    file.end_line();
}

void output_all_copy_probs(result_file& file, run_log& log, std::size_t individual, long position,
                           std::size_t first_own, std::size_t n_own, const conditioning_states& states,
                           std::span<const double> posterior, const std::array<std::size_t, 3>& n_hap,
                           std::size_t n_expected, int outdp) {
    const std::array<std::size_t, 3> offset{0, n_hap[0], n_hap[0] + n_hap[1]};
    placed_states placed(offset[2] + n_hap[2]);
    for (std::size_t k = 0; k < posterior.size(); ++k) {
        placed.place(offset[states.panel[k]] + states.hap[k], posterior[k]);
    }
    check_count(log, "all", placed.n_placed, n_expected);
    placed.scale();
    const std::span<const double> values(placed.values);
    const std::size_t own_begin = offset[2] + first_own;
    const double low = smallest_printed(outdp);
    file.integer(static_cast<long>(individual));
    file.character('-');
    file.integer(position);
    file.probabilities(values.first(own_begin), outdp, low);
    file.probabilities(values.subspan(own_begin + n_own), outdp, low);
    file.end_line();
}
