// Haplotypes sampled by an earlier run: the file of its first iteration stands in for a panel's data.

#include <algorithm>
#include <memory>
#include <utility>

#include "input/announce.h"
#include "input/columns.h"
#include "input/formats/haplotype_row.h"
#include "input/genotype_calls.h"
#include "input/note_once.h"
#include "input/readers.h"
#include "input/sampled_files.h"
#include "input/site_gate.h"
#include "input/site_placement.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/run_plan.h"

namespace {

std::unique_ptr<sampled_source> open_first(run_log& log, const source_request& request, std::size_t panel) {
    announce(log, sampled_stage_text(panel), request.file);
    return open_sampled(log, request);
}

class sampled_reader {
  public:
    sampled_reader(const input_rooms& rooms, reading_context& context, std::size_t panel);
    void read();

  private:
    bool one_character_each() const { return panel_ == 0 || people_.all_haploid; }
    bool males_possible() const { return panel_ != 0 && rooms_.plan.chrx_haploid; }
    void settle_columns(std::string_view characters);
    void check_columns(std::size_t n_columns);
    // Settles which characters are haplotypes of kept individuals.
    void choose_characters(std::size_t n_columns);
    void read_haplotypes(std::string_view characters, snp& record);
    void set_genotypes(snp& record) const;
    // False when the site is dropped.
    bool place(panel_site& site);

    const input_rooms& rooms_;
    const reading_context& context_;
    std::size_t panel_;
    panel_data& people_;
    source_request request_;
    std::unique_ptr<sampled_source> source_;
    site_gate gate_;
    std::size_t length_ = 0;              // characters of a site
    std::vector<std::size_t> chosen_;     // the character of each kept haplotype
    std::vector<std::size_t> first_hap_;  // of each kept individual, and one past the last haplotype at the end
    bool all_chosen_ = false;
    std::vector<std::uint64_t> words_;
    note_once odd_character_;
};

sampled_reader::sampled_reader(const input_rooms& rooms, reading_context& context, std::size_t panel)
    : rooms_(rooms),
      context_(context),
      panel_(panel),
      people_(rooms.panels[panel]),
      request_(request_sampled(rooms.params, panel, 1)),
      source_(open_first(rooms.log, request_, panel)),
      gate_(rooms, context, *source_, panel, sampled_option(panel)) {
    settle_columns(source_->first_characters());
}

void sampled_reader::settle_columns(std::string_view characters) {
    length_ = characters.size();
    if (!one_character_each() && length_ % 2 != 0) {
        rooms_.log.fatal(bad_columns_text(request_.words, request_.file));
    }
    const std::size_t n_columns = one_character_each() ? length_ : length_ / 2;
    check_columns(n_columns);
    const auto n_dashes = std::count(characters.begin(), characters.end(), '-');
    const auto n_detected = static_cast<std::ptrdiff_t>(length_) - (males_possible() ? n_dashes : 0);
    rooms_.log.line(concat(" --detected ", n_detected, " haplotypes"));
    if (count_excluded(context_.exclude_flags) > 0) {
        const auto n_left = static_cast<std::ptrdiff_t>(people_.n_hap);
        rooms_.log.line(concat(" --excluded ", n_detected - n_left, " haplotypes, leaving ", n_left, " for analysis"));
    }
    choose_characters(n_columns);
}

void sampled_reader::check_columns(std::size_t n_columns) {
    const std::vector<bool>& exclude_flags = context_.exclude_flags;
    check_against_sample_file(rooms_.log, exclude_flags, n_columns, panel_ == 0 ? "haplotypes" : "individuals",
                              request_.words);
    const std::size_t n_kept = n_columns - count_excluded(exclude_flags);
    if (panel_ == 0) {
        people_.n_hap = n_kept;
        return;
    }
    if (males_possible() && people_.ploidy.size() != n_kept) {
        rooms_.log.fatal(
            "ERROR: When performing imputation on chromosome X, you must provide a sample file for each -g, -g_ref, "
            "and/or -known_haps_g input file.");
    }
    people_.n_ind = n_kept;
    people_.n_hap = people_.count_haplotypes(n_kept);
}

void sampled_reader::choose_characters(std::size_t n_columns) {
    const std::size_t width = one_character_each() ? 1 : 2;
    std::size_t individual = 0;
    for (std::size_t column = 0; column < n_columns; ++column) {
        if (is_dropped(context_.exclude_flags, column)) continue;
        first_hap_.push_back(chosen_.size());
        chosen_.push_back(width * column);
        const bool haploid = width == 1 || (males_possible() && people_.is_male(individual));
        if (!haploid) chosen_.push_back(width * column + 1);
        ++individual;
    }
    first_hap_.push_back(chosen_.size());
    all_chosen_ = chosen_.size() == length_;
    words_.resize(bits::words_for(chosen_.size()));
}

void sampled_reader::read() {
    panel_site site;
    while (gate_.next(site)) {
        read_haplotypes(source_->read_characters(), site.record);
        if (place(site)) ++gate_.counts.kept;
    }
    report_read(rooms_.log, gate_.counts);
    report_excluded(rooms_.log, gate_.counts);
}

void sampled_reader::read_haplotypes(std::string_view characters, snp& record) {
    if (characters.size() != length_) {
        source_->fail(
            concat("There are ", characters.size() < length_ ? "fewer" : "more", " haplotypes than in the first line"));
    }
    if (characters.find_first_not_of(males_possible() ? "01-" : "01") != std::string_view::npos) {
        odd_character_.odd(*source_, "A haplotype is neither 0 nor 1", "it reads as 1");
    }
    if (all_chosen_) {
        pack_characters(characters, words_.data());
    } else {
        for (std::size_t h = 0; h < chosen_.size(); ++h) {
            bits::set(words_.data(), h, characters[chosen_[h]] != '0');
        }
    }
    record.haps[panel_].assign(chosen_.size(), words_, {});
    record.labels[panel_].freq = allele_frequency(record.haps[panel_]);
    if (panel_ != 0) set_genotypes(record);
}

void sampled_reader::set_genotypes(snp& record) const {
    const bool probabilistic = panel_ == 2 ? rooms_.params.prob_g : rooms_.params.prob_g_ref;
    const bool keep_triples = keeps_triples(rooms_.params, panel_);
    const allele_row& alleles = record.haps[panel_];
    for (std::size_t k = 0; k + 1 < first_hap_.size(); ++k) {
        const std::size_t first = first_hap_[k], last = first_hap_[k + 1] - 1;  // one haplotype counts twice
        const int code = alleles[first] + alleles[last];
        if (!probabilistic) record.gtypes[panel_].push_back(static_cast<std::uint8_t>(code));
        if (keep_triples) append_triple(record.gtype_probs[panel_], one_hot_triple(code));
    }
}

bool sampled_reader::place(panel_site& site) {
    if (panel_ == 0) return place_panel0_site(rooms_, site, false) == placement::kept;
    if (!is_usable_frequency(site.record.labels[panel_].freq) && !rooms_.params.counts_per_iter) {
        gate_.drop_without_genotypes(site);
        return false;
    }
    if (panel_ == 2) {
        add_study_site(rooms_, std::move(site));
    } else {
        place_panel1_site(rooms_, std::move(site));
    }
    return true;
}

}  // namespace

void read_first_sampled_haplotypes(const input_rooms& rooms, reading_context& context, std::size_t panel) {
    sampled_reader(rooms, context, panel).read();
}
