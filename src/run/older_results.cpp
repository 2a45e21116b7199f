#include "run/older_results.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "io/file_target.h"
#include "io/run_log.h"
#include "io/text.h"
#include "run/file_names.h"

void remove_older_results(run_log& log, const parameters& params, const run_plan& plan) {
    std::string removed;
    for (const run_file& result : result_files(params, plan)) {
        const file_target target = target_of(result.name);
        if (target.is_stream || !target.identity) continue;
        if (unlink(target.path.c_str()) == 0) {
            removed += concat(removed.empty() ? "" : ", ", "[", result.name, "]");
        } else {
            log.result_failed(concat("cannot remove the older result [", result.name, "]: ", std::strerror(errno)));
        }
    }
    if (removed.empty()) return;
    log.note(
        concat("note: This run has no results; those of an earlier run under its names were removed: ", removed, "."));
}
