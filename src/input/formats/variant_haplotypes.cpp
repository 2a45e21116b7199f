#include "input/formats/variant_haplotypes.h"

#include <algorithm>
#include <utility>

#include "input/formats/haplotype_row.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"

variant_haplotypes::variant_haplotypes(run_log& log, const source_request& request, input_file&& file)
    : variant_source(log, request, std::move(file)), question_is_missing_(request.question_is_missing) {
    if (is_given(request.legend)) {
        log.note(
            concat("note: [", request.file, "] names its sites itself; the legend [", request.legend, "] is not read"));
    }
    const std::vector<std::uint8_t>& ploidies = sites_.ploidies();
    if (std::find(ploidies.begin(), ploidies.end(), 1) == ploidies.end()) return;
    absent_.assign(n_columns(), false);
    for (std::size_t i = 0; i < ploidies.size(); ++i) absent_[2 * i + 1] = ploidies[i] == 1;
}

void variant_haplotypes::start(const std::vector<bool>& dropped) {
    ones_.resize(bits::words_for(n_columns()));
    if (std::find(dropped.begin(), dropped.end(), true) == dropped.end()) return;
    for (std::size_t column = 0; column < n_columns(); ++column) {
        if (!dropped[column]) kept_columns_.push_back(column);
    }
}

bool variant_haplotypes::read_alleles(allele_row& row) {
    any_missing_ = false;
    // Where some are haploid each call is looked at, for it may have another number of alleles than it should.
    const bool packed =
        absent_.empty() && pack_phased_calls(sites_.header(), sites_.record(), sites_.allele(), ones_.data());
    if (!packed) read_each();
    if (any_missing_ && !question_is_missing_) {
        missing_note_.say(*this, "a missing allele reads as allele 0 in this panel");
        any_missing_ = false;
    }
    if (!any_missing_) missing_.clear();
    if (kept_columns_.empty()) {
        row.assign(n_columns(), ones_, missing_);
    } else {
        row.assign(kept_columns_.size(), gather(ones_, kept_columns_),
                   any_missing_ ? gather(missing_, kept_columns_) : missing_);
    }
    return true;
}

void variant_haplotypes::read_each() {
    std::fill(ones_.begin(), ones_.end(), 0);
    missing_.assign(ones_.size(), 0);
    const std::span<const variant_call> calls = sites_.calls();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const variant_call& call = calls[i];
        if (call.is_het() && !call.phased) {
            sites_.fail_at(i, "A reference panel needs phased genotypes, and the heterozygote is not phased");
        }
        const bool known = call.is_known();
        put(2 * i, known ? call.first : variant_call::missing);
        put(2 * i + 1, known ? call.second : variant_call::missing);
    }
}

void variant_haplotypes::put(std::size_t column, int allele) {
    if (allele == sites_.allele()) bits::set(ones_.data(), column, true);
    if (allele != variant_call::missing) return;
    any_missing_ = true;
    bits::set(missing_.data(), column, true);
}
