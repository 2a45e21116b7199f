#include "chromosome/site_positions.h"

#include <htslib/hts.h>

#include <string_view>

#include "io/hts_objects.h"
#include "io/input_file.h"
#include "io/run_log.h"
#include "io/text.h"
#include "io/text_input.h"

namespace {

text_input open_text(run_log& log, const std::string& name) {
    const std::string message = concat("ERROR: Could not open the file [", name, "].");
    return {log, name, message, message};
}

void append(run_log& log, const std::string& name, std::vector<long>& positions, long position) {
    if (!positions.empty() && position < positions.back()) {
        log.fatal(concat("ERROR: The file [", name, "] is not sorted by position: ", position, " stands behind ",
                         positions.back(), "."));
    }
    positions.push_back(position);
}

site_positions read_text(run_log& log, const std::string& name, site_text kind) {
    text_input file = open_text(log, name);
    site_positions result;
    std::string_view line, field;
    if (kind == site_text::legend) file.next_line(line);
    while (file.next_filled_line(line)) {
        field_scanner fields(line);
        fields.skip(kind == site_text::legend ? 1 : 2);
        fields.next(field);
        long position = 0;
        if (!parse_long(field, position)) file.fail("there is no position");
        append(log, name, result.positions, position);
        if (result.positions.size() == 1 && kind != site_text::legend) {
            const int columns = count_fields(line) - 5;
            result.n_individuals = static_cast<std::size_t>(columns) / (kind == site_text::genotypes ? 3 : 2);
        }
    }
    return result;
}

// Notes the chromosome of a record; whether the record is wanted.
bool take_chromosome(run_log& log, const std::string& name, std::string_view found, const std::string& wanted,
                     site_positions& result) {
    if (!wanted.empty()) return found == wanted;
    if (result.chromosome.empty()) result.chromosome = found;
    if (found != result.chromosome) {
        log.fatal(concat("ERROR: The file [", name, "] has several chromosomes (", result.chromosome, ", ", found,
                         "); name one of them by -chr."));
    }
    return true;
}

site_positions read_variants(run_log& log, const std::string& name, const std::string& chromosome) {
    hts_set_log_level(HTS_LOG_OFF);  // messages are our own
    const hts_file file(hts_open(name.c_str(), "r"));
    const hts_header header(file ? bcf_hdr_read(file.get()) : nullptr);
    if (!header) log.fatal(concat("ERROR: Could not read the header of [", name, "]."));
    site_positions result{chromosome, {}, static_cast<std::size_t>(bcf_hdr_nsamples(header.get()))};
    if (bcf_hdr_set_samples(header.get(), nullptr, 0) != 0) {  // no genotypes are decoded
        log.fatal(concat("ERROR: Could not read the header of [", name, "]."));
    }
    const hts_record record(bcf_init());
    int status = 0;
    while ((status = bcf_read(file.get(), header.get(), record.get())) == 0) {
        const std::string_view found = bcf_hdr_id2name(header.get(), record->rid);
        if (!take_chromosome(log, name, found, chromosome, result)) {
            if (!result.positions.empty()) break;  // behind it
            continue;
        }
        append(log, name, result.positions, static_cast<long>(record->pos) + 1);
    }
    if (status < -1) log.fatal(concat("ERROR: The file [", name, "] is damaged or cut off."));
    return result;
}

}  // namespace

site_positions read_positions(run_log& log, const std::string& name, const std::string& chromosome, site_text text) {
    site_positions result = is_variant_file(name) ? read_variants(log, name, chromosome) : read_text(log, name, text);
    if (result.positions.empty()) {
        log.fatal(concat("ERROR: The file [", name, "] has no site", chromosome.empty() ? "" : " on chromosome ",
                         chromosome, "."));
    }
    if (result.chromosome.empty()) result.chromosome = chromosome;
    return result;
}

std::size_t count_columns(run_log& log, const std::string& name) {
    text_input file = open_text(log, name);
    std::string_view line;
    return file.next_filled_line(line) ? static_cast<std::size_t>(count_fields(line)) : 0;
}
