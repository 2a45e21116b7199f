#include "io/text_input.h"

#include <boost/iostreams/categories.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/filtering_stream.hpp>
#include <cstring>
#include <exception>
#include <utility>

#include "io/run_log.h"
#include "io/text.h"

namespace {

constexpr std::size_t initial_buffer = std::size_t{1} << 18;
constexpr std::streamsize gzip_buffer = 1 << 16;
constexpr std::streamsize text_buffer = 1 << 17;  // small ones make the decompressor copy its window often
constexpr std::streamsize file_buffer = 1 << 16;
// A block that is read ahead is what the decompressor hands out at once: a damaged file fails at the same byte.
constexpr std::size_t blocks_ahead = 16;

// The end of the chain.
class file_source {
  public:
    using char_type = char;
    using category = boost::iostreams::source_tag;

    explicit file_source(input_file& file) : file_(&file) {}
    std::streamsize read(char* to, std::streamsize n) {
        const std::size_t n_read = file_->read(to, static_cast<std::size_t>(n));
        return n_read == 0 ? -1 : static_cast<std::streamsize>(n_read);
    }

  private:
    input_file* file_;
};

}  // namespace

struct text_input::chain {
    explicit chain(input_file&& opened) : file(std::move(opened)) {}
    input_file file;
    boost::iostreams::filtering_istream stream;

    std::size_t read(char* to, std::size_t n) {
        stream.read(to, static_cast<std::streamsize>(n));
        return static_cast<std::size_t>(stream.gcount());
    }
};

text_input::~text_input() = default;

text_input::text_input(run_log& log, std::string name, std::string_view missing_message,
                       std::string_view unopened_message)
    : text_input(log, input_file(log, std::move(name), missing_message, unopened_message), unopened_message) {}

text_input::text_input(run_log& log, input_file&& file, std::string_view unopened_message, bool ahead)
    : log_(log), name_(file.name()), chain_(std::make_unique<chain>(std::move(file))), buffer_(initial_buffer) {
    check_kind();
    auto& stream = chain_->stream;
    if (is_gzipped(name_)) {
        boost::iostreams::gzip_params params;
        params.window_bits = 15;
        stream.push(boost::iostreams::gzip_decompressor(params.window_bits, gzip_buffer), text_buffer);
    }
    stream.push(file_source(chain_->file), file_buffer);
    if (!stream) log_.fatal(unopened_message);
    // Failures inside the chain come out as exceptions, so that no damaged file passes for a short one.
    stream.exceptions(std::ios_base::badbit);
    if (!ahead || !is_gzipped(name_)) return;
    const auto unpack = [from = chain_.get()](char* to, std::size_t n) { return from->read(to, n); };
    ahead_ = std::make_unique<read_ahead>(unpack, text_buffer, blocks_ahead);
}

void text_input::check_kind() const {
    const file_kind kind = chain_->file.kind();
    const std::string refusal = why_not_text(kind, name_);
    if (!refusal.empty()) log_.fatal(refusal);
    const std::string odd_name = odd_name_text(kind, name_, chain_->file.is_regular());
    if (!odd_name.empty()) log_.odd_input(odd_name);
}

bool text_input::refill() {
    if (at_end_) return false;
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
    std::size_t n_read = 0;
    try {
        char* const to = buffer_.data() + end_;
        const std::size_t n = buffer_.size() - end_;
        n_read = ahead_ ? ahead_->read(to, n) : chain_->read(to, n);
    } catch (const std::exception& failure) {
        const std::string text = concat("The file [", name_, "] is damaged or cannot be read after line ", line_number_,
                                        " (", failure.what(), ")");
        if (!forgives_damage_) log_.fatal(concat("ERROR: ", text, "."));
        log_.odd_input(concat(text, ", behind all that is needed of it: it is taken to end there."));
        at_end_ = true;
        return false;
    }
    end_ += n_read;
    if (n_read == 0) at_end_ = true;
    return n_read > 0;
}

bool text_input::next_line(std::string_view& line) {
    if (held_) {
        held_ = false;
        line = last_line_;
        return true;
    }
    std::size_t searched = 0;
    while (true) {
        const char* start = buffer_.data() + begin_;
        const std::size_t available = end_ - begin_;
        const void* newline =
            available > searched ? std::memchr(start + searched, '\n', available - searched) : nullptr;
        std::size_t length = 0;
        if (newline != nullptr) {
            length = static_cast<std::size_t>(static_cast<const char*>(newline) - start);
        } else {
            searched = available;
            if (refill()) continue;
            if (available == 0) return false;
            length = available;
        }
        line = std::string_view(buffer_.data() + begin_, length);
        begin_ += length + (newline != nullptr ? 1 : 0);
        ++line_number_;
        if (line_number_ == 1) take_off_mark(line);
        if (!line.empty() && line.back() == '\r' && !noted_return_) {
            noted_return_ = true;
            odd("The line ends in a carriage return", "it stays a part of its last field, here and in what follows");
        }
        last_line_ = line;
        return true;
    }
}

void text_input::take_off_mark(std::string_view& line) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (!line.starts_with(byte_order_mark)) return;
    line.remove_prefix(byte_order_mark.size());
    odd("There is a byte order mark", "it is left out");
}

bool text_input::next_filled_line(std::string_view& line) {
    while (next_line(line)) {
        if (line.find_first_not_of(" \t\r") != std::string_view::npos) return true;
    }
    return false;
}

void text_input::fail(std::string_view what) const {
    log_.fatal(concat("ERROR: ", what, ", in line ", line_number_, " of the file [", name_, "]."));
}

void text_input::odd(std::string_view what, std::string_view taken) const {
    log_.odd_input(concat(what, ", in line ", line_number_, " of the file [", name_, "]: ", taken, "."));
}

void text_input::note(std::string_view what) const {
    log_.note(concat("note: [", name_, "], line ", line_number_, ": ", what));
}
