#include "chromosome/output_check.h"

#include <algorithm>

#include "io/file_target.h"
#include "io/hts_objects.h"
#include "io/run_log.h"
#include "io/text.h"

void refuse_to_overwrite_input(run_log& log, const std::string& output, const std::vector<std::string>& inputs) {
    const file_target target = target_of(output);
    if (target.is_stream) return;
    const auto is_output = [&target](const std::string& name) { return same_file(target_of(name), target); };
    const auto reaches_output = [&is_output](const std::string& name) {
        return is_output(name) ||
               std::ranges::any_of(index_endings, [&](const char* ending) { return is_output(name + ending); });
    };
    if (std::ranges::any_of(inputs, reaches_output)) {
        log.fatal(concat("ERROR: The file [", output, "] cannot be read and written at once."));
    }
}
