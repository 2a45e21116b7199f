#include "inference/haploid/haplotype_classes.h"

#include <algorithm>
#include <array>
#include <bit>

namespace {

constexpr std::size_t most_words = 4;
constexpr std::size_t most_classes = 0xffff;

// Alleles of a haplotype at n visited sites.
std::uint64_t visited_word(const std::uint64_t* row, const std::size_t* sites, std::size_t n) {
    const std::size_t first = sites[0];
    if (sites[n - 1] - first == n - 1) {  // sites of the store without a gap
        const std::size_t word = first / bits::word_bits, shift = first % bits::word_bits;
        std::uint64_t alleles = row[word] >> shift;
        if (shift != 0 && shift + n > bits::word_bits) alleles |= row[word + 1] << (bits::word_bits - shift);
        return n == bits::word_bits ? alleles : alleles & ((std::uint64_t{1} << n) - 1);
    }
    std::uint64_t alleles = 0;
    for (std::size_t j = 0; j < n; ++j) {
        alleles |= static_cast<std::uint64_t>(bits::get(row, sites[j]) ? 1 : 0) << j;
    }
    return alleles;
}

using class_words = std::array<std::uint64_t, most_words>;

std::uint64_t hash_of(const class_words& row) {
    std::uint64_t hash = 0;
    for (const std::uint64_t word : row) hash = (std::rotl(hash, 27) ^ word) * 0x9e3779b97f4a7c15ULL;
    return hash >> 32;
}

}  // namespace

bool haplotype_classes::serve(const packed_haplotypes& panel, const std::vector<std::size_t>& sites,
                              std::size_t least_mean_length) {
    const std::uint64_t now = panel.n_changes() + 1;
    const bool steady = last_n_changes_ == 0 || last_n_changes_ == now;
    last_n_changes_ = now;
    if (n_changes_ == now && n_hap_ == panel.n_hap() && sites_ == sites) return worthwhile_;
    if (!steady) return false;
    n_changes_ = now;
    sites_ = sites;
    n_hap_ = panel.n_hap();
    blocks_.clear();
    class_of_.clear();
    alleles_.clear();
    worthwhile_ = build(panel, sites, least_mean_length);
    if (!worthwhile_) {  // gives the memory back
        std::vector<std::uint16_t>().swap(class_of_);
        std::vector<std::uint64_t>().swap(alleles_);
    }
    return worthwhile_;
}

bool haplotype_classes::build(const packed_haplotypes& panel, const std::vector<std::size_t>& sites,
                              std::size_t least_mean_length) {
    constexpr std::size_t longest = most_words * bits::word_bits;
    const std::size_t few = std::min(n_hap_ / 8, most_classes);
    for (std::size_t first = 0; first < sites.size(); first = blocks_.back().end) {
        if (!add_block(panel, sites, first, most_words, few) && !add_block(panel, sites, first, most_words / 2, few) &&
            !add_block(panel, sites, first, 1, most_classes)) {
            return false;
        }
        const std::size_t n_more = (sites.size() - blocks_.back().end) / longest;
        if ((blocks_.size() + n_more - 1) * least_mean_length > sites.size()) return false;  // whatever comes
    }
    return true;
}

// Finds the classes of a block of so many words. Returns false, and adds nothing, if there are more than limit.
bool haplotype_classes::add_block(const packed_haplotypes& panel, const std::vector<std::size_t>& sites,
                                  std::size_t first, std::size_t words, std::size_t limit) {
    const std::size_t end = std::min(sites.size(), first + words * bits::word_bits);
    const std::size_t n_blocks = blocks_.size(), begin = alleles_.size();
    table_.assign(std::bit_ceil(2 * std::min(limit, n_hap_) + 1), 0);
    class_of_.resize((n_blocks + 1) * n_hap_);
    std::uint32_t n_classes = 0;
    for (std::size_t h = 0; h < n_hap_; ++h) {
        class_words row{};
        for (std::size_t w = 0; w < words && first + w * bits::word_bits < end; ++w) {
            const std::size_t v = first + w * bits::word_bits;
            row[w] = visited_word(panel.row(h), &sites[v], std::min(bits::word_bits, end - v));
        }
        std::size_t place = hash_of(row) & (table_.size() - 1);
        while (table_[place] != 0 && !std::equal(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(words),
                                                 &alleles_[begin + (table_[place] - 1) * words])) {
            place = (place + 1) & (table_.size() - 1);
        }
        if (table_[place] == 0) {
            if (n_classes == limit) {
                alleles_.resize(begin);
                class_of_.resize(n_blocks * n_hap_);
                return false;
            }
            table_[place] = ++n_classes;
            alleles_.insert(alleles_.end(), row.begin(), row.begin() + static_cast<std::ptrdiff_t>(words));
        }
        class_of_[n_blocks * n_hap_ + h] = static_cast<std::uint16_t>(table_[place] - 1);
    }
    blocks_.push_back({first, end, n_classes, words, begin});
    return true;
}
