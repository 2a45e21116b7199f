#pragma once

// A run in VCF with sites of all kinds, and records of them.

#include <string>
#include <vector>

#include "output/output_fixture.h"
#include "output/variants/variant_header.h"
#include "output/variants/variant_records.h"

class encoder_fixture : public output_fixture {
  protected:
    void SetUp() override {
        output_fixture::SetUp();
        run.params.chr = "20";
        run.params.command_text = "orvide";
        run.params.seed = 1;
        run.plan.variants = variant_fields{true, true, true, true, true, false};
        snp& imputed = add_site(110, 0);
        label(imputed, 0, "A", "<DEL>");
        snp& typed = add_site(120, 2);
        label(typed, 0, "AC", "-");
        typed.rs_id = "";
    }
    static variant_genotype diploid(int a, int b, bool phased, int dosage, std::array<int, 3> probs) {
        variant_genotype g;
        g.alleles = {a, b};
        g.phased = phased;
        g.has_probs = true;
        g.dosage = dosage;
        g.probs = probs;
        return g;
    }
    static variant_genotype haploid(int a, int dosage) {
        variant_genotype g = diploid(a, variant_genotype::none, false, dosage, {10000 - dosage, 0, dosage});
        g.haploid = true;
        return g;
    }
    static variant_genotype missing(bool is_haploid) {
        variant_genotype g;
        g.haploid = is_haploid;
        return g;
    }
    // Of people of every kind, the first of whom has everything.
    static std::vector<variant_genotype> everybody(bool with_haploids) {
        std::vector<variant_genotype> people{diploid(0, 1, true, 12346, {1000, 5654, 3346}),
                                             diploid(1, 1, false, 20000, {0, 0, 10000}), missing(false)};
        people[0].haps = {2346, 10000};
        people[0].confidence = 13;
        if (with_haploids) {
            people.push_back(haploid(1, 7500));
            people.back().haps[0] = 7500;
            people.push_back(missing(true));
        }
        return people;
    }
    static variant_record record_of(std::size_t site, const std::vector<variant_genotype>& people) {
        variant_record record;
        record.site = site;
        record.genotypes = people;
        record.frequency = 0.125;
        record.any_haps = record.any_confidence = true;
        return record;
    }
    // Who stands in everybody().
    void give_people(bool with_haploids) {
        if (with_haploids) {
            give_ploidies(2, {2, 2, 2, 1, 1});
        } else {
            give_study(3);
        }
    }
};
