#include "run/command_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using texts = std::vector<std::string>;
using numbers = std::vector<int>;

// Behind the program's path.
command_line read(texts entries) {
    entries.insert(entries.begin(), "bin/orvide");
    return read_command_line(entries);
}

// --- values ---------------------------------------------------------------------------------------------------------

TEST(command_line, of_the_program_alone_leaves_the_defaults) {
    const command_line line = read({});
    EXPECT_EQ("NULL", line.params.g_file);
    EXPECT_EQ(30, line.params.iter);
    EXPECT_EQ(numbers{500}, line.params.k_hap);
    EXPECT_EQ(-1, line.seed);
    EXPECT_TRUE(line.params.active_flags.empty());
    EXPECT_TRUE(line.unknown.empty());
    EXPECT_TRUE(line.valueless.empty());
    EXPECT_EQ("Command-line input: bin/orvide", line.echo_text);
}

TEST(command_line, keeps_texts_as_they_stand) {
    const parameters p = read({"-g", "study data.gen", "-m", "", "-g_ref", "ref"}).params;
    EXPECT_EQ("study data.gen", p.g_file);
    EXPECT_EQ("", p.m_file);
    EXPECT_EQ("ref", p.g_ref_file);
    EXPECT_TRUE(p.active_flags.empty());
}

TEST(command_line, takes_a_lone_dash_for_standard_input) {
    const command_line line = read({"-g", "-", "-h", "a", "-", "-l", "b"});
    EXPECT_EQ("-", line.params.g_file);
    EXPECT_EQ((texts{"a", "-"}), line.params.h_files);
    EXPECT_EQ(texts{"b"}, line.params.l_files);
    EXPECT_EQ((texts{"-", "a"}), read({"-h", "-", "a"}).params.h_files);
    EXPECT_TRUE(line.unknown.empty());
    EXPECT_TRUE(line.valueless.empty());
}

TEST(command_line, does_not_know_a_lone_dash_elsewhere) {
    EXPECT_EQ(texts{"-"}, read({"-g", "a", "-"}).unknown);
    EXPECT_EQ(texts{"-"}, read({"-"}).unknown);
    const command_line line = read({"-k_hap", "5", "-"});
    EXPECT_EQ(numbers{5}, line.params.k_hap);
    EXPECT_EQ(texts{"-"}, line.unknown);
}

TEST(command_line, takes_the_last_of_two_values) {
    EXPECT_EQ("b", read({"-g", "a", "-g", "b"}).params.g_file);
    EXPECT_EQ(2, read({"-iter", "1", "-iter", "2"}).params.iter);
}

TEST(command_line, reads_numbers_as_far_as_they_go) {
    EXPECT_EQ(20, read({"-iter", "20,000"}).params.iter);
    EXPECT_EQ(0, read({"-iter", "many"}).params.iter);
    EXPECT_EQ(12, read({"-k", " +12.9"}).params.k);
    EXPECT_EQ(0.25, read({"-buffer", "0.25kb"}).params.buffer_kb);
    EXPECT_EQ(15000.0, read({"-Ne", "1.5e4"}).params.Ne);
    EXPECT_EQ(0.0, read({"-Ne", "x"}).params.Ne);
    EXPECT_EQ(2.5, read({"-switch_rate", "2.5"}).params.switch_rate);
}

TEST(command_line, reads_both_ends_of_the_interval) {
    const parameters p = read({"-int", "20.4e6", "20500000"}).params;
    EXPECT_EQ(20.4e6, p.int_lower);
    EXPECT_EQ(20.5e6, p.int_upper);
}

TEST(command_line, reads_the_seed_apart_from_the_parameters) {
    const command_line line = read({"-seed", "367946"});
    EXPECT_EQ(367946, line.seed);
    EXPECT_EQ(-1, line.params.seed);
}

// --- flags ----------------------------------------------------------------------------------------------------------

TEST(command_line, sets_flags_and_lists_them_in_order) {
    const parameters p = read({"-phase", "-chrX", "-o_gz"}).params;
    EXPECT_TRUE(p.phase);
    EXPECT_TRUE(p.chrX);
    EXPECT_TRUE(p.o_gz);
    EXPECT_FALSE(p.pgs);
    EXPECT_EQ((texts{"-phase", "-chrX", "-o_gz"}), p.active_flags);
}

TEST(command_line, lists_a_flag_as_often_as_it_stands) {
    EXPECT_EQ((texts{"-phase", "-phase"}), read({"-phase", "-phase"}).params.active_flags);
}

TEST(command_line, clears_what_is_on_by_default) {
    const parameters p = read({"-no_warn", "-no_remove", "-choose_diploid_family", "-no_prob_g_norm"}).params;
    EXPECT_FALSE(p.warn);
    EXPECT_FALSE(p.remove_excluded);
    EXPECT_FALSE(p.choose_haploid_family);
    EXPECT_FALSE(p.prob_g_norm);
    EXPECT_TRUE(p.snp_qc_info);
    EXPECT_EQ((texts{"-no_warn", "-no_remove", "-choose_diploid_family", "-no_prob_g_norm"}), p.active_flags);
}

TEST(command_line, lists_some_options_in_other_words_or_with_a_value) {
    const parameters p = read({"-post_samp", "-merge_ref_panels_output_ref", "merged"}).params;
    EXPECT_TRUE(p.post_samp);
    EXPECT_EQ("merged", p.merge_ref_panels_output_ref);
    EXPECT_EQ((texts{"-post_samp [NOT FULLY IMPLEMENTED]", "-merge_ref_panels_output_ref"}), p.active_flags);
}

// --- lists ----------------------------------------------------------------------------------------------------------

TEST(command_line, reads_a_list_up_to_the_next_option) {
    const parameters p = read({"-h", "a", "b", "-l", "c", "-filt_rules_l", "EUR<0.01", "AFR==0"}).params;
    EXPECT_EQ((texts{"a", "b"}), p.h_files);
    EXPECT_EQ(texts{"c"}, p.l_files);
    EXPECT_EQ((texts{"EUR<0.01", "AFR==0"}), p.filt_rules_l);
}

TEST(command_line, lengthens_a_list_that_comes_again) {
    EXPECT_EQ((texts{"a", "b"}), read({"-h", "a", "-h", "b"}).params.h_files);
    EXPECT_EQ((numbers{0, 2, 3}), read({"-os", "0", "2", "-os", "3"}).params.os_types);
}

TEST(command_line, reads_an_empty_list) {
    const command_line line = read({"-h", "-os"});
    EXPECT_TRUE(line.params.h_files.empty());
    EXPECT_TRUE(line.params.os_types.empty());
    EXPECT_TRUE(line.valueless.empty());
}

TEST(command_line, puts_the_first_number_of_states_in_the_place_of_the_default) {
    EXPECT_EQ(numbers{300}, read({"-k_hap", "300"}).params.k_hap);
    EXPECT_EQ((numbers{300, 100}), read({"-k_hap", "300", "100"}).params.k_hap);
    EXPECT_EQ((numbers{7, 100, 8}), read({"-k_hap", "300", "100", "-k_hap", "7", "8"}).params.k_hap);
    EXPECT_EQ(numbers{500}, read({"-k_hap"}).params.k_hap);
}

// --- faults ---------------------------------------------------------------------------------------------------------

TEST(command_line, lists_what_is_no_option) {
    const command_line line = read({"-G", "x", "--phase", "-", "-gg"});
    EXPECT_EQ((texts{"-G", "--phase", "-", "-gg"}), line.unknown);
    EXPECT_EQ("NULL", line.params.g_file);
    EXPECT_FALSE(line.params.phase);
}

TEST(command_line, passes_over_stray_words) {
    const command_line line = read({"stray", "-iter", "5", "6"});
    EXPECT_EQ(5, line.params.iter);
    EXPECT_TRUE(line.unknown.empty());
}

TEST(command_line, meets_a_value_with_a_hyphen_as_an_option_too) {
    const command_line negative = read({"-seed", "-5", "-int", "-1", "100"});
    EXPECT_EQ(-5, negative.seed);
    EXPECT_EQ(-1.0, negative.params.int_lower);
    EXPECT_EQ(100.0, negative.params.int_upper);
    EXPECT_EQ((texts{"-5", "-1"}), negative.unknown);
    const command_line option = read({"-o", "-phase"});
    EXPECT_EQ("-phase", option.params.o_file);
    EXPECT_TRUE(option.params.phase);
}

TEST(command_line, lists_options_without_their_value) {
    for (const char* option : {"-g", "-Ne", "-iter", "-seed", "-int", "-merge_ref_panels_output_gen"}) {
        const command_line line = read({"-phase", option});
        EXPECT_EQ(texts{option}, line.valueless);
        EXPECT_TRUE(line.unknown.empty()) << option;
    }
    const command_line half = read({"-int", "5"});
    EXPECT_EQ(texts{"-int"}, half.valueless);
    EXPECT_EQ(-1.0, half.params.int_lower) << "neither end is taken";
}

// --- echo and help --------------------------------------------------------------------------------------------------

TEST(command_line, echoes_all_entries) {
    EXPECT_EQ("Command-line input: bin/orvide -g a b  -x word", read({"-g", "a b", "", "-x", "word"}).echo_text);
}

TEST(command_line, keeps_the_entries_without_the_place_of_the_program) {
    EXPECT_EQ("orvide -g a b  -x word", read({"-g", "a b", "", "-x", "word"}).params.command_text);
}

TEST(command_line, asks_for_help_or_version) {
    const command_line line = read({"-g", "--help"});
    EXPECT_TRUE(line.wants_help);
    EXPECT_FALSE(line.wants_version);
    EXPECT_TRUE(line.unknown.empty());
    EXPECT_TRUE(read({"--version"}).wants_version);
    EXPECT_EQ(texts{"-help"}, read({"-help"}).unknown);
}

TEST(command_line, asks_for_all_help) {
    EXPECT_TRUE(read({"--help", "all"}).wants_all_help);
    EXPECT_FALSE(read({"--help"}).wants_all_help);
    EXPECT_FALSE(read({"--help", "-g"}).wants_all_help);
}

// --- presets --------------------------------------------------------------------------------------------------------

TEST(command_line, takes_the_options_that_a_preset_stands_for) {
    const command_line line = read({"-preset", "fast", "-seed", "3"});
    EXPECT_EQ("fast", line.params.preset);
    EXPECT_EQ(100, line.params.local_states);
    EXPECT_EQ(40, line.params.k);
    EXPECT_EQ(10, line.params.iter);
    EXPECT_TRUE(line.unknown.empty());
    EXPECT_EQ("Command-line input: bin/orvide -preset fast -seed 3", line.echo_text);
}

TEST(command_line, lets_an_option_before_or_behind_a_preset_win) {
    EXPECT_EQ(7, read({"-k", "7", "-preset", "fast"}).params.k);
    EXPECT_EQ(7, read({"-preset", "fast", "-k", "7"}).params.k);
    EXPECT_EQ(0, read({"-preset", "balanced", "-local_states", "0"}).params.local_states);
}

TEST(command_line, keeps_the_defaults_beside_a_preset_that_is_none) {
    EXPECT_EQ(30, read({"-preset", "best"}).params.iter);
    EXPECT_EQ(texts{"-preset"}, read({"-preset"}).valueless);
}

}  // namespace
