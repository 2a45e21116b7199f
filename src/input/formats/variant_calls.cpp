#include "input/formats/variant_calls.h"

#include <algorithm>

#include "input/formats/haplotype_row.h"
#include "io/hts_objects.h"
#include "model/allele_row.h"

namespace {

// The file has small little-endian numbers: (allele + 1) << 1, and 1 for a phase; an end mark at the place of an allele
// that is not there. The mark of a missing value stands where a sample's fields end before this one.
template <typename Integer>
std::uint32_t load(const std::uint8_t* from) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof(Integer); ++i) value |= std::uint32_t{from[i]} << (8 * i);
    return value;
}

template <typename Integer>
int allele_of(std::uint32_t value) {
    constexpr std::uint32_t missing_mark = std::uint32_t{1} << (8 * sizeof(Integer) - 1);
    constexpr std::uint32_t end_mark = missing_mark + 1;
    if (value == end_mark) return variant_call::absent;
    if (value == missing_mark) return variant_call::missing;
    return static_cast<int>(value >> 1) - 1;
}

template <typename Integer>
call_fault decode(const bcf_fmt_t& field, int n_alleles, std::span<variant_call> calls) {
    const std::uint8_t* from = field.p;
    for (variant_call& call : calls) {
        call = {allele_of<Integer>(load<Integer>(from)), variant_call::absent, false};
        if (field.n == 2) {
            const std::uint32_t second = load<Integer>(from + sizeof(Integer));
            call.second = allele_of<Integer>(second);
            call.phased = call.second != variant_call::absent && (second & 1U) != 0;
        }
        if (call.first == variant_call::absent) call.first = variant_call::missing;
        if (std::max(call.first, call.second) >= n_alleles) return call_fault::unknown_allele;
        from += field.size;
    }
    return call_fault::none;
}

constexpr std::uint64_t every_byte = 0x0101010101010101ULL;
constexpr std::uint64_t second_bytes = 0x0100010001000100ULL;

// Of four samples with two alleles each, as load_eight gives them: whether all eight alleles are 0 or 1, and each
// second one is phased or equal to the first.
bool are_plain(std::uint64_t word) {
    const bool known = (word & (every_byte * 0xf8)) == 0 && (((word >> 1) ^ (word >> 2)) & every_byte) == every_byte;
    const std::uint64_t differ = ((word >> 2) ^ (word << 6)) & second_bytes;
    return known && (differ & ~word) == 0;
}

// The alleles of eight bytes as eight bits.
std::uint64_t bits_of(std::uint64_t word) {
    return (((word >> 2) & every_byte) * 0x0102040810204080ULL) >> 56;
}

bool pack_bytes(const std::uint8_t* from, std::size_t n, std::uint64_t* ones) {
    std::fill_n(ones, bits::words_for(n), 0);
    std::size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const std::uint64_t word = load_eight(from + i);
        if (!are_plain(word)) return false;
        ones[i / 64] |= bits_of(word) << (i % 64);
    }
    for (; i < n; i += 2) {
        const unsigned first = from[i], second = from[i + 1];
        const auto known = [](unsigned value) { return value >> 1 == 1 || value >> 1 == 2; };
        if (!known(first) || !known(second)) return false;
        if (first >> 1 != second >> 1 && (second & 1U) == 0) return false;
        bits::set(ones, i, first >> 1 == 2);
        bits::set(ones, i + 1, second >> 1 == 2);
    }
    return true;
}

}  // namespace

call_fault read_calls(const bcf_hdr_t* header, bcf1_t* record, std::span<variant_call> calls) {
    const bcf_fmt_t* const field = find_format(header, record, "GT");
    if (field == nullptr || field->p == nullptr || field->n == 0) return call_fault::no_genotypes;
    if (field->n > 2) return call_fault::too_many_alleles;
    const int n_alleles = static_cast<int>(record->n_allele);
    switch (field->type) {
        case BCF_BT_INT8:
            return decode<std::int8_t>(*field, n_alleles, calls);
        case BCF_BT_INT16:
            return decode<std::int16_t>(*field, n_alleles, calls);
        case BCF_BT_INT32:
            return decode<std::int32_t>(*field, n_alleles, calls);
        default:
            return call_fault::no_genotypes;
    }
}

// Only where the allele is the first ALT of two alleles are the bytes its bits.
bool pack_phased_calls(const bcf_hdr_t* header, bcf1_t* record, int allele, std::uint64_t* ones) {
    if (allele != 1 || record->n_allele != 2) return false;
    const bcf_fmt_t* const field = find_format(header, record, "GT");
    if (field == nullptr || field->p == nullptr || field->n != 2 || field->type != BCF_BT_INT8) return false;
    return pack_bytes(field->p, 2 * record->n_sample, ones);
}
