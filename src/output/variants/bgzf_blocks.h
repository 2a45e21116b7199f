#pragma once

// The text of a BGZF file, block by block compressed beside each other. The bytes are those that bgzf_write makes, and
// so are the places that an index names.

#include <htslib/bgzf.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "threads/ordered_jobs.h"

class bgzf_blocks {
  public:
    // Gets the virtual offset of a place; false ends the writing.
    using place_taker = std::function<bool(std::uint64_t)>;

    // What stands in the stream's buffer is taken over. Nobody else writes to the stream until finish().
    bgzf_blocks(BGZF* stream, worker_pool& workers);

    // False when something could not be written; errno tells why.
    bool write(std::string_view text);
    // take gets the place behind what has been written, before the next call of write or finish() returns in which it
    // becomes known.
    bool mark(place_taker take);
    // Writes what is left.
    bool finish();

  private:
    struct block {
        std::string text;
        std::array<char, BGZF_MAX_BLOCK_SIZE> compressed;
        std::size_t n_compressed = 0;  // 0: not possible
    };
    struct marked {
        std::uint64_t block;  // counted from the first one that was begun here
        std::uint64_t offset;
        place_taker take;
    };

    bool end_block();
    bool write_first();
    bool tell_places();

    BGZF* const stream_;
    std::string text_;           // of the block that is not full
    std::uint64_t n_begun_ = 0;  // blocks that were full
    std::uint64_t n_written_ = 0;
    std::deque<marked> marks_;
    std::deque<block> blocks_;
    ordered_jobs jobs_;  // last: they end before what they use
};
