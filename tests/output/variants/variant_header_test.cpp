#include "output/variants/variant_header.h"

#include "output/output_fixture.h"

namespace {

class variant_header : public output_fixture {
  protected:
    void SetUp() override {
        output_fixture::SetUp();
        run.plan.variants = variant_fields{true, true, true, false, false, false};
        run.params.chr = "20";
        run.params.seed = 7;
        run.params.command_text = "orvide -seed 7";
    }
    void name_people(const std::vector<std::string>& first, const std::vector<std::string>& second) {
        run.panels[2].sample_ids = {first, second};
    }
    std::string text() {
        const hts_header header = make_variant_header(results);
        if (!header) return "(none)";
        kstring_t lines = KS_INITIALIZE;
        bcf_hdr_format(header.get(), 0, &lines);
        std::string all(lines.s, lines.l);
        ks_free(&lines);
        return all;
    }
    bool has(const std::string& line) { return text().find(line + "\n") != std::string::npos; }
    using names = std::vector<std::string>;
};

TEST_F(variant_header, chromosome_is_named_by_the_input_then_by_the_option_then_by_rule) {
    run.sites.contig.name = "chr20";
    EXPECT_EQ(contig_name(results), "chr20");
    run.sites.contig.name = "";
    EXPECT_EQ(contig_name(results), "20");
    EXPECT_FALSE(contig_is_unnamed(results));
    run.params.chr = "NULL";
    EXPECT_TRUE(contig_is_unnamed(results));
    EXPECT_EQ(contig_name(results), "0");
    run.params.chrX = true;
    EXPECT_EQ(contig_name(results), "X");
}

TEST_F(variant_header, people_are_numbered_where_no_file_names_them) {
    give_study(2);
    EXPECT_EQ(sample_names(results), (names{"id1", "id2"}));
}

TEST_F(variant_header, second_ids_name_people_where_they_differ) {
    give_study(2);
    name_people({"F", "F", "F"}, {"A", "B", "B"});  // the third is beyond -nind
    EXPECT_EQ(sample_names(results), (names{"A", "B"}));
}

TEST_F(variant_header, first_ids_name_people_where_only_they_differ) {
    give_study(2);
    name_people({"F", "G"}, {"1", "1"});
    EXPECT_EQ(sample_names(results), (names{"F", "G"}));
}

TEST_F(variant_header, both_ids_name_people_where_neither_differs) {
    give_study(3);
    name_people({"F", "F", "G"}, {"1", "2", "1"});
    EXPECT_EQ(sample_names(results), (names{"F_1", "F_2", "G_1"}));
}

TEST_F(variant_header, lines_tell_the_run_and_nothing_of_time_or_machine) {
    give_study(2);
    EXPECT_EQ(text(),
              "##fileformat=VCFv4.3\n"
              "##FILTER=<ID=PASS,Description=\"All filters passed\">\n"
              "##source=ORVIDE 2.3.2\n"
              "##orvide_command=orvide -seed 7\n"
              "##orvide_seed=7\n"
              "##contig=<ID=20>\n"
              "##INFO=<ID=AF,Number=A,Type=Float,Description=\"Expected frequency of the ALT allele: mean dosage an "
              "allele\">\n"
              "##INFO=<ID=INFO,Number=1,Type=Float,Description=\"Information measure: 1 when every genotype is "
              "certain\">\n"
              "##INFO=<ID=CERT,Number=1,Type=Float,Description=\"Mean of the largest genotype probability\">\n"
              "##INFO=<ID=TYPE,Number=1,Type=Integer,Description=\"0: Panel 0 only, 1: Panel 1 but not the study, 2: "
              "study and references, 3: study only\">\n"
              "##INFO=<ID=IMP,Number=0,Type=Flag,Description=\"Imputed site\">\n"
              "##INFO=<ID=TYPED,Number=0,Type=Flag,Description=\"Typed site\">\n"
              "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Genotype\">\n"
              "##FORMAT=<ID=DS,Number=1,Type=Float,Description=\"Dosage of the ALT allele\">\n"
              "##FORMAT=<ID=GP,Number=G,Type=Float,Description=\"Genotype probabilities\">\n"
              "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tid1\tid2\n");
}

TEST_F(variant_header, length_of_the_chromosome_stands_where_an_input_tells_it) {
    give_study(1);
    run.sites.contig = {"chr20", 64444167};
    EXPECT_TRUE(has("##contig=<ID=chr20,length=64444167>"));
}

TEST_F(variant_header, line_ends_in_the_command_become_blanks) {
    give_study(1);
    run.params.command_text = "orvide -o a\nb";
    EXPECT_TRUE(has("##orvide_command=orvide -o a b"));
}

TEST_F(variant_header, figures_of_typed_sites_are_named_where_the_run_has_them) {
    give_study(1);
    run.plan.selfcheck_iters = {1};
    EXPECT_TRUE(
        has("##INFO=<ID=CONC0,Number=1,Type=Float,Description=\"Concordance when masked and imputed from "
            "Panel 0\">"));
    EXPECT_EQ(text().find("R2_2"), std::string::npos);
    run.params.pgs = true;
    EXPECT_NE(text().find("##INFO=<ID=R2_2,"), std::string::npos);
}

TEST_F(variant_header, values_by_haplotype_are_as_many_as_people_have) {
    run.plan.variants->hds = run.plan.variants->pq = true;
    give_study(2);
    EXPECT_NE(text().find("##FORMAT=<ID=HDS,Number=2,Type=Float"), std::string::npos);
    EXPECT_NE(text().find("##FORMAT=<ID=PQ,Number=1,Type=Integer"), std::string::npos);
    give_ploidies(2, {1, 2});
    EXPECT_NE(text().find("##FORMAT=<ID=HDS,Number=.,Type=Float"), std::string::npos);
    give_ploidies(2, {1, 1});
    EXPECT_NE(text().find("##FORMAT=<ID=HDS,Number=1,Type=Float"), std::string::npos);
}

TEST_F(variant_header, people_of_the_same_name_get_no_header) {
    give_study(2);
    name_people({"F", "F"}, {"1", "1"});
    EXPECT_EQ(text(), "(none)");
}

}  // namespace
