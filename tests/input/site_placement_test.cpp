#include "input/site_placement.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "input/reader_fixture.h"

namespace {

class site_placement : public reader_fixture {
  protected:
    // A site of the panel with the labels A and C and haplotypes; it matches the entry at the position, if any.
    panel_site make(std::size_t panel, long position, const std::string& haplotypes = "01") {
        panel_site site;
        site.position = position;
        site.record = make_record({"s", "r", position, "A", "C"}, panel);
        site.record.labels[panel].freq = 0.5;
        site.record.haps[panel] = alleles(haplotypes);
        const auto entry = run.sites.store.find(position);
        if (entry != run.sites.store.end()) site.match = entry;
        return site;
    }
    placement place0(long position, const std::string& haplotypes, bool all_missing) {
        panel_site site = make(0, position, haplotypes);
        return place_panel0_site(rooms, site, all_missing);
    }
    // "type top-panel" of the only site at a position.
    std::string types(long position) {
        return std::to_string(site_at(position).type) + " " + std::to_string(site_at(position).top_panel);
    }
};

TEST_F(site_placement, study_sites_are_type_3_in_order_of_arrival) {
    run.map.positions = {0, 1000};
    run.map.scaled = {0.0, 1000.0};
    for (const char* id : {"first", "second", "third"}) {
        panel_site site = make(2, 150);
        site.record.snp_id = id;
        add_study_site(rooms, std::move(site));
    }
    std::string order;
    for (const auto& [position, site] : run.sites.store) {
        order += site.snp_id + " ";
        EXPECT_EQ(3U, site.type);
        EXPECT_EQ(3U, site.top_panel);
        EXPECT_DOUBLE_EQ(150.0, site.gen_pos);
    }
    EXPECT_EQ("first second third ", order);
}

TEST_F(site_placement, panel1_site_alone_waits_for_panel0) {
    place_panel1_site(rooms, make(1, 150));
    EXPECT_EQ("1 1", types(150));
    give_panel0();
    place_panel1_site(rooms, make(1, 160));
    EXPECT_EQ("3 3", types(160));
    EXPECT_EQ("01", text_of(site_at(160).haps[1]));
}

TEST_F(site_placement, panel1_site_brings_its_part_to_the_entry) {
    label(add_site(150), 2, "C", "A");
    panel_site site = make(1, 150);
    site.record.labels[1].strand = "+";
    site.record.gtypes[1] = genotypes("1");
    place_panel1_site(rooms, std::move(site));
    EXPECT_EQ("2 2", types(150));
    EXPECT_EQ("rs150", site_at(150).rs_id);
    EXPECT_EQ("A", site_at(150).labels[1].a0);
    EXPECT_EQ("+", site_at(150).labels[1].strand);
    EXPECT_EQ("1", text_of(site_at(150).gtypes[1]));
    EXPECT_EQ("C", site_at(150).labels[2].a0);
    give_panel0();
    label(add_site(160), 2, "A", "C");
    place_panel1_site(rooms, make(1, 160));
    EXPECT_EQ("3 3", types(160));
}

TEST_F(site_placement, panel0_site_joins_the_study) {
    label(add_site(150), 2, "A", "C");
    EXPECT_EQ(placement::kept, place0(150, "01", false));
    EXPECT_EQ("2 2", types(150));
    EXPECT_EQ("01", text_of(site_at(150).haps[0]));
    EXPECT_EQ(0.5, site_at(150).labels[0].freq);
    EXPECT_EQ("*", site_at(150).labels[0].strand);
    EXPECT_FALSE(site_at(150).ref_alleles_missing);
}

TEST_F(site_placement, panel0_site_completes_what_panel1_began) {
    give_panel0();
    give_panel1_genotypes();
    label(add_site(150), 2, "A", "C");
    label(add_site(160), 1, "A", "C");
    snp& both = add_site(170);
    label(both, 1, "A", "C");
    label(both, 2, "A", "C");
    for (const long position : {150L, 160L, 170L}) EXPECT_EQ(placement::kept, place0(position, "01", false));
    EXPECT_EQ("3 3", types(150));  // Panel 1 lacks it
    EXPECT_EQ("1 1", types(160));
    EXPECT_EQ("2 2", types(170));
}

TEST_F(site_placement, panel0_site_alone_is_type_0_where_that_is_put_out) {
    EXPECT_EQ(placement::kept, place0(150, "01", false));
    EXPECT_EQ("0 0", types(150));
    run.plan.output_types[0] = false;
    EXPECT_EQ(placement::dropped, place0(160, "01", false));
    EXPECT_FALSE(run.sites.store.contains(160));
}

TEST_F(site_placement, panel0_site_without_alleles_is_a_hole_of_an_entry_only) {
    label(add_site(150), 2, "A", "C");
    EXPECT_EQ(placement::without_data, place0(150, "22", true));
    EXPECT_EQ(no_label, site_at(150).labels[0].a0);
    run.params.fill_holes = true;
    EXPECT_EQ(placement::without_data, place0(160, "22", true));
    EXPECT_EQ(placement::kept, place0(150, "22", true));
    EXPECT_TRUE(site_at(150).ref_alleles_missing);
    run.plan.output_types[0] = false;
    EXPECT_EQ(placement::dropped, place0(160, "22", true));
}

TEST_F(site_placement, type_0_site_can_take_part_elsewhere_with_zeros) {
    run.params.use_panel1_for_type0_imputation = true;
    run.panels[1].n_hap = 3;
    run.panels[2].n_hap = 4;
    place0(150, "01", false);
    EXPECT_EQ("0 1", types(150));
    EXPECT_EQ("000", text_of(site_at(150).haps[1]));
    run.params.stage_one = true;
    place0(160, "01", false);
    EXPECT_EQ("0 0", types(160));
    EXPECT_EQ("0000", text_of(site_at(160).haps[2]));
    EXPECT_TRUE(site_at(160).haps[1].empty());
}

TEST_F(site_placement, zeros_come_with_labels_on_the_plus_strand) {
    snp site;
    site.labels[0] = {"A", "C", "-", 0.25};
    copy_as_zeros(site, 0, 1, 3);
    EXPECT_EQ("A", site.labels[1].a0);
    EXPECT_EQ("C", site.labels[1].a1);
    EXPECT_EQ("+", site.labels[1].strand);
    EXPECT_EQ(0.25, site.labels[1].freq);
    EXPECT_EQ("000", text_of(site.haps[1]));
    EXPECT_EQ("-", site.labels[0].strand);
}

}  // namespace
