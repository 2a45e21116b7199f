#include "output/genotype_triple.h"

#include <random>

#include "output_fixture.h"

namespace {

class genotype_triples : public output_fixture {};

TEST_F(genotype_triples, triple_of_a_haploid_has_no_heterozygote) {
    EXPECT_EQ(triple_of(0.25, 0.5, false), (genotype_triple{0.25, 0.25, 0.5}));
    EXPECT_EQ(triple_of(0.25, 0.5, true), (genotype_triple{0.5, 0.0, 0.5}));
}

TEST_F(genotype_triples, call_is_the_first_of_equals_and_halved_for_a_haploid) {
    EXPECT_EQ(called_genotype({0.5, 0.5, 0.0}, false), 0);
    EXPECT_EQ(called_genotype({0.2, 0.4, 0.4}, false), 1);
    EXPECT_EQ(called_genotype({0.1, 0.6, 0.3}, true), 0);
    EXPECT_EQ(called_genotype({0.4, 0.0, 0.6}, true), 1);
}

TEST_F(genotype_triples, dosage_and_its_variance) {
    EXPECT_DOUBLE_EQ(dosage({0.25, 0.5, 0.25}, false), 1.0);
    EXPECT_DOUBLE_EQ(dosage_variance({0.25, 0.5, 0.25}, false), 0.5);
    EXPECT_DOUBLE_EQ(dosage({0.75, 0.0, 0.25}, true), 0.25);
    EXPECT_DOUBLE_EQ(dosage_variance({0.75, 0.0, 0.25}, true), 0.1875);
}

TEST_F(genotype_triples, probabilities_print_as_the_standard_library_rounds_them) {
    std::mt19937_64 generator(11);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::vector<double> values{0.0005, 0.001,      0.0015, 0.0625, 0.125, 0.5,
                               0.9995, 0.99949999, 0.999,  1.0,    0.0,   0.00099999};
    for (int k = 0; k < 20000; ++k) values.push_back(uniform(generator));
    for (int k = 0; k < 2000; ++k)
        values.push_back(std::round(uniform(generator) * 4096.0) / 4096.0);  // many exact ties
    for (const int decimals : {0, 1, 3, 4, 8, 9, 12}) {
        const double low = smallest_printed(decimals);
        {
            result_file file(run.log, path("_many"), false);
            file.probabilities(values, decimals, low);
        }
        std::string expected;
        for (const double value : values) {
            std::array<char, 64> text{};
            std::snprintf(text.data(), text.size(), " %.*f", decimals, value);
            expected += value < low ? " 0" : value > 1.0 - low ? " 1" : text.data();
        }
        EXPECT_TRUE(text_of(path("_many")) == expected) << decimals;
    }
}

}  // namespace
