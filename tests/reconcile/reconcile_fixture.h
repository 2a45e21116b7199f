#pragma once

// A run made by hand: sites, panels and settings without any input file, scripted draws, and what it wrote.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

#include "model/data.h"
#include "random/random.h"
#include "support/log_capture.h"

// Gives the draws that a test queued, and counts them. A draw past the end of the queue is a failure.
class queued_draws : public Random {
  public:
    void add(std::initializer_list<double> draws) { draws_.insert(draws_.end(), draws); }
    double Next() override {
        ++n_taken;
        if (draws_.empty()) {
            ADD_FAILURE() << "more draws than expected";
            return 0.5;
        }
        const double draw = draws_.front();
        draws_.pop_front();
        return draw;
    }
    bool used_up() const { return draws_.empty(); }
    int n_taken = 0;

  private:
    std::deque<double> draws_;
};

class reconcile_fixture : public ::testing::Test {
  protected:
    void SetUp() override {
        capture.open(run.log);
        old_generator = Random::RNG;
        Random::Set(draws);
        run.plan.int_lower_bp = 100;
        run.plan.int_upper_bp = 200;
        run.plan.buffer_lower = 50;
        run.plan.buffer_upper = 250;
        run.plan.output_types = {true, true, true, true};
    }
    void TearDown() override {
        Random::RNG = old_generator;
        run.log.close();
    }

    // --- panels -----------------------------------------------------------------------------------------------------
    void give_panel0(int n_haplotypes) {
        run.params.h_files.insert(run.params.h_files.begin(), "ref.hap");
        run.panels[0].n_hap = n_haplotypes;
        run.plan.has_reference = true;
        run.plan.n_panels = 3;
    }
    // Panel 1 as genotypes.
    void give_panel1(int n_individuals) {
        run.params.g_ref_file = "ref.gen";
        run.panels[1].n_ind = n_individuals;
        run.panels[1].n_hap = 2 * n_individuals;
        run.plan.has_reference = true;
        run.plan.n_panels = 3;
    }
    // Panel 1 as haplotypes of a second file, beside a Panel 0.
    void give_second_haplotypes(int n_haplotypes) {
        run.params.h_files.emplace_back("ref1.hap");
        run.panels[1].n_hap = n_haplotypes;
    }
    void give_study(int n_individuals) {
        run.params.g_file = "study.gen";
        run.panels[2].n_ind = n_individuals;
        run.panels[2].n_hap = 2 * n_individuals;
    }
    // Makes males of a panel haploid; ploidies are 1 or 2, one an individual.
    void give_ploidies(int panel, const std::vector<int>& ploidies) {
        run.params.chrX = true;
        run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
        panel_data& people = run.panels[static_cast<std::size_t>(panel)];
        people.n_hap = 0;
        for (const int ploidy : ploidies) {
            people.ploidy.push_back(ploidy);
            people.first_haps.push_back(people.n_hap);
            people.n_hap += static_cast<std::size_t>(ploidy);
            ++(ploidy == 1 ? people.n_males : people.n_females);
        }
    }

    // --- sites ------------------------------------------------------------------------------------------------------
    snp& add_site(long position, int type) {
        snp& site = run.sites.store.emplace(position, snp{})->second;
        site.rs_id = "rs" + std::to_string(position);
        site.snp_id = "snp" + std::to_string(position);
        site.gen_pos = static_cast<double>(position) * 0.01;
        site.type = site.top_panel = type;
        return site;
    }
    static void label(snp& site, int panel, const std::string& a0, const std::string& a1, double freq = 0.5,
                      const std::string& strand = "*") {
        site.labels[static_cast<std::size_t>(panel)] = {a0, a1, strand, freq};
    }
    static allele_row alleles(std::initializer_list<int> values) {
        allele_row row(values.size(), 0);
        std::size_t i = 0;
        for (const int value : values) row.set(i++, value);
        return row;
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
    queued_draws draws;

  private:
    Random* old_generator = nullptr;
};
