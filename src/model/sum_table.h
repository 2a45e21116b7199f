#pragma once

// Tables of sums by row and site, in memory or in a file.

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "model/row_file.h"
#include "model/zeroed_array.h"

class sum_table;

// Some sums of a table to read: those of all rows that were asked for, at some columns.
struct sum_view {
    const sum_table* table = nullptr;
    const double* values = nullptr;  // of the first row and column
    std::size_t stride = 0;          // from row to row
    std::size_t first_row = 0, end_row = 0;
    std::size_t first_column = 0, end_column = 0;
    std::shared_ptr<const number_window> window;  // what the values stand in, unless it is the table

    // Column first_column of a row.
    const double* row(std::size_t r) const { return values + (r - first_row) * stride; }
};

// A table [rows][sites], of which only some sites have a column.
class sum_table {
  public:
    // column[s] is the column of site s or -1; the table keeps no reference to it. In a temporary file of the directory
    // if one is given; throws run_fault where that has no room.
    void allocate(std::size_t n_rows, const std::vector<int>& column, std::size_t n_columns,
                  const std::string* directory = nullptr);
    bool allocated() const { return n_columns_ != 0; }
    bool has(std::size_t site) const { return column(site) >= 0; }
    // The column of a site, -1 without one.
    int column(std::size_t site) const { return site < column_.size() ? column_[site] : -1; }
    // Lets the view have the rows first_row to first_row + n_rows - 1 at some columns, the given one among them: as
    // many as are read at once. None of the rows may change while it has them.
    void show(std::size_t first_row, std::size_t n_rows, std::size_t column, sum_view& view) const;

    // One sum; 0 at a site without a column. Where many are wanted, sum_reader and sum_row take them from a file
    // together.
    double get(std::size_t row, std::size_t site) const;
    // Nothing at a site without a column.
    void add(std::size_t row, std::size_t site, double value);

  private:
    friend class sum_row;
    // Null of a row in a file, or of one that is not there.
    double* row_in_memory(std::size_t row) {
        return file_ == nullptr && row < n_rows_ ? &values_[row * n_columns_] : nullptr;
    }
    std::size_t n_rows_ = 0;
    std::size_t n_columns_ = 0;
    std::vector<int> column_;
    zeroed_array<double> values_;
    std::unique_ptr<row_file> file_;  // in place of values_
};

// A row to add to. What is added to one that lies in a file is there when it is put back. Others may add to other sites
// of the row meanwhile.
class sum_row {
  public:
    sum_row(sum_table& table, std::size_t row) : table_(table), row_(row), in_memory_(table.row_in_memory(row)) {}
    // Nothing at a site without a column.
    void add(std::size_t site, double value) {
        const int column = table_.column(site);
        if (column < 0) return;
        if (in_memory_ != nullptr) {
            in_memory_[column] += value;
        } else {
            if (additions_.capacity() == 0) additions_ = table_.file_->lists().take();
            additions_.push_back({static_cast<std::size_t>(column), value});
        }
    }
    // To be called when all has been added. Throws run_fault if the file cannot be written.
    void put_back();

  private:
    sum_table& table_;
    const std::size_t row_;
    double* const in_memory_;                    // null where the row is in a file
    std::vector<row_file::addition> additions_;  // to a row in a file
};

// Rows of a pair of tables to add to.
class sum_row_pair {
  public:
    sum_row_pair(std::array<sum_table, 2>& tables, std::size_t row)
        : rows_{sum_row(tables[0], row), sum_row(tables[1], row)} {}
    void add(std::size_t site, double first, double second) {
        rows_[0].add(site, first);
        rows_[1].add(site, second);
    }
    void put_back() {
        for (sum_row& row : rows_) row.put_back();
    }
    sum_row& operator[](std::size_t i) { return rows_[i]; }

  private:
    std::array<sum_row, 2> rows_;
};

// Single sums of a pair of tables, of which near ones are read together: those of all rows, where it is asked for site
// by site, or those of a row.
class sum_reader {
  public:
    enum class order { site_by_site, row_by_row };
    sum_reader(const std::array<sum_table, 2>& tables, std::size_t n_rows, order by)
        : tables_(tables), n_rows_(n_rows), by_(by) {}
    // 0 at a site without a column.
    std::array<double, 2> get(std::size_t row, std::size_t site);

  private:
    const std::array<sum_table, 2>& tables_;
    const std::size_t n_rows_;
    const order by_;
    std::array<sum_view, 2> views_;
};
