#pragma once

// Where a walk from right to left finds the forward table of each site when tables are kept at checkpoints only.

#include <cstddef>
#include <vector>

// Visits sites n_sites - 1 .. 0. The sites between two checkpoints are rebuilt from the left one into a local store,
// just before the walk enters them. Sites left of the leftmost checkpoint are not rebuilt: they read what the local
// store holds from the block to their right.
class block_walk {
  public:
    explicit block_walk(const std::vector<bool>& checkpoint) : checkpoint_(checkpoint), check_(checkpoint.size() - 1) {}

    // Moves to site v. True: the local store must be filled with the n_local() sites right of first().
    bool enter(std::size_t v) {
        bool rebuild = false;
        if (v + 1 < checkpoint_.size()) {
            --local_;
            if (v + 1 == check_) rebuild = find_block();
        }
        return rebuild;
    }
    // The checkpoint from which the block is rebuilt, and the number of its sites.
    std::size_t first() const { return check_; }
    std::size_t n_local() const { return n_local_; }
    bool is_kept(std::size_t v) const { return checkpoint_[v]; }
    // Place of the site in hand in the local store; meaningless at a checkpoint.
    std::size_t local_index() const { return static_cast<std::size_t>(local_); }

  private:
    bool find_block() {
        std::ptrdiff_t left = static_cast<std::ptrdiff_t>(check_) - 1;
        while (left >= 0 && !checkpoint_[static_cast<std::size_t>(left)]) --left;
        const auto count = static_cast<std::ptrdiff_t>(check_) - 1 - left;
        local_ = count - 1;
        if (left < 0) return false;
        check_ = static_cast<std::size_t>(left);
        n_local_ = static_cast<std::size_t>(count);
        return count > 0;
    }

    const std::vector<bool>& checkpoint_;
    std::size_t check_;
    std::size_t n_local_ = 0;
    std::ptrdiff_t local_ = 0;
};
