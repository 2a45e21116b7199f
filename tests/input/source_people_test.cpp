#include "input/source_people.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "input/reader_fixture.h"

namespace {

using texts = std::vector<std::string>;

// Tells people and chromosome, and has no sites.
class told_source : public site_source {
  public:
    bool next(site_fields& /*site*/) override { return false; }
    [[noreturn]] void fail(std::string_view /*what*/) const override { throw run_end{1}; }
    void note(std::string_view /*what*/) const override {}
    void odd(std::string_view /*what*/, std::string_view /*taken*/) const override {}
    const texts& sample_ids() const override { return ids; }
    const std::vector<std::uint8_t>& ploidies() const override { return alleles; }
    contig_info contig() const override { return place; }
    texts remarks() const override { return lines; }

    texts ids{"a", "b", "c"};
    std::vector<std::uint8_t> alleles{2, 2, 2};
    contig_info place{"20", 1000};
    texts lines;
};

class people_of_sources : public reader_fixture {
  protected:
    void settle(std::size_t panel = 2) { settle_people(rooms, context, source, panel, "file"); }
    void give_rows(const std::vector<std::array<std::string, 2>>& rows) { context.sample_rows = rows; }
    // Whom the study keeps, by a sample file.
    void give_study_ids(const texts& first, const texts& second) { run.panels[2].sample_ids = {first, second}; }
    void expect_refusal(const std::string& text, std::size_t panel = 2) {
        expect_fatal("ERROR: " + text, [&] { settle(panel); });
    }
    told_source source;
};

// --- chromosomes ----------------------------------------------------------------------------------------------------

TEST_F(people_of_sources, name_the_chromosome_of_the_run) {
    settle_contig(rooms, source, "file");
    EXPECT_EQ("20", run.sites.contig.name);
    EXPECT_EQ(1000, run.sites.contig.length);
    EXPECT_TRUE(run.sites.from_variant_files);
    source.place = {"chr20", 2000};
    settle_contig(rooms, source, "other");
    EXPECT_EQ("20", run.sites.contig.name);
    EXPECT_EQ(1000, run.sites.contig.length);
    EXPECT_EQ("orvide: note: [other]: the chromosome chr20 is taken for 20\n", notes());
}

TEST_F(people_of_sources, chromosome_of_the_option_names_the_run) {
    run.params.chr = "chr20";
    settle_contig(rooms, source, "file");
    EXPECT_EQ("chr20", run.sites.contig.name);
    EXPECT_EQ("orvide: note: [file]: the chromosome 20 is taken for chr20\n", notes());
}

TEST_F(people_of_sources, another_chromosome_is_refused) {
    settle_contig(rooms, source, "file");
    source.place.name = "21";
    expect_fatal(
        "ERROR: The file [other] has chromosome 21 in the region, the run is of chromosome 20. Choose one by -chr.",
        [this] { settle_contig(rooms, source, "other"); });
}

TEST_F(people_of_sources, formats_that_name_nobody_pass_unseen) {
    source.ids.clear();
    settle_contig(rooms, source, "file");
    settle();
    EXPECT_EQ("", run.sites.contig.name);
    EXPECT_FALSE(run.sites.from_variant_files);
    EXPECT_TRUE(run.panels[2].sample_ids[0].empty());
}

// --- who is kept ----------------------------------------------------------------------------------------------------

TEST_F(people_of_sources, are_the_people_of_the_study) {
    settle();
    EXPECT_EQ(source.ids, run.panels[2].sample_ids[0]);
    EXPECT_EQ(source.ids, run.panels[2].sample_ids[1]);
    EXPECT_TRUE(context.exclude_flags.empty());
}

TEST_F(people_of_sources, are_excluded_by_their_names) {
    context.exclude_samples[2] = {"b", "x"};
    settle();
    EXPECT_EQ((std::vector<bool>{false, true, false}), context.exclude_flags);
    EXPECT_EQ((texts{"a", "c"}), run.panels[2].sample_ids[0]);
}

TEST_F(people_of_sources, lose_two_columns_each_in_a_panel_of_haplotypes) {
    context.exclude_samples[0] = {"b"};
    settle(0);
    EXPECT_EQ((std::vector<bool>{false, false, true, true, false, false}), context.exclude_flags);
}

TEST_F(people_of_sources, may_be_named_by_either_id_of_a_sample_file_or_both) {
    give_rows({{"a", "1"}, {"2", "b"}, {"f", "c"}});
    source.ids[2] = "f_c";
    settle();
    EXPECT_EQ(source.ids, run.panels[2].sample_ids[0]);
}

TEST_F(people_of_sources, that_a_sample_file_does_not_name_are_refused) {
    give_rows({{"a", "a"}, {"c", "c"}, {"b", "b"}});
    expect_refusal(
        "Person 2 is c c in the sample file and b in the file [file]; both must name the same people in the same "
        "order.");
}

// --- ploidy ---------------------------------------------------------------------------------------------------------

TEST_F(people_of_sources, with_one_allele_need_an_option) {
    source.alleles = {2, 1, 2};
    expect_refusal(
        "The sample b of the file [file] has one allele a site. Males on chromosome X need -chrX, a study of haploids "
        "-haploid_g.");
}

TEST_F(people_of_sources, with_two_alleles_are_no_haploids) {
    run.panels[2].all_haploid = true;
    source.alleles = {1, 1, 2};
    expect_refusal("Under -haploid_g everybody must have one allele; c of the file [file] has two.");
}

TEST_F(people_of_sources, have_the_sex_that_their_alleles_tell) {
    set_chrx(run.plan, run.panels);
    source.alleles = {1, 2, 1};
    context.exclude_samples[2] = {"a"};
    const std::string text = said([this] { settle(); });
    EXPECT_EQ(" --told the sexes by the number of alleles (1 females, 1 males)\n", text);
    EXPECT_EQ((std::vector<int>{2, 1}), run.panels[2].ploidy);
    EXPECT_EQ((std::vector<std::size_t>{0, 2}), run.panels[2].first_haps);
}

TEST_F(people_of_sources, must_have_the_sex_of_the_sample_file) {
    give_sexes(2, "122");
    give_rows({{"a", "a"}, {"b", "b"}, {"c", "c"}});
    source.alleles = {1, 2, 2};
    settle();
    source.alleles = {1, 2, 1};
    expect_refusal("The sample c is marked as female in the sample file and has one allele a site in the file [file].");
    capture.open(run.log);
    source.alleles = {2, 2, 2};
    expect_refusal("The sample a is marked as male in the sample file and has two alleles a site in the file [file].");
}

TEST_F(people_of_sources, males_who_count_as_diploid_may_have_two_alleles) {
    give_sexes(2, "122", false);
    give_rows({{"a", "a"}, {"b", "b"}, {"c", "c"}});
    settle();
    EXPECT_EQ("", notes());
}

TEST_F(people_of_sources, of_known_haplotypes_have_as_many_alleles_as_in_the_study) {
    give_sexes(2, "122");
    source.alleles = {2, 1, 2};
    check_ploidies(rooms, source, "file", {1, 0, std::nullopt});
    expect_fatal("ERROR: The sample b has one allele a site in the file [file] and two in the study.", [this] {
        check_ploidies(rooms, source, "file", {1, 2, std::nullopt});
    });
    capture.open(run.log);
    expect_fatal("ERROR: The sample a has two alleles a site in the file [file] and one in the study.", [this] {
        check_ploidies(rooms, source, "file", {0, std::nullopt, std::nullopt});
    });
}

// --- people in two files --------------------------------------------------------------------------------------------

TEST_F(people_of_sources, that_study_and_panel_share_get_a_warning) {
    settle();
    source.ids = {"x", "b", "y"};
    settle(0);
    const std::string text =
        "1 person of the study is in Panel 0 too, by ID; this makes the accuracy look better than it is. "
        "-exclude_samples_h takes them out of the panel.\n";
    EXPECT_EQ("WARNING: " + text, warnings());
    EXPECT_EQ("orvide: note: " + text, notes());
    run.params.g_ref_file = "ref.vcf";
    source.ids = {"a", "b", "y"};
    settle(1);
    EXPECT_THAT(notes(),
                ::testing::EndsWith("note: 2 people of the study are in Panel 1 too, by ID; this makes the accuracy "
                                    "look better than it is. -exclude_samples_g_ref takes them out of the panel.\n"));
}

TEST_F(people_of_sources, that_are_taken_out_of_the_panel_get_none) {
    settle();
    source.ids = {"x", "b", "y"};
    context.exclude_samples[0] = {"b"};
    settle(0);
    EXPECT_EQ("", warnings());
}

TEST_F(people_of_sources, of_a_sample_file_are_compared_with_the_panel) {
    give_study_ids({"f1", "f2"}, {"b", "z"});
    settle(0);
    EXPECT_THAT(warnings(), ::testing::StartsWith("WARNING: 1 person of the study is in Panel 0 too"));
}

TEST_F(people_of_sources, are_found_in_the_study_by_name) {
    give_study_ids({"f1", "f2", "f3"}, {"c", "z", "a"});
    std::vector<std::optional<std::size_t>> map;
    const std::string text = said([&] { map = map_people(rooms, source, "file"); });
    EXPECT_EQ((std::vector<std::optional<std::size_t>>{2, std::nullopt, 0}), map);
    EXPECT_EQ(" --found 2 of 3 people among those of -g by their IDs\n", text);
}

TEST_F(people_of_sources, stand_in_order_where_a_file_names_nobody) {
    EXPECT_TRUE(map_people(rooms, source, "file").empty());
    give_study_ids({"a"}, {"a"});
    source.ids.clear();
    EXPECT_TRUE(map_people(rooms, source, "file").empty());
}

TEST_F(people_of_sources, of_whom_nobody_is_in_the_study_are_refused) {
    give_study_ids({"x"}, {"y"});
    expect_fatal("ERROR: Nobody of the file [file] is among the people of -g.",
                 [this] { map_people(rooms, source, "file"); });
}

TEST_F(people_of_sources, remarks_are_lines_of_the_log) {
    source.lines = {" --one", " --two"};
    EXPECT_EQ(" --one\n --two\n", said([this] { report_remarks(run.log, source); }));
}

}  // namespace
