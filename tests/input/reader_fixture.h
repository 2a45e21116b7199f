#pragma once

// The rooms of a reading without files: region 100 to 200, all types put out, channels in memory and in a folder.

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "input/input_rooms.h"
#include "input/reading_context.h"
#include "io/run_log.h"
#include "model/genetic_map.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"
#include "support/alleles.h"
#include "support/log_capture.h"
#include "support/run_builder.h"

class reader_fixture : public ::testing::Test {
  protected:
    void SetUp() override {
        run.plan.buffer_lower = 100;
        run.plan.buffer_upper = 200;
        run.plan.int_lower_bp = 120;
        run.plan.int_upper_bp = 180;
        run.plan.output_types = {true, true, true, true};
        run.params.o_file = files().name("out");
        capture.open(run.log);
    }
    const temporary_folder& files() const { return capture.files; }
    std::string write(const std::string& file, const std::string& text) const { return files().write(file, text); }

    // What a call adds to the terminal, which is what it adds to the summary.
    std::string said(const std::function<void()>& call) {
        const std::size_t terminal_before = capture.terminal.str().size();
        const std::size_t summary_before = capture.summary().size();
        call();
        const std::string terminal = capture.terminal.str().substr(terminal_before);
        EXPECT_EQ(terminal, capture.summary().substr(summary_before));
        return terminal;
    }
    void expect_fatal(const std::string& text, const std::function<void()>& call, int status = 1) {
        expect_end(capture, text, status, call);
    }
    // All warnings so far.
    std::string warnings() const { return capture.warnings(); }
    // All lines on standard error so far.
    std::string notes() const { return capture.notes.str(); }
    // Turns warnings off, as -no_warn does.
    void silence_warnings() {
        run.params.warn = false;
        run.log.close();
        capture.open(run.log, false);
    }

    // Reference data, as far as the readers ask for it.
    void give_panel0() { run.params.h_files.insert(run.params.h_files.begin(), files().name("ref.hap")); }
    void give_panel1_genotypes() { run.params.g_ref_file = files().name("ref.gen"); }
    // A chrX run with these individuals in a panel; 1 for a male, 2 for a female.
    void give_sexes(std::size_t panel, const std::string& sexes, bool males_are_haploid = true) {
        run.params.chrX = true;
        set_chrx(run.plan, run.panels, males_are_haploid);
        std::vector<int> ploidies;
        for (const char c : sexes) ploidies.push_back(c - '0');
        set_sexes(run.panels[panel], ploidies);
    }
    // A study that has been read, with one site at each position, A and C, everybody with the genotypes, and no alleles
    // yet.
    void give_genotypes(const std::string& codes, std::initializer_list<long> positions) {
        panel_data& study = run.panels[2];
        study.n_ind = codes.size();
        study.n_hap = study.count_haplotypes(study.n_ind);
        for (const long position : positions) {
            snp& site = add_site(position);
            label(site, 2, "A", "C");
            site.gtypes[2] = genotypes(codes);
            site.haps[2].assign(study.n_hap, missing_allele);
        }
    }
    snp& add_site(long position) { return ::add_site(run.sites, position); }
    // The only site at a position.
    snp& site_at(long position) {
        EXPECT_EQ(1U, run.sites.store.count(position));
        return run.sites.store.find(position)->second;
    }

    log_capture capture;
    struct {
        parameters params;
        run_plan plan;
        run_log log;
        genetic_map map;
        panel_array panels;
        site_table sites;
    } run{{}, {}, run_log(capture.terminal, capture.notes), {}, {}, {}};
    const input_rooms rooms{run.params, run.plan, run.log, run.map, run.panels, run.sites};
    reading_context context;
};
