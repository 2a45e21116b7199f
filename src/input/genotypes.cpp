// Unphased genotypes: -g is Panel 2, -g_ref Panel 1.

#include <utility>

#include "input/genotype_calls.h"
#include "input/line_start.h"
#include "input/reader_common.h"
#include "input/readers.h"
#include "input/site_placement.h"
#include "io/text.h"
#include "model/data.h"

namespace {

const std::string& genotype_file(const data& run, int panel) {
    return panel == 2 ? run.params.g_file : run.params.g_ref_file;
}

std::string genotype_option(int panel) {
    return panel == 2 ? "-g" : "-g_ref";
}

text_input open_genotypes(data& run, int panel) {
    const std::string& name = genotype_file(run, panel);
    const std::string option = genotype_option(panel);
    announce(run.log, concat("-reading Panel ", panel, " genotypes from ", option, " file"), name);
    return text_input(run.log, name, concat("ERROR: The ", option, " file you specified does not exist."),
                      unopened_text(concat("Panel ", panel, " genotypes file"), name));
}

// How a panel's genotypes are read and what is kept of them.
struct panel_rules {
    genotype_rules genotypes;
    bool keep_triples = false;
    bool frequency_by_em = false;
};

panel_rules rules_of(const data& run, int panel) {
    const parameters& params = run.params;
    panel_rules rules;
    rules.genotypes.probabilistic = panel == 2 ? params.prob_g : params.prob_g_ref;
    rules.genotypes.normalise = params.prob_g_norm;
    rules.genotypes.call_threshold = params.call_thresh;
    rules.genotypes.probability_threshold = params.prob_g_thresh;
    rules.keep_triples = keeps_triples(run, panel);
    rules.frequency_by_em = rules.genotypes.probabilistic && params.prob_g_thresh < 0.0;
    return rules;
}

class genotype_reader {
  public:
    genotype_reader(data& run, reading_context& context, int panel);
    void read();

  private:
    void count_columns();
    // False behind the end of the region.
    bool read_site(std::string_view line);
    // Fills genotypes, alleles, triples and frequency of the panel.
    void read_individuals(std::string_view numbers, snp& site);
    void read_triple(number_scanner& numbers, probability_triple& triple);
    void place(snp&& site, long position, const site_match& match);

    data& run_;
    reading_context& context_;
    int panel_;
    std::size_t p_;  // index of the panel where a table has one entry a panel
    std::size_t g_;  // the same where it has none for Panel 0
    text_input file_;
    panel_rules rules_;
    region_test region_;
    std::size_t n_columns_ = 0;  // individuals of the file
    std::vector<std::uint8_t> codes_;
    std::vector<bool> without_het_, haploid_;  // by kept individual
    reading_counts counts_;
    note_once short_line_;
};

genotype_reader::genotype_reader(data& run, reading_context& context, int panel)
    : run_(run),
      context_(context),
      panel_(panel),
      p_(static_cast<std::size_t>(panel)),
      g_(p_ - 1),
      file_(open_genotypes(run, panel)),
      rules_(rules_of(run, panel)),
      region_(run) {
    count_columns();
}

void genotype_reader::count_columns() {
    const std::string words = concat("Panel ", panel_, " genotypes file");
    const int n_numbers = count_columns_after_site(file_);
    if (n_numbers % 3 != 0) run_.log.fatal(bad_columns_text(words, file_.name()));
    const int n_columns = n_numbers / 3;
    n_columns_ = static_cast<std::size_t>(n_columns);
    check_against_sample_file(run_.log, context_.exclude_flags, n_columns, {"individuals", words});
    const int n_excluded = count_excluded(context_.exclude_flags);
    run_.panels[p_].n_ind = n_columns - n_excluded;
    run_.panels[p_].n_hap = run_.panels[panel_].count_haplotypes(run_.panels[p_].n_ind);
    report_columns(run_.log, n_columns, n_excluded, run_.panels[p_].n_ind, "individuals");

    const auto n_kept = static_cast<std::size_t>(run_.panels[p_].n_ind);
    const bool all_haploid = panel_ == 2 && run_.params.haploid_g;
    codes_.resize(n_kept);
    for (std::size_t k = 0; k < n_kept; ++k) {
        const bool male = run_.panels[panel_].is_male(k);
        without_het_.push_back(all_haploid || (male && (run_.plan.chrx_haploid || run_.plan.chrx_diploid)));
        haploid_.push_back(all_haploid || (male && run_.plan.chrx_haploid));
    }
}

void genotype_reader::read() {
    std::string_view line;
    while (file_.next_filled_line(line)) {
        if (!read_site(line)) break;
    }
    report_read(run_.log, counts_);
    report_excluded(run_.log, counts_);
}

bool genotype_reader::read_site(std::string_view line) {
    started_line started = start_line(run_, context_, file_, region_, panel_, genotype_option(panel_), counts_, line);
    if (started.fate != line_fate::read) return started.fate == line_fate::skip;
    read_individuals(started.rest, started.site);
    place(std::move(started.site), started.position, started.match);
    return true;
}

void genotype_reader::read_triple(number_scanner& numbers, probability_triple& triple) {
    if (numbers.next_digits(triple)) return;
    for (float& value : triple) {
        double number = 0.0;  // what the line lacks reads as zero
        switch (numbers.next(number)) {
            case number_scanner::outcome::bad:
                file_.fail(concat("The genotype field '", numbers.bad_field(), "' is not a number"));
            case number_scanner::outcome::end:
                short_line_.say(file_,
                                "the line has fewer genotypes than the first one; what is missing reads as zeros");
                break;
            case number_scanner::outcome::number:
                break;
        }
        value = static_cast<float>(number);
    }
}

void genotype_reader::read_individuals(std::string_view rest, snp& site) {
    number_scanner numbers(rest);
    allele_sums sums;
    std::vector<float> triples;
    const bool collect = rules_.keep_triples || rules_.frequency_by_em;
    if (collect) triples.reserve(3 * codes_.size());
    const genotype_rules& rules = rules_.genotypes;
    probability_triple triple{};
    std::size_t k = 0;
    for (std::size_t column = 0; column < n_columns_; ++column) {
        read_triple(numbers, triple);
        if (is_dropped(context_.exclude_flags, column)) continue;
        complete_triple(triple, without_het_[k]);
        if (rules.probabilistic) {
            add_uncertain(triple, rules, haploid_[k], sums);
        } else {
            codes_[k] = call_genotype(triple, rules.call_threshold, haploid_[k]);
            if (codes_[k] != missing_genotype) sums.add_genotype(codes_[k], haploid_[k]);
        }
        if (collect) append_triple(triples, triple);
        ++k;
    }
    double surplus = 0.0;
    if (numbers.next(surplus) != number_scanner::outcome::end) {
        file_.fail("There are more genotypes than in the first line");
    }
    site.labels[p_].freq = rules_.frequency_by_em ? calculate_allele_freq_via_em(run_, triples) : sums.frequency();
    if (!rules.probabilistic) site.gtypes[p_] = codes_;
    if (rules_.keep_triples) site.gtype_probs[p_] = std::move(triples);
    site.haps[p_].assign(static_cast<std::size_t>(run_.panels[p_].n_hap), missing_allele);
}

void genotype_reader::place(snp&& site, long position, const site_match& match) {
    if (!is_usable_frequency(site.labels[p_].freq)) {
        const bool stays_as_hole = panel_ == 1 && run_.params.fill_holes && run_.params.panel0_given();
        if (!run_.params.counts_per_iter && !stays_as_hole) {
            warn_no_genotypes(run_, panel_, genotype_option(panel_), site, position);
            ++counts_.no_data;
            return;
        }
        if (stays_as_hole && match) (*match)->second.ref_alleles_missing = true;
    }
    if (panel_ == 2) {
        add_study_site(run_, position, std::move(site));
    } else {
        place_panel1_site(run_, position, std::move(site), match);
    }
    ++counts_.kept;
}

}  // namespace

void read_genotypes(data& run, reading_context& context, int panel) {
    genotype_reader(run, context, panel).read();
}
