#include "input/legend_filter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "io/run_log.h"
#include "io/text.h"

namespace {

// A number at the start of the text is enough; "nan" and "inf" are numbers here.
bool starts_with_number(const std::string& text, double& value) {
    return std::sscanf(text.c_str(), "%lf", &value) == 1;
}

constexpr double tolerance = 1e-10;

// The operators in the order in which they are looked for.
constexpr std::array<const char*, 6> operators{"<=", "<", ">=", ">", "==", "!="};

// Ends the run with the words and the items, one a line, unless there are none.
void refuse(run_log& log, const std::string& words, const std::vector<std::string>& items) {
    if (items.empty()) return;
    std::string text = words;
    for (const std::string& item : items) text += concat("\n |", item, "|");
    log.fatal(text);
}

// Some comparisons carry a tolerance in favour of equality, some do not.
bool meets(double v, const std::string& op, double t) {
    if (op == "<") return !(v >= t);
    if (op == "<=") return t + tolerance > v;
    if (op == ">") return v > t;
    if (op == ">=") return !(t - tolerance >= v);
    const bool equal = t + tolerance > v && v > t - tolerance;
    if (op == "==") return equal;
    return t - tolerance > v || v > t + tolerance;
}

}  // namespace

// The first operator that occurs in a rule decides; the rule is valid if it stands between two pieces.
bool legend_filter::split(const std::string& text, rule& parts) {
    for (const char* op : operators) {
        if (text.find(op) == std::string::npos) continue;
        std::vector<std::string> pieces;
        strsplit(text, op, pieces, false);
        if (pieces.size() != 2) return false;
        parts.field = pieces[0];
        parts.op = op;
        parts.text = pieces[1];
        return true;
    }
    return false;
}

void legend_filter::add(const std::string& text, rule parts) {
    parts.is_numeric = starts_with_number(parts.text, parts.number);
    if (!parts.is_numeric && parts.op != "==" && parts.op != "!=") {
        log_.fatal(concat("ERROR: The filter string |", text,
                          "| contains a non-numeric value field, so it can only be used with the '==' or '!=' "
                          "operators."));
    }
    rules_.push_back(std::move(parts));
}

void legend_filter::find_columns(const std::vector<std::string>& value_names) {
    std::vector<std::string> unknown;
    for (rule& r : rules_) {
        const auto found = std::find(value_names.begin(), value_names.end(), r.field);
        r.column = static_cast<std::size_t>(found - value_names.begin());
        if (found == value_names.end()) unknown.push_back(r.field);
    }
    refuse(log_,
           "ERROR: The following filter strings provided to the -filt_rules_l option were not found in the -l file:",
           unknown);
}

legend_filter::legend_filter(run_log& log, const std::vector<std::string>& rules,
                             const std::vector<std::string>& value_names)
    : log_(log) {
    log_.line(" --parsing legend filters provided via -filt_rules_l");
    std::vector<std::string> invalid;
    for (const std::string& text : rules) {
        if (text.empty()) {
            log_.fatal(
                "ERROR: Something went wrong when parsing filter strings provided via the -filt_rules_l option; please "
                "contact the authors for assistance.");
        }
        rule parts;
        if (split(text, parts)) {
            add(text, std::move(parts));
        } else {
            invalid.push_back(text);
        }
    }
    find_columns(value_names);
    refuse(log_, "ERROR: The following filter strings provided to the -filt_rules_l option contain invalid delimiters:",
           invalid);
}

// All rules on numbers come before those on texts.
bool legend_filter::drops(const std::vector<std::string>& values, long position) const {
    return drops_by_number(values, position) || drops_by_text(values);
}

bool legend_filter::drops_by_number(const std::vector<std::string>& values, long position) const {
    for (const rule& r : rules_) {
        if (!r.is_numeric) continue;
        const std::string& text = values[r.column];
        double value = -1.0;
        if (!starts_with_number(text, value)) {
            log_.fatal(concat("ERROR: The -filt_rules_l value [", text, "] at position ", position,
                              " is not numeric, even though the corresponding filter rule [", r.field, r.op,
                              default_text(r.number), "] uses a numeric criterion."));
        }
        if (meets(value, r.op, r.number)) return true;
    }
    return false;
}

bool legend_filter::drops_by_text(const std::vector<std::string>& values) const {
    for (const rule& r : rules_) {
        if (r.is_numeric) continue;
        const bool equal = values[r.column] == r.text;
        if (equal == (r.op == "==")) return true;
    }
    return false;
}
