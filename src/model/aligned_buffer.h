#pragma once

#include <cstddef>
#include <new>
#include <vector>

// A vector of doubles that begins at a 64-byte boundary; new values are zeros.
template <typename T>
struct aligned_allocator {
    using value_type = T;
    aligned_allocator() = default;
    template <typename U>
    explicit aligned_allocator(const aligned_allocator<U>& /*other*/) {}
    T* allocate(std::size_t n) { return static_cast<T*>(::operator new (n * sizeof(T), std::align_val_t{64})); }
    void deallocate(T* p, std::size_t /*n*/) { ::operator delete (p, std::align_val_t{64}); }
    friend bool operator==(const aligned_allocator& /*a*/, const aligned_allocator& /*b*/) { return true; }
};
using aligned_buffer = std::vector<double, aligned_allocator<double>>;

// Makes a buffer hold at least n values.
inline void ensure_size(aligned_buffer& buffer, std::size_t n) {
    if (buffer.size() < n) buffer.resize(n);
}
