// Unphased genotypes: -g is Panel 2, -g_ref Panel 1.

#include <memory>
#include <utility>

#include "input/announce.h"
#include "input/columns.h"
#include "input/formats/format_table.h"
#include "input/genotype_calls.h"
#include "input/readers.h"
#include "input/site_gate.h"
#include "input/site_placement.h"
#include "input/source_people.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/run_plan.h"

namespace {

std::string words_of_genotypes(std::size_t panel) {
    return concat("Panel ", panel, " genotypes file");
}

// What differs between the panels.
struct panel_rules {
    std::string option;
    std::string file;
    genotype_rules genotypes;
    bool keep_triples = false;
    bool frequency_by_em = false;
    bool dataless_sites_are_holes = false;
};

panel_rules rules_of(const parameters& params, std::size_t panel) {
    panel_rules rules;
    const bool is_study = panel == 2;
    rules.option = is_study ? "-g" : "-g_ref";
    rules.file = is_study ? params.g_file : params.g_ref_file;
    rules.genotypes.probabilistic = is_study ? params.prob_g : params.prob_g_ref;
    rules.genotypes.normalise = params.prob_g_norm;
    rules.genotypes.call_threshold = params.call_thresh;
    rules.genotypes.probability_threshold = params.prob_g_thresh;
    rules.keep_triples = keeps_triples(params, panel);
    rules.frequency_by_em = rules.genotypes.probabilistic && params.prob_g_thresh < 0.0;
    rules.dataless_sites_are_holes = !is_study && params.fill_holes && params.panel0_given();
    return rules;
}

std::unique_ptr<genotype_source> open_panel(const input_rooms& rooms, const panel_rules& rules, std::size_t panel) {
    announce(rooms.log, concat("-reading Panel ", panel, " genotypes from ", rules.option, " file"), rules.file);
    source_request request = request_for(rooms.params, rooms.plan, rules.option, rules.file, words_of_genotypes(panel));
    request.probabilities = rules.genotypes.probabilistic;
    return open_genotypes(rooms.log, request);
}

class genotype_reader {
  public:
    genotype_reader(const input_rooms& rooms, reading_context& context, std::size_t panel);
    void read();

  private:
    void settle_columns();
    // Fills genotypes, alleles, triples and frequency of the panel.
    void read_individuals(snp& record);
    void place(panel_site&& site);

    const input_rooms& rooms_;
    reading_context& context_;
    std::size_t panel_;
    panel_data& people_;
    panel_rules rules_;
    std::unique_ptr<genotype_source> source_;
    site_gate gate_;
    std::vector<probability_triple> triples_;  // of all columns
    std::vector<std::uint8_t> codes_;
    std::vector<bool> without_het_, haploid_;  // by kept individual
};

genotype_reader::genotype_reader(const input_rooms& rooms, reading_context& context, std::size_t panel)
    : rooms_(rooms),
      context_(context),
      panel_(panel),
      people_(rooms.panels[panel]),
      rules_(rules_of(rooms.params, panel)),
      source_(open_panel(rooms, rules_, panel)),
      gate_(rooms, context, *source_, panel, rules_.option) {
    settle_columns();
}

void genotype_reader::settle_columns() {
    const std::size_t n_columns = source_->n_columns();
    settle_contig(rooms_, *source_, rules_.file);
    settle_people(rooms_, context_, *source_, panel_, rules_.file);
    check_against_sample_file(rooms_.log, context_.exclude_flags, n_columns, "individuals", words_of_genotypes(panel_));
    settle_individuals(rooms_.log, people_, n_columns, context_.exclude_flags);
    triples_.resize(n_columns);
    codes_.resize(people_.n_ind);
    const bool chrx = rooms_.plan.chrx_haploid || rooms_.plan.chrx_diploid;
    for (std::size_t k = 0; k < people_.n_ind; ++k) {
        without_het_.push_back(people_.all_haploid || (chrx && people_.is_male(k)));
        haploid_.push_back(people_.all_haploid || (rooms_.plan.chrx_haploid && people_.is_male(k)));
    }
}

void genotype_reader::read() {
    panel_site site;
    while (gate_.next(site)) {
        read_individuals(site.record);
        place(std::move(site));
    }
    report_remarks(rooms_.log, *source_);
    report_read(rooms_.log, gate_.counts);
    report_excluded(rooms_.log, gate_.counts);
}

void genotype_reader::read_individuals(snp& record) {
    source_->read_triples(triples_);
    allele_sums sums;
    std::vector<float> kept_triples;
    const bool collect = rules_.keep_triples || rules_.frequency_by_em;
    if (collect) kept_triples.reserve(3 * codes_.size());
    const genotype_rules& rules = rules_.genotypes;
    std::size_t k = 0;
    for (std::size_t column = 0; column < triples_.size(); ++column) {
        if (is_dropped(context_.exclude_flags, column)) continue;
        probability_triple triple = triples_[column];
        complete_triple(triple, without_het_[k]);
        if (rules.probabilistic) {
            add_uncertain(triple, rules, haploid_[k], sums);
        } else {
            codes_[k] = call_genotype(triple, rules.call_threshold, haploid_[k]);
            if (codes_[k] != missing_genotype) sums.add_genotype(codes_[k], haploid_[k]);
        }
        if (collect) append_triple(kept_triples, triple);
        ++k;
    }
    record.labels[panel_].freq =
        rules_.frequency_by_em ? calculate_allele_freq_via_em(rooms_.log, kept_triples) : sums.frequency();
    if (!rules.probabilistic) record.gtypes[panel_] = codes_;
    if (rules_.keep_triples) record.gtype_probs[panel_] = std::move(kept_triples);
    record.haps[panel_].assign(people_.n_hap, missing_allele);
}

void genotype_reader::place(panel_site&& site) {
    if (!is_usable_frequency(site.record.labels[panel_].freq)) {
        if (!rooms_.params.counts_per_iter && !rules_.dataless_sites_are_holes) {
            return gate_.drop_without_genotypes(site);
        }
        if (rules_.dataless_sites_are_holes && site.match) (*site.match)->second.ref_alleles_missing = true;
    }
    if (panel_ == 2) {
        add_study_site(rooms_, std::move(site));
    } else {
        place_panel1_site(rooms_, std::move(site));
    }
    ++gate_.counts.kept;
}

}  // namespace

void read_genotypes(const input_rooms& rooms, reading_context& context, std::size_t panel) {
    genotype_reader(rooms, context, panel).read();
}
