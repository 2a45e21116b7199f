#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "input/reader_fixture.h"
#include "input/readers.h"

namespace {

class later_sampled_haplotypes : public reader_fixture {
  protected:
    void SetUp() override {
        reader_fixture::SetUp();
        run.params.hap_samp_in_g = run.params.hap_samp_in_g_ref = run.params.hap_samp_in_h = base;
    }
    void read(std::size_t iteration, std::size_t panel) {
        read_sampled_haps(run.log, run.params, run.sites, run.panels, iteration, panel);
    }
    // A store of sites whose panel haplotypes all are 0.
    void give_sites(const std::vector<long>& positions, std::size_t panel, std::size_t n_hap) {
        run.panels[panel].n_hap = n_hap;
        make_room(run.panels[panel], positions.size());
        hold_all_sites(run.panels[panel].haps);
        for (const long position : positions) add_site(position);
        list_sites(run.sites);
    }
    std::string haps(std::size_t panel, std::size_t site) const { return alleles_at(run.panels[panel].haps, site); }
    const std::string base = files().name("samp");
};

TEST_F(later_sampled_haplotypes, replace_those_of_the_panel) {
    give_sites({110, 120, 130}, 2, 4);
    run.sites.store.find(120)->second.allele_flipped[2] = true;
    write("samp_hapsamp3", "s r 50 A C x\ns r 110 A C 0110\ns r 115 A C x\ns r 120 A C 0110\ns r 140 A C x\n");
    EXPECT_EQ("", said([this] { read(2, 2); }));
    EXPECT_EQ("0110", haps(2, 0));
    EXPECT_EQ("1001", haps(2, 1));  // the panel codes this site the other way round
    EXPECT_EQ("0000", haps(2, 2));
}

TEST_F(later_sampled_haplotypes, leave_sites_alone_that_the_panel_does_not_hold) {
    give_sites({110, 120}, 0, 2);
    run.panels[0].haps = packed_haplotypes(2, 2);
    run.panels[0].haps.set_holds(1);
    write("samp_hapsamp2", "s r 110 A C 11\ns r 120 A C 11\n");
    read(1, 0);
    EXPECT_EQ("00", haps(0, 0));
    EXPECT_EQ("11", haps(0, 1));
}

TEST_F(later_sampled_haplotypes, walk_does_not_turn_back) {
    give_sites({110, 120, 120}, 1, 2);
    write("samp_hapsamp2", "s r 120 A C 10\ns r 120 A C 01\ns r 110 A C 11\n");
    read(1, 1);
    EXPECT_EQ("00", haps(1, 0));
    EXPECT_EQ("01", haps(1, 1));  // the second line met the same entry
    EXPECT_EQ("00", haps(1, 2));
}

TEST_F(later_sampled_haplotypes, odd_or_long_strings_are_read_as_they_stand) {
    give_sites({110}, 2, 2);
    write("samp_hapsamp2", "s r 110 A C 1-0\n");
    read(1, 2);
    EXPECT_EQ("11", haps(2, 0));  // what is not 0 is 1
}

TEST_F(later_sampled_haplotypes, short_string_ends_the_run) {
    give_sites({110}, 2, 4);
    write("samp_hapsamp2", "s r 110 A C 101\n");
    expect_fatal("ERROR: There are fewer haplotypes than in the panel, in line 1 of the file [" + base + "_hapsamp2].",
                 [this] { read(1, 2); });
}

TEST_F(later_sampled_haplotypes, many_sites_and_haplotypes_land_in_their_places) {
    std::mt19937 generator(5);
    std::vector<long> positions;
    for (long position = 1; position <= 300; ++position) positions.push_back(position);
    give_sites(positions, 0, 150);
    std::string text;
    std::vector<std::string> rows(positions.size(), std::string(150, '0'));
    for (std::size_t s = 0; s < positions.size(); ++s) {
        if (generator() % 4 == 0) continue;  // a line is missing
        for (char& c : rows[s]) c = generator() % 3 == 0 ? '1' : '0';
        text += "s r " + std::to_string(positions[s]) + " A C " + rows[s] + "\n";
    }
    write("samp_hapsamp2", text);
    read(1, 0);
    for (std::size_t s = 0; s < positions.size(); ++s) EXPECT_EQ(rows[s], haps(0, s)) << s;
}

TEST_F(later_sampled_haplotypes, empty_store_needs_nothing) {
    write("samp_hapsamp2", "nonsense\n");
    read(1, 2);
    EXPECT_TRUE(run.sites.store.empty());
}

TEST_F(later_sampled_haplotypes, verbose_run_names_the_file_on_the_terminal_alone) {
    run.params.verbose = true;
    files().write_compressed("samp_hapsamp2.gz", "");
    read(1, 1);
    EXPECT_EQ("\n-reading sampled haplotypes for Panel 1 from -hap_samp_in_g_ref file\n --filename=[" + base +
                  "_hapsamp2.gz]\n",
              capture.terminal.str());
    EXPECT_EQ("", capture.summary());
}

TEST_F(later_sampled_haplotypes, faults_end_the_run) {
    expect_fatal("ERROR: The -hap_samp_in_h file you specified does not exist.", [this] { read(1, 0); });
    capture.open(run.log);
    expect_fatal("ERROR: Invalid panel idx supplied to read_sampled_haps().", [this] { read(1, 3); });
    capture.open(run.log);
    std::filesystem::create_directory(files().name("samp_hapsamp2"));
    expect_fatal("ERROR: The hapsamp file [" + base + "_hapsamp2] could not be opened.", [this] { read(1, 2); });
}

}  // namespace
