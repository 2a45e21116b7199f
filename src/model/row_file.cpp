#include "model/row_file.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t window_numbers = std::size_t{1} << 19U;  // 4 MB
constexpr std::size_t least_columns = 64;                      // a call for a row brings eight cache lines

std::size_t window_columns(std::size_t n_rows, std::size_t n_columns) {
    const std::size_t wanted = window_numbers / std::max<std::size_t>(n_rows, 1) / least_columns * least_columns;
    return std::min(std::max(wanted, least_columns), n_columns);
}

bool holds(const number_window& window, std::size_t first_row, std::size_t n_rows, std::size_t column) {
    return window.first_row == first_row && window.n_rows == n_rows && column >= window.first_column &&
           column < window.first_column + window.n_columns;
}

}  // namespace

row_file::row_file(const std::string& directory, std::size_t n_rows, std::size_t n_columns)
    : n_columns_(n_columns),
      written_(n_rows, 0),
      file_(directory, n_rows * n_columns * sizeof(double)),
      windows_(std::make_shared<window_store>()) {}

std::size_t row_file::place(std::size_t row, std::size_t column) const {
    return (row * n_columns_ + column) * sizeof(double);
}

void row_file::add(std::size_t row, std::span<const addition> additions) {
    if (additions.empty()) return;
    const auto [least, largest] = std::minmax_element(
        additions.begin(), additions.end(), [](const addition& a, const addition& b) { return a.column < b.column; });
    const std::size_t first = least->column, n = largest->column - first + 1;
    std::vector<double> numbers = numbers_.take();
    if (numbers.size() < n) numbers.resize(n);
    const std::lock_guard<std::mutex> lock(row_mutexes_[row % row_mutexes_.size()]);
    if (written_[row] != 0) {
        file_.read(place(row, first), numbers.data(), n * sizeof(double));
    } else {
        std::fill_n(numbers.begin(), n, 0.0);
    }
    for (const addition& one : additions) numbers[one.column - first] += one.value;
    file_.write(place(row, first), numbers.data(), n * sizeof(double));
    written_[row] = 1;
    numbers_.give(std::move(numbers));
}

std::shared_ptr<const number_window> row_file::window(std::size_t first_row, std::size_t n_rows,
                                                      std::size_t column) const {
    // The new one, and those that others let go while they are looked at: before the lock, which letting go takes, too.
    const std::shared_ptr<number_window> made(std::make_unique<number_window>().release(),
                                              [store = std::weak_ptr(windows_)](number_window* gone) {
                                                  // The store has those that are held, who must not hold it.
                                                  std::unique_ptr<number_window> one(gone);
                                                  if (const auto held_in = store.lock()) held_in->keep(std::move(one));
                                              });
    std::vector<std::shared_ptr<const number_window>> seen;
    const std::lock_guard<std::mutex> lock(windows_->mutex);
    for (const auto& one : windows_->held) {
        seen.push_back(one.lock());
        if (seen.back() != nullptr && holds(*seen.back(), first_row, n_rows, column)) return seen.back();
    }
    std::erase_if(windows_->held, [](const auto& one) { return one.expired(); });
    if (windows_->spare != nullptr) made->values.swap(windows_->spare->values);
    windows_->spare.reset();
    made->first_row = first_row;
    made->n_rows = n_rows;
    read_window(*made, column);
    windows_->held.emplace_back(made);
    return made;
}

void row_file::window_store::keep(std::unique_ptr<number_window> one) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (spare == nullptr || spare->values.size() < one->values.size()) spare = std::move(one);
}

void row_file::read_window(number_window& window, std::size_t column) const {
    const std::size_t width = window_columns(window.n_rows, n_columns_);
    window.first_column = column / width * width;
    window.n_columns = std::min(width, n_columns_ - window.first_column);
    if (window.values.size() < window.n_rows * width) window.values.resize(window.n_rows * width);
    double* to = window.values.data();
    for (std::size_t row = window.first_row; row < window.first_row + window.n_rows; ++row, to += window.n_columns) {
        if (written_[row] != 0) {
            file_.read(place(row, window.first_column), to, window.n_columns * sizeof(double));
        } else {
            std::fill_n(to, window.n_columns, 0.0);
        }
    }
}

std::size_t row_file::window_bytes(std::size_t n_rows, std::size_t n_columns) {
    return n_rows * window_columns(n_rows, n_columns) * sizeof(double);
}
