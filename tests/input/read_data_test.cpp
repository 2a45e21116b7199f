#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "input/reader_fixture.h"
#include "input/readers.h"
#include "support/scripted_draws.h"

namespace {

class whole_reading : public reader_fixture {
  protected:
    void SetUp() override {
        reader_fixture::SetUp();
        run.params.m_file = write("map", "p r c\n50 1 0.1\n250 1 0.3\n");
        run.params.g_file =
            write("gen", "s1 r1 110 A C 1 0 0 0 1 0\ns2 r2 150 A C 0 0 1 0 1 0\ns3 r3 190 A C 0 1 0 1 0 0\n");
    }
    void give_first_pair() {
        run.params.h_files.insert(run.params.h_files.begin(), write("hap0", "0 1 1\n1 1 0\n0 1 0\n1 0 0\n"));
        run.params.l_files.insert(run.params.l_files.begin(),
                                  write("leg0", "id p a0 a1\nr1 110 A C\nrx 130 A G\nr2 150 C A\nry 170 A T\n"));
        run.plan.has_reference = true;
    }
    void give_second_pair() {
        run.params.h_files.push_back(write("hap1", "0 1\n1 1\n0 0\n"));
        run.params.l_files.push_back(write("leg1", "id p a0 a1\nr1 110 A C\nrx 130 A G\nr2 150 A C\n"));
    }
    // The stage lines of a reading, one a line.
    std::string stages() {
        const std::string text = said([this] { read_data(rooms); });
        std::string lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            if (line.size() > 1 && line[0] == '-' && line[1] != '-') lines += line + "\n";
        }
        return lines;
    }
    std::string types() const {
        std::string text;
        for (const auto& [position, site] : run.sites.store)
            text += std::to_string(position) + ":" + std::to_string(site.type) + " ";
        return text;
    }
};

TEST_F(whole_reading, study_alone) {
    const std::string text = said([this] { read_data(rooms); });
    EXPECT_TRUE(text.starts_with(
        "\n-----------------\n Data processing \n-----------------\n\n-reading genetic map from -m file\n"));
    EXPECT_EQ("\n-removing SNPs that violate the hierarchical data requirements\n --no SNPs removed\n",
              text.substr(text.find("\n-removing")));
    EXPECT_EQ("110:3 150:3 190:3 ", types());
    EXPECT_GT(site_at(150).gen_pos, site_at(110).gen_pos);
}

TEST_F(whole_reading, study_and_one_reference) {
    give_first_pair();
    EXPECT_EQ(
        "-reading genetic map from -m file\n-reading Panel 2 genotypes from -g file\n"
        "-reading Panel 0 haplotypes from -h and -l files\n"
        "-removing SNPs that violate the hierarchical data requirements\n",
        stages());
    EXPECT_EQ("110:2 130:0 150:2 170:0 190:3 ", types());
    EXPECT_EQ(3, run.panels[0].n_hap);
    EXPECT_EQ(4, run.panels[2].n_hap);
}

TEST_F(whole_reading, study_and_two_references) {
    give_first_pair();
    give_second_pair();
    EXPECT_EQ(
        "-reading genetic map from -m file\n-reading Panel 2 genotypes from -g file\n"
        "-reading Panel 1 haplotypes from -h and -l files\n-reading Panel 0 haplotypes from -h and -l files\n"
        "-removing SNPs that violate the hierarchical data requirements\n",
        stages());
    EXPECT_EQ("110:2 130:1 150:2 170:0 190:3 ", types());
    EXPECT_EQ(no_label, site_at(190).labels[0].a0);
    EXPECT_EQ(2, run.panels[1].n_hap);
}

TEST_F(whole_reading, genotypes_of_panel1_win_over_a_second_pair) {
    give_first_pair();
    give_second_pair();
    run.params.g_ref_file = write("gref", "s1 r1 110 A C 1 0 0 0 1 0 0 0 1\n");
    const std::string text = stages();
    EXPECT_NE(std::string::npos, text.find("-reading Panel 1 genotypes from -g_ref file\n"));
    EXPECT_EQ(std::string::npos, text.find("-reading Panel 1 haplotypes"));
    EXPECT_EQ(3, run.panels[1].n_ind);
}

TEST_F(whole_reading, sampled_files_win_over_all_data_files) {
    give_first_pair();
    run.params.g_ref_file = "not read";
    run.params.hap_samp_in_g = write("g_hapsamp1", "s1 r1 110 A C 0110\n");
    run.params.hap_samp_in_g_ref = write("r_hapsamp1", "s1 r1 110 A C 0110\n");
    run.params.hap_samp_in_h = write("h_hapsamp1", "s1 r1 110 A C 0110\n");
    for (std::string* name : {&run.params.hap_samp_in_g, &run.params.hap_samp_in_g_ref, &run.params.hap_samp_in_h}) {
        name->resize(name->size() - std::string("_hapsamp1").size());
    }
    EXPECT_EQ(
        "-reading genetic map from -m file\n-reading sampled haplotypes for Panel 2 from -hap_samp_in_g file\n"
        "-reading sampled haplotypes for Panel 1 from -hap_samp_in_g_ref file\n"
        "-reading sampled haplotypes for Panel 0 from -hap_samp_in_h file\n"
        "-removing SNPs that violate the hierarchical data requirements\n",
        stages());
    EXPECT_EQ("110:2 ", types());
}

TEST_F(whole_reading, every_stage_stands_in_its_place) {
    give_first_pair();
    run.params.g_ref_file = write("gref", "s1 r1 110 A C 1 0 0 0 1 0 0 0 1\ns9 r9 300 A C 1 0 0 0 1 0 0 0 1\n");
    const std::string strands = write("strand", "110 +\n"), list = write("list", "r3\nr9\nry\n");
    run.params.strand_g_file = run.params.strand_g_ref_file = run.params.strand_h_file = strands;
    run.params.exclude_snps_g_file = run.params.exclude_snps_g_ref_file = run.params.exclude_snps_h_file = list;
    run.params.exclude_samples_g_file = run.params.exclude_samples_g_ref_file = run.params.exclude_samples_h_file =
        write("nobody", "");
    run.params.include_samples_g_file = run.params.include_samples_g_ref_file = run.params.include_samples_h_file =
        list;
    const std::string two = write("two", "ID_1 ID_2\n0 0\na a\nb b\n"),
                      three = write("three", "ID_1 ID_2\n0 0\na a\nb b\nc c\n");
    run.params.sample_g_file = run.params.sample_known_haps_g_file = two;
    run.params.sample_g_ref_file = run.params.sample_h_file = three;
    run.params.hap_init_g_file = write("init", "s1 r1 110 A C 0 0 1 0\n");
    run.params.known_haps_g_file = write("known", "s1 r1 110 A C 0 0 1 0\n");
    run.params.include_snps_file = list;
    const auto lists = [](const std::string& suffix, const std::string& panel) {
        const std::string of_panel = " for Panel " + panel + " from -";
        return "-reading strand info" + of_panel + "strand_" + suffix + " file\n-reading SNP exclusion list" +
               of_panel + "exclude_snps_" + suffix + " file\n-reading sample exclusion list" + of_panel +
               "exclude_samples_" + suffix + " file\n-reading sample inclusion list" + of_panel + "include_samples_" +
               suffix + " file\n-reading sample list" + of_panel + "sample_" + suffix + " file\n";
    };
    EXPECT_EQ("-reading genetic map from -m file\n" + lists("g", "2") +
                  "-reading Panel 2 genotypes from -g file\n"
                  "-reading initial Panel 2 haplotypes from -hap_init_g file\n"
                  "-reading sample list for Panel 2 from -sample_known_haps_g file\n"
                  "-reading Panel 2 haplotypes from -known_haps_g file\n"
                  "-using -strand_g file to align Panel 2 allele labels\n" +
                  lists("g_ref", "1") +
                  "-reading Panel 1 genotypes from -g_ref file\n"
                  "-using -strand_g_ref file to align Panel 1 allele labels\n" +
                  lists("h", "0") +
                  "-reading Panel 0 haplotypes from -h and -l files\n"
                  "-using -strand_h file to align Panel 0 allele labels\n"
                  "-reading SNP inclusion list for Panel -1 from -include_snps file\n"
                  "-removing SNPs that violate the hierarchical data requirements\n-applying SNP inclusion list\n",
              stages());
    EXPECT_EQ("+", site_at(110).labels[2].strand);
    EXPECT_EQ("+", site_at(110).labels[1].strand);
}

TEST_F(whole_reading, strand_file_of_one_panel_does_not_reach_the_next) {
    give_first_pair();
    run.params.strand_g_file = write("strand", "130 -\n110 +\n");
    read_data(rooms);
    EXPECT_EQ("A", site_at(130).labels[0].a0);
    EXPECT_EQ("*", site_at(130).labels[0].strand);
}

TEST_F(whole_reading, dropped_people_of_one_panel_are_not_those_of_the_next) {
    give_first_pair();
    run.params.sample_g_file = write("sample", "ID_1 ID_2\n0 0\na a\nb b\n");
    run.params.exclude_samples_g_file = write("list", "a\n");
    read_data(rooms);
    EXPECT_EQ(1, run.panels[2].n_ind);
    EXPECT_EQ(3, run.panels[0].n_hap);
}

TEST_F(whole_reading, snps_excluded_from_the_study_stay_out_of_the_reference) {
    give_first_pair();
    run.params.exclude_snps_g_file = write("list", "r2\nrx\n");
    read_data(rooms);
    EXPECT_EQ("110:2 170:0 190:3 ", types());
}

TEST_F(whole_reading, snps_excluded_from_the_study_can_be_imputed_back) {
    give_first_pair();
    run.params.exclude_snps_g_file = write("list", "r2\nrx\n");
    run.params.impute_excluded = true;
    read_data(rooms);
    EXPECT_EQ("110:2 130:0 150:0 170:0 190:3 ", types());
}

TEST_F(whole_reading, strand_file_flips_the_study_before_it_meets_the_reference) {
    run.params.g_file = write("gen", "s1 r1 110 T G 1 0 0 0 1 0\n");
    run.params.strand_g_file = write("strand", "110 -\n");
    give_first_pair();
    read_data(rooms);
    EXPECT_EQ("A", site_at(110).labels[2].a0);
    EXPECT_EQ(2, site_at(110).type);
}

TEST_F(whole_reading, region_without_sites_ends_the_run_well) {
    run.plan.buffer_lower = run.plan.buffer_upper = 105;
    expect_fatal(
        "There are no SNPs in the imputation interval, so there is nothing for ORVIDE2 to analyze; the program will "
        "quit "
        "now.",
        [this] { read_data(rooms); }, 0);
}

TEST_F(whole_reading, site_in_two_panels_of_three_becomes_type_0_only_under_pgs) {
    for (const bool pgs : {false, true}) {
        run.sites.store.clear();
        run.params.h_files.clear();
        run.params.l_files.clear();
        run.params.pgs = pgs;
        give_first_pair();
        write("hap1", "0 1\n");
        run.params.h_files.push_back(files().name("hap1"));
        run.params.l_files.push_back(write("leg1", "id p a0 a1\nr1 110 A C\n"));
        read_data(rooms);
        EXPECT_EQ(pgs ? 0 : 3, site_at(150).type);
    }
}

TEST_F(whole_reading, map_that_does_not_reach_sites_is_told) {
    run.params.m_file = write("map", "p r c\n50 1 0.1\n60 1 0.3\n");
    said([this] { read_data(rooms); });
    EXPECT_EQ(
        "orvide: note: The genetic map file [" + run.params.m_file +
            "] covers the positions 50 to 60, and the region of the run with its buffer is 100 to 200: all sites are "
            "taken to be at one genetic position. Give the map of the same chromosome and genome build as the data.\n",
        notes());
}

TEST_F(whole_reading, lists_of_people_say_what_they_found) {
    run.params.exclude_samples_g_file = write("list", "p1\nq\n");
    run.params.include_samples_g_file = write("included", "x\n");
    run.params.sample_g_file = write("sample", "ID_1 ID_2\n0 0\nf1 p1\nf2 p2\n");
    said([this] { read_data(rooms); });
    EXPECT_EQ("orvide: note: 1 of 2 entries of the list [" + run.params.exclude_samples_g_file +
                  "] (-exclude_samples_g) were found; not found: q\norvide: note: 0 of 1 entries of the list [" +
                  run.params.include_samples_g_file +
                  "] (-include_samples_g) were found; not found: x; this list keeps nobody out\n",
              notes());
}

struct odd_list {
    const char* name;
    std::string parameters::*option;
    const char* entry;
    bool people_have_names;
    std::string note;  // LIST stands for the name of the file
};

class note_of_a_list : public whole_reading, public ::testing::WithParamInterface<odd_list> {};

TEST_P(note_of_a_list, says_what_it_did) {
    const std::string list = write("list", std::string(GetParam().entry) + "\n");
    run.params.*GetParam().option = list;
    if (GetParam().people_have_names) run.params.sample_g_file = write("sample", "ID_1 ID_2\n0 0\nf1 p1\nf2 p2\n");
    said([this] { read_data(rooms); });
    std::string note = GetParam().note;
    if (const auto at = note.find("LIST"); at != std::string::npos) note.replace(at, 4, list);
    EXPECT_EQ("orvide: note: " + note + "\n", notes());
}

INSTANTIATE_TEST_SUITE_P(
    lists, note_of_a_list,
    ::testing::Values(
        odd_list{"people_without_their_names", &parameters::exclude_samples_g_file, "p1", false,
                 "-exclude_samples_g needs the IDs of the people: give them by -sample_g, or give the data as VCF or "
                 "BCF; without them it excludes nobody."},
        odd_list{"nobody", &parameters::exclude_samples_g_file, "P1", true,
                 "Nothing of the list [LIST] (-exclude_samples_g) was found in the data, and it excludes nothing: P1. "
                 "Its entries must be equal to IDs of the data, to the letter."},
        odd_list{"no_site", &parameters::exclude_snps_g_file, "R1", false,
                 "Nothing of the list [LIST] (-exclude_snps_g) was found in the data, and it excludes nothing: R1. "
                 "Its entries must be equal to IDs of the data, to the letter."},
        odd_list{"no_panel", &parameters::exclude_snps_g_ref_file, "r1", false,
                 "There is no data that the list [LIST] (-exclude_snps_g_ref) could act on: it has no effect."}),
    [](const auto& list) { return std::string(list.param.name); });

}  // namespace
