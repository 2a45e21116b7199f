#include "run/file_checks.h"

#include <cstring>
#include <map>
#include <ostream>
#include <tuple>
#include <vector>

#include "io/file_target.h"
#include "io/run_log.h"
#include "io/temporary_file.h"
#include "io/text.h"
#include "run/file_names.h"
#include "run/process_input.h"

namespace {

// Targets by what makes two of them one file.
class target_index {
  public:
    // The file that was added for the same target before; null if there is none.
    const run_file* find(const file_target& target) const {
        const auto found = files_.find(key(target));
        return found == files_.end() ? nullptr : found->second;
    }
    void add(const file_target& target, const run_file& file) { files_.emplace(key(target), &file); }

  private:
    using key_type = std::tuple<bool, dev_t, ino_t, std::string>;
    static key_type key(const file_target& target) {
        if (target.identity) return {true, target.identity->first, target.identity->second, ""};
        return {false, 0, 0, target.path};
    }

    std::map<key_type, const run_file*> files_;
};

struct file_tables {
    std::vector<run_file> inputs, outputs;
};

// The names of the run, found by what process_input makes of the settings, without a word. Where it ends the run, only
// the logs are written.
file_tables tables_of(const parameters& given) {
    std::ostream nowhere(nullptr);
    run_log silent(nowhere, nowhere);
    parameters params = given;
    run_plan plan;
    panel_array panels;
    file_tables tables{input_files(given), {}};
    try {
        process_input(silent, params, plan, panels);
        tables.outputs = output_files(params, plan);
        const std::vector<run_file> completed = input_files(params);
        tables.inputs.insert(tables.inputs.end(), completed.begin(), completed.end());
    } catch (const run_end&) {
        tables.outputs = log_files(given);
    }
    return tables;
}

std::string overwritten_text(const run_file& output, const run_file& input) {
    return concat("ERROR: The ", output.what, " [", output.name, "] would overwrite an input of the run, the ",
                  input.option, " file [", input.name, "]. Nothing has been written. Please give another name with ",
                  output.option, ".");
}

std::string twice_text(const run_file& output, const run_file& other) {
    return concat("ERROR: The ", output.what, " [", output.name, "] would overwrite another output of the run, the ",
                  other.what, " [", other.name, "]. Nothing has been written. Please give another name with ",
                  output.option, " or ", other.option, ".");
}

}  // namespace

std::optional<std::string> find_overwriting(const parameters& params) {
    const file_tables tables = tables_of(params);
    target_index inputs;
    target_index outputs;
    for (const run_file& input : tables.inputs) inputs.add(target_of(input.name), input);
    for (const run_file& output : tables.outputs) {
        const file_target target = target_of(output.name);
        if (target.is_stream) continue;
        if (const run_file* const input = inputs.find(target)) return overwritten_text(output, *input);
        if (const run_file* const other = outputs.find(target)) return twice_text(output, *other);
        outputs.add(target, output);
    }
    return std::nullopt;
}

void require_output_places(run_log& log, const parameters& params, const run_plan& plan) {
    for (const run_file& output : output_files(params, plan)) {
        const int error = why_not_writable(target_of(output.name));
        if (error == 0) continue;
        log.fatal(concat("ERROR: The ", output.what, " [", output.name, "] cannot be written: ", std::strerror(error),
                         ". Please check the name given with ", output.option, " and its directory."));
    }
}

void require_temporary_place(run_log& log, const parameters& params) {
    if (!params.mem_save_3) return;
    const std::string directory = temporary_directory();
    const temporary_file tried(directory, 0);
    if (!lies_in_memory(directory)) return;
    log.note(concat("note: Files in [", directory,
                    "] lie in memory (tmpfs), so that -mem_save_3 saves none. Please set TMPDIR to a directory on a "
                    "disk."));
}
