#include "model/zeroed_array.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace {

constexpr std::size_t huge_page = std::size_t{1} << 21U;

}  // namespace

zeroed_memory::zeroed_memory(std::size_t n_bytes) {
    if (n_bytes < huge_page) {  // from the heap, whose borders a sanitizer watches
        data_ = std::calloc(std::max<std::size_t>(n_bytes, 1), 1);
        if (data_ == nullptr) throw std::bad_alloc();
        return;
    }
    const std::size_t n = n_bytes + huge_page;
    if (n < n_bytes) throw std::bad_alloc();
    void* const mapped = mmap(nullptr, n, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    mapped_ = mapped;
    n_mapped_ = n;
    const std::size_t past = reinterpret_cast<std::uintptr_t>(mapped) % huge_page;
    data_ = static_cast<char*>(mapped) + (past > 0 ? huge_page - past : 0);
    madvise(data_, n_bytes, MADV_HUGEPAGE);  // a wish: without, pages are small
}

zeroed_memory::zeroed_memory(zeroed_memory&& other) noexcept
    : mapped_(std::exchange(other.mapped_, nullptr)),
      n_mapped_(std::exchange(other.n_mapped_, 0)),
      data_(std::exchange(other.data_, nullptr)) {}

zeroed_memory& zeroed_memory::operator=(zeroed_memory&& other) noexcept {
    std::swap(mapped_, other.mapped_);
    std::swap(n_mapped_, other.n_mapped_);
    std::swap(data_, other.data_);
    return *this;
}

zeroed_memory::~zeroed_memory() {
    if (mapped_ != nullptr) {
        munmap(mapped_, n_mapped_);
    } else {
        std::free(data_);
    }
}
