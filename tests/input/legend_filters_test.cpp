#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/legend_filters.h"
#include "input/reader_fixture.h"

namespace {

class legend_filter : public reader_fixture {
  protected:
    using texts = std::vector<std::string>;
    void parse(const texts& rules, const texts& columns = {"maf", "type"}) {
        run.legend_cols = columns;
        run.params.filt_rules_l = rules;
        parse_legend_filters(run);
    }
    void expect_refused(const texts& rules, const std::string& message) {
        expect_fatal(message, [&] { parse(rules); });
        capture.open(run.log);
    }
    // Whether a rule on a number drops the value.
    bool drops(const std::string& op, const std::string& limit, const std::string& value) {
        run.filt_fields.clear();
        run.filt_ops.clear();
        run.filt_num_values.clear();
        run.filt_str_values.clear();
        run.filt_is_numeric.clear();
        parse({"maf" + op + limit});
        return filter_legend_snp_by_num(run, {value, "snp"}, 150);
    }
};

TEST_F(legend_filter, rules_are_split_into_parallel_lists) {
    EXPECT_EQ(" --parsing legend filters provided via -filt_rules_l\n", said([this] {
                  parse({"maf<=0.1", "type!=snp", "maf>0.5x"});
              }));
    EXPECT_EQ((texts{"maf", "type", "maf"}), run.filt_fields);
    EXPECT_EQ((texts{"<=", "!=", ">"}), run.filt_ops);
    EXPECT_EQ((std::vector<double>{0.1, -1.0, 0.5}), run.filt_num_values);
    EXPECT_EQ((texts{"NA", "snp", "NA"}), run.filt_str_values);
    EXPECT_EQ("101", text_of(run.filt_is_numeric));
    EXPECT_TRUE(run.has_num_filters);
    EXPECT_TRUE(run.has_str_filters);
}

TEST_F(legend_filter, value_that_begins_with_a_letter_is_text) {
    parse({"type==x0.1"});
    EXPECT_FALSE(run.has_num_filters);
    EXPECT_TRUE(run.has_str_filters);
    EXPECT_EQ("x0.1", run.filt_str_values[0]);
}

TEST_F(legend_filter, tolerance_favours_equality_in_four_operators) {
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

TEST_F(legend_filter, number_at_the_start_of_a_token_is_enough) {
    EXPECT_TRUE(drops(">", "0.5", "0.7abc"));
}

TEST_F(legend_filter, texts_are_compared_whole) {
    parse({"type==snp", "maf!=x"});
    EXPECT_TRUE(filter_legend_snp_by_str(run, {"x", "snp"}));
    EXPECT_FALSE(filter_legend_snp_by_str(run, {"x", "SNP"}));
    EXPECT_FALSE(filter_legend_snp_by_str(run, {"x", "snps"}));
    EXPECT_TRUE(filter_legend_snp_by_str(run, {"y", "indel"}));
}

TEST_F(legend_filter, several_rules_are_a_logical_or) {
    parse({"maf<0.1", "maf>0.9"});
    EXPECT_TRUE(filter_legend_snp_by_num(run, {"0.05", "snp"}, 150));
    EXPECT_TRUE(filter_legend_snp_by_num(run, {"0.95", "snp"}, 150));
    EXPECT_FALSE(filter_legend_snp_by_num(run, {"0.5", "snp"}, 150));
}

TEST_F(legend_filter, kinds_of_rules_pass_over_each_other) {
    parse({"type==snp", "maf>0.5"});
    EXPECT_FALSE(filter_legend_snp_by_num(run, {"0.1", "snp"}, 150));
    EXPECT_FALSE(filter_legend_snp_by_str(run, {"0.9", "indel"}));
}

TEST_F(legend_filter, token_that_is_no_number_ends_the_run) {
    parse({"type==snp", "maf<0.05"});
    expect_fatal(
        "ERROR: The -filt_rules_l value [NA] at position 150 is not numeric, even though the corresponding filter rule "
        "[maf<0.05] uses a numeric criterion.",
        [this] {
            filter_legend_snp_by_num(run, {"NA", "snp"}, 150);
        });
}

TEST_F(legend_filter, earlier_rule_that_fires_saves_such_a_line) {
    parse({"maf<0.05", "type>3"});
    EXPECT_TRUE(filter_legend_snp_by_num(run, {"0.01", "NA"}, 150));
}

TEST_F(legend_filter, empty_rule_is_refused) {
    expect_refused(
        {""},
        "ERROR: Something went wrong when parsing filter strings provided via the -filt_rules_l option; please "
        "contact the authors for assistance.");
}

TEST_F(legend_filter, text_cannot_be_ordered) {
    expect_refused(
        {"type>snp"},
        "ERROR: The filter string |type>snp| contains a non-numeric value field, so it can only be used with "
        "the '==' or '!=' operators.");
}

TEST_F(legend_filter, unknown_columns_are_listed) {
    expect_refused({"maf<1", "position>5", "x==y", "bad"},
                   "ERROR: The following filter strings provided to the -filt_rules_l option were not found in the -l "
                   "file:\n |position|\n |x|");
}

TEST_F(legend_filter, invalid_rules_are_listed) {
    expect_refused({"maf<1", "a=b", "maf<=", "maf==b==c", "==3"},
                   "ERROR: The following filter strings provided to the -filt_rules_l option contain invalid "
                   "delimiters:\n |a=b|\n |maf<=|\n |maf==b==c|\n |==3|");
}

TEST_F(legend_filter, first_operator_of_the_order_decides) {
    parse({"maf<0.1>=2"});  // "<" is looked for before ">="
    EXPECT_EQ("<", run.filt_ops[0]);
    EXPECT_EQ(0.1, run.filt_num_values[0]);
}

}  // namespace
