#include "run/odd_words.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include "io/text.h"
#include "run/option_table.h"
#include "run/option_values.h"

namespace {

using words = std::vector<std::string>;

constexpr std::size_t most_panels = 2;  // of -h and -l
constexpr int n_site_types = 4;

std::string in_quotes(std::string_view word) {
    return concat("[", printable(word), "]");
}

// The bytes of a dash that looks like a hyphen, at the start of a word; 0 if there is none. In UTF-8 the dashes from
// U+2010 to U+2015, and the minus sign U+2212.
std::size_t dash_length(std::string_view word) {
    if (word.size() < 3) return 0;
    const std::string_view mark = word.substr(0, 3);
    return (mark >= "\xe2\x80\x90" && mark <= "\xe2\x80\x95") || mark == "\xe2\x88\x92" ? 3 : 0;
}

// How many of the entries behind an option are its values; nullopt for all up to the next one that begins with a
// hyphen.
std::optional<std::size_t> value_count(option_kind kind) {
    switch (kind) {
        case option_kind::text:
        case option_kind::real:
        case option_kind::integer:
        case option_kind::seed:
            return 1;
        case option_kind::interval:
            return 2;
        case option_kind::texts:
        case option_kind::integers:
        case option_kind::state_counts:
            return std::nullopt;
        case option_kind::flag:
        case option_kind::heading:
            break;
    }
    return 0;
}

bool is_whole(option_kind kind) {
    return kind == option_kind::integer || kind == option_kind::integers || kind == option_kind::state_counts ||
           kind == option_kind::seed;
}

bool is_number(option_kind kind) {
    return is_whole(kind) || kind == option_kind::real || kind == option_kind::interval;
}

// Without an exponent as far as digits tell all.
std::string plain_text(double value) {
    constexpr double largest = 1e15;
    return value == std::floor(value) && std::abs(value) < largest ? fixed_text(value, 0) : default_text(value);
}

std::string odd_whole_number(const option& row, const std::string& value) {
    const char* const start = value.c_str();
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(start, &end, 10);
    const bool ends_well = end != start && *end == '\0';
    const bool fits =
        errno == 0 && number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
    if (ends_well && fits) return {};
    const std::string taken = concat("; it was taken as ", whole_number_of(value), ".");
    if (!ends_well) {
        return concat("The value ", in_quotes(value), " of ", row.name, " is no whole number to its last character",
                      taken, " Please write digits only.");
    }
    return concat("The value ", in_quotes(value), " of ", row.name, " is beyond ", std::numeric_limits<int>::max(),
                  " or below ", std::numeric_limits<int>::min(), taken);
}

std::string odd_real_number(const option& row, const std::string& value) {
    const char* const start = value.c_str();
    char* end = nullptr;
    const double number = std::strtod(start, &end);
    if (end != start && *end == '\0' && std::isfinite(number)) return {};
    return concat("The value ", in_quotes(value), " of ", row.name,
                  " is no number to its last character; it was taken as ", plain_text(real_number_of(value)),
                  ". Please write digits, and a point before decimals.");
}

class odd_word_search {
  public:
    explicit odd_word_search(const words& entries) : entries_(entries), taken_by_(entries.size(), nullptr) {}

    std::vector<std::string> run() {
        for (std::size_t i = 1; i < entries_.size(); ++i) {
            const option* const row = find_option(entries_[i]);
            if (taken_by_[i] != nullptr) {
                check_value(i, row);
            } else if (!entries_[i].starts_with('-')) {
                add(stray_text(i));
            }
            if (row != nullptr) take_values(*row, i);
        }
        return found_;
    }

  private:
    void add(std::string text) {
        if (!text.empty()) found_.push_back(std::move(text));
    }

    // Marks the values of the option at entry i, and compares them with those that it had before.
    void take_values(const option& row, std::size_t i) {
        const std::optional<std::size_t> n_wanted = value_count(row.kind);
        words values;
        for (std::size_t at = i + 1; at < entries_.size() && values.size() < n_wanted.value_or(entries_.size()); ++at) {
            if (!n_wanted && entries_[at].starts_with('-') && !stands_for_file(entries_, at)) break;
            taken_by_[at] = &row;
            values.push_back(entries_[at]);
        }
        if (!n_wanted && values.empty()) add(concat("The option ", row.name, " has no value; it was passed over."));
        if (n_wanted != 0 && row.kind != option_kind::texts && row.kind != option_kind::integers) {
            check_repetition(row, values);
        }
    }

    void check_repetition(const option& row, const words& values) {
        const auto [before, is_first] = values_of_.try_emplace(&row, values);
        if (is_first || before->second == values) return;
        const auto joined = [](const words& all) {
            return std::accumulate(all.begin(), all.end(), std::string(),
                                   [](const std::string& text, const std::string& word) {
                                       return text + (text.empty() ? "" : " ") + word;
                                   });
        };
        add(concat("The option ", row.name, " is given again: ", in_quotes(joined(values)), " was taken in place of ",
                   in_quotes(joined(before->second)),
                   row.kind == option_kind::state_counts && std::max(values.size(), before->second.size()) > 1
                       ? ", and what follows the first number was added."
                       : "."));
        before->second = values;
    }

    // There is no third panel.
    std::string further_file(const option& row, const std::string& value) {
        if (row.name != "-h" && row.name != "-l") return {};
        const std::size_t n = ++n_files_of_[&row];
        if (n <= most_panels) return {};
        return concat("The file ", in_quotes(value), " is number ", n, " of ", row.name,
                      ", which takes two at most; it is not read.");
    }

    void check_value(std::size_t i, const option* as_option) {
        const option& row = *taken_by_[i];
        const std::string& value = entries_[i];
        if (as_option != nullptr) {
            add(concat("The word ", in_quotes(value), " was taken as the value of ", row.name,
                       " and as an option. Please give ", row.name, " its value."));
        }
        add(further_file(row, value));
        if (const std::size_t n = dash_length(value)) {
            add(concat("The word ", in_quotes(value),
                       " begins with a dash that is no hyphen; it was taken as a value of ", row.name,
                       ". If an option is meant, please write ", in_quotes("-" + value.substr(n)), "."));
        } else if (is_number(row.kind)) {
            add(is_whole(row.kind) ? odd_whole_number(row, value) : odd_real_number(row, value));
            if (row.kind == option_kind::integers) add(odd_site_type(row, value));
        }
    }

    static std::string odd_site_type(const option& row, const std::string& value) {
        const int type = whole_number_of(value);
        if (type >= 0 && type < n_site_types) return {};
        return concat("The value ", in_quotes(value), " of ", row.name,
                      " is no type of SNP (0, 1, 2 or 3); it was passed "
                      "over.");
    }

    // What is said of entry i, which no option takes.
    std::string stray_text(std::size_t i) const {
        const std::string& word = entries_[i];
        if (const std::size_t n = dash_length(word)) {
            return concat("The word ", in_quotes(word),
                          " begins with a dash that is no hyphen; it was passed over. Please "
                          "write ",
                          in_quotes("-" + word.substr(n)), ".");
        }
        std::size_t before = i - 1;
        while (before > 0 && !entries_[before].starts_with('-') && dash_length(entries_[before]) == 0) --before;
        const option* const row = find_option(entries_[before]);
        if (row == nullptr || before == 0) {
            return concat("The word ", in_quotes(word), " belongs to no option; it was passed over.");
        }
        const std::size_t n_values = value_count(row->kind).value_or(0);
        return concat("The word ", in_quotes(word), " was passed over: ", row->name, " takes ",
                      n_values == 0   ? std::string("no value")
                      : n_values == 1 ? concat("one value, and ", in_quotes(entries_[before + 1]), " was taken")
                                      : std::string("two values, which were taken"),
                      ".");
    }

    const words& entries_;
    std::vector<const option*> taken_by_;  // the option that an entry is a value of, or null
    std::map<const option*, words> values_of_;
    std::map<const option*, std::size_t> n_files_of_;
    std::vector<std::string> found_;
};

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Letters to insert, to leave out, to replace, or to swap with their neighbour; small and capital ones are alike
// (F. J. Damerau 1964).
std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> least(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    const auto same = [a, b](std::size_t i, std::size_t j) { return lower(a[i - 1]) == lower(b[j - 1]); };
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                least[i][j] = i + j;
                continue;
            }
            least[i][j] =
                std::min({least[i - 1][j] + 1, least[i][j - 1] + 1, least[i - 1][j - 1] + (same(i, j) ? 0 : 1)});
            if (i > 1 && j > 1 && same(i, j - 1) && same(i - 1, j)) {
                least[i][j] = std::min(least[i][j], least[i - 2][j - 2] + 1);
            }
        }
    }
    return least[a.size()][b.size()];
}

// The first one of those that are nearest; null if none is near.
const option* nearest_option(std::string_view entry) {
    const option* nearest = nullptr;
    std::size_t least = std::max<std::size_t>(entry.size() / 3, 1);
    for (const option& row : all_options()) {
        if (row.kind == option_kind::heading) continue;
        const std::size_t distance = edit_distance(entry, row.name);
        if (distance < least || (distance == least && nearest == nullptr)) {
            nearest = &row;
            least = distance;
        }
    }
    return nearest;
}

}  // namespace

std::vector<std::string> find_odd_words(const std::vector<std::string>& entries) {
    return odd_word_search(entries).run();
}

std::string unknown_option_hint(const std::vector<std::string>& entries, std::size_t i) {
    const std::string& entry = entries[i];
    const bool may_be_value = entry.size() > 1 && (entry[1] == '.' || (entry[1] >= '0' && entry[1] <= '9'));
    if (may_be_value) {
        return concat(in_quotes(entry),
                      " begins with a hyphen and so is read as an option: a value cannot be negative.");
    }
    const option* const nearest = nearest_option(entry);
    if (nearest == nullptr) return concat(in_quotes(entry), " is no option; orvide --help all lists them.");
    return concat(in_quotes(entry), " is no option; the nearest one is ", nearest->name, ".");
}
