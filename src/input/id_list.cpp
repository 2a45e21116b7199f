#include "input/id_list.h"

#include <algorithm>

#include "io/run_log.h"
#include "io/text.h"
#include "io/text_input.h"

id_set::id_set(std::initializer_list<std::string_view> ids) {
    for (const std::string_view id : ids) insert(id);
}

bool id_set::contains(std::string_view id) {
    was_asked_ = true;
    const auto entry = found_.find(id);
    if (entry == found_.end()) return false;
    entry->second = true;
    return true;
}

std::size_t id_set::n_found() const {
    return static_cast<std::size_t>(
        std::count_if(found_.begin(), found_.end(), [](const auto& entry) { return entry.second; }));
}

std::string id_set::not_found() const {
    constexpr std::size_t most = 5;
    std::string text;
    std::size_t n = 0;
    for (const auto& [id, found] : found_) {
        if (found || ++n > most) continue;
        if (n > 1) text += ", ";
        text += id;
    }
    return n > most ? concat(text, " and ", n - most, " more") : text;
}

bool id_set::operator==(const id_set& other) const {
    return std::equal(found_.begin(), found_.end(), other.found_.begin(), other.found_.end(),
                      [](const auto& a, const auto& b) { return a.first == b.first; });
}

id_set read_first_fields(text_input& file) {
    id_set ids;
    std::string_view line, id;
    while (file.next_filled_line(line)) {
        field_scanner(line).next(id);
        ids.insert(id);
    }
    return ids;
}

void report_found(run_log& log, const id_set& list, const std::string& option, const std::string& file, bool needed,
                  std::string_view remark) {
    const std::size_t n = list.n_found();
    const std::string name = concat("the list [", file, "] (", option, ")");
    if (list.empty()) return log.note(concat("note: ", name, " is empty"));
    const std::string missing = list.not_found();
    if (n == 0 && needed) {
        return log.odd_input(concat("Nothing of ", name, " was found in the data, and it excludes nothing: ", missing,
                                    ". Its entries must be equal to IDs of the data, to the letter."));
    }
    log.note(concat("note: ", n, " of ", list.size(), " entries of ", name, " were found",
                    missing.empty() ? std::string() : concat("; not found: ", missing), remark));
}
