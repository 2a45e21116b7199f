#include "output/variants/bgzf_blocks.h"

#include <htslib/hfile.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace {

// Blocks that are compressed while the next ones are made.
constexpr std::size_t most_waiting = 32;

}  // namespace

bgzf_blocks::bgzf_blocks(BGZF* stream, worker_pool& workers) : stream_(stream), jobs_(workers) {
    const auto n = static_cast<std::size_t>(std::exchange(stream->block_offset, 0));
    text_.assign(static_cast<const char*>(stream->uncompressed_block), n);
}

bool bgzf_blocks::write(std::string_view text) {
    while (!text.empty()) {
        const std::size_t n = std::min<std::size_t>(BGZF_BLOCK_SIZE - text_.size(), text.size());
        text_ += text.substr(0, n);
        text.remove_prefix(n);
        if (text_.size() == BGZF_BLOCK_SIZE && !end_block()) return false;
    }
    return true;
}

bool bgzf_blocks::mark(place_taker take) {
    marks_.push_back({n_begun_, text_.size(), std::move(take)});
    return tell_places();
}

bool bgzf_blocks::finish() {
    if (!text_.empty() && !end_block()) return false;
    while (jobs_.size() > 0) {
        if (!write_first()) return false;
    }
    return tell_places();
}

bool bgzf_blocks::end_block() {
    if (jobs_.size() >= most_waiting && !write_first()) return false;
    block& one = blocks_.emplace_back();
    one.text.swap(text_);
    text_.reserve(BGZF_BLOCK_SIZE);
    ++n_begun_;
    const int level = stream_->compress_level;
    jobs_.add([&one, level](std::size_t /*worker*/) {
        std::size_t n = one.compressed.size();
        const bool good = bgzf_compress(one.compressed.data(), &n, one.text.data(), one.text.size(), level) == 0;
        one.n_compressed = good ? n : 0;
    });
    return true;
}

bool bgzf_blocks::write_first() {
    jobs_.take_first();
    if (!tell_places()) return false;
    const block& one = blocks_.front();
    const auto n = static_cast<ssize_t>(one.n_compressed);
    if (n == 0) errno = EIO;
    if (n == 0 || hwrite(stream_->fp, one.compressed.data(), one.n_compressed) != n) return false;
    stream_->block_address += n;
    ++n_written_;
    blocks_.pop_front();
    return true;
}

// Marks in blocks whose address is known, those before them being written.
bool bgzf_blocks::tell_places() {
    while (!marks_.empty() && marks_.front().block == n_written_) {
        const marked one = std::move(marks_.front());
        marks_.pop_front();
        const auto address = static_cast<std::uint64_t>(stream_->block_address);
        if (!one.take(address << 16U | one.offset)) return false;
    }
    return true;
}
