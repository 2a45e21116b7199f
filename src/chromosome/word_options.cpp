#include "chromosome/word_options.h"

#include <algorithm>

#include "io/run_log.h"
#include "io/text.h"

word_options::word_options(run_log& log, const std::vector<std::string>& words, const std::vector<word_option>& known) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!words[i].starts_with('-') || words[i] == "-") {
            loose_.push_back(words[i]);
            continue;
        }
        const auto option = std::ranges::find(known, words[i], &word_option::name);
        if (option == known.end()) {
            log.fatal(concat("ERROR: There is no option ", words[i], "; --help tells which there are."));
        }
        const std::size_t first = i + 1;
        if (words.size() - first < option->n_values) {
            log.fatal(concat("ERROR: The command-line option ", words[i], " needs a value."));
        }
        i += option->n_values;
        values_.insert_or_assign(std::string(option->name),
                                 std::vector<std::string>(words.begin() + static_cast<std::ptrdiff_t>(first),
                                                          words.begin() + static_cast<std::ptrdiff_t>(i + 1)));
    }
}

std::string word_options::value(std::string_view name, std::string_view otherwise) const {
    const auto found = values_.find(name);
    return found == values_.end() || found->second.empty() ? std::string(otherwise) : found->second.front();
}

long word_options::number(run_log& log, std::string_view name, long otherwise, long least) const {
    if (!has(name)) return otherwise;
    long number = 0;
    if (!parse_long(value(name), number) || number < least) {
        log.fatal(concat("ERROR: The option ", name, " needs a whole number of at least ", least, ", not [",
                         value(name), "]."));
    }
    return number;
}
