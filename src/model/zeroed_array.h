#pragma once

// Zeros in memory that the system gives when they are first touched: by the thread that adds to them, and never where
// nobody does.

#include <cstddef>
#include <new>

// Bytes of that kind; a large amount lies in huge pages where the system has them, since sums are read across rows
// that lie far apart.
class zeroed_memory {
  public:
    zeroed_memory() = default;
    // Throws std::bad_alloc when there is not that much memory.
    explicit zeroed_memory(std::size_t n_bytes);
    zeroed_memory(zeroed_memory&& other) noexcept;
    zeroed_memory& operator=(zeroed_memory&& other) noexcept;
    ~zeroed_memory();
    void* data() const { return data_; }

  private:
    void* mapped_ = nullptr;  // of a large amount
    std::size_t n_mapped_ = 0;
    void* data_ = nullptr;
};

template <typename Number>
class zeroed_array {
  public:
    zeroed_array() = default;
    // Throws std::bad_alloc when there is not that much memory.
    explicit zeroed_array(std::size_t n)
        : memory_(n <= static_cast<std::size_t>(-1) / sizeof(Number) ? n * sizeof(Number) : throw std::bad_alloc()) {}
    const Number* data() const { return static_cast<const Number*>(memory_.data()); }
    Number& operator[](std::size_t i) { return static_cast<Number*>(memory_.data())[i]; }
    const Number& operator[](std::size_t i) const { return data()[i]; }

  private:
    zeroed_memory memory_;
};
