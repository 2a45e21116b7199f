#include "model/sum_table.h"

#include <utility>

void sum_table::allocate(std::size_t n_rows, const std::vector<int>& column, std::size_t n_columns,
                         const std::string* directory) {
    column_ = column;
    n_rows_ = n_rows;
    n_columns_ = n_columns;
    values_ = zeroed_array<double>(directory == nullptr ? n_rows * n_columns : 0);
    file_ = directory == nullptr ? nullptr : std::make_unique<row_file>(*directory, n_rows, n_columns);
}

void sum_table::show(std::size_t first_row, std::size_t n_rows, std::size_t column, sum_view& view) const {
    const std::size_t end_row = first_row + n_rows;
    const bool there = view.table == this && view.first_row <= first_row && view.end_row >= end_row &&
                       view.first_column <= column && view.end_column > column;
    if (there) return;
    view = {};  // two are not held at once
    if (file_ == nullptr) {
        view = {this, values_.data(), n_columns_, 0, n_rows_, 0, n_columns_, nullptr};
        return;
    }
    auto window = file_->window(first_row, n_rows, column);
    const std::size_t first = window->first_column, n = window->n_columns;
    view = {this, window->values.data(), n, first_row, end_row, first, first + n, window};
}

double sum_table::get(std::size_t row, std::size_t site) const {
    if (!has(site)) return 0.0;
    const auto c = static_cast<std::size_t>(column_[site]);
    sum_view found;
    show(row, 1, c, found);
    return found.row(row)[c - found.first_column];
}

void sum_table::add(std::size_t row, std::size_t site, double value) {
    sum_row one(*this, row);
    one.add(site, value);
    one.put_back();
}

void sum_row::put_back() {
    if (additions_.empty()) return;
    table_.file_->add(row_, additions_);
    additions_.clear();
    table_.file_->lists().give(std::move(additions_));
    additions_ = {};
}

std::array<double, 2> sum_reader::get(std::size_t row, std::size_t site) {
    std::array<double, 2> sums{};
    for (std::size_t g = 0; g < 2; ++g) {
        if (!tables_[g].has(site)) continue;
        const auto column = static_cast<std::size_t>(tables_[g].column(site));
        sum_view& view = views_[g];
        const bool one_row = by_ == order::row_by_row;
        tables_[g].show(one_row ? row : 0, one_row ? 1 : n_rows_, column, view);
        sums[g] = view.row(row)[column - view.first_column];
    }
    return sums;
}
