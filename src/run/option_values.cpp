#include "run/option_values.h"

#include <cstdlib>

#include "io/input_file.h"
#include "run/option_table.h"

int whole_number_of(const std::string& value) {
    return static_cast<int>(std::strtol(value.c_str(), nullptr, 10));
}

double real_number_of(const std::string& value) {
    return std::strtod(value.c_str(), nullptr);
}

bool stands_for_file(const std::vector<std::string>& entries, std::size_t i) {
    if (!is_standard_input(entries[i])) return false;
    std::size_t at = i;
    while (at > 0 && (at == i || is_standard_input(entries[at]) || !entries[at].starts_with('-'))) --at;
    const option* const row = find_option(entries[at]);
    if (row == nullptr) return false;
    return row->kind == option_kind::texts || (row->kind == option_kind::text && at + 1 == i);
}
