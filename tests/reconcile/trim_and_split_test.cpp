#include <iterator>

#include "reconcile/stages.h"
#include "reconcile_fixture.h"

namespace {

class trim_and_split : public reconcile_fixture {
  protected:
    // A site that Panel 0 and the study share.
    snp& add_shared_site(long position, const std::string& id) {
        snp& site = add_site(position, 2);
        site.rs_id = id;
        label(site, 0, "A", "C", 0.25, "+");
        label(site, 2, "A", "C", 0.75, "-");
        site.haps[0] = alleles("0001");
        site.haps[2] = alleles("1110");
        site.gtypes[2] = {2, 1};
        return site;
    }
};

TEST_F(trim_and_split, non_scaffold_keeps_the_interval_with_its_bounds) {
    for (const long position : {99L, 100L, 150L, 200L, 201L}) add_site(position, 2);
    trim_non_scaffold(run.log, run.plan, run.sites);
    EXPECT_EQ((std::vector<long>{100, 150, 200}), positions());
    expect_log("\n-removing non-scaffold SNPs from buffer region\n --removed 2 SNPs\n");
}

TEST_F(trim_and_split, non_scaffold_keeps_buffer_sites_with_known_phase) {
    add_site(60, 2).known_phase_flags = {false, false};
    add_site(70, 2);
    add_site(240, 3).known_phase_flags = {true, false};
    trim_non_scaffold(run.log, run.plan, run.sites);
    EXPECT_EQ((std::vector<long>{60, 240}), positions());
}

TEST_F(trim_and_split, reference_only_keeps_the_interval_with_its_bounds) {
    for (const long position : {99L, 100L, 150L, 200L, 201L}) add_site(position, 0);
    trim_reference_only(run.log, run.plan, run.sites);
    EXPECT_EQ((std::vector<long>{100, 150, 200}), positions());
    expect_log("\n-removing reference-only SNPs from buffer region\n --removed 2 SNPs\n");
}

TEST_F(trim_and_split, reference_only_keeps_buffer_sites_of_the_study) {
    for (const int type : {0, 1, 2, 3}) add_site(60 + type, type);
    trim_reference_only(run.log, run.plan, run.sites);
    EXPECT_EQ((std::vector<long>{62, 63}), positions());
}

TEST_F(trim_and_split, trimming_nothing_reports_zero) {
    add_site(150, 0);
    trim_reference_only(run.log, run.plan, run.sites);
    expect_log("\n-removing reference-only SNPs from buffer region\n --removed 0 SNPs\n");
}

TEST_F(trim_and_split, split_puts_the_study_before_the_reference) {
    give_panel0(4);
    give_study(2);
    add_shared_site(150, "rs1");
    run.sites.multi_match_positions = {150};
    split_multiple_matches(run.log, run.params, run.sites);
    ASSERT_EQ((std::vector<long>{150, 150}), positions());
    const snp& study = run.sites.store.begin()->second;
    const snp& reference = std::next(run.sites.store.begin())->second;
    EXPECT_EQ(3, study.type);
    EXPECT_EQ(3, study.top_panel);
    EXPECT_EQ(no_label, study.labels[0].a0);
    EXPECT_EQ("A", study.labels[2].a0);
    EXPECT_TRUE(study.haps[0].empty());
    EXPECT_EQ((std::vector<std::uint8_t>{2, 1}), study.gtypes[2]);
    EXPECT_EQ(0, reference.type);
    EXPECT_EQ("A", reference.labels[0].a0);
    EXPECT_EQ(no_label, reference.labels[2].a0);
    EXPECT_EQ((std::vector<int>{0, 0, 0, 1}), values(reference.haps[0]));
    EXPECT_TRUE(reference.haps[2].empty());
    EXPECT_TRUE(reference.gtypes[2].empty());
    expect_log(
        "\n-converting Panel 2 SNPs that match multiple reference SNPs to Type 3 (will not inform the imputation)\n"
        " --converted 1 SNPs\n");
}

TEST_F(trim_and_split, split_gives_the_type_of_panel_1_when_both_references_hold_the_site) {
    give_panel0(4);
    give_panel1(1);
    give_study(2);
    label(add_shared_site(150, "rs1"), 1, "A", "C");
    run.sites.multi_match_positions = {150};
    split_multiple_matches(run.log, run.params, run.sites);
    ASSERT_EQ(2U, run.sites.store.size());
    EXPECT_EQ(3, run.sites.store.begin()->second.type);
    EXPECT_EQ(1, std::next(run.sites.store.begin())->second.type);
}

TEST_F(trim_and_split, split_works_on_a_lone_panel_1) {
    give_panel1(1);
    give_study(2);
    snp& site = add_site(150, 2);
    label(site, 1, "A", "C");
    label(site, 2, "A", "C");
    run.sites.multi_match_positions = {150};
    split_multiple_matches(run.log, run.params, run.sites);
    ASSERT_EQ(2U, run.sites.store.size());
    EXPECT_EQ(3, run.sites.store.begin()->second.type);
    EXPECT_EQ(1, std::next(run.sites.store.begin())->second.type);
    EXPECT_EQ("A", std::next(run.sites.store.begin())->second.labels[1].a0);
}

TEST_F(trim_and_split, split_takes_one_site_a_position_and_appends_its_parts) {
    give_panel0(4);
    give_study(2);
    label(add_site(150, 3), 2, "G", "T");
    label(add_site(150, 0), 0, "G", "T");
    add_shared_site(150, "first");
    add_shared_site(150, "second");
    run.sites.multi_match_positions = {150};
    split_multiple_matches(run.log, run.params, run.sites);
    std::vector<std::string> ids;
    std::vector<std::size_t> types;
    for (const auto& entry : run.sites.store) {
        ids.push_back(entry.second.rs_id);
        types.push_back(entry.second.type);
    }
    EXPECT_EQ((std::vector<std::string>{"rs150", "rs150", "second", "first", "first"}), ids);
    EXPECT_EQ((std::vector<std::size_t>{3, 0, 2, 3, 0}), types);
}

TEST_F(trim_and_split, split_leaves_positions_without_a_shared_site_alone) {
    give_panel0(4);
    give_study(2);
    label(add_site(120, 0), 0, "A", "C");
    label(add_site(130, 3), 2, "A", "C");
    add_shared_site(150, "rs1");
    run.sites.multi_match_positions = {110, 120, 130, 150};
    split_multiple_matches(run.log, run.params, run.sites);
    EXPECT_EQ((std::vector<long>{120, 130, 150, 150}), positions());
    EXPECT_NE(std::string::npos, terminal_text().find(" --converted 1 SNPs\n"));
}

}  // namespace
