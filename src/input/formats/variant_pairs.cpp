#include "input/formats/variant_pairs.h"

#include <utility>

variant_pairs::variant_pairs(run_log& log, const source_request& request, input_file&& file)
    : variant_source(log, request, std::move(file)), one_haplotype_(request.one_haplotype) {}

std::size_t variant_pairs::read_pairs(std::span<allele_pair> pairs) {
    const std::span<const variant_call> calls = sites_.calls();
    for (std::size_t i = 0; i < calls.size(); ++i) pairs[i] = pair_of(calls[i], sites_.ploidies()[i]);
    return calls.size();
}

// A homozygote has no phase to know.
allele_pair variant_pairs::pair_of(const variant_call& call, std::uint8_t ploidy) const {
    const bool known = call.is_known();
    const auto text = [&](int allele) -> std::string_view {
        if (!known) return "?";
        const bool starred = call.is_het() && !call.phased;
        if (allele == sites_.allele()) return starred ? "1*" : "1";
        return starred ? "0*" : "0";
    };
    if (ploidy == 1) return {text(call.first), one_haplotype_ ? "." : "-"};
    return {text(call.first), text(call.second)};
}
