#pragma once

// Lines of a result, formatted block by block of sites beside each other and written in their order.

#include <cstddef>
#include <deque>
#include <memory>
#include <span>
#include <vector>

#include "io/result_file.h"
#include "output/result_inputs.h"
#include "output/sum_block.h"
#include "threads/ordered_jobs.h"

// Formatter(run) is made once a thread; its write(sites, lines) fills the lines of a block, a result_text. It says
// nothing itself: a run_fault ends the run behind the lines that it has made.
template <typename Formatter>
void write_blocks(const result_inputs& run, result_file& file, std::span<const std::size_t> sites) {
    const std::size_t n_threads = run.workers.size(), most = n_threads == 1 ? 1 : 2 * n_threads;
    std::vector<std::unique_ptr<Formatter>> formatters(n_threads);
    std::deque<result_text> blocks;  // in the order of the jobs
    ordered_jobs jobs(run.workers);
    const auto write_first = [&] {
        try {
            jobs.take_first();
        } catch (const run_fault& fault) {
            file.append(blocks.front().view());
            run.log.fatal(fault.what());
        }
        file.append(blocks.front().view());
        blocks.pop_front();
    };
    visit_blocks(sites, [&](std::span<const std::size_t> block) {
        if (jobs.size() == most) write_first();
        result_text& lines = blocks.emplace_back();
        jobs.add([&run, &formatters, &lines, block](std::size_t worker) {
            std::unique_ptr<Formatter>& formatter = formatters[worker];
            if (!formatter) formatter = std::make_unique<Formatter>(run);
            formatter->write(block, lines);
        });
    });
    while (jobs.size() > 0) write_first();
}
