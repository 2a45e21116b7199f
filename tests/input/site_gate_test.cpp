#include "input/site_gate.h"

#include <gtest/gtest.h>

#include <string>

#include "input/reader_fixture.h"
#include "input/site_list.h"

namespace {

class region : public reader_fixture {};

TEST_F(region, includes_its_bounds_and_tells_disorder) {
    const site_list source(run.log, {});
    region_test test(run.plan);
    EXPECT_EQ(region_side::below, test.of(source, 99));
    EXPECT_EQ(region_side::inside, test.of(source, 100));
    EXPECT_EQ(region_side::inside, test.of(source, 200));
    EXPECT_EQ(region_side::inside, test.of(source, 200));
    EXPECT_EQ(region_side::inside, test.of(source, 150));
    EXPECT_NE(std::string::npos, notes().find("The position 150 is below the one before, 200")) << notes();
}

class closing_report : public reader_fixture {};

TEST_F(closing_report, names_the_reasons) {
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

class exclusion_rule : public reader_fixture {
  protected:
    bool excluded(std::size_t panel, const char* snp_id, const char* rs_id, long position) {
        site_fields site;
        site.snp_id = snp_id;
        site.rs_id = rs_id;
        site.position = position;
        return is_excluded(context, run.params.impute_excluded, panel, site);
    }
};

TEST_F(exclusion_rule, any_of_three_names_excludes) {
    context.exclude_snps[2] = {"id"};
    EXPECT_TRUE(excluded(2, "id", "rs", 150));
    EXPECT_TRUE(excluded(2, "x", "id", 150));
    EXPECT_FALSE(excluded(2, "x", "rs", 150));
    context.exclude_snps[2] = {"150"};
    EXPECT_TRUE(excluded(2, "x", "rs", 150));
    EXPECT_FALSE(excluded(2, "x", "rs", 15));
}

TEST_F(exclusion_rule, study_list_excludes_from_reference_panels_too) {
    context.exclude_snps[2] = {"rs"};
    EXPECT_TRUE(excluded(0, "---", "rs", 150));
    EXPECT_TRUE(excluded(1, "---", "rs", 150));
    run.params.impute_excluded = true;
    EXPECT_FALSE(excluded(0, "---", "rs", 150));
    EXPECT_FALSE(excluded(1, "---", "rs", 150));
    EXPECT_TRUE(excluded(2, "---", "rs", 150));
}

TEST_F(exclusion_rule, reference_lists_act_on_their_own_panel) {
    context.exclude_snps[0] = {"rs"};
    EXPECT_TRUE(excluded(0, "---", "rs", 150));
    EXPECT_FALSE(excluded(1, "---", "rs", 150));
    EXPECT_FALSE(excluded(2, "---", "rs", 150));
}

class strand_rule : public reader_fixture {
  protected:
    // Labels and strand after the rule, as "A C +".
    std::string apply(const std::string& a0, const std::string& a1, const std::string& strand) {
        context = {};
        if (!strand.empty()) context.strand_map[150] = strand;
        panel_labels labels{a0, a1, "*", -1.0};
        apply_strand_map(context, 150, labels);
        return labels.a0 + " " + labels.a1 + " " + labels.strand;
    }
};

TEST_F(strand_rule, minus_flips_both_labels) {
    EXPECT_EQ("T G +", apply("A", "C", "-"));
    EXPECT_EQ(1, context.strands.flipped);
    EXPECT_EQ(1, context.strands.handled);
}

TEST_F(strand_rule, any_other_strand_is_copied) {
    EXPECT_EQ("A C +", apply("A", "C", "+"));
    EXPECT_EQ("A C odd", apply("A", "C", "odd"));
    EXPECT_EQ(0, context.strands.flipped);
    EXPECT_EQ(1, context.strands.handled);
}

TEST_F(strand_rule, complementary_labels_flip_like_any_other) {
    EXPECT_EQ("T A +", apply("A", "T", "-"));
    EXPECT_EQ(1, context.strands.flipped);
}

TEST_F(strand_rule, indel_is_not_informative) {
    EXPECT_EQ("A AT *", apply("A", "AT", "-"));
    EXPECT_EQ(0, context.strands.handled);
}

TEST_F(strand_rule, site_without_entry_is_left_alone) {
    EXPECT_EQ("A C *", apply("A", "C", ""));
    context.strand_map[151] = "-";
    panel_labels labels{"A", "C", "*", -1.0};
    apply_strand_map(context, 150, labels);
    EXPECT_EQ("A", labels.a0);
    EXPECT_EQ(0, context.strands.handled);
}

class gate : public reader_fixture {
  protected:
    using content = site_gate::content;
    // IDs of the sites that pass, by the rules for the names alone, or by all rules for panel data.
    std::string names(site_list& source, content kind, std::size_t panel = 2) {
        site_gate rules(rooms, context, source, panel, "-x", kind);
        std::string text;
        site_fields site;
        while (rules.next(site)) text += std::string(site.rs_id) + " ";
        counts = rules.counts;
        return text;
    }
    std::string records(site_list& source, std::size_t panel) {
        site_gate rules(rooms, context, source, panel, "-x");
        std::string text;
        panel_site site;
        while (rules.next(site)) {
            text += site.record.rs_id + (site.match ? ">" + (*site.match)->second.rs_id : "") + " ";
        }
        counts = rules.counts;
        return text;
    }
    reading_counts counts;
};

TEST_F(gate, stops_behind_the_region_and_counts_what_is_inside) {
    site_list source(run.log, {{"s", "a", 99, "A", "C"},
                               {"s", "b", 100, "A", "C"},
                               {"s", "c", 200, "A", "C"},
                               {"s", "d", 201, "A", "C"},
                               {"s", "e", 150, "A", "C"}});
    EXPECT_EQ("b c ", names(source, content::panel_data));
    EXPECT_EQ(5U, source.n_taken);
    EXPECT_EQ(2U, counts.read);
    EXPECT_EQ(0U, counts.kept);  // that is for the reader to say
    EXPECT_EQ(
        "orvide: note: Site list: The position 150 comes back into the region, which ended before position 201; the "
        "file must be sorted: the site is left out, and so are all such sites\n",
        notes());
}

TEST_F(gate, exclusion_list_knows_what_lies_outside_the_region) {
    context.exclude_snps[2] = {"a", "c", "x"};
    site_list source(run.log, {{"s", "a", 99, "A", "C"}, {"s", "b", 150, "A", "C"}, {"s", "c", 201, "A", "C"}});
    EXPECT_EQ("b ", names(source, content::panel_data));
    EXPECT_EQ("x", context.exclude_snps[2].not_found());
}

TEST_F(gate, exclusion_lists_do_not_hold_for_a_first_phase) {
    context.exclude_snps[2] = {"a"};
    for (const content kind : {content::panel_data, content::known_phase, content::first_phase}) {
        site_list source(run.log, {{"s", "a", 150, "A", "C"}, {"s", "b", 160, "A", "C"}});
        EXPECT_EQ(kind == content::first_phase ? "a b " : "b ", names(source, kind));
        EXPECT_EQ(2U, counts.read);
        EXPECT_EQ(kind == content::first_phase ? 0U : 1U, counts.on_list);
    }
}

TEST_F(gate, position_of_the_study_is_taken_once_beside_a_reference) {
    add_site(150);
    const std::vector<site_fields> sites{{"s", "a", 150, "A", "C"}, {"s", "b", 160, "A", "C"}};
    site_list alone(run.log, sites);
    EXPECT_EQ("a b ", names(alone, content::panel_data));
    give_panel0();
    site_list beside(run.log, sites), known(run.log, sites), panel0(run.log, sites);
    EXPECT_EQ("b ", names(beside, content::panel_data));
    EXPECT_EQ("a b ", names(known, content::known_phase));
    EXPECT_EQ("a b ", names(panel0, content::panel_data, 0));
    EXPECT_EQ(1, run.log.warning_count());
}

TEST_F(gate, site_that_is_wanted_needs_its_labels) {
    context.exclude_snps[2] = {"b"};
    site_list source(run.log, {{"s", "a", 50, "", ""}, {"s", "b", 110, "A", ""}, {"s", "c", 120, "A", ""}});
    expect_fatal("site list: There are fewer fields than a SNP needs", [&] { names(source, content::panel_data); });
}

TEST_F(gate, reference_site_needs_two_labels_and_finds_its_entry) {
    label(add_site(150), 2, "A", "C");
    context.strand_map = {{150, "-"}};
    for (const std::size_t panel : {0U, 1U}) {
        site_list source(run.log, {{"s", "a", 140, "G", "G"}, {"s", "b", 150, "T", "G"}, {"s", "c", 160, "A", "C"}});
        EXPECT_EQ("b>rs150 c ", records(source, panel));
        EXPECT_EQ(3U, counts.read);
    }
    EXPECT_EQ(2U, context.strands.flipped);
    const std::string warning =
        "WARNING: The SNP at position 140 in the -x file has only one unique allele (G); all reference SNPs must have "
        "two distinct alleles, so this SNP will be ignored.\n";
    EXPECT_EQ(warning + warning, warnings());
}

TEST_F(gate, study_site_is_not_looked_for_nor_flipped) {
    label(add_site(150), 2, "A", "C");
    context.strand_map = {{150, "-"}};
    site_list source(run.log, {{"s", "a", 150, "G", "G"}, {"s", "b", 150, "A", "C"}});
    EXPECT_EQ("a b ", records(source, 2));
    EXPECT_EQ(0U, context.strands.handled);
}

TEST_F(gate, filter_drops_sites_behind_the_test_of_labels) {
    site_list source(run.log, {{"---", "a", 110, "A", "A"}, {"---", "b", 120, "A", "C"}, {"---", "c", 130, "A", "C"}});
    source.values_of_sites = {{"no number"}, {"0.01"}, {"0.2"}};
    site_gate rules(rooms, context, source, 0, "-x");
    rules.set_filter(legend_filter(run.log, {"maf<0.05"}, {"maf"}));
    panel_site site;
    ASSERT_TRUE(rules.next(site));
    EXPECT_EQ("c", site.record.rs_id);
    EXPECT_FALSE(rules.next(site));
    EXPECT_EQ(1U, rules.counts.filtered);
}

TEST_F(gate, record_has_names_and_the_labels_of_its_panel) {
    const snp record = make_record({"s", "r", 150, "A", "C"}, 1);
    EXPECT_EQ("s", record.snp_id);
    EXPECT_EQ("r", record.rs_id);
    EXPECT_EQ("A", record.labels[1].a0);
    EXPECT_EQ("C", record.labels[1].a1);
    EXPECT_EQ("*", record.labels[1].strand);
    EXPECT_EQ(no_label, record.labels[2].a0);
}

TEST_F(gate, site_without_genotypes_is_warned_of_and_counted) {
    site_list source(run.log, {});
    site_gate rules(rooms, context, source, 1, "-g_ref");
    panel_site site;
    site.record.rs_id = "r";
    site.position = 150;
    rules.drop_without_genotypes(site);
    EXPECT_EQ(1U, rules.counts.no_data);
    EXPECT_EQ(
        "WARNING: SNP r at position 150 is missing all of its Panel 1 genotypes and will be treated as if it had not "
        "been included in the -g_ref file.\n",
        warnings());
}

}  // namespace
