#pragma once

// The one place where memory saving (-mem_save_1) shows in the results.
//
// Checkpoints (fwd_checkpoint) are the last visited site and every interval-th one to its left. As it is defined, a
// walk from right to left builds the forward values between two checkpoints anew from the left one, in a store that is
// as long as such a block. Left of the leftmost checkpoint there is nothing to build them from: those sites read the
// store as the block on their right left it, and after a backward step that is forward times backward. The sweeps do
// without checkpoints; here is kept only what that stretch reads.

#include <cstddef>

#include "model/aligned_buffer.h"

// The sites of a walk that use the store: those left of the leftmost checkpoint, and as many right of it, which leave
// their values for them. Without a second checkpoint nobody leaves anything, and what an earlier walk left is read.
class stale_stretch {
  public:
    // interval of the checkpoints; 0 without memory saving.
    stale_stretch(std::size_t n_sites, std::size_t interval)
        : length_(interval > 0 && n_sites > 0 ? (n_sites - 1) % interval : 0) {}

    // Number of sites left of the leftmost checkpoint, and so its index.
    std::size_t length() const { return length_; }
    bool reads(std::size_t v) const { return v < length_; }
    bool leaves(std::size_t v) const { return v > length_ && v <= 2 * length_; }
    // Where the values that site v reads or leaves stand in the store (hap_fwd_local, dip_fwd_local): a vector or table
    // of so many values. The place is made when it is missing.
    double* values(aligned_buffer& store, std::size_t v, std::size_t size) const {
        ensure_size(store, length_ * size);
        return store.data() + (reads(v) ? v : v - length_ - 1) * size;
    }

  private:
    std::size_t length_;
};
