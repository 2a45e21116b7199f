#include "inference/states/distance_rows.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "inference/inference_tools.h"

namespace {

haplotypes_by_panel views_of(const std::array<packed_haplotypes, 3>& panels) {
    return {&panels[0], &panels[1], &panels[2]};
}

using three_panels = std::array<packed_haplotypes, 3>;

three_panels random_panels(input_source& source, std::array<std::size_t, 3> n_hap, std::size_t n_sites) {
    three_panels panels;
    for (std::size_t p = 0; p < 3; ++p) {
        panels[p] = packed_haplotypes(n_hap[p], n_sites);
        for (std::size_t h = 0; h < n_hap[p]; ++h) {
            for (std::size_t s = 0; s < n_sites; ++s) panels[p].set(h, s, source.integer(0, 1));
        }
    }
    return panels;
}

std::vector<std::size_t> some_sites(input_source& source, std::size_t n_sites, double share) {
    std::vector<std::size_t> sites;
    for (std::size_t s = 0; s < n_sites; ++s) {
        if (source.chance(share)) sites.push_back(s);
    }
    return sites;
}

std::vector<int> plain_distances(const three_panels& panels, const std::vector<std::size_t>& sites, std::size_t panel,
                                 std::size_t hap, std::size_t other) {
    std::vector<int> counts(panels[other].n_hap(), 0);
    for (std::size_t h = 0; h < counts.size(); ++h) {
        for (const std::size_t site : sites) {
            if (panels[panel].allele(hap, site) != panels[other].allele(h, site)) ++counts[h];
        }
    }
    return counts;
}

void expect_all(distance_rows& rows, const three_panels& panels, const std::vector<std::size_t>& sites) {
    for (std::size_t p = 0; p < 3; ++p) {
        for (std::size_t other = 0; other < 3; ++other) {
            for (std::size_t h = 0; h < panels[p].n_hap(); h += 3) {
                std::vector<int> counts{-5};
                rows.distances(views_of(panels), p, h, other, counts);
                EXPECT_EQ(plain_distances(panels, sites, p, h, other), counts);
            }
        }
    }
}

TEST(distance_rows, are_ready_once_they_know_their_sites) {
    distance_rows rows;
    EXPECT_FALSE(rows.ready());
    rows.set_sites({});
    EXPECT_TRUE(rows.ready());
}

TEST(distance_rows, count_at_the_chosen_sites_only) {
    input_source source(1);
    for (const std::size_t n_sites : {1U, 63U, 64U, 65U, 200U}) {
        for (const double share : {0.0, 0.1, 0.5, 1.0}) {
            const three_panels panels = random_panels(source, {9, 4, 6}, n_sites);
            const std::vector<std::size_t> sites = some_sites(source, n_sites, share);
            distance_rows rows;
            rows.set_sites(sites);
            expect_all(rows, panels, sites);
        }
    }
}

TEST(distance_rows, of_a_panel_without_haplotypes_are_empty) {
    input_source source(2);
    const three_panels panels = random_panels(source, {3, 0, 2}, 70);
    distance_rows rows;
    rows.set_sites({0, 69});
    std::vector<int> counts{1, 2};
    rows.distances(views_of(panels), 0, 0, 1, counts);
    EXPECT_TRUE(counts.empty());
}

TEST(distance_rows, follow_every_change_of_a_haplotype) {
    input_source source(3);
    three_panels panels = random_panels(source, {5, 3, 4}, 130);
    const std::vector<std::size_t> sites = some_sites(source, 130, 0.6);
    distance_rows rows;
    rows.set_sites(sites);
    expect_all(rows, panels, sites);
    for (int change = 0; change < 40; ++change) {
        const auto p = static_cast<std::size_t>(source.integer(0, 2));
        const auto h = static_cast<std::size_t>(source.integer(0, static_cast<int>(panels[p].n_hap()) - 1));
        const auto s = static_cast<std::size_t>(source.integer(0, 129));
        panels[p].set(h, s, 1 - panels[p].allele(h, s));
        std::vector<int> counts;
        rows.distances(views_of(panels), p, h, 2, counts);
        EXPECT_EQ(plain_distances(panels, sites, p, h, 2), counts);
        rows.distances(views_of(panels), 0, 0, p, counts);
        EXPECT_EQ(plain_distances(panels, sites, 0, 0, p), counts);
    }
    expect_all(rows, panels, sites);
}

}  // namespace
