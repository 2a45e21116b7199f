#include "output/variants/variant_output.h"

#include <algorithm>

#include "io/hts_objects.h"
#include "output/output_fixture.h"

namespace {

class variant_output : public output_fixture {
  protected:
    void SetUp() override {
        output_fixture::SetUp();
        name_output("out.vcf");
        run.params.chr = "20";
        run.params.command_text = "orvide";
        run.params.seed = 1;
        run.plan.variants = variant_fields{true, true, true, false, false, false};
    }
    void name_output(const std::string& name) { run.params.o_file = file(name); }
    snp& add_bases(long position, std::size_t type, const std::string& a0, const std::string& a1) {
        snp& site = add_site(position, type);
        for (std::size_t p = 0; p < 3; ++p) label(site, p, a0, a1);
        return site;
    }
    // The lines of a file as htslib reads them, in one text.
    static std::string lines_of(const std::string& name) {
        const hts_file in(hts_open(name.c_str(), "r"));
        if (!in) return "(no file)";
        const hts_header header(bcf_hdr_read(in.get()));
        const hts_record record(bcf_init());
        std::string text;
        while (bcf_read(in.get(), header.get(), record.get()) == 0) {
            kstring_t line = KS_INITIALIZE;
            vcf_format1(header.get(), record.get(), &line);
            text.append(line.s, line.l);
            ks_free(&line);
        }
        return text;
    }
    void expect_refusal(const std::string& message) {
        expect_fatal(message, [&] { check_variant_output(results); });
        capture.open(run.log);  // which the end has closed
    }
    void give_ids(const std::vector<std::string>& first, const std::vector<std::string>& second) {
        run.panels[2].sample_ids = {first, second};
    }
};

TEST_F(variant_output, sites_of_many_blocks_are_the_same_in_all_formats) {
    give_study(2);
    for (long k = 0; k < 50; ++k) add_bases(100 + 2 * k, k % 3 == 0 ? 2 : 0, "A", "G");
    for (auto& [position, site] : run.sites.store) {
        if (site.type == 2) add_genotypes(site, {1, 2});
    }
    allocate();
    for (const snp* site : run.sites.in_order) {
        if (site->type == 0) add_sums(*site, 1, 0.01 * static_cast<double>(site->index), 0.5);
    }
    for (const char* name : {"out.vcf", "out.vcf.gz", "out.bcf"}) {
        name_output(name);
        write_variant_output(results, {});
    }
    const std::string lines = lines_of(file("out.vcf"));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 50);
    EXPECT_TRUE(
        lines.starts_with("20\t100\trs100\tA\tG\t.\t.\tAF=0.75;INFO=1;CERT=1;TYPE=2;TYPED\tGT:DS:GP\t"
                          "0/1:1:0,1,0\t1/1:2:0,0,1\n"));
    EXPECT_EQ(lines_of(file("out.vcf.gz")), lines);
    EXPECT_EQ(lines_of(file("out.bcf")), lines);
    EXPECT_TRUE(text_of(file("out.vcf")).ends_with(lines));
    EXPECT_EQ(notes(), "");
}

TEST_F(variant_output, nothing_is_written_for_text_or_where_alleles_of_the_reference_are_imputed) {
    give_study(1);
    run.plan.sporadic_haploid_imputation = true;
    write_variant_output(results, {});
    EXPECT_FALSE(exists(file("out.vcf")));
    run.plan.sporadic_haploid_imputation = false;
    name_output("out");
    write_variant_output(results, {});
    check_variant_output(results);
    EXPECT_FALSE(exists(file("out")));
}

TEST_F(variant_output, header_that_cannot_be_made_ends_the_run) {
    give_study(2);
    give_ids({"F", "F"}, {"1", "1"});
    expect_fatal("ERROR: The head of [" + file("out.vcf") + "] could not be made.",
                 [&] { write_variant_output(results, {}); });
}

TEST_F(variant_output, check_passes_what_the_file_can_hold) {
    give_study(2);
    add_bases(110, 0, "A", "<DEL>");
    add_bases(120, 3, "ac", "0");
    check_variant_output(results);
    EXPECT_EQ(notes(), "");
}

TEST_F(variant_output, chromosome_without_a_name_is_said) {
    give_study(1);
    run.params.chr = "NULL";
    check_variant_output(results);
    EXPECT_EQ(notes(), "orvide: note: no input names the chromosome; it is called 0 in [" + file("out.vcf") +
                           "] (-chr NAME names it)\n");
}

TEST_F(variant_output, name_that_no_chromosome_can_have_ends_the_run) {
    give_study(1);
    for (const std::string name : {"2 0", "", "<20>"}) {
        run.params.chr = name;
        expect_refusal("ERROR: [" + name +
                       "] cannot name a chromosome in VCF or BCF output. Give -chr a name of letters "
                       "and digits.");
    }
}

TEST_F(variant_output, people_of_the_same_ids_end_the_run) {
    give_study(3);
    give_ids({"F", "G", "F"}, {"1", "1", "1"});
    expect_refusal(
        "ERROR: Two individuals of the study have the same IDs [F_1], so that they cannot be told apart in [" +
        file("out.vcf") + "]. Give them different IDs in the sample file.");
}

TEST_F(variant_output, first_allele_that_is_no_sequence_ends_the_run) {
    give_study(1);
    add_bases(110, 0, "A", "C");
    add_bases(120, 2, "-", "C");
    add_bases(130, 3, "0", "C");
    const auto message = [&](const std::string& sites, const std::string& labels) {
        return "ERROR: " + sites + " alleles that cannot stand in [" + file("out.vcf") + "], the first one " + labels +
               ": the first allele (REF) has to be bases (A, C, G, T, N). Leave such sites out (-exclude_snps_g, "
               "-exclude_snps_h; -os 0 1 2 for sites of the study alone), or write text (-o NAME without the end of a "
               "VCF or BCF file).";
    };
    expect_refusal(message("2 sites have", "rs120 at position 120 with - and C"));
    run.plan.output_types = {true, true, false, true};
    expect_refusal(message("1 site has", "rs130 at position 130 with 0 and C"));
    run.plan.output_types = {true, true, false, false};
    check_variant_output(results);
}

TEST_F(variant_output, position_that_the_file_cannot_hold_ends_the_run) {
    give_study(1);
    add_bases(0, 0, "A", "C");
    run.plan.int_lower_bp = 0;
    const auto message = [&](const std::string& name, long position, const std::string& last) {
        return "ERROR: The site at position " + std::to_string(position) + " cannot stand in [" + file(name) +
               "], whose chromosome goes from 1 to " + last +
               ". Leave the site out, or write text (-o NAME without the end of a VCF or BCF file).";
    };
    expect_refusal(message("out.vcf", 0, "2147483646"));
    run.plan.int_lower_bp = 1;
    run.plan.int_upper_bp = 1L << 40;
    add_bases((1L << 29) + 1, 0, "A", "C");
    check_variant_output(results);
    name_output("out.vcf.gz");
    expect_refusal(message("out.vcf.gz", (1L << 29) + 1, "536870912"));
    name_output("out.bcf");
    check_variant_output(results);
    run.sites.contig = {"20", 1000};
    expect_refusal(message("out.bcf", (1L << 29) + 1, "1000"));
}

TEST_F(variant_output, run_without_results_is_not_checked) {
    give_study(1);
    run.params.chr = "NULL";
    run.params.suppress_imputation_output = true;
    check_variant_output(results);
    EXPECT_EQ(notes(), "");
}

}  // namespace
