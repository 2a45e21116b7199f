#pragma once

// The rooms that writers read, filled by hand: sites, alleles and sums put in one by one, listed draws, and what the
// writers left behind.

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "io/result_file.h"
#include "output/result_inputs.h"
#include "support/log_capture.h"
#include "support/run_builder.h"
#include "support/scripted_draws.h"

class output_fixture : public ::testing::Test {
  protected:
    void SetUp() override {
        capture.open(run.log);
        run.params.o_file = file("out");
        run.params.i_file = file("out_info");
        run.params.h_files = {"ref.hap"};
        run.params.store_input_probs = {true, true};
        run.plan.n_iterations = 30;
        run.plan.has_reference = true;
        run.plan.n_panels = 3;
        run.plan.int_lower_bp = 100;
        run.plan.int_upper_bp = 200;
        run.plan.buffer_lower = 50;
        run.plan.buffer_upper = 250;
        run.plan.output_types = {true, true, true, true};
        run.plan.stored_iters = {1, 3};
    }
    void TearDown() override {
        EXPECT_TRUE(draws.used_up()) << "fewer draws than expected";
        run.log.close();
    }

    // --- settings ---------------------------------------------------------------------------------------------------
    void give_study(std::size_t n_individuals) {
        set_diploids(run.panels[2], n_individuals);
        run.plan.n_study = n_individuals;
        run.panels[2].ordered.assign(n_individuals, false);
    }
    // A chrX run whose individuals of a panel (1 or 2) have the given ploidies.
    void give_ploidies(std::size_t panel, const std::vector<int>& ploidies) {
        set_chrx(run.plan, run.panels);
        set_ploidies(run.panels[panel], ploidies);
        if (panel != 2) return;
        run.plan.n_study = ploidies.size();
        run.panels[2].ordered.assign(ploidies.size(), false);
    }
    void give_no_reference() {
        run.params.h_files.clear();
        run.plan.has_reference = false;
        run.plan.n_panels = 4;
    }

    // --- sites ------------------------------------------------------------------------------------------------------
    // Sites are added in the order of their positions; every panel names them by its number: "a0" and "b0" in Panel 0.
    // A study site has genotypes (missing at first) and one-hot or uniform triples as add_genotypes says.
    snp& add_site(long position, std::size_t type) {
        snp& site = ::add_site(run.sites, position, type);
        site.snp_id = type < 2 ? "---" : "SNP" + std::to_string(position);
        for (std::size_t p = 0; p < (type < 2 ? 2 : 3); ++p) {
            label(site, p, "a" + std::to_string(p), "b" + std::to_string(p));
        }
        list_sites(run.sites);
        return site;
    }
    // Genotype codes, and the triples that a reader makes of them.
    static void add_genotypes(snp& site, std::initializer_list<int> genotypes) {
        for (const int g : genotypes) {
            site.gtypes[2].push_back(static_cast<std::uint8_t>(g));
            for (int k = 0; k < 3; ++k) {
                site.gtype_probs[2].push_back(g == missing_genotype ? 1.0F / 3.0F : g == k ? 1.0F : 0.0F);
            }
        }
    }
    // Alleles of a panel's haplotypes at a site, as a text of digits.
    void set_alleles(std::size_t panel, const snp& site, const std::string& alleles) {
        ::set_alleles(run.panels[panel].haps, site.index, alleles);
    }
    std::string alleles_of(std::size_t panel, const snp& site) const {
        return alleles_at(run.panels[panel].haps, site.index);
    }

    // Allocates alleles and sums; every site has a column. Called once the sites and counts stand.
    void allocate() {
        const std::size_t n_sites = run.sites.in_order.size();
        const std::size_t n_ind = run.panels[2].n_ind;
        for (panel_data& panel : run.panels) make_room(panel, n_sites);
        const std::vector<int> column = column_a_site(n_sites);
        for (std::size_t g = 0; g < 2; ++g) {
            run.acc.gtype_acc[g].allocate(n_ind, column, n_sites);
            run.acc.gtype_acc2[g].allocate(n_ind, column, n_sites);
            for (auto& tables : run.acc.gtype_acc3) tables[g].allocate(n_ind, column, n_sites);
            run.acc.weight_sum[g].assign(n_ind, 0.0);
        }
        if (!run.plan.tmp_haps) run.acc.mcmc_bits.allocate(n_ind, column, n_sites, run.plan.stored_iters.size());
    }
    void allocate_tallies() {
        run.acc.tallies.resize(run.sites.in_order.size());
        for (auto& tally : run.acc.tallies) {
            for (auto& counts : tally.miss_counts) counts.assign(run.panels[2].n_ind, 0);
        }
    }
    static std::size_t at(const snp& site) { return site.index; }
    // Sums of genotypes 1 and 2 over the stored iterations.
    void add_sums(const snp& site, std::size_t individual, double one, double two) {
        run.acc.gtype_acc[0].add(individual, at(site), one);
        run.acc.gtype_acc[1].add(individual, at(site), two);
    }
    void add_masked_sums(std::size_t set, const snp& site, std::size_t individual, double one, double two) {
        run.acc.gtype_acc3[set][0].add(individual, at(site), one);
        run.acc.gtype_acc3[set][1].add(individual, at(site), two);
    }
    // Sampled alleles of a slot at a site, iteration by iteration: "01 11" is (0, 1), then (1, 1).
    void add_samples(const snp& site, std::size_t slot, const std::string& pairs) {
        std::istringstream stream(pairs);
        std::string pair;
        for (std::size_t it = 0; stream >> pair; ++it) {
            for (std::size_t h = 0; h < pair.size(); ++h) {
                run.acc.mcmc_bits.set(slot, static_cast<int>(h), at(site), it, pair[h] == '1');
            }
        }
    }

    // --- results ----------------------------------------------------------------------------------------------------
    std::string file(const std::string& name) const { return capture.files.name(name); }
    std::string path(const std::string& ending) const { return run.params.o_file + ending; }
    static bool exists(const std::string& name) { return std::filesystem::exists(name); }
    // The text of a plain file, "(no file)" if there is none.
    static std::string text_of(const std::string& name) { return exists(name) ? file_text(name) : "(no file)"; }
    static std::string gzip_text_of(const std::string& name) {
        return exists(name) ? compressed_file_text(name) : "(no file)";
    }
    // The fields of a line (from 0) of a plain file from a column (from 0) on.
    static std::string fields_of(const std::string& name, std::size_t line, std::size_t first_column) {
        std::istringstream stream(text_of(name));
        std::string text;
        for (std::size_t k = 0; k <= line; ++k) {
            if (!std::getline(stream, text)) return "(no line)";
        }
        std::istringstream fields(text);
        std::string field;
        std::string rest;
        for (std::size_t k = 0; fields >> field; ++k) {
            if (k >= first_column) rest += (rest.empty() ? "" : " ") + field;
        }
        return rest;
    }
    std::string terminal() const { return capture.terminal.str(); }
    std::string notes() const { return capture.notes.str(); }
    std::string summary() const { return capture.summary(); }
    std::string warnings() const { return capture.warnings(); }
    // The action ends the run with status 1 and this message, framed, on terminal and summary file.
    void expect_fatal(const std::string& message, const std::function<void()>& action) {
        expect_end(capture, message, 1, action);
    }

    log_capture capture;
    struct {
        parameters params;
        run_plan plan;
        site_table sites;
        panel_array panels;
        accumulators acc;
        run_log log;
    } run{{}, {}, {}, {}, {}, run_log{capture.terminal, capture.notes}};
    worker_pool workers;
    const result_inputs results{run.params, run.plan, run.sites, run.panels, run.acc, run.log, workers};
    listed_draws draws;
};
