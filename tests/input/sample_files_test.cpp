#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/reader_fixture.h"
#include "input/readers.h"

namespace {

class sample_list : public reader_fixture {
  protected:
    std::string read(const std::string& text, std::size_t panel, bool is_inclusion) {
        write("list", text);
        return said([&] { ids = read_sample_list(run.log, files().name("list"), panel, is_inclusion); });
    }
    std::string report(const std::string& stage, int n) const {
        return "\n-" + stage + "\n --filename=[" + files().name("list") + "]\n --read " + std::to_string(n) +
               " sample IDs\n";
    }
    id_set ids;
};

TEST_F(sample_list, first_token_counts_and_duplicates_fold) {
    ids = {"old"};
    EXPECT_EQ(report("reading sample exclusion list for Panel 2 from -exclude_samples_g file", 2),
              read("a\nb rest\na\n\n", 2, false));
    EXPECT_EQ((id_set{"a", "b"}), ids);
}

TEST_F(sample_list, each_list_has_its_words) {
    EXPECT_EQ(report("reading sample inclusion list for Panel 2 from -include_samples_g file", 0), read("", 2, true));
    EXPECT_EQ(report("reading sample exclusion list for Panel 1 from -exclude_samples_g_ref file", 0),
              read("", 1, false));
    EXPECT_EQ(report("reading sample inclusion list for Panel 0 from -include_samples_h file", 0), read("", 0, true));
}

TEST_F(sample_list, unknown_panel) {
    expect_fatal("ERROR: Panel code [3] for sample exclusion file is not valid.",
                 [this] { read_sample_list(run.log, "x", 3, false); });
    capture.open(run.log);
    expect_fatal("ERROR: Panel code [4] for sample inclusion file is not valid.",
                 [this] { read_sample_list(run.log, "x", 4, true); });
}

TEST_F(sample_list, missing_file) {
    expect_fatal("ERROR: The -exclude_samples_h file you specified does not exist.",
                 [this] { read_sample_list(run.log, files().name("none"), 0, false); });
}

TEST_F(sample_list, file_that_cannot_be_opened) {
    expect_fatal("ERROR: The sample exclusion file [" + files().name(".") + "] could not be opened.",
                 [this] { read_sample_list(run.log, files().name("."), 2, false); });
    capture.open(run.log);
    expect_fatal("ERROR: The sample inclusion file [" + files().name(".") + "] could not be opened.",
                 [this] { read_sample_list(run.log, files().name("."), 2, true); });
}

class sample_file : public reader_fixture {
  protected:
    void SetUp() override {
        reader_fixture::SetUp();
        context.exclude_flags = {true};  // of the file before
    }
    std::string read(const std::string& text, std::size_t panel = 2, bool known = false, bool main_diploid = true) {
        write("sample", text);
        return said([&] { read_silently(panel, known, main_diploid); });
    }
    void read_silently(std::size_t panel = 2, bool known = false, bool main_diploid = true) {
        context.exclude_samples.fill(exclude);
        context.include_samples.fill(include);
        read_sample_file(rooms, context, files().name("sample"), panel, known, main_diploid);
    }
    void expect_refused(const std::string& text, const std::string& message) {
        write("sample", text);
        expect_fatal(message, [this] { read_silently(); });
        capture.open(run.log);
    }
    std::string bad_header() const {
        return "ERROR: The sample file [" + files().name("sample") +
               "] does not contain the correct header format. Please consult the online documentation and try again.";
    }
    id_set exclude, include;
    const std::string header = "ID_1 ID_2 missing\n0 0 0\n";
};

TEST_F(sample_file, people_of_the_study_are_stored_and_copied) {
    exclude = {"b2"};
    EXPECT_EQ("\n-reading sample list for Panel 2 from -sample_g file\n --filename=[" + files().name("sample") +
                  "]\n --read 3 sample IDs\n --stored 2/3 sample IDs\n --wrote filtered sample file [" +
                  files().name("out") + "_samples]\n",
              read(header + "a1 a2 0\nb1 b2 0\nc1  c2\t0 \n"));
    EXPECT_EQ("010", text_of(context.exclude_flags));
    EXPECT_EQ((std::vector<std::string>{"a1", "c1"}), run.panels[2].sample_ids[0]);
    EXPECT_EQ((std::vector<std::string>{"a2", "c2"}), run.panels[2].sample_ids[1]);
    EXPECT_TRUE(context.known_haps_ids[0].empty());
    EXPECT_EQ(header + "a1 a2 0\nc1  c2\t0 \n", files().read("out_samples"));
}

TEST_F(sample_file, copy_holds_the_first_people_under_nind) {
    exclude = {"a1"};
    run.params.nind = 2;
    read(header + "a1 a2 0\nb1 b2 0\nc1 c2 0\nd1 d2 0\n");
    EXPECT_EQ((std::vector<std::string>{"b1", "c1", "d1"}), run.panels[2].sample_ids[0]);
    EXPECT_EQ(header + "b1 b2 0\nc1 c2 0\n", files().read("out_samples"));
}

TEST_F(sample_file, either_id_excludes_and_case_matters) {
    exclude = {"a1", "b2", "C1"};
    read(header + "a1 a2 0\nb1 b2 0\nc1 c2 0\n");
    EXPECT_EQ("110", text_of(context.exclude_flags));
}

TEST_F(sample_file, inclusion_list_keeps_nobody_out) {
    include = {"a1"};
    read(header + "a1 a2 0\nb1 b2 0\n");
    EXPECT_EQ("00", text_of(context.exclude_flags));
}

TEST_F(sample_file, each_panel_has_its_option_and_only_the_study_its_copy) {
    EXPECT_EQ("\n-reading sample list for Panel 1 from -sample_g_ref file\n --filename=[" + files().name("sample") +
                  "]\n --read 1 sample IDs\n --stored 1/1 sample IDs\n",
              read(header + "a b 0\n", 1));
    EXPECT_NE(std::string::npos, read(header, 0, false, false).find("for Panel 0 from -sample_h file\n"));
    EXPECT_NE(std::string::npos, read(header, 2, true, false).find("for Panel 2 from -sample_known_haps_g file\n"));
    EXPECT_FALSE(files().has("out_samples"));
    EXPECT_TRUE(run.panels[2].sample_ids[0].empty());
}

TEST_F(sample_file, known_haplotypes_have_their_own_people) {
    read(header + "a1 a2 0\n", 2, true, false);
    EXPECT_EQ((std::vector<std::string>{"a1"}), context.known_haps_ids[0]);
    EXPECT_EQ((std::vector<std::string>{"a2"}), context.known_haps_ids[1]);
    EXPECT_TRUE(run.panels[2].sample_ids[0].empty());
}

TEST_F(sample_file, two_names_in_the_header_are_enough) {
    read("ID_1 ID_2\n0 0\na b\n");
    EXPECT_EQ("0", text_of(context.exclude_flags));
}

TEST_F(sample_file, header_must_name_the_ids) {
    expect_refused("", bad_header());
    expect_refused("ID_1\n", bad_header());
    expect_refused("ID_2 ID_1 missing\n", bad_header());
    EXPECT_EQ("ID_2 ID_1 missing\n", files().read("out_samples"));
}

TEST_F(sample_file, second_line_is_not_looked_at_where_sex_is_not_needed) {
    read("ID_1 ID_2 missing\nwhatever\na b 0\n");
    EXPECT_EQ("0", text_of(context.exclude_flags));
}

TEST_F(sample_file, sexes_place_the_haplotypes) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    exclude = {"b"};
    const std::string text = "ID_1 ID_2 missing sex\n0 0 0 D\na a 0 2\nb b 0 1\nc c 0 1\nd d 0 2\n";
    EXPECT_NE(std::string::npos,
              read(text).find(" --read 4 sample IDs (2 females, 1 males)\n --stored 3/4 sample IDs\n"));
    EXPECT_EQ((std::vector<int>{2, 1, 2}), run.panels[2].ploidy);
    EXPECT_EQ((std::vector<std::size_t>{0, 2, 3}), run.panels[2].first_haps);
    EXPECT_EQ(2, run.panels[2].n_females);
    EXPECT_EQ(1, run.panels[2].n_males);
}

TEST_F(sample_file, sexes_of_panel1_have_their_own_place) {
    run.plan.chrx_diploid = true;
    read("ID_1 ID_2 sex\n0 0 D\na a 1\n", 1);
    EXPECT_EQ((std::vector<int>{1}), run.panels[1].ploidy);
    EXPECT_EQ(1, run.panels[1].n_males);
    EXPECT_TRUE(run.panels[2].ploidy.empty());
}

TEST_F(sample_file, sex_is_not_asked_for_beside_another_sample_file) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    EXPECT_NE(std::string::npos, read(header + "a b 0\n", 2, true, false).find(" --read 1 sample IDs\n"));
    EXPECT_TRUE(run.panels[2].ploidy.empty());
}

TEST_F(sample_file, sex_column_must_be_there) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    expect_refused(header + "a b 0\n", "ERROR: There is no column named 'sex' in the sample file.");
}

TEST_F(sample_file, sex_column_must_be_discrete) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    const std::string message =
        "ERROR: The sample file column named 'sex' must have variable type 'D', for 'discrete covariate'.";
    expect_refused("ID_1 ID_2 sex\n0 0 C\na b 1\n", message);
    expect_refused("ID_1 ID_2 sex\n0 0\na b 1\n", message);
    expect_refused("ID_1 ID_2 sex\n", message);
}

TEST_F(sample_file, sex_must_be_one_of_two) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    const std::string message = "All sex indicators must be either '1' (male) or '2' (female).";
    expect_refused("ID_1 ID_2 sex\n0 0 D\na b 3\n", message);
    expect_refused("ID_1 ID_2 sex\n0 0 D\na b male\n", message);
}

TEST_F(sample_file, line_without_the_sex_is_refused) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    expect_refused("ID_1 ID_2 sex\n0 0 D\na b\n",
                   "ERROR: There is no sex, in line 3 of the file [" + files().name("sample") + "].");
}

TEST_F(sample_file, line_with_one_id_is_refused) {
    expect_refused(header + "a\n",
                   "ERROR: There is no second ID, in line 3 of the file [" + files().name("sample") + "].");
}

TEST_F(sample_file, chrx_needs_somebody) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    expect_refused("ID_1 ID_2 sex\n0 0 D\n", "ERROR: There is nobody in the sample file, in line 2 of the file [" +
                                                 files().name("sample") + "].");
}

TEST_F(sample_file, missing_file) {
    expect_fatal("ERROR: The -sample_g file you specified does not exist.", [this] { read_silently(); });
}

TEST_F(sample_file, file_that_cannot_be_opened) {
    expect_fatal("ERROR: The sample file [" + files().name(".") + "] could not be opened.",
                 [this] { read_sample_file(rooms, context, files().name("."), 2, false, true); });
}

TEST_F(sample_file, unknown_panels) {
    expect_fatal("ERROR: Panel code [3] for sample file is not valid.", [this] { read_silently(3); });
    capture.open(run.log);
    expect_fatal("ERROR: Panel code [0] should not be used with 'is_main_diploid' in read_sample_file().",
                 [this] { read_silently(0); });
}

TEST_F(sample_file, repeated_person_is_odd_in_a_panel_of_people) {
    read(header + "a1 a2 0\na1 b2 0\na1 a2 0\n");
    EXPECT_EQ("orvide: note: The person a1 a2 stands in line 3 already, in line 5 of the file [" +
                  files().name("sample") + "]: both are kept, as two people.\n",
              notes());
    read(header + "a1 a2 0\na1 a2 0\n", 0, false, false);  // the two haplotypes of a person
    EXPECT_EQ(std::string::npos, notes().find("line 4"));
}

}  // namespace
