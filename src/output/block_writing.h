#pragma once

// Lines of a result, formatted beside each other, by stretches of sites, and written in their order.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "io/result_file.h"
#include "output/result_inputs.h"
#include "output/sum_block.h"
#include "threads/ordered_jobs.h"

// The sites of one job: a block, or, where others work beside, as many as are worth the handing over.
inline std::size_t sites_of_a_job(const result_inputs& run) {
    constexpr std::size_t enough = std::size_t{1} << 17U;  // genotypes
    const std::size_t wanted = run.workers.size() == 1 ? 1 : enough / std::max<std::size_t>(run.n_study(), 1);
    return std::clamp<std::size_t>(wanted / sum_block::max_sites, 1, 64) * sum_block::max_sites;
}

// What a job makes, up to the fault that ends the run behind it, if there is one.
template <typename Text>
struct made_block {
    Text text;
    std::optional<std::string> fault;
};

// new_formatter() makes one for each thread, as a pointer that owns it; its write(block, text) adds what is written of
// at most sum_block::max_sites sites, and says nothing itself: a run_fault ends the run when take(text) has got what
// was made before it. The texts come in the order of the sites.
template <typename Text, typename New, typename Take>
void make_blocks(const result_inputs& run, std::span<const std::size_t> sites, const New& new_formatter,
                 const Take& take) {
    std::vector<decltype(new_formatter())> formatters(run.workers.size());
    const std::size_t step = sites_of_a_job(run);
    const auto make = [&](std::size_t worker, std::size_t i, made_block<Text>& made) {
        auto& formatter = formatters[worker];
        if (!formatter) formatter = new_formatter();
        try {
            visit_blocks(sites.subspan(i * step, std::min(step, sites.size() - i * step)),
                         [&](std::span<const std::size_t> block) { formatter->write(block, made.text); });
        } catch (const run_fault& fault) {
            made.fault = fault.what();
        }
    };
    make_in_order<made_block<Text>>(run.workers, (sites.size() + step - 1) / step, make, [&](made_block<Text>& made) {
        take(made.text);
        if (made.fault) run.log.fatal(*made.fault);
    });
}

// Formatter(run) makes a formatter of lines, which adds them to a result_text.
template <typename Formatter>
void write_blocks(const result_inputs& run, result_file& file, std::span<const std::size_t> sites) {
    make_blocks<result_text>(
        run, sites, [&run] { return std::make_unique<Formatter>(run); },
        [&file](const result_text& lines) { file.append(lines.view()); });
}
