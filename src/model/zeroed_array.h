#pragma once

// Zeros in memory that the system gives when they are first touched: by the thread that adds to them, and never where
// nobody does.

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

template <typename Number>
class zeroed_array {
  public:
    zeroed_array() = default;
    // Throws std::bad_alloc when there is not that much memory.
    explicit zeroed_array(std::size_t n) : values_(static_cast<Number*>(std::calloc(n > 0 ? n : 1, sizeof(Number)))) {
        if (!values_) throw std::bad_alloc();
    }
    const Number* data() const { return values_.get(); }
    Number& operator[](std::size_t i) { return values_.get()[i]; }
    const Number& operator[](std::size_t i) const { return values_.get()[i]; }

  private:
    struct release {
        void operator()(Number* values) const { std::free(values); }
    };
    std::unique_ptr<Number, release> values_;
};
