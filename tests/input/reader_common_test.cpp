#include "input/reader_common.h"

#include <gtest/gtest.h>

#include <string>

#include "input/haplotype_columns.h"
#include "input/reader_fixture.h"
#include "input/site_placement.h"

namespace {

class reader_parts : public reader_fixture {};

TEST_F(reader_parts, region_includes_its_bounds_and_notes_disorder_once) {
    const text_input file(run.log, write("f", ""), "", "");
    region_test region(run);
    EXPECT_EQ(region_side::below, region.of(file, 99));
    EXPECT_EQ(region_side::inside, region.of(file, 100));
    EXPECT_EQ(region_side::inside, region.of(file, 200));
    EXPECT_EQ(region_side::inside, region.of(file, 200));
    EXPECT_EQ("", notes());
    EXPECT_EQ(region_side::inside, region.of(file, 150));
    EXPECT_EQ(region_side::below, region.of(file, 50));
    EXPECT_EQ(region_side::above, region.of(file, 201));
    EXPECT_EQ(
        "orvide: note: [" + file.name() +
            "], line 0: the positions are not in ascending order; lines behind the end of the region are not read\n",
        notes());
}

TEST_F(reader_parts, closing_report_names_the_reasons) {
    reading_counts counts;
    counts.read = 10;
    counts.kept = 10;
    EXPECT_EQ("", said([&] { report_excluded(run.log, counts); }));
    counts.kept = 3;
    EXPECT_EQ(" --excluded 7 SNPs, leaving 3 SNPs for analysis\n", said([&] { report_excluded(run.log, counts); }));
    counts.on_list = 1;
    counts.no_data = 2;
    counts.filtered = 3;
    EXPECT_EQ(
        " --excluded 7 SNPs, leaving 3 SNPs for analysis\n"
        "   --1 SNPs excluded due to presence on exclusion list\n"
        "   --2 SNPs excluded for having no data\n"
        "   --3 SNPs excluded according to filters specified via -filt_rules_l\n",
        said([&] { report_excluded(run.log, counts); }));
}

TEST_F(reader_parts, haplotypes_are_counted_by_ploidy) {
    EXPECT_EQ(6, run.panels[2].count_haplotypes(3));
    run.params.haploid_g = run.panels[2].all_haploid = true;
    EXPECT_EQ(3, run.panels[2].count_haplotypes(3));
    EXPECT_EQ(6, run.panels[1].count_haplotypes(3));
    run.params.haploid_g = run.panels[2].all_haploid = false;
    give_sexes(2, "122");
    give_sexes(1, "1");
    EXPECT_EQ(5, run.panels[2].count_haplotypes(3));
    EXPECT_EQ(1, run.panels[1].count_haplotypes(1));
    EXPECT_TRUE(run.panels[2].is_male(0));
    EXPECT_FALSE(run.panels[2].is_male(1));
    EXPECT_FALSE(run.panels[2].is_male(7));
}

TEST_F(reader_parts, triples_are_kept_by_panel) {
    EXPECT_FALSE(keeps_triples(run, 1));
    EXPECT_FALSE(keeps_triples(run, 2));
    run.params.store_input_probs[1] = true;
    EXPECT_TRUE(keeps_triples(run, 2));
    EXPECT_FALSE(keeps_triples(run, 1));
    run.params.store_input_probs_ref = true;
    EXPECT_TRUE(keeps_triples(run, 1));
}

TEST_F(reader_parts, labels_are_compared_in_both_orders) {
    EXPECT_EQ(label_order::same, compare_labels("A", "C", "A", "C"));
    EXPECT_EQ(label_order::crossed, compare_labels("C", "A", "A", "C"));
    EXPECT_EQ(label_order::neither, compare_labels("T", "G", "A", "C"));
    EXPECT_EQ(label_order::same, compare_labels("A", "A", "A", "A"));
}

TEST_F(reader_parts, new_sites_keep_the_order_of_arrival_at_a_position) {
    for (const char* id : {"first", "second", "third"}) {
        snp site;
        site.snp_id = id;
        add_study_site(run, 150, std::move(site));
    }
    std::string order;
    for (const auto& [position, site] : run.sites.store) order += site.snp_id + " ";
    EXPECT_EQ("first second third ", order);
}

TEST_F(reader_parts, site_is_not_looked_for_at_an_empty_position) {
    snp site;
    label(site, 0, "A", "C");
    EXPECT_FALSE(find_site(run, 150, site, 0));
    label(add_site(150), 2, "C", "A");
    ASSERT_TRUE(find_site(run, 150, site, 0));
    EXPECT_EQ("snp150", (*find_site(run, 150, site, 0))->second.snp_id);
}

}  // namespace
