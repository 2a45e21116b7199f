#include "run/space_check.h"

#include <sys/resource.h>
#include <sys/statvfs.h>

#include <filesystem>
#include <optional>

#include "io/file_target.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/data.h"
#include "model/intervals.h"
#include "output/variants/variant_format.h"

namespace {

// Bytes a genotype: "1 0 0 " in text, "0/0:0:1,0,0" in VCF; usual ones are those of the example data with 3 decimals.
constexpr file_room text_genotype{6.0, 9.0}, vcf_genotype{4.0, 20.0}, compressed_genotype{0.02, 2.0};
constexpr double bytes_a_site = 15.0;

struct available_room {
    double bytes;
    const char* where;
};

// What a file may grow to; nobody for a device or a pipe, and where the system does not tell.
std::optional<available_room> room_for(const std::string& name) {
    const file_target target = target_of(name);
    if (target.is_stream) return std::nullopt;
    std::optional<available_room> room;
    struct statvfs disk {};
    if (statvfs(std::filesystem::path(target.path).parent_path().c_str(), &disk) == 0) {
        room = {static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize), "on its file system"};
    }
    struct rlimit limit {};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        const auto bytes = static_cast<double>(limit.rlim_cur);
        if (!room || bytes < room->bytes) room = {bytes, "under the limit of a file's size (ulimit -f)"};
    }
    return room;
}

file_room room_a_genotype(const parameters& params) {
    const std::optional<variant_format> format = variant_format_of(params.o_file);
    if (!format) return params.o_gz ? compressed_genotype : text_genotype;
    return *format == variant_format::vcf ? vcf_genotype : compressed_genotype;
}

}  // namespace

file_room main_output_size(const data& run) {
    if (run.params.suppress_imputation_output) return {};
    const auto [first, last] = run.sites.range(output_interval(run.params, run.plan));
    double n_sites = 0.0;
    for (std::size_t s = first; s < last; ++s)
        n_sites += run.plan.output_types[run.sites.in_order[s]->type] ? 1.0 : 0.0;
    const file_room genotype = room_a_genotype(run.params);
    const auto n_people = static_cast<double>(run.plan.n_study);
    return {n_sites * genotype.least * n_people, n_sites * (bytes_a_site + genotype.usual * n_people)};
}

void require_space(data& run) {
    const file_room wanted = main_output_size(run);
    const std::string name = run.params.o_file + (run.params.o_gz && !run.plan.variants ? ".gz" : "");
    const std::optional<available_room> room = room_for(name);
    if (!room || wanted.usual <= room->bytes) return;
    const std::string place = concat(", there is room for ", megabytes(room->bytes), " ", room->where,
                                     ". Please make room, or write compressed output (-o_gz, or an -o that ends in "
                                     ".vcf.gz or .bcf).");
    if (wanted.least > room->bytes) {
        run.log.fatal(concat("ERROR: The main output [", name, "] takes at least ", megabytes(wanted.least), place));
    }
    run.log.note(concat("note: The main output [", name, "] may take ", megabytes(wanted.usual), place));
}
