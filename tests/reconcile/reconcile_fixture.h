#pragma once

// A run made by hand: sites, panels and settings without any input file, scripted draws, and what it wrote.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "model/data.h"
#include "support/alleles.h"
#include "support/log_capture.h"
#include "support/run_builder.h"
#include "support/scripted_draws.h"

class reconcile_fixture : public ::testing::Test {
  protected:
    void SetUp() override {
        capture.open(run.log);
        run.plan.int_lower_bp = 100;
        run.plan.int_upper_bp = 200;
        run.plan.buffer_lower = 50;
        run.plan.buffer_upper = 250;
        run.plan.output_types = {true, true, true, true};
    }
    void TearDown() override { run.log.close(); }

    // --- panels -----------------------------------------------------------------------------------------------------
    void give_panel0(std::size_t n_haplotypes) {
        run.params.h_files.insert(run.params.h_files.begin(), "ref.hap");
        run.panels[0].n_hap = n_haplotypes;
        run.plan.has_reference = true;
        run.plan.n_panels = 3;
    }
    // Panel 1 as genotypes.
    void give_panel1(std::size_t n_individuals) {
        run.params.g_ref_file = "ref.gen";
        set_diploids(run.panels[1], n_individuals);
        run.plan.has_reference = true;
        run.plan.n_panels = 3;
    }
    // Panel 1 as haplotypes of a second file, beside a Panel 0.
    void give_second_haplotypes(std::size_t n_haplotypes) {
        run.params.h_files.emplace_back("ref1.hap");
        run.panels[1].n_hap = n_haplotypes;
    }
    void give_study(std::size_t n_individuals) {
        run.params.g_file = "study.gen";
        set_diploids(run.panels[2], n_individuals);
    }
    // Makes males of a panel haploid; ploidies are 1 or 2, one an individual.
    void give_ploidies(std::size_t panel, const std::vector<int>& ploidies) {
        run.params.chrX = true;
        set_chrx(run.plan, run.panels);
        set_ploidies(run.panels[panel], ploidies);
    }

    // --- sites ------------------------------------------------------------------------------------------------------
    snp& add_site(long position, std::size_t type) {
        snp& site = ::add_site(run.sites, position, type);
        site.gen_pos = static_cast<double>(position) * 0.01;
        return site;
    }
    static void label(snp& site, std::size_t panel, const std::string& a0, const std::string& a1, double freq = 0.5,
                      const std::string& strand = "*") {
        site.labels[panel] = {a0, a1, strand, freq};
    }
    static std::vector<int> values(const allele_row& row) {
        std::vector<int> result;
        for (std::size_t i = 0; i < row.size(); ++i) result.push_back(row[i]);
        return result;
    }
    std::vector<long> positions() const {
        std::vector<long> result;
        for (const auto& entry : run.sites.store) result.push_back(entry.first);
        return result;
    }
    snp& site_at(long position) { return run.sites.store.find(position)->second; }

    // --- what the run wrote -----------------------------------------------------------------------------------------
    std::string terminal_text() const { return capture.terminal.str(); }
    std::string summary_text() const { return capture.summary(); }
    std::string warnings_text() const { return capture.warnings(); }
    // Terminal and summary hold this text, and nothing else.
    void expect_log(const std::string& text) const {
        EXPECT_EQ(text, terminal_text());
        EXPECT_EQ(text, summary_text());
    }
    // The exit status with which the action ends the run, -1 when it does not.
    template <typename Action>
    static int end_status(Action action) {
        try {
            action();
        } catch (const run_end& end) {
            return end.status;
        }
        return -1;
    }

    log_capture capture;
    data run{capture.terminal, capture.notes};
    listed_draws draws;
};
