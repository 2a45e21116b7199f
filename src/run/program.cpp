#include "run/program.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <new>
#include <optional>
#include <ostream>

#include "io/output_lock.h"
#include "io/removal_list.h"
#include "io/text.h"
#include "model/data.h"
#include "random/random.h"
#include "run/command_line.h"
#include "run/driver.h"
#include "run/file_checks.h"
#include "run/file_names.h"
#include "run/help.h"
#include "run/older_results.h"

namespace {

bool acceptable_Ne(double Ne) {
    return Ne >= 0.0 && Ne <= 30000.0;
}

// The seed of the user, or one from the time.
int settle_seed(int seed) {
    if (seed != -1) return seed;
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    return std::rand();
}

void complete_names(parameters& params) {
    if (!is_given(params.i_file)) params.i_file = params.o_file + "_info";
    if (!is_given(params.r_file)) params.r_file = params.o_file + "_summary";
    if (!is_given(params.w_file)) params.w_file = params.o_file + "_warnings";
    if (!params.warn) params.w_file = "NULL";
}

void print_banner(run_log& log, const command_line& line) {
    log.line("");
    log.line("======================");
    log.line(concat(" ORVIDE version ", program_version, " "));
    log.line("======================");
    log.line("");
    log.line("Copyright (c) 2026 The ORVIDE developers");
    log.line("MIT License: free to use, copy, modify and share; no warranty of any kind.");
    log.line("");
    log.line(concat("The seed for the random number generator is ", line.params.seed, "."));
    log.line("");
    log.line(line.echo_text);
}

// Lists the faults of the command line; whether there were any.
bool report_faults(run_log& log, const command_line& line) {
    if (!line.unknown.empty()) {
        log.line("");
        log.line("ERROR: The following command-line options were not recognized:");
        for (std::size_t i = 0; i < line.unknown.size(); ++i) log.line(concat(i + 1, ". <", line.unknown[i], ">"));
        log.line("");
        for (const std::string& hint : line.unknown_hints) log.note(concat("note: ", hint));
    }
    if (!line.valueless.empty()) {
        log.line("");
        for (const std::string& name : line.valueless) {
            log.line(concat("ERROR: The command-line option ", name, " needs a value."));
        }
        log.line("");
    }
    return !line.unknown.empty() || !line.valueless.empty();
}

// Why the run must not begin, if it must not: it would overwrite data, or another run is at one of its outputs.
std::optional<std::string> find_refusal(const parameters& params, std::optional<output_locks>& locks) {
    std::optional<std::string> refusal = find_overwriting(params);
    if (refusal) return refusal;
    const std::vector<run_file> outputs = locked_names(params);
    std::vector<std::string> names(outputs.size());
    std::transform(outputs.begin(), outputs.end(), names.begin(), [](const run_file& output) { return output.name; });
    locks.emplace(names);
    if (!locks->refused()) return std::nullopt;
    const run_file& refused = outputs[*locks->refused()];
    return concat("ERROR: Another run is writing to [", refused.name,
                  "] now. Nothing has been written. Please wait for its end, or give another name with ",
                  refused.option, ".");
}

// What stands between a prepared run and its end; a failure that nobody foresaw ends as a fatal message.
void run_guarded(data& run) {
    try {
        impute(run);
    } catch (const run_end& end) {
        if (end.status == 0) remove_older_results(run.log, run.params, run.plan);
        throw;
    } catch (const run_fault& fault) {
        run.log.fatal(fault.what());
    } catch (const std::bad_alloc&) {
        run.log.fatal("ERROR: The memory is exhausted.");
    } catch (const std::exception& failure) {
        run.log.fatal(concat("ERROR: The run failed: ", failure.what(), "."));
    }
}

}  // namespace

int run_program(const std::vector<std::string>& entries, std::ostream& terminal, std::ostream& notes) {
    command_line line = read_command_line(entries);
    if (line.wants_help || line.wants_version) {
        if (line.wants_help) terminal << (line.wants_all_help ? full_help_text() : help_text());
        if (line.wants_version) terminal << "ORVIDE version " << program_version << std::endl;
        return 0;
    }
    if (!acceptable_Ne(line.params.Ne)) {
        terminal << "Ne needs to be set in range (0, 30000)" << std::endl;
        return 1;
    }
    line.params.seed = settle_seed(line.seed);
    MT generator(static_cast<double>(line.params.seed) * 4.656612875245797e-10);
    Random::Set(generator);
    complete_names(line.params);

    data run(terminal, notes);
    run.log.set_strict(line.params.strict);
    std::optional<output_locks> locks;
    try {
        const std::optional<std::string> refusal = find_refusal(line.params, locks);
        if (!refusal) run.log.open(line.params.r_file, line.params.w_file);
        print_banner(run.log, line);
        if (refusal) run.log.fatal(*refusal);
        if (report_faults(run.log, line)) {
            run.log.close("the command line has faults");
            return 1;
        }
        for (const std::string& text : line.odd_words) run.log.odd_input(text);
        run.params = line.params;
        run_guarded(run);
    } catch (const run_end& end) {
        removal_list::remove_all();
        return end.status == 0 && run.log.any_result_failed() ? 1 : end.status;
    }
    terminal << '\n' << "Have a nice day!" << std::endl;
    return run.log.any_result_failed() ? 1 : 0;
}
