#include "inference/pairs/pair_store.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "inference/pairs/pair_cases.h"
#include "inference/pairs/pair_model.h"

namespace {

// One entry of the plain model's table at a site, and a found one.
template <typename Case>
void expect_entry(const Case& c, std::size_t v, std::size_t a, std::size_t b, double found) {
    const double expected = c.plain.sites[v].fwd[a][b];
    if (!(std::abs(expected - found) <= 1e-12 * expected)) {
        ADD_FAILURE() << "site " << v << " pair " << a << ", " << b << ": " << expected << ", " << found;
    }
}

// All entries.
template <typename Case>
void expect_table(const Case& c, std::size_t v, const double* table) {
    const pair_problem problem = c.problem();
    for (std::size_t a = 0; a < problem.n_states; ++a) {
        for (std::size_t b = 0; b < (problem.ordered ? problem.n_states : a + 1); ++b) {
            expect_entry(c, v, a, b, table[pair_place(problem, a, b)]);
        }
    }
}

// Every entry, however small it is, by each of the ways in which a walk may ask for it.
TEST(pair_store, has_the_forward_tables_of_the_plain_recursion) {
    input_source source(55);
    block_counts counts;
    for (const int K : {16, 20, 35}) {
        for (const double mu : {1e-2, 1e-9}) {
            unordered_case c = copied_case(source, K, 4, 80, mu);
            c.worth_of_classes = 1.5;
            c.plain.forward();
            pair_tables tables;
            const pair_problem problem = c.problem();
            pair_forward(problem, tables);
            counts.add(tables);
            for (const bool every_table : {false, true}) {
                pair_store store(problem, tables, every_table);
                for (std::size_t v = 80; v-- > 0;) {
                    store.enter(v);
                    // One pair for a while, then another.
                    const std::size_t a = v / 5 % problem.n_states, b = a * 2 / 3;
                    expect_entry(c, v, a, b, store.value(a, b));
                    expect_entry(c, v, a, a, store.value(a, a));
                    if (!every_table && v % 3 != 0) continue;
                    expect_table(c, v, store.table());
                }
            }
        }
    }
    EXPECT_GT(counts.by_class, 6);
    EXPECT_GT(counts.by_pair, 2);
}

TEST(pair_store, has_the_square_tables_of_ordered_pairs) {
    input_source source(1);
    for (const int K : {3, 8, 17}) {
        ordered_case c = random_case<ordered_case>(source, K, 40, 1e-3, 0.3);
        c.plain.forward();
        const pair_problem problem = c.problem();
        pair_tables tables;
        pair_forward(problem, tables);
        for (const bool every_table : {false, true}) {
            pair_store store(problem, tables, every_table);
            for (std::size_t v = 40; v-- > 0;) {
                store.enter(v);
                EXPECT_FALSE(store.has_rows());
                expect_entry(c, v, 1, 2, store.value(1, 2));
                if (every_table || v % 2 == 0) expect_table(c, v, store.table());
            }
        }
    }
}

TEST(pair_store, has_rows_and_their_sums_in_blocks_of_whole_tables) {
    input_source source(2);
    for (const int K : {1, 9, 40}) {
        unordered_case c = random_case<unordered_case>(source, K, 30, 1e-3, 0.3);
        c.worth_of_classes = 0.0;
        c.plain.forward();
        const pair_problem problem = c.problem();
        pair_tables tables;
        pair_forward(problem, tables);
        pair_store store(problem, tables, false);
        std::size_t n_with_rows = 0;
        for (std::size_t v = 30; v-- > 0;) {
            store.enter(v);
            if (!store.has_rows()) {
                EXPECT_TRUE(keeps_table(tables, v));
                continue;
            }
            ++n_with_rows;
            const double* sums = store.row_sums();
            for (std::size_t a = 0; a < problem.n_states; ++a) {
                double sum = 0.0;
                for (std::size_t b = 0; b <= a; ++b) sum += c.plain.sites[v].fwd[a][b];
                EXPECT_LE(std::abs(sums[a] - sum), 1e-12 * sum);
            }
            for (const std::size_t a : {std::size_t{0}, problem.n_states / 2, problem.n_states - 1}) {
                const double* row = store.row(a, v % 3);
                for (std::size_t b = 0; b < problem.n_states; ++b) {
                    expect_entry(c, v, std::max(a, b), std::min(a, b), row[b]);
                }
            }
        }
        EXPECT_EQ(27, n_with_rows) << "all but the kept ones at sites 0, 16 and 29";
    }
}

// The blocks of a sweep join, none is longer than allowed, and tables are kept at their borders.
void expect_blocks(const pair_tables& tables, std::size_t n_sites, std::size_t longest) {
    std::size_t first = 0;
    for (const pair_block& block : tables.blocks) {
        EXPECT_EQ(first, block.first);
        EXPECT_TRUE(keeps_table(tables, block.first));
        EXPECT_TRUE(keeps_table(tables, block.last));
        EXPECT_LT(block.first, block.last);
        EXPECT_LE(block.last - block.first, longest);
        first = block.last;
    }
    EXPECT_EQ(n_sites - 1, first);
    EXPECT_EQ(tables.blocks.size() + 1, tables.n_kept);
}

TEST(pair_store, keeps_tables_at_the_borders_of_blocks) {
    input_source source(3);
    for (const std::size_t keep_every : {1U, 5U, 16U, 48U}) {
        const unordered_case c = copied_case(source, 20, 4, 150, 1e-3);
        pair_problem problem = c.problem();
        problem.keep_every = keep_every;
        pair_tables tables;
        pair_forward(problem, tables);
        expect_blocks(tables, 150, keep_every);
    }
}

TEST(pair_store, keeps_fewer_tables_under_memory_saving) {
    input_source source(4);
    unordered_case c = random_case<unordered_case>(source, 12, 403, 1e-3, 0.3);
    c.worth_of_classes = 0.0;
    pair_tables usual, saving;
    pair_forward(c.problem(), usual);
    set_checkpoints(c, 20);
    pair_forward(c.problem(), saving);
    EXPECT_EQ(1 + 26, usual.n_kept) << "every 16th one, and the last";
    EXPECT_EQ(1 + 21, saving.n_kept) << "every 20th one from the last, and the first";
    EXPECT_TRUE(keeps_table(saving, 402 % 20)) << "the leftmost checkpoint";
    expect_blocks(saving, 403, 20);
}

TEST(pair_store, gives_the_stale_stretch_the_tables_right_of_the_leftmost_checkpoint) {
    input_source source(5);
    for (const double worth_of_classes : {0.0, 3.0}) {
        unordered_case c = copied_case(source, 16, 3, 90, 1e-3);
        c.worth_of_classes = worth_of_classes;
        c.plain.forward();
        set_checkpoints(c, 12);
        constexpr std::size_t checkpoint = 89 % 12;
        const pair_problem problem = c.problem();
        pair_tables tables;
        pair_forward(problem, tables);
        pair_store store(problem, tables, false);
        for (std::size_t v = 90; v-- > 0;) {
            store.enter(v);
            EXPECT_EQ(v != checkpoint && v <= 2 * checkpoint, store.is_stale()) << "site " << v;
            if (v == 2) {
                EXPECT_EQ(7.0, store.value(0, 0));
                continue;
            }
            expect_table(c, v < checkpoint ? checkpoint + 1 + v : v, store.table());
            if (v == checkpoint + 1 + 2) store.table()[0] = 7.0;  // as if the walk left a product
        }
    }
}

TEST(pair_store, an_entered_table_may_take_the_place_of_the_one_before) {
    input_source source(6);
    unordered_case c = random_case<unordered_case>(source, 10, 12, 1e-3, 0.3);
    c.plain.forward();
    const pair_problem problem = c.problem();
    pair_tables tables;
    pair_forward(problem, tables);
    std::vector<double> table(kept_table(tables, 0), kept_table(tables, 0) + tables.table_size);
    aligned_buffer in_place(table.begin(), table.end());
    for (std::size_t v = 1; v < 12; ++v) {
        enter_table(problem, tables, v, in_place.data(), in_place.data());
        if (tables.scale[v] != 1.0) divide_table(problem, tables, v, tables.scale[v], in_place.data());
        expect_table(c, v, in_place.data());
    }
}

}  // namespace
