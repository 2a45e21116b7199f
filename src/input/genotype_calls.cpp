#include "input/genotype_calls.h"

#include <algorithm>
#include <cstddef>

#include "io/text.h"
#include "model/data.h"
#include "random/random.h"

namespace {

constexpr double threshold_tolerance = 1e-6;
constexpr double no_data_tolerance = 1e-10;
constexpr int em_rounds = 25;

constexpr bool is_separator(char c) {
    return c == ' ' || c == '\t';
}

float sum_of(const probability_triple& triple) {
    return triple[0] + triple[1] + triple[2];
}

}  // namespace

probability_triple uniform_triple(bool without_het) {
    constexpr float third = 1.0F / 3.0F;
    if (without_het) return {0.5F, 0.0F, 0.5F};
    return {third, third, third};
}

probability_triple one_hot_triple(int code) {
    probability_triple triple{};
    triple[static_cast<std::size_t>(code)] = 1.0F;
    return triple;
}

void complete_triple(probability_triple& triple, bool without_het) {
    if (without_het) triple[1] = 0.0F;
    if (static_cast<double>(sum_of(triple)) < no_data_tolerance) triple = uniform_triple(without_het);
}

std::uint8_t call_genotype(const probability_triple& triple, double call_threshold, bool haploid) {
    const auto best = std::max_element(triple.begin(), triple.end());  // the first of equal ones
    if (!(static_cast<double>(*best) > call_threshold - threshold_tolerance)) return missing_genotype;
    const auto code = static_cast<std::uint8_t>(best - triple.begin());
    return code == 1 && haploid ? missing_genotype : code;
}

void normalise(probability_triple& triple) {
    const float sum = sum_of(triple);
    for (float& value : triple) value /= sum;
}

void add_uncertain(probability_triple& triple, const genotype_rules& rules, bool haploid, allele_sums& sums) {
    if (rules.probability_threshold <= 0.0) return;
    if (rules.normalise) normalise(triple);
    const double largest = *std::max_element(triple.begin(), triple.end());
    if (!(largest > rules.probability_threshold - threshold_tolerance)) return;
    const double aa = triple[0], ab = triple[1], bb = triple[2];
    if (haploid) {
        sums.add(bb, aa + bb);
    } else {
        sums.add(ab + 2.0 * bb, 2.0 * (aa + ab + bb));
    }
}

void append_triple(std::vector<float>& triples, const probability_triple& triple) {
    triples.insert(triples.end(), triple.begin(), triple.end());
}

number_scanner::outcome number_scanner::next(double& value) {
    while (next_ != end_ && is_separator(*next_)) ++next_;
    if (next_ == end_) return outcome::end;
    const char* const start = next_;
    // At most 15 digits are exact, and so is a power of ten up to 22: their quotient is the rounded value of the
    // decimal.
    constexpr std::array<double, 16> powers{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    std::int64_t digits = 0;
    std::ptrdiff_t n_digits = 0, n_decimals = 0;
    bool decimal = false;
    for (; next_ != end_ && n_digits <= 15; ++next_) {
        if (*next_ == '.' && !decimal) {
            decimal = true;
            continue;
        }
        const auto digit = static_cast<unsigned>(*next_ - '0');
        if (digit > 9) break;
        digits = 10 * digits + static_cast<int>(digit);
        ++n_digits;
        n_decimals += decimal ? 1 : 0;
    }
    if (n_digits > 0 && n_digits <= 15 && (next_ == end_ || is_separator(*next_))) {
        value = static_cast<double>(digits) / powers[static_cast<std::size_t>(n_decimals)];
        return outcome::number;
    }
    while (next_ != end_ && !is_separator(*next_)) ++next_;
    const std::string_view field(start, static_cast<std::size_t>(next_ - start));
    if (parse_double(field, value)) return outcome::number;
    bad_field_ = field;
    return outcome::bad;
}

bool number_scanner::next_digits(probability_triple& triple) {
    if (next_ != end_ && is_separator(*next_)) ++next_;
    const char* const c = next_;
    if (end_ - c < 5 || !is_separator(c[1]) || !is_separator(c[3]) || (end_ - c > 5 && !is_separator(c[5])))
        return false;
    const int a = c[0] - '0', b = c[2] - '0', d = c[4] - '0';
    if (((a | b | d) & ~1) != 0) return false;
    triple = {static_cast<float>(a), static_cast<float>(b), static_cast<float>(d)};
    next_ += 5;
    return true;
}

// Expectation and maximisation of the genotype counts under random mating; one allele in 2n + 2 is a pseudo-count. The
// starting value is drawn, one draw a call.
double calculate_allele_freq_via_em(data& run, const std::vector<float>& triples) {
    const std::size_t n = triples.size() / 3;
    double p = Random::RNG->Next();
    for (int round = 0; round < em_rounds; ++round) {
        const double w0 = (1.0 - p) * (1.0 - p), w1 = 2.0 * p * (1.0 - p), w2 = p * p;
        double ones = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            const double l0 = triples[3 * i], l1 = triples[3 * i + 1], l2 = triples[3 * i + 2];
            if (round == 0 && l0 + l1 + l2 < no_data_tolerance) {
                run.log.note(
                    concat("LIKE (", i, "): |", default_text(l0), ",", default_text(l1), ",", default_text(l2), "|"));
            }
            const double one = l1 * w1, two = l2 * w2;
            ones += (one + 2.0 * two) / (l0 * w0 + one + two);
        }
        p = (ones + 1.0) / (2.0 * (static_cast<double>(n) + 1.0));
    }
    return p;
}
