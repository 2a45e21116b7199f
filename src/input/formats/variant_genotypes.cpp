#include "input/formats/variant_genotypes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <utility>

#include "io/text.h"

namespace {

constexpr std::array<const char*, 4> field_names{"GP", "GL", "PL", "GT"};
constexpr double largest_rounded_sum = 1.02;  // probabilities are rounded

std::size_t index(auto field) {
    return static_cast<std::size_t>(field);
}

// Copies of an allele among the two of the g-th genotype of a diploid; genotypes j, k with j at most k stand at
// k (k + 1) / 2 + j.
std::size_t count_copies(std::size_t g, std::size_t allele) {
    std::size_t k = 0;
    while ((k + 1) * (k + 2) / 2 <= g) ++k;
    const std::size_t j = g - k * (k + 1) / 2;
    return (j == allele ? 1U : 0U) + (k == allele ? 1U : 0U);
}

}  // namespace

variant_genotypes::variant_genotypes(run_log& log, const source_request& request, input_file&& file)
    : variant_source(log, request, std::move(file)), option_(request.option) {
    fields_ = request.probabilities ? std::vector{field::gp, field::gl, field::pl, field::gt}
                                    : std::vector{field::gp, field::gt};
}

// The library ends the program at values of another type than the header says.
void variant_genotypes::check_type(const char* name) const {
    const bcf_fmt_t* const found = find_format(sites_.header(), sites_.record(), name);
    if (found == nullptr || are_numbers(found->type)) return;
    sites_.fail(concat("The field ", name, " is not of the type that it should have"));
}

// Fills the values of the record in hand; false where it has no such field.
bool variant_genotypes::fetch(field which) {
    check_type(field_names[index(which)]);
    const auto get = [&](auto type, int kind) {
        decltype(type)* buffer = nullptr;
        int size = 0;
        const int n = bcf_get_format_values(sites_.header(), sites_.record(), field_names[index(which)],
                                            reinterpret_cast<void**>(&buffer), &size, kind);
        const std::unique_ptr<decltype(type), void (*)(void*)> owner(buffer, std::free);
        if (n == -2)
            sites_.fail(concat("The field ", field_names[index(which)], " is not of the type that it should have"));
        if (n <= 0) return false;
        n_values_ = static_cast<std::size_t>(n) / n_samples();
        values_.resize(static_cast<std::size_t>(n));
        for (std::size_t i = 0; i < values_.size(); ++i) {
            if constexpr (std::is_same_v<decltype(type), float>) {
                values_[i] = buffer[i];
            } else if (buffer[i] == bcf_int32_missing) {
                bcf_float_set_missing(values_[i]);
            } else if (buffer[i] == bcf_int32_vector_end) {
                bcf_float_set_vector_end(values_[i]);
            } else {
                values_[i] = static_cast<float>(buffer[i]);
            }
        }
        return true;
    };
    return which == field::pl ? get(std::int32_t{}, BCF_HT_INT) : get(float{}, BCF_HT_REAL);
}

void variant_genotypes::read_triples(std::span<probability_triple> triples) {
    has_gt_ = find_format(sites_.header(), sites_.record(), "GT") != nullptr;
    for (const field which : fields_) {
        if (which != field::gt && !fetch(which)) continue;
        ++n_sites_[index(which)];
        if (which == field::gt || has_gt_) {
            take_calls(triples);
        } else {
            std::fill(triples.begin(), triples.end(), probability_triple{});
        }
        if (which != field::gt) take_values(which, triples);
        return;
    }
}

void variant_genotypes::take_calls(std::span<probability_triple> triples) {
    const std::span<const variant_call> calls = sites_.calls();
    const int allele = sites_.allele();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const variant_call& call = calls[i];
        triples[i] = {};
        if (!call.is_known()) continue;
        const int first = call.first == allele ? 1 : 0;
        const int second = call.second == variant_call::absent ? first : call.second == allele ? 1 : 0;
        triples[i] = one_hot_triple(first + second);
        if (call.is_het() && call.phased) {
            phased_note_.say(*this, concat("the genotypes are phased, which ", option_, " takes no notice of",
                                           option_ == "-g" ? "; -known_haps_g keeps the phase" : ""));
        }
    }
}

// A person without values keeps the call.
void variant_genotypes::take_values(field which, std::span<probability_triple> triples) {
    for (std::size_t i = 0; i < triples.size(); ++i) {
        if (const auto triple = triple_of(which, i)) triples[i] = *triple;
    }
}

// The values up to the end of the sample's vector; none when any of them is missing.
std::size_t variant_genotypes::count_values(const float* values) const {
    std::size_t n = 0;
    while (n < n_values_ && !bcf_float_is_vector_end(values[n])) {
        if (bcf_float_is_missing(values[n])) return 0;
        ++n;
    }
    return n;
}

std::optional<probability_triple> variant_genotypes::triple_of(field which, std::size_t sample) {
    const float* const values = values_.data() + sample * n_values_;
    const std::size_t n = count_values(values);
    if (n == 0) return std::nullopt;
    const std::size_t n_alleles = sites_.record()->n_allele;
    const bool haploid = n == n_alleles && sites_.ploidies()[sample] == 1;
    if (!haploid && n != n_alleles * (n_alleles + 1) / 2) {
        sites_.fail_at(
            sample, concat("The field ", field_names[index(which)], " has ", n, " values for ", n_alleles, " alleles"));
    }
    make_probabilities(which, sample, n, values);
    const auto allele = static_cast<std::size_t>(sites_.allele());
    std::array<double, 3> sums{};
    for (std::size_t g = 0; g < n; ++g) {
        const std::size_t copies = haploid ? (g == allele ? 2U : 0U) : count_copies(g, allele);
        sums[copies] += probabilities_[g];
    }
    return probability_triple{static_cast<float>(sums[0]), static_cast<float>(sums[1]), static_cast<float>(sums[2])};
}

void variant_genotypes::make_probabilities(field which, std::size_t sample, std::size_t n, const float* values) {
    probabilities_.assign(values, values + n);
    double sum = 0.0;
    if (which == field::gp) {
        for (const double p : probabilities_) {
            if (!(p >= 0.0 && p <= 1.0)) sites_.fail_at(sample, "A value of GP is no probability between 0 and 1");
            sum += p;
        }
        if (sum > largest_rounded_sum) sites_.fail_at(sample, "The values of GP sum to more than 1");
        return;
    }
    // Relative to the largest one, so that none becomes too small.
    const double scale = which == field::pl ? -0.1 : 1.0;
    for (double& value : probabilities_) value *= scale;
    const double largest = *std::max_element(probabilities_.begin(), probabilities_.end());
    for (double& value : probabilities_) sum += value = std::pow(10.0, value - largest);
    if (!std::isfinite(largest) || !std::isfinite(sum)) {
        sites_.fail_at(sample, concat("The values of ", field_names[index(which)], " are no likelihoods"));
    }
    for (double& value : probabilities_) value /= sum;
}

std::vector<std::string> variant_genotypes::remarks() const {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < field_names.size(); ++i) {
        if (n_sites_[i] > 0)
            lines.push_back(concat(" --took the genotypes of ", n_sites_[i], " sites from ", field_names[i]));
    }
    const std::vector<std::string> others = variant_source::remarks();
    lines.insert(lines.end(), others.begin(), others.end());
    return lines;
}
