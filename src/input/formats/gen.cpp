#include "input/formats/gen.h"

#include <utility>

#include "input/columns.h"
#include "input/formats/number_scanner.h"
#include "io/run_log.h"
#include "io/text.h"

gen_file::gen_file(run_log& log, const source_request& request, input_file&& file)
    : site_line_file(log, request, std::move(file)) {
    const std::size_t n_numbers = count_content_fields(first_line());
    if (n_numbers % 3 != 0) log.fatal(bad_columns_text(request.words, request.file));
    n_columns_ = n_numbers / 3;
}

void gen_file::read_triple(number_scanner& numbers, probability_triple& triple) {
    if (numbers.next_digits(triple)) return;
    for (float& value : triple) {
        double number = 0.0;  // what the line lacks reads as zero
        switch (numbers.next(number)) {
            case number_scanner::outcome::bad:
                fail(concat("The genotype field '", numbers.bad_field(), "' is not a number"));
            case number_scanner::outcome::end:
                short_line_.say(*this,
                                "the line has fewer genotypes than the first one; what is missing reads as zeros");
                break;
            case number_scanner::outcome::number:
                break;
        }
        value = static_cast<float>(number);
    }
}

void gen_file::read_triples(std::span<probability_triple> triples) {
    number_scanner numbers(content());
    for (probability_triple& triple : triples) read_triple(numbers, triple);
    double surplus = 0.0;
    if (numbers.next(surplus) != number_scanner::outcome::end) fail("There are more genotypes than in the first line");
}
