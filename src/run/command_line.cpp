#include "run/command_line.h"

#include <variant>

#include "run/odd_words.h"
#include "run/option_table.h"
#include "run/option_values.h"
#include "run/presets.h"

namespace {

class scan {
  public:
    scan(const std::vector<std::string>& entries, command_line& result) : entries_(entries), result_(result) {}

    void take(std::size_t i) {
        const option* row = find_option(entries_[i]);
        if (row == nullptr) {
            result_.unknown.push_back(entries_[i]);
            result_.unknown_hints.push_back(unknown_option_hint(entries_, i));
            return;
        }
        if (!row->echo.empty()) result_.params.active_flags.emplace_back(row->echo);
        store(*row, i);
    }

  private:
    // The n-th value after entry i; null, and the option noted, if the line ends before it.
    const std::string* value(std::size_t i, std::size_t n = 1) {
        if (i + n < entries_.size()) return &entries_[i + n];
        result_.valueless.push_back(entries_[i]);
        return nullptr;
    }

    std::vector<std::string> list(std::size_t i) const {
        std::vector<std::string> values;
        for (++i; i < entries_.size() && (!entries_[i].starts_with('-') || stands_for_file(entries_, i)); ++i) {
            values.push_back(entries_[i]);
        }
        return values;
    }

    void store_list(const option& row, std::size_t i) {
        const std::vector<std::string> values = list(i);
        if (row.kind == option_kind::texts) {
            auto& target = result_.params.*std::get<std::vector<std::string> parameters::*>(row.target);
            target.insert(target.end(), values.begin(), values.end());
            return;
        }
        auto& target = result_.params.*std::get<std::vector<int> parameters::*>(row.target);
        for (std::size_t j = 0; j < values.size(); ++j) {
            if (j == 0 && row.kind == option_kind::state_counts) {
                target[0] = whole_number_of(values[j]);
            } else {
                target.push_back(whole_number_of(values[j]));
            }
        }
    }

    void store(const option& row, std::size_t i) {
        parameters& params = result_.params;
        switch (row.kind) {
            case option_kind::text:
                if (const auto* v = value(i)) params.*std::get<std::string parameters::*>(row.target) = *v;
                break;
            case option_kind::real:
                if (const auto* v = value(i)) params.*std::get<double parameters::*>(row.target) = real_number_of(*v);
                break;
            case option_kind::integer:
                if (const auto* v = value(i)) params.*std::get<int parameters::*>(row.target) = whole_number_of(*v);
                break;
            case option_kind::seed:
                if (const auto* v = value(i)) result_.seed = whole_number_of(*v);
                break;
            case option_kind::interval:
                if (const auto* upper = value(i, 2)) {
                    params.int_lower = real_number_of(entries_[i + 1]);
                    params.int_upper = real_number_of(*upper);
                }
                break;
            case option_kind::texts:
            case option_kind::integers:
            case option_kind::state_counts:
                store_list(row, i);
                break;
            case option_kind::flag:
                params.*std::get<bool parameters::*>(row.target) = row.flag_value;
                break;
            case option_kind::heading:
                break;
        }
    }

    const std::vector<std::string>& entries_;
    command_line& result_;
};

// Takes the options that a preset stands for, so that those of the command line can replace them; the last one counts.
void take_preset(const std::vector<std::string>& entries, command_line& result) {
    std::vector<std::string> words;
    for (std::size_t i = 0; i + 1 < entries.size(); ++i) {
        if (entries[i] == "-preset") words = preset_options(entries[i + 1]);
    }
    scan pass(words, result);
    for (std::size_t i = 0; i < words.size(); i += 2) pass.take(i);
}

}  // namespace

command_line read_command_line(const std::vector<std::string>& entries) {
    command_line result;
    result.echo_text = "Command-line input:";
    result.params.command_text = "orvide";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        result.echo_text += " " + entries[i];
        if (i > 0) result.params.command_text += " " + entries[i];
    }
    take_preset(entries, result);
    scan pass(entries, result);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i] == "--help") {
            result.wants_help = true;
            result.wants_all_help = i + 1 < entries.size() && entries[i + 1] == "all";
        } else if (entries[i] == "--version") {
            result.wants_version = true;
        } else if (stands_for_file(entries, i)) {
            continue;
        } else if (entries[i].starts_with('-')) {
            pass.take(i);
        }
    }
    result.odd_words = find_odd_words(entries);
    return result;
}
