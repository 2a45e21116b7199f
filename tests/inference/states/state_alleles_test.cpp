#include "inference/states/state_alleles.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "inference/inference_tools.h"

namespace {

haplotypes_by_panel views_of(const std::array<packed_haplotypes, 3>& panels) {
    return {&panels[0], &panels[1], &panels[2]};
}

std::array<packed_haplotypes, 3> random_panels(input_source& source, std::size_t n_sites) {
    std::array<packed_haplotypes, 3> panels;
    const std::array<std::size_t, 3> n_hap{90, 30, 40};
    for (std::size_t p = 0; p < 3; ++p) {
        panels[p] = packed_haplotypes(n_hap[p], n_sites);
        for (std::size_t h = 0; h < n_hap[p]; ++h) {
            for (std::size_t s = 0; s < n_sites; ++s) panels[p].set(h, s, source.integer(0, 1));
        }
    }
    return panels;
}

void expect_rows(const std::array<packed_haplotypes, 3>& haps, const conditioning_states& states,
                 const std::vector<std::size_t>& sites, std::size_t K, const std::vector<std::uint64_t>& rows) {
    const std::size_t words = bits::words_for(K);
    ASSERT_EQ(sites.size() * words, rows.size());
    for (std::size_t v = 0; v < sites.size(); ++v) {
        for (std::size_t k = 0; k < words * bits::word_bits; ++k) {
            int expected = 0;
            if (k < K && k < states.size()) {
                expected = haps[states.panel[k]].allele(static_cast<std::size_t>(states.hap[k]), sites[v]);
            }
            ASSERT_EQ(expected == 1, bits::get(rows.data() + v * words, k)) << "site " << v << " state " << k;
        }
    }
}

TEST(state_alleles, are_one_bit_a_state_and_one_row_a_site) {
    input_source source(1);
    for (const std::size_t n_sites : {1U, 64U, 65U, 193U}) {
        const auto haps = random_panels(source, n_sites);
        for (const std::size_t K : {1U, 8U, 63U, 64U, 65U, 130U}) {
            conditioning_states states;
            for (std::size_t k = 0; k < K; ++k) {
                const std::size_t p = source.index(3);
                states.add(p, source.index(haps[p].n_hap()));
            }
            std::vector<std::size_t> all, some;
            for (std::size_t s = 0; s < n_sites; ++s) {
                all.push_back(s);
                if (source.chance(0.2)) some.push_back(s);
            }
            std::vector<std::uint64_t> rows{77, 78};
            gather_state_alleles(views_of(haps), states, all, K, rows);
            expect_rows(haps, states, all, K, rows);
            gather_state_alleles(views_of(haps), states, some, K, rows);
            expect_rows(haps, states, some, K, rows);
        }
    }
}

TEST(state_alleles, of_places_without_a_state_are_zero) {
    input_source source(2);
    const auto haps = random_panels(source, 80);
    conditioning_states states;
    for (std::size_t k = 0; k < 3; ++k) states.add(0, k);
    std::vector<std::uint64_t> rows(50, ~std::uint64_t{0});
    gather_state_alleles(views_of(haps), states, {1, 2, 70}, 70, rows);
    expect_rows(haps, states, {1, 2, 70}, 70, rows);
}

TEST(state_alleles, without_sites_or_states_are_empty) {
    input_source source(3);
    const auto haps = random_panels(source, 5);
    conditioning_states states;
    states.add(0, 1);
    std::vector<std::uint64_t> rows{1};
    gather_state_alleles(views_of(haps), states, {}, 1, rows);
    EXPECT_TRUE(rows.empty());
    rows = {1};
    gather_state_alleles(views_of(haps), {}, {0, 1}, 0, rows);
    EXPECT_TRUE(rows.empty());
}

TEST(state_alleles, put_a_repeated_state_at_each_of_its_places) {
    input_source source(4);
    const auto haps = random_panels(source, 20);
    conditioning_states states;
    for (int k = 0; k < 5; ++k) states.add(2, 7);
    std::vector<std::uint64_t> rows;
    gather_state_alleles(views_of(haps), states, {0, 5, 19}, 5, rows);
    expect_rows(haps, states, {0, 5, 19}, 5, rows);
}

}  // namespace
