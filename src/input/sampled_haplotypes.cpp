// Haplotypes sampled by an earlier run: the file of its first iteration stands in for a panel's data, the files of the
// later iterations replace the panel's haplotypes as the run goes on.

#include <algorithm>
#include <utility>

#include "input/genotype_calls.h"
#include "input/haplotype_row.h"
#include "input/line_start.h"
#include "input/panel_options.h"
#include "input/reader_common.h"
#include "input/readers.h"
#include "input/site_placement.h"
#include "io/text.h"
#include "model/data.h"

namespace {

std::string option_of(int panel) {
    return concat("-hap_samp_in_", options_of_panel(panel).suffix);
}

std::string missing_text(int panel) {
    return concat("ERROR: The ", option_of(panel), " file you specified does not exist.");
}

// The file of an iteration counted from 1: the plain one if it is there, else the compressed one.
std::string sampled_file_name(const data& run, int panel, int iteration) {
    const std::string name = concat(run.params.*options_of_panel(panel).sampled_haplotypes, "_hapsamp", iteration);
    return file_exists(name) ? name : name + ".gz";
}

text_input open_first(data& run, int panel) {
    const std::string name = sampled_file_name(run, panel, 1);
    announce(run.log, concat("-reading sampled haplotypes for Panel ", panel, " from ", option_of(panel), " file"),
             name);
    return text_input(run.log, name, missing_text(panel),
                      unopened_text(concat("Panel ", panel, " hapsamp file"), name));
}

// The sixth field of a line.
std::string_view take_characters(const text_input& file, std::string_view rest) {
    std::string_view characters;
    if (!field_scanner(rest).next(characters)) file.fail("There are no haplotypes");
    if (!characters.empty() && characters.back() == '\r') characters.remove_suffix(1);
    return characters;
}

class sampled_reader {
  public:
    sampled_reader(data& run, reading_context& context, int panel);
    void read();

  private:
    bool one_character_each() const { return panel_ == 0 || (panel_ == 2 && run_.params.haploid_g); }
    bool males_possible() const { return panel_ != 0 && run_.plan.chrx_haploid; }
    std::string_view first_characters();
    void count_columns(std::string_view characters);
    // Settles which characters are haplotypes of kept individuals.
    void choose_characters(std::size_t n_columns);
    bool read_site(std::string_view line);
    void read_haplotypes(std::string_view characters, snp& site);
    void set_genotypes(snp& site) const;
    bool place(snp&& site, long position, const site_match& match);

    data& run_;
    reading_context& context_;
    int panel_;
    std::size_t p_;
    text_input file_;
    region_test region_;
    std::size_t length_ = 0;              // characters of a line
    std::vector<std::size_t> chosen_;     // the character of each kept haplotype
    std::vector<std::size_t> first_hap_;  // of each kept individual, and one past the last haplotype at the end
    bool all_chosen_ = false;
    std::vector<std::uint64_t> words_;
    reading_counts counts_;
    note_once odd_character_;
};

sampled_reader::sampled_reader(data& run, reading_context& context, int panel)
    : run_(run),
      context_(context),
      panel_(panel),
      p_(static_cast<std::size_t>(panel)),
      file_(open_first(run, panel)),
      region_(run) {
    count_columns(first_characters());
    file_.rewind();
}

// Valid until the next line is read; empty when the file is.
std::string_view sampled_reader::first_characters() {
    std::string_view line;
    if (!file_.next_filled_line(line)) return {};
    field_scanner fields(line);
    if (!fields.skip(5)) file_.fail("There are no haplotypes");
    return take_characters(file_, fields.rest());
}

void sampled_reader::count_columns(std::string_view characters) {
    length_ = characters.size();
    const auto length = static_cast<int>(length_);
    const std::string words = concat("Panel ", panel_, " hapsamp file");
    if (!one_character_each() && length % 2 != 0) run_.log.fatal(bad_columns_text(words, file_.name()));
    const int n_columns = one_character_each() ? length : length / 2;
    const int n_detected =
        males_possible() ? length - static_cast<int>(std::count(characters.begin(), characters.end(), '-')) : length;
    check_against_sample_file(run_.log, context_.exclude_flags, n_columns,
                              {panel_ == 0 ? "haplotypes" : "individuals", words});
    const int n_kept = n_columns - count_excluded(context_.exclude_flags);
    if (panel_ == 0) {
        run_.panels[0].n_hap = n_kept;
    } else {
        if (males_possible() && run_.panels[p_].ploidy.size() != static_cast<std::size_t>(n_kept)) {
            run_.log.fatal(
                "ERROR: When performing imputation on chromosome X, you must provide a sample file for each -g, "
                "-g_ref, "
                "and/or -known_haps_g input file.");
        }
        run_.panels[p_].n_ind = n_kept;
        run_.panels[p_].n_hap = run_.panels[panel_].count_haplotypes(n_kept);
    }
    run_.log.line(concat(" --detected ", n_detected, " haplotypes"));
    if (n_kept < n_columns) {
        run_.log.line(concat(" --excluded ", n_detected - run_.panels[p_].n_hap, " haplotypes, leaving ",
                             run_.panels[p_].n_hap, " for analysis"));
    }
    choose_characters(static_cast<std::size_t>(n_columns));
}

void sampled_reader::choose_characters(std::size_t n_columns) {
    const std::size_t width = one_character_each() ? 1 : 2;
    std::size_t individual = 0;
    for (std::size_t column = 0; column < n_columns; ++column) {
        if (is_dropped(context_.exclude_flags, column)) continue;
        first_hap_.push_back(chosen_.size());
        chosen_.push_back(width * column);
        const bool haploid = width == 1 || (males_possible() && run_.panels[panel_].is_male(individual));
        if (!haploid) chosen_.push_back(width * column + 1);
        ++individual;
    }
    first_hap_.push_back(chosen_.size());
    all_chosen_ = chosen_.size() == length_;
    words_.resize(bits::words_for(chosen_.size()));
}

void sampled_reader::read() {
    std::string_view line;
    while (file_.next_filled_line(line)) {
        if (!read_site(line)) break;
    }
    report_read(run_.log, counts_);
    report_excluded(run_.log, counts_);
}

bool sampled_reader::read_site(std::string_view line) {
    started_line started = start_line(run_, context_, file_, region_, panel_, option_of(panel_), counts_, line);
    if (started.fate != line_fate::read) return started.fate == line_fate::skip;
    read_haplotypes(take_characters(file_, started.rest), started.site);
    if (place(std::move(started.site), started.position, started.match)) ++counts_.kept;
    return true;
}

void sampled_reader::read_haplotypes(std::string_view characters, snp& site) {
    if (characters.size() != length_) {
        file_.fail(
            concat("There are ", characters.size() < length_ ? "fewer" : "more", " haplotypes than in the first line"));
    }
    if (characters.find_first_not_of(males_possible() ? "01-" : "01") != std::string_view::npos) {
        odd_character_.say(file_, "a haplotype is neither 0 nor 1 and reads as 1");
    }
    if (all_chosen_) {
        pack_characters(characters, words_.data());
    } else {
        for (std::size_t h = 0; h < chosen_.size(); ++h) {
            bits::set(words_.data(), h, characters[chosen_[h]] != '0');
        }
    }
    const auto n_ones = static_cast<double>(count_ones(words_));
    if (!chosen_.empty()) site.labels[p_].freq = n_ones / static_cast<double>(chosen_.size());
    site.haps[p_].assign(chosen_.size(), words_, {});
    if (panel_ != 0) set_genotypes(site);
}

void sampled_reader::set_genotypes(snp& site) const {
    const bool probabilistic = panel_ == 2 ? run_.params.prob_g : run_.params.prob_g_ref;
    const bool keep_triples = keeps_triples(run_, panel_);
    const allele_row& alleles = site.haps[p_];
    for (std::size_t k = 0; k + 1 < first_hap_.size(); ++k) {
        const std::size_t first = first_hap_[k], last = first_hap_[k + 1] - 1;  // one haplotype counts twice
        const int code = alleles[first] + alleles[last];
        if (!probabilistic) site.gtypes[p_].push_back(static_cast<std::uint8_t>(code));
        if (keep_triples) append_triple(site.gtype_probs[p_], one_hot_triple(code));
    }
}

// False when the site is dropped.
bool sampled_reader::place(snp&& site, long position, const site_match& match) {
    if (panel_ == 0) {
        if (!match && !run_.plan.output_types[0]) return false;
        if (match) {
            join_panel0_site(run_, (*match)->second, std::move(site), false);
        } else {
            add_panel0_site(run_, position, std::move(site));
        }
        return true;
    }
    if (!is_usable_frequency(site.labels[p_].freq) && !run_.params.counts_per_iter) {
        warn_no_genotypes(run_, panel_, option_of(panel_), site, position);
        ++counts_.no_data;
        return false;
    }
    if (panel_ == 2) {
        add_study_site(run_, position, std::move(site));
    } else {
        place_panel1_site(run_, position, std::move(site), match);
    }
    return true;
}

// Sets alleles of 64 neighbouring sites at a time, so that a haplotype's word is visited once.
class block_writer {
  public:
    explicit block_writer(packed_haplotypes& haplotypes)
        : haplotypes_(haplotypes), n_words_(bits::words_for(haplotypes.n_hap())) {}
    // A row to fill with one bit a haplotype for a site; sites come in ascending order, one may come again.
    std::uint64_t* row(std::size_t site) {
        const std::size_t block = site / bits::word_bits;
        if (block != block_) write();
        block_ = block;
        if (sites_.empty() || sites_.back() != site) {
            sites_.push_back(site);
            rows_.resize(sites_.size() * n_words_);
        }
        return rows_.data() + (sites_.size() - 1) * n_words_;
    }
    void write() {
        for (std::size_t hap = 0; hap < haplotypes_.n_hap(); ++hap) {
            for (std::size_t i = 0; i < sites_.size(); ++i) {
                haplotypes_.set(hap, sites_[i], bits::get(rows_.data() + i * n_words_, hap) ? 1 : 0);
            }
        }
        sites_.clear();
        rows_.clear();
    }

  private:
    packed_haplotypes& haplotypes_;
    std::size_t n_words_;
    std::size_t block_ = 0;
    std::vector<std::size_t> sites_;
    std::vector<std::uint64_t> rows_;
};

// The alleles of one line for the panel's haplotypes; the string is indexed by haplotype.
void fill_row(const text_input& file, std::string_view characters, std::size_t n_hap, bool inverted,
              std::uint64_t* row) {
    if (characters.size() < n_hap) file.fail("There are fewer haplotypes than in the panel");
    pack_characters(characters.substr(0, n_hap), row);
    if (!inverted) return;
    for (std::size_t w = 0; w < bits::words_for(n_hap); ++w) row[w] = ~row[w];
}

}  // namespace

void read_first_sampled_haplotypes(data& run, reading_context& context, int panel) {
    sampled_reader(run, context, panel).read();
}

void read_sampled_haps(data& run, int iteration, int panel) {
    if (!is_panel(panel)) run.log.fatal("ERROR: Invalid panel idx supplied to read_sampled_haps().");
    const std::string name = sampled_file_name(run, panel, iteration + 1);
    if (run.params.verbose) {
        run.log.terminal_line("");
        run.log.terminal_line(
            concat("-reading sampled haplotypes for Panel ", panel, " from ", option_of(panel), " file"));
        run.log.terminal_line(concat(" --filename=[", name, "]"));
    }
    text_input file(run.log, name, missing_text(panel), unopened_text("hapsamp file", name));
    if (run.sites.store.empty()) return;
    const auto p = static_cast<std::size_t>(panel);
    block_writer writer(run.panels[p].haps);
    auto entry = run.sites.store.cbegin();
    std::string_view line;
    while (file.next_filled_line(line)) {
        site_line fields = start_site_line(file, line);
        while (entry != run.sites.store.cend() && entry->first < fields.position) ++entry;
        if (entry == run.sites.store.cend()) break;
        const auto site = static_cast<std::size_t>(entry->second.index);
        if (fields.position < entry->first || !run.panels[p].haps.holds(site)) continue;
        take_alleles(file, fields);
        fill_row(file, take_characters(file, fields.rest), static_cast<std::size_t>(run.panels[p].n_hap),
                 entry->second.allele_flipped[p], writer.row(site));
    }
    writer.write();
}
