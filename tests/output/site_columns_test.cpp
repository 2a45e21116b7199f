#include "output/site_columns.h"

#include "output_fixture.h"

namespace {

class site_columns : public output_fixture {
  protected:
    std::string labels(std::size_t type) {
        snp site;
        for (std::size_t p = 0; p < 3; ++p) site.labels[p].a0 = std::to_string(p);
        return output_labels(run.params, site, type).a0;
    }
    std::string labels_by_type() { return labels(0) + labels(1) + labels(2) + labels(3); }
};

TEST_F(site_columns, labels_with_haplotype_panel_are_those_of_panel_0) {
    EXPECT_EQ(labels_by_type(), "0002");
    run.params.g_ref_file = "ref.gen";
    EXPECT_EQ(labels_by_type(), "0002");
    run.params.g_ref_file = "NULL";
    run.params.h_files = {"ref.hap", "ref1.hap"};
    EXPECT_EQ(labels_by_type(), "0002");
}

TEST_F(site_columns, labels_with_genotype_panel_alone_are_those_of_panel_1) {
    run.params.h_files.clear();
    run.params.g_ref_file = "ref.gen";
    EXPECT_EQ(labels_by_type(), "0112");
}

TEST_F(site_columns, labels_without_reference_are_those_of_the_study) {
    run.params.h_files.clear();
    EXPECT_EQ(labels_by_type(), "0122");
}

TEST_F(site_columns, sites_are_selected_within_the_interval_ends_included) {
    for (const long position : {99L, 100L, 150L, 200L, 201L}) add_site(position, position == 150 ? 0 : 2);
    const auto all = select_sites(run.sites, results.output_interval(), [](const snp&) { return true; });
    EXPECT_EQ(all, (std::vector<std::size_t>{1, 2, 3}));
    const auto typed =
        select_sites(run.sites, results.output_interval(), [](const snp& site) { return site.type == 2; });
    EXPECT_EQ(typed, (std::vector<std::size_t>{1, 3}));
}

}  // namespace
