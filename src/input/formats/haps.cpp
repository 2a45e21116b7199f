#include "input/formats/haps.h"

#include <utility>

#include "input/columns.h"
#include "io/run_log.h"
#include "io/text.h"

haps_file::haps_file(run_log& log, const source_request& request, input_file&& file)
    : site_line_file(log, request, std::move(file)), one_haplotype_(request.one_haplotype) {
    const std::size_t n_fields = count_content_fields(first_line());
    if (!one_haplotype_ && n_fields % 2 != 0) log.fatal(bad_columns_text(request.words, request.file));
    n_columns_ = one_haplotype_ ? n_fields : n_fields / 2;
}

std::size_t haps_file::read_pairs(std::span<allele_pair> pairs) {
    field_scanner fields(content());
    for (std::size_t column = 0; column < pairs.size(); ++column) {
        allele_pair& pair = pairs[column];
        if (!fields.next(pair.first)) return column;
        if (one_haplotype_) {
            pair.second = ".";
        } else if (!fields.next(pair.second)) {
            return column;
        }
    }
    std::string_view surplus;
    return fields.next(surplus) ? pairs.size() + 1 : pairs.size();
}
