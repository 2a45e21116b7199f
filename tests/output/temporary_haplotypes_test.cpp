#include "output/temporary_haplotypes.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "io/removal_list.h"
#include "output/consensus_phasing.h"
#include "output_fixture.h"

namespace {

class temporary_haplotypes : public output_fixture {
  protected:
    void use_tmp_files() {
        run.plan.tmp_haps = true;
        run.params.phase = true;
        run.params.mem_save_dir = file("x_tmp_files/");
        run.params.mem_save_str = run.params.mem_save_dir + "sampled_haps";
        std::filesystem::create_directories(run.params.mem_save_dir);
    }
    std::string tmp_name(int iteration) {
        return run.params.mem_save_str + "_tmpsamp_iter" + std::to_string(iteration) + ".gz";
    }
    // Writes a temporary file by hand.
    void write_tmp(int iteration, const std::string& text) {
        result_file file(run.log, tmp_name(iteration), true);
        file.text(text);
    }
    std::string bits(const snp& site, std::size_t slot) {
        std::string text;
        for (std::size_t it = 0; it < run.plan.stored_iters.size(); ++it) {
            for (int h = 0; h < 2; ++h) text += run.acc.mcmc_bits.get(slot, h, at(site), it) ? '1' : '0';
        }
        return text;
    }
};

TEST_F(temporary_haplotypes, temporary_file_holds_the_study_sites) {
    use_tmp_files();
    give_ploidies(2, {2, 1});
    add_site(110, 0);
    snp& typed = add_site(120, 2);
    add_site(130, 3);
    allocate();
    set_alleles(2, typed, "011");
    write_temporary_haplotypes(results, 6);
    EXPECT_EQ(gzip_text_of(tmp_name(7)), "SNP120 rs120 120 a2 b2 011-\n");
}

TEST_F(temporary_haplotypes, temporary_file_without_reference_holds_study_only_sites) {
    use_tmp_files();
    give_study(1);
    give_no_reference();
    add_site(130, 3);
    allocate();
    write_temporary_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(tmp_name(1)), "SNP130 rs130 130 a2 b2 00\n");
}

TEST_F(temporary_haplotypes, temporary_file_holds_imputed_sites_when_they_will_be_phased) {
    use_tmp_files();
    give_study(1);
    snp& imputed = add_site(110, 0);
    add_site(120, 2);
    allocate();
    set_alleles(2, imputed, "10");
    run.params.mc_impute = true;
    write_temporary_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(tmp_name(1)), "--- rs110 110 a0 b0 10\nSNP120 rs120 120 a2 b2 00\n");
    run.params.mc_impute = false;
    run.params.include_unphased_sites_in_output_haps = true;
    write_temporary_haplotypes(results, 1);
    EXPECT_EQ(gzip_text_of(tmp_name(2)), "--- rs110 110 a0 b0 10\nSNP120 rs120 120 a2 b2 00\n");
}

TEST_F(temporary_haplotypes, alleles_read_back_are_those_of_individuals_without_known_haplotypes) {
    use_tmp_files();
    give_ploidies(2, {1, 2, 2});
    run.panels[2].ordered = {false, true, false};
    snp& first = add_site(110, 2);
    add_site(120, 0);
    snp& second = add_site(130, 2);
    allocate();
    set_alleles(2, first, "11001");
    set_alleles(2, second, "00010");
    write_temporary_haplotypes(results, 1);
    set_alleles(2, first, "00010");
    set_alleles(2, second, "11011");
    write_temporary_haplotypes(results, 3);
    read_temporary_haplotypes(results, 3, run.acc.mcmc_bits);
    read_temporary_haplotypes(results, 1, run.acc.mcmc_bits);
    EXPECT_EQ(bits(first, 0), "1000");
    EXPECT_EQ(bits(second, 0), "0010");
    EXPECT_EQ(bits(first, 1), "0110");
    EXPECT_EQ(bits(second, 1), "1011");
    EXPECT_FALSE(run.acc.mcmc_bits.has(1));
}

TEST_F(temporary_haplotypes, alleles_read_back_under_mc_impute_are_those_of_everybody) {
    use_tmp_files();
    run.params.mc_impute = true;
    give_study(2);
    run.panels[2].ordered = {true, false};
    snp& site = add_site(110, 0);
    allocate();
    for (const std::string alleles : {"0110", "1101"}) {
        set_alleles(2, site, alleles);
        write_temporary_haplotypes(results, alleles == "0110" ? 1 : 3);
    }
    load_temporary_haplotypes(results, run.acc.mcmc_bits);
    EXPECT_EQ(bits(site, 0), "0111");
    EXPECT_EQ(bits(site, 1), "1001");
}

TEST_F(temporary_haplotypes, alleles_of_a_haploid_panel_read_back) {
    use_tmp_files();
    run.params.haploid_g = run.panels[2].all_haploid = true;
    give_study(2);
    run.panels[2].n_hap = 2;
    snp& site = add_site(110, 2);
    allocate();
    set_alleles(2, site, "01");
    write_temporary_haplotypes(results, 1);
    read_temporary_haplotypes(results, 1, run.acc.mcmc_bits);
    EXPECT_EQ(bits(site, 0), "0000");
    EXPECT_EQ(bits(site, 1), "1000");
}

TEST_F(temporary_haplotypes, pairwise_phasing_is_the_same_with_temporary_files) {
    use_tmp_files();
    give_study(1);
    snp& first = add_site(110, 2);
    snp& second = add_site(120, 2);
    for (snp* site : {&first, &second}) add_genotypes(*site, {1});
    allocate();
    for (const int iteration : {1, 3}) {
        set_alleles(2, first, iteration == 1 ? "01" : "10");
        set_alleles(2, second, iteration == 1 ? "10" : "01");
        write_temporary_haplotypes(results, iteration);
    }
    const phase_confidences confidences = phase_pairwise(results, run.panels[2].haps, run.acc.mcmc_bits);
    EXPECT_EQ(alleles_of(2, first), "01");
    EXPECT_EQ(alleles_of(2, second), "10");
    EXPECT_EQ(confidences[at(second)][0], 1.0);
}

TEST_F(temporary_haplotypes, fixed_phasing_under_mc_impute_reads_the_temporary_files) {
    use_tmp_files();
    run.params.mc_impute = true;
    give_study(1);
    run.panels[2].ordered = {true};
    snp& site = add_site(110, 2);
    add_genotypes(site, {1});
    allocate();
    set_alleles(2, site, "10");
    write_temporary_haplotypes(results, 1);
    write_temporary_haplotypes(results, 3);
    set_alleles(2, site, "00");
    phase_fixed(results, run.panels[2].haps, run.acc.mcmc_bits);
    EXPECT_EQ(alleles_of(2, site), "10");
}

TEST_F(temporary_haplotypes, temporary_file_of_other_sites_ends_the_run) {
    use_tmp_files();
    give_study(1);
    add_site(110, 2);
    allocate();
    write_tmp(2, "SNPx rsx 110 a2 T 00\n");
    expect_fatal("ERROR: Incompatibility found between stored information and Panel 2 tmp sampled haplotypes file [" +
                     tmp_name(2) +
                     "]. See below for details, and please contact the authors for assistance.\n"
                     "DETAILS: |SNP110|rs110|110|a2|b2| != |SNPx|rsx|110|a2|T|",
                 [&] { read_temporary_haplotypes(results, 1, run.acc.mcmc_bits); });
}

TEST_F(temporary_haplotypes, temporary_file_of_another_position_ends_the_run) {
    use_tmp_files();
    give_study(1);
    add_site(110, 2);
    allocate();
    write_tmp(2, "SNP110 rs110 111 a2 b2 00\n");
    EXPECT_THROW(read_temporary_haplotypes(results, 1, run.acc.mcmc_bits), run_end);
    EXPECT_NE(terminal().find("DETAILS: |SNP110|rs110|110|a2|b2| != |SNP110|rs110|111|a2|b2|\n"), std::string::npos);
}

TEST_F(temporary_haplotypes, other_ids_in_a_temporary_file_do_not_matter) {
    use_tmp_files();
    give_study(1);
    snp& site = add_site(110, 2);
    allocate();
    write_tmp(2, "x y 110 a2 b2 01\n");
    read_temporary_haplotypes(results, 1, run.acc.mcmc_bits);
    EXPECT_EQ(bits(site, 0), "0100");
}

TEST_F(temporary_haplotypes, missing_temporary_file_ends_the_run) {
    use_tmp_files();
    give_study(1);
    add_site(110, 2);
    allocate();
    expect_fatal("ERROR: The Panel 2 tmp sampled haplotypes file [" + tmp_name(2) + "] could not be opened.",
                 [&] { read_temporary_haplotypes(results, 1, run.acc.mcmc_bits); });
}

TEST_F(temporary_haplotypes, temporary_file_that_ends_early_ends_the_run) {
    use_tmp_files();
    give_study(1);
    add_site(110, 2);
    add_site(120, 2);
    allocate();
    write_tmp(2, "SNP110 rs110 110 a2 b2 00\n");
    expect_fatal("ERROR: There are fewer SNPs than the run has, in line 1 of the file [" + tmp_name(2) + "].",
                 [&] { read_temporary_haplotypes(results, 1, run.acc.mcmc_bits); });
}

TEST_F(temporary_haplotypes, temporary_file_with_too_few_fields_ends_the_run) {
    use_tmp_files();
    give_study(1);
    add_site(110, 2);
    allocate();
    write_tmp(2, "SNP110 rs110 110 a2 b2\n");
    expect_fatal("ERROR: Too few fields, in line 1 of the file [" + tmp_name(2) + "].",
                 [&] { read_temporary_haplotypes(results, 1, run.acc.mcmc_bits); });
}

TEST_F(temporary_haplotypes, temporary_file_with_a_string_of_another_length_ends_the_run) {
    use_tmp_files();
    give_study(1);
    add_site(110, 2);
    allocate();
    write_tmp(2, "SNP110 rs110 110 a2 b2 001\n");
    expect_fatal("ERROR: The haplotype string has another length, in line 1 of the file [" + tmp_name(2) + "].",
                 [&] { read_temporary_haplotypes(results, 1, run.acc.mcmc_bits); });
}

// --- directory
// --------------------------------------------------------------------------------------------------------

// With TMPDIR set to a value, or not at all.
class temporary_place : public temporary_haplotypes {
  protected:
    void TearDown() override { restore(); }
    void choose(const char* value) {
        if (!changed_ && std::getenv("TMPDIR") != nullptr) before_ = std::getenv("TMPDIR");
        changed_ = true;
        value == nullptr ? unsetenv("TMPDIR") : setenv("TMPDIR", value, 1);
    }

  private:
    void restore() {
        if (changed_) before_ ? setenv("TMPDIR", before_->c_str(), 1) : unsetenv("TMPDIR");
    }
    std::optional<std::string> before_;
    bool changed_ = false;
};

TEST_F(temporary_place, is_a_new_directory_that_only_the_user_may_enter) {
    choose(file("").c_str());
    place_temporary_haplotypes(run.log, run.params);
    const std::string first = run.params.mem_save_dir;
    EXPECT_EQ(first.find(file("")), 0U);
    EXPECT_EQ(run.params.mem_save_str, first + "sampled_haps");
    EXPECT_EQ(std::filesystem::status(first).permissions(), std::filesystem::perms::owner_all);
    run.params.mem_save_str = "NULL";
    place_temporary_haplotypes(run.log, run.params);
    EXPECT_NE(run.params.mem_save_dir, first);
    removal_list::remove_all();  // as a run that fails does
    EXPECT_FALSE(exists(first));
}

TEST_F(temporary_place, is_below_tmp_without_tmpdir) {
    choose(nullptr);
    place_temporary_haplotypes(run.log, run.params);
    EXPECT_EQ(run.params.mem_save_dir.find("/tmp/orvide_"), 0U);
    removal_list::remove_all();
}

TEST_F(temporary_place, of_the_users_own_names_is_left_alone) {
    run.params.mem_save_str = "t";
    place_temporary_haplotypes(run.log, run.params);
    EXPECT_EQ(run.params.mem_save_str, "t");
    EXPECT_EQ(run.params.mem_save_dir, "NULL");
}

TEST_F(temporary_place, that_cannot_be_made_ends_the_run) {
    choose(file("nowhere").c_str());
    expect_fatal("ERROR: Failed to create -mem_save directory [" + file("nowhere") + "/orvide_XXXXXX].",
                 [&] { place_temporary_haplotypes(run.log, run.params); });
}

// --- removal ------------------------------------------------------------------------------------------------------

TEST_F(temporary_haplotypes, directory_of_the_program_is_removed_whole) {
    use_tmp_files();
    write_tmp(2, "x\n");
    remove_temporary_haplotypes(results);
    EXPECT_FALSE(exists(run.params.mem_save_dir));
    EXPECT_EQ(terminal(), "\n-deleting temporary files used to reduce memory requirements\n");
    EXPECT_EQ(summary(), terminal());
    EXPECT_EQ(warnings(), "");
}

TEST_F(temporary_haplotypes, directory_that_stays_is_warned_of) {
    use_tmp_files();
    run.params.mem_save_dir = "/proc/self/";
    remove_temporary_haplotypes(results);
    EXPECT_EQ(warnings(), "WARNING: The temporary sampled haplotypes directory could not be deleted: [/proc/self/]\n");
}

TEST_F(temporary_haplotypes, file_of_somebody_else_in_the_directory_stays) {
    use_tmp_files();
    const std::string stranger = run.params.mem_save_dir + "x";
    std::ofstream(stranger) << "text";
    write_tmp(2, "x\n");
    remove_temporary_haplotypes(results);
    EXPECT_TRUE(exists(stranger));
    EXPECT_FALSE(exists(tmp_name(2)));
    EXPECT_NE(warnings(), "");
}

TEST_F(temporary_haplotypes, files_of_the_stored_iterations_are_removed_one_by_one) {
    use_tmp_files();
    run.params.remove_mem_save_dir = false;
    for (const int iteration : {2, 3, 4}) write_tmp(iteration, "x\n");
    remove_temporary_haplotypes(results);
    EXPECT_FALSE(exists(tmp_name(2)));
    EXPECT_TRUE(exists(tmp_name(3)));
    EXPECT_FALSE(exists(tmp_name(4)));
    EXPECT_EQ(warnings(), "");
}

TEST_F(temporary_haplotypes, temporary_files_that_are_gone_are_warned_of) {
    use_tmp_files();
    run.params.remove_mem_save_dir = false;
    write_tmp(2, "x\n");
    remove_temporary_haplotypes(results);
    EXPECT_EQ(warnings(),
              "WARNING: Could not find the following temporary sampled haplotypes file for automatic deletion: [" +
                  tmp_name(4) + "]\n");
    EXPECT_EQ(run.log.warning_count(), 1);
}

TEST_F(temporary_haplotypes, temporary_files_that_stay_are_warned_of) {
    use_tmp_files();
    run.params.remove_mem_save_dir = false;
    run.plan.stored_iters = {1};
    std::filesystem::create_directories(tmp_name(2) + "/full");  // a directory with something in it stays
    remove_temporary_haplotypes(results);
    EXPECT_EQ(warnings(),
              "WARNING: The following temporary sampled haplotypes file could not be deleted: [" + tmp_name(2) + "]\n");
}

}  // namespace
