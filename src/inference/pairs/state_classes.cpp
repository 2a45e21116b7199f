#include "inference/pairs/state_classes.h"

#include <bit>

#include "model/allele_row.h"

namespace {

// Parts the sets in which both alleles occur, of n words each, or where n is 0 of n_words. The states with allele 1
// make a new set.
template <std::size_t n>
void split_sets(std::vector<std::uint64_t>& sets, std::size_t n_words, const std::uint64_t* alleles) {
    const std::size_t words = n != 0 ? n : n_words, end = sets.size();
    for (std::size_t first = 0; first < end; first += words) {
        std::uint64_t ones = 0, zeros = 0;
        for (std::size_t w = 0; w < words; ++w) {
            ones |= sets[first + w] & alleles[w];
            zeros |= sets[first + w] & ~alleles[w];
        }
        if (ones == 0 || zeros == 0) continue;
        for (std::size_t w = 0; w < words; ++w) {
            const std::uint64_t set = sets[first + w];
            sets.push_back(set & alleles[w]);
            sets[first + w] = set & ~alleles[w];
        }
    }
}

}  // namespace

void state_classes::start(std::size_t n_states) {
    n_states_ = n_states;
    words_ = bits::words_for(n_states);
    sets_.assign(words_, ~std::uint64_t{0});
    const std::size_t past = n_states % bits::word_bits;
    if (past != 0) sets_.back() = (std::uint64_t{1} << past) - 1;
}

void state_classes::split(const std::uint64_t* alleles) {
    if (words_ == 1) {
        split_sets<1>(sets_, 1, alleles);
    } else if (words_ == 2) {
        split_sets<2>(sets_, 2, alleles);
    } else {
        split_sets<0>(sets_, words_, alleles);
    }
}

void state_classes::list(std::vector<std::uint32_t>& of_state, std::vector<double>& size,
                         std::vector<std::size_t>& member) const {
    of_state.resize(n_states_);
    size.clear();
    member.clear();
    for (std::size_t c = 0; c < n_classes(); ++c) {
        std::size_t n = 0, last = 0;
        for (std::size_t w = 0; w < words_; ++w) {
            for (std::uint64_t set = sets_[c * words_ + w]; set != 0; set &= set - 1, ++n) {
                last = w * bits::word_bits + static_cast<std::size_t>(std::countr_zero(set));
                of_state[last] = static_cast<std::uint32_t>(c);
            }
        }
        size.push_back(static_cast<double>(n));
        member.push_back(last);
    }
}
