#include "io/last_words.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <string_view>

namespace {

std::atomic<int> words_descriptor{-1};

}  // namespace

void last_words::leave_in(int descriptor) {
    words_descriptor = descriptor;
}

void last_words::say(int signal) {
    const int descriptor = words_descriptor.exchange(-1);
    if (descriptor < 0) return;
    const int old_error = errno;
    constexpr std::string_view words = "\nfailed: ended by signal ";
    constexpr int ten = 10;
    std::array<char, words.size() + 3> line{};
    words.copy(line.data(), words.size());
    std::size_t n = words.size();
    if (signal >= ten) line[n++] = static_cast<char>('0' + signal / ten);
    line[n++] = static_cast<char>('0' + signal % ten);
    line[n++] = '\n';
    if (write(descriptor, line.data(), n) < 0) errno = old_error;  // there is nobody to tell
    errno = old_error;
}
