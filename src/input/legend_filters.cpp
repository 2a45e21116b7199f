// Rules on the free columns of the Panel 0 legend; a line that meets any of them is dropped.

#include <algorithm>
#include <array>

#include <cstdio>

#include "input/legend_filters.h"
#include "io/text.h"
#include "model/data.h"

namespace {

// A number at the start of the text is enough; "nan" and "inf" are numbers here.
bool starts_with_number(const std::string& text, double& value) {
    return std::sscanf(text.c_str(), "%lf", &value) == 1;
}

constexpr double tolerance = 1e-10;

// The operators in the order in which they are looked for.
constexpr std::array<const char*, 6> operators{"<=", "<", ">=", ">", "==", "!="};

struct filter_rule {
    std::string field, op, value;
};

// The first operator that occurs in a rule decides; the rule is valid if it stands between two pieces.
bool split_rule(const std::string& text, filter_rule& rule) {
    for (const char* op : operators) {
        if (text.find(op) == std::string::npos) continue;
        std::vector<std::string> pieces;
        strsplit(text, op, pieces, false);
        if (pieces.size() != 2) return false;
        rule = {pieces[0], op, pieces[1]};
        return true;
    }
    return false;
}

// Ends the run with the words and the items, one a line, unless there are none.
void refuse(run_log& log, const std::string& words, const std::vector<std::string>& items) {
    if (items.empty()) return;
    std::string text = words;
    for (const std::string& item : items) text += concat("\n |", item, "|");
    log.fatal(text);
}

std::size_t column_of(const std::vector<std::string>& columns, const std::string& field) {
    return static_cast<std::size_t>(std::find(columns.begin(), columns.end(), field) - columns.begin());
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

void parse_legend_filters(data& run) {
    run.log.line(" --parsing legend filters provided via -filt_rules_l");
    std::vector<std::string> invalid;
    for (const std::string& text : run.params.filt_rules_l) {
        if (text.empty()) {
            run.log.fatal(
                "ERROR: Something went wrong when parsing filter strings provided via the -filt_rules_l option; please "
                "contact the authors for assistance.");
        }
        filter_rule rule;
        if (!split_rule(text, rule)) {
            invalid.push_back(text);
            continue;
        }
        double number = -1.0;
        const bool is_numeric = starts_with_number(rule.value, number);
        if (!is_numeric && rule.op != "==" && rule.op != "!=") {
            run.log.fatal(concat("ERROR: The filter string |", text,
                                 "| contains a non-numeric value field, so it can only be used with the '==' or '!=' "
                                 "operators."));
        }
        run.filt_fields.push_back(rule.field);
        run.filt_ops.push_back(rule.op);
        run.filt_num_values.push_back(number);
        run.filt_str_values.push_back(is_numeric ? "NA" : rule.value);
        run.filt_is_numeric.push_back(is_numeric);
        (is_numeric ? run.has_num_filters : run.has_str_filters) = true;
    }
    std::vector<std::string> unknown;
    for (const std::string& field : run.filt_fields) {
        if (column_of(run.legend_cols, field) == run.legend_cols.size()) unknown.push_back(field);
    }
    refuse(run.log,
           "ERROR: The following filter strings provided to the -filt_rules_l option were not found in the -l file:",
           unknown);
    refuse(run.log,
           "ERROR: The following filter strings provided to the -filt_rules_l option contain invalid delimiters:",
           invalid);
}

bool filter_legend_snp_by_num(data& run, const std::vector<std::string>& tokens, long position) {
    for (std::size_t i = 0; i < run.filt_fields.size(); ++i) {
        if (!run.filt_is_numeric[i]) continue;
        const std::string& token = tokens[column_of(run.legend_cols, run.filt_fields[i])];
        double value = -1.0;
        if (!starts_with_number(token, value)) {
            run.log.fatal(concat("ERROR: The -filt_rules_l value [", token, "] at position ", position,
                                 " is not numeric, even though the corresponding filter rule [", run.filt_fields[i],
                                 run.filt_ops[i], default_text(run.filt_num_values[i]), "] uses a numeric criterion."));
        }
        if (meets(value, run.filt_ops[i], run.filt_num_values[i])) return true;
    }
    return false;
}

bool filter_legend_snp_by_str(const data& run, const std::vector<std::string>& tokens) {
    for (std::size_t i = 0; i < run.filt_fields.size(); ++i) {
        if (run.filt_is_numeric[i]) continue;
        const bool equal = tokens[column_of(run.legend_cols, run.filt_fields[i])] == run.filt_str_values[i];
        if (equal == (run.filt_ops[i] == "==")) return true;
    }
    return false;
}
