#include "input/formats/haps.h"

#include <string>
#include <utility>
#include <vector>

#include "input/columns.h"
#include "io/run_log.h"
#include "io/text.h"

haps_file::haps_file(run_log& log, const source_request& request, input_file&& file)
    : site_line_file(log, request, std::move(file)), one_haplotype_(request.one_haplotype) {
    const std::size_t n_fields = count_content_fields(first_line());
    if (!one_haplotype_ && n_fields % 2 != 0) log.fatal(bad_columns_text(request.words, request.file));
    n_columns_ = one_haplotype_ ? n_fields : n_fields / 2;
}

// Three neighbouring haplotypes have one allele 1 between them in at most 4 of 9 cases, and two of them now and then.
void haps_file::check_shape() {
    constexpr std::size_t enough_lines = 4, enough_triples = 80;
    std::vector<std::string> fields = split_fields(content());
    shape_told_ = fields.empty() || fields.size() % 3 != 0;
    for (std::size_t i = 0; i + 2 < fields.size() && !shape_told_; i += 3) {
        std::size_t n_ones = 0;
        for (std::size_t j = i; j < i + 3; ++j) {
            n_ones += fields[j] == "1" ? 1 : 0;
            shape_told_ = shape_told_ || (fields[j] != "0" && fields[j] != "1");
        }
        shape_told_ = shape_told_ || n_ones > 1;
        n_genotypes_ += n_ones;
        ++n_triples_;
    }
    ++n_lines_;
    if (shape_told_ || n_lines_ < enough_lines || n_triples_ < enough_triples) return;
    shape_told_ = true;
    if (10 * n_genotypes_ < 9 * n_triples_) return;
    fail(
        "The lines so far hold genotypes, three numbers a person with a single 1; expected are haplotypes, two alleles "
        "a "
        "person; genotypes are read by -g");
}

std::size_t haps_file::read_pairs(std::span<allele_pair> pairs) {
    if (!shape_told_ && !one_haplotype_) check_shape();
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
