#include "input/legend_filter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/reader_fixture.h"

namespace {

class legend_rules : public reader_fixture {
  protected:
    using texts = std::vector<std::string>;
    legend_filter parse(const texts& rules, const texts& names = {"maf", "type"}) { return {run.log, rules, names}; }
    bool drops(const texts& rules, const texts& values) { return parse(rules).drops(values, 150); }
    void expect_refused(const texts& rules, const std::string& message) {
        expect_fatal(message, [&] { parse(rules); });
        capture.open(run.log);
    }
    // Whether a rule on a number drops the value.
    bool drops(const std::string& op, const std::string& limit, const std::string& value) {
        return drops({"maf" + op + limit}, {value, "snp"});
    }
};

TEST_F(legend_rules, are_announced) {
    EXPECT_EQ(" --parsing legend filters provided via -filt_rules_l\n", said([this] { parse({"maf<=0.1"}); }));
}

TEST_F(legend_rules, value_decides_between_number_and_text) {
    EXPECT_TRUE(drops({"type==1.0"}, {"0", "1"}));
    EXPECT_FALSE(drops({"type==x1.0"}, {"0", "x1"}));
    EXPECT_TRUE(drops({"type==x1.0"}, {"0", "x1.0"}));
    EXPECT_TRUE(drops({"maf>0.5x"}, {"0.6", "snp"}));
}

TEST_F(legend_rules, tolerance_favours_equality_in_four_operators) {
    EXPECT_FALSE(drops("<", "0.05", "0.05"));
    EXPECT_TRUE(drops("<", "0.05", "0.049"));
    EXPECT_TRUE(drops("<=", "0.05", "0.05"));
    EXPECT_TRUE(drops("<=", "0.05", "0.05000000001"));
    EXPECT_FALSE(drops("<=", "0.05", "0.0501"));
    EXPECT_FALSE(drops(">", "0.05", "0.05"));
    EXPECT_TRUE(drops(">", "0.05", "0.051"));
    EXPECT_TRUE(drops(">=", "0.05", "0.05"));
    EXPECT_TRUE(drops(">=", "0.05", "0.04999999999"));
    EXPECT_FALSE(drops(">=", "0.05", "0.049"));
    EXPECT_TRUE(drops("==", "3", "3.00"));
    EXPECT_FALSE(drops("==", "3", "3.1"));
    EXPECT_FALSE(drops("!=", "3", "3"));
    EXPECT_TRUE(drops("!=", "3", "2.9"));
    EXPECT_TRUE(drops("!=", "3", "3.1"));
}

TEST_F(legend_rules, number_at_the_start_of_a_value_is_enough) {
    EXPECT_TRUE(drops(">", "0.5", "0.7abc"));
}

TEST_F(legend_rules, texts_are_compared_whole) {
    EXPECT_TRUE(drops({"type==snp"}, {"x", "snp"}));
    EXPECT_FALSE(drops({"type==snp"}, {"x", "SNP"}));
    EXPECT_FALSE(drops({"type==snp"}, {"x", "snps"}));
    EXPECT_TRUE(drops({"maf!=x"}, {"y", "indel"}));
    EXPECT_FALSE(drops({"maf!=x"}, {"x", "indel"}));
}

TEST_F(legend_rules, any_rule_of_either_kind_drops) {
    const texts rules{"type==indel", "maf<0.1", "maf>0.9"};
    EXPECT_TRUE(drops(rules, {"0.05", "snp"}));
    EXPECT_TRUE(drops(rules, {"0.95", "snp"}));
    EXPECT_TRUE(drops(rules, {"0.5", "indel"}));
    EXPECT_FALSE(drops(rules, {"0.5", "snp"}));
}

TEST_F(legend_rules, value_that_is_no_number_ends_the_run_before_a_rule_on_text_can_drop_it) {
    expect_fatal(
        "ERROR: The -filt_rules_l value [NA] at position 150 is not numeric, even though the corresponding filter rule "
        "[maf<0.05] uses a numeric criterion.",
        [this] {
            drops({"type==snp", "maf<0.05"}, {"NA", "snp"});
        });
}

TEST_F(legend_rules, earlier_rule_that_fires_saves_such_a_site) {
    EXPECT_TRUE(drops({"maf<0.05", "type>3"}, {"0.01", "NA"}));
}

TEST_F(legend_rules, empty_rule_is_refused) {
    expect_refused(
        {""},
        "ERROR: Something went wrong when parsing filter strings provided via the -filt_rules_l option; please "
        "contact the authors for assistance.");
}

TEST_F(legend_rules, text_cannot_be_ordered) {
    expect_refused(
        {"type>snp"},
        "ERROR: The filter string |type>snp| contains a non-numeric value field, so it can only be used with "
        "the '==' or '!=' operators.");
}

TEST_F(legend_rules, unknown_columns_are_listed) {
    expect_refused({"maf<1", "position>5", "x==y", "bad"},
                   "ERROR: The following filter strings provided to the -filt_rules_l option were not found in the -l "
                   "file:\n |position|\n |x|");
}

TEST_F(legend_rules, invalid_rules_are_listed) {
    expect_refused({"maf<1", "a=b", "maf<=", "maf==b==c", "==3"},
                   "ERROR: The following filter strings provided to the -filt_rules_l option contain invalid "
                   "delimiters:\n |a=b|\n |maf<=|\n |maf==b==c|\n |==3|");
}

TEST_F(legend_rules, first_operator_of_the_order_decides) {
    // "<" is looked for before ">=", and the value is 0.1.
    EXPECT_TRUE(drops({"maf<0.1>=2"}, {"0.09", "snp"}));
    EXPECT_FALSE(drops({"maf<0.1>=2"}, {"3", "snp"}));
}

}  // namespace
