#include "input/formats/gen.h"

#include <algorithm>
#include <string>
#include <utility>

#include "input/columns.h"
#include "input/formats/number_scanner.h"
#include "io/run_log.h"
#include "io/text.h"

namespace {

constexpr double largest_sum = 1.02;  // of three rounded probabilities

}  // namespace

gen_file::gen_file(run_log& log, const source_request& request, input_file&& file)
    : site_line_file(log, request, std::move(file)) {
    const std::size_t n_numbers = count_content_fields(first_line());
    if (n_numbers % 3 != 0) log.fatal(bad_columns_text(request.words, request.file));
    n_columns_ = n_numbers / 3;
    likelihoods_ = request.probabilities;
}

void gen_file::refuse_triple(std::size_t column, const probability_triple& triple) {
    const auto is_digit = [](float value) { return value == 0.0F || value == 1.0F; };
    const auto is_negative = [](float value) { return value < 0.0F; };
    std::string text = concat("The genotype of person ", column + 1, " is");
    for (const float value : triple) text += concat(" ", default_text(static_cast<double>(value)));
    text += "; expected are three probabilities from 0 to 1 that sum to 1 at most";
    if (likelihoods_ && std::none_of(triple.begin(), triple.end(), is_negative)) {
        return likelihood_.odd(*this, text, "they are taken as they stand, here and in what follows");
    }
    if (std::all_of(triple.begin(), triple.end(), is_digit)) text += "; haplotypes are read by -known_haps_g";
    fail(text);
}

void gen_file::read_triple(number_scanner& numbers, std::size_t column, probability_triple& triple) {
    if (numbers.next_digits(triple)) return;
    double sum = 0.0;
    bool in_range = true;
    for (float& value : triple) {
        double number = 0.0;  // what the line lacks reads as zero
        switch (numbers.next(number)) {
            case number_scanner::outcome::bad:
                fail(concat("The genotype field '", numbers.bad_field(), "' of person ", column + 1,
                            " is not a number"));
            case number_scanner::outcome::end:
                short_line_.odd(*this,
                                concat("There are fewer genotypes than in the first line: the line ends at person ",
                                       column + 1, " of ", n_columns_),
                                "what is missing reads as zeros");
                break;
            case number_scanner::outcome::number:
                break;
        }
        in_range = in_range && number >= 0.0 && number <= 1.0;
        sum += number;
        value = static_cast<float>(number);
    }
    if (!in_range || sum > largest_sum) refuse_triple(column, triple);
}

void gen_file::read_triples(std::span<probability_triple> triples) {
    number_scanner numbers(content());
    for (std::size_t column = 0; column < triples.size(); ++column) read_triple(numbers, column, triples[column]);
    double surplus = 0.0;
    if (numbers.next(surplus) != number_scanner::outcome::end) fail("There are more genotypes than in the first line");
}
