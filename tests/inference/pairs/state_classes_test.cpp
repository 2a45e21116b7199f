#include "inference/pairs/state_classes.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "inference/inference_tools.h"

namespace {

const std::vector<std::size_t> state_counts{1, 2, 7, 63, 64, 65, 127, 128, 129, 130, 200, 257};

struct listed {
    std::vector<std::uint32_t> of_state;
    std::vector<double> size;
    std::vector<std::size_t> member;

    friend bool operator==(const listed&, const listed&) = default;
};

// What the vectors held before must not matter.
listed list_of(const state_classes& classes) {
    listed l{{9, 9, 9}, {7.0}, {8, 8}};
    classes.list(l.of_state, l.size, l.member);
    return l;
}

// The states with their alleles at all sites of a stretch.
struct plain_classes {
    explicit plain_classes(std::size_t K) : alleles(K) {}

    void add(const std::vector<int>& row) {
        for (std::size_t k = 0; k < alleles.size(); ++k) alleles[k] += row[k] == 1 ? '1' : '0';
    }
    std::size_t n_classes() const { return std::set<std::string>(alleles.begin(), alleles.end()).size(); }

    std::vector<std::string> alleles;
};

// States are in one class where their alleles are equal, and only there.
void expect_classes(const plain_classes& plain, const state_classes& classes) {
    const std::size_t K = plain.alleles.size();
    const listed found = list_of(classes);
    ASSERT_EQ(K, classes.n_states());
    ASSERT_EQ(plain.n_classes(), classes.n_classes());
    ASSERT_EQ(K, found.of_state.size());
    ASSERT_EQ(classes.n_classes(), found.size.size());
    ASSERT_EQ(classes.n_classes(), found.member.size());
    std::map<std::string, std::uint32_t> class_of;
    std::vector<double> size(classes.n_classes(), 0.0);
    for (std::size_t k = 0; k < K; ++k) {
        ASSERT_LT(found.of_state[k], classes.n_classes());
        size[found.of_state[k]] += 1.0;
        EXPECT_EQ(class_of.try_emplace(plain.alleles[k], found.of_state[k]).first->second, found.of_state[k])
            << "state " << k;
    }
    EXPECT_EQ(plain.n_classes(), class_of.size());
    EXPECT_EQ(size, found.size);
    for (std::size_t c = 0; c < classes.n_classes(); ++c) {
        ASSERT_LT(found.member[c], K);
        EXPECT_EQ(c, found.of_state[found.member[c]]) << "the member of another class";
    }
}

std::vector<std::uint64_t> packed(const std::vector<int>& row) {
    return pack_rows({row}, row.size());
}

TEST(state_classes, are_one_class_at_first) {
    for (const std::size_t K : state_counts) {
        state_classes classes;
        classes.start(K);
        EXPECT_EQ(1U, classes.n_classes());
        expect_classes(plain_classes(K), classes);
    }
}

TEST(state_classes, are_told_apart_by_their_alleles) {
    input_source source(1);
    for (const std::size_t K : state_counts) {
        for (const double common : {0.02, 0.5}) {
            SCOPED_TRACE("K " + std::to_string(K) + " common " + std::to_string(common));
            state_classes classes;
            plain_classes plain(K);
            classes.start(K);
            for (int site = 0; site < 15; ++site) {
                std::vector<int> row(K);
                for (int& allele : row) allele = source.chance(common) ? 1 : 0;
                plain.add(row);
                classes.split(packed(row).data());
                expect_classes(plain, classes);
            }
        }
    }
}

// A single carrier, at each place of the words, and a single state without the allele.
TEST(state_classes, one_state_may_differ) {
    for (const std::size_t K : state_counts) {
        if (K < 2) continue;
        for (std::size_t k = 0; k < K; ++k) {
            for (const int allele : {0, 1}) {
                std::vector<int> row(K, 1 - allele);
                row[k] = allele;
                state_classes classes;
                plain_classes plain(K);
                classes.start(K);
                plain.add(row);
                classes.split(packed(row).data());
                expect_classes(plain, classes);
            }
        }
    }
}

TEST(state_classes, end_with_every_state_its_own) {
    for (const std::size_t K : state_counts) {
        state_classes classes;
        plain_classes plain(K);
        classes.start(K);
        for (std::size_t bit = 0; bit < 9; ++bit) {
            std::vector<int> row;
            for (std::size_t k = 0; k < K; ++k) row.push_back(static_cast<int>((k >> bit) & 1U));
            plain.add(row);
            classes.split(packed(row).data());
        }
        EXPECT_EQ(K, classes.n_classes());
        expect_classes(plain, classes);
    }
}

TEST(state_classes, stay_as_they_are_where_no_class_has_both_alleles) {
    input_source source(2);
    for (const std::size_t K : state_counts) {
        SCOPED_TRACE("K " + std::to_string(K));
        state_classes classes;
        classes.start(K);
        const std::vector<int> row = random_row(source, static_cast<int>(K));
        classes.split(packed(row).data());
        const listed before = list_of(classes);
        classes.split(packed(row).data());
        for (const int allele : {0, 1}) classes.split(packed(std::vector<int>(K, allele)).data());
        EXPECT_EQ(before, list_of(classes));
    }
}

TEST(state_classes, are_used_again_for_other_numbers_of_states) {
    input_source source(3);
    state_classes classes;
    for (const std::size_t K : {200U, 5U, 64U, 129U, 65U, 1U, 128U, 200U}) {
        SCOPED_TRACE("K " + std::to_string(K));
        plain_classes plain(K);
        classes.start(K);
        expect_classes(plain, classes);
        for (int site = 0; site < 4; ++site) {
            const std::vector<int> row = random_row(source, static_cast<int>(K));
            plain.add(row);
            classes.split(packed(row).data());
        }
        expect_classes(plain, classes);
    }
}

}  // namespace
