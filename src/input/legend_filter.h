#pragma once

// Rules on the further values of Panel 0 sites (-filt_rules_l); a site that meets any of them is dropped.

#include <cstddef>
#include <string>
#include <vector>

class run_log;

class legend_filter {
  public:
    // Parses rules such as "maf<0.05" or "type==indel" on the named values, and says so. Ends the run on a rule that is
    // no rule or names no value.
    legend_filter(run_log& log, const std::vector<std::string>& rules, const std::vector<std::string>& value_names);
    // Whether a site with these values is dropped. A value that a rule on numbers meets and that does not begin with a
    // number ends the run.
    bool drops(const std::vector<std::string>& values, long position) const;

  private:
    struct rule {
        std::string field, op, text;  // (filt_fields, filt_ops, filt_str_values)
        double number = -1.0;         // (filt_num_values)
        bool is_numeric = false;      // (filt_is_numeric)
        std::size_t column = 0;       // of the values
    };
    static bool split(const std::string& text, rule& parts);
    void add(const std::string& text, rule parts);
    void find_columns(const std::vector<std::string>& value_names);
    bool drops_by_number(const std::vector<std::string>& values, long position) const;
    bool drops_by_text(const std::vector<std::string>& values) const;

    run_log& log_;
    std::vector<rule> rules_;
};
