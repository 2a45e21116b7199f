// -hap_init_g: a starting phase for genotypes of -g.

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "input/announce.h"
#include "input/columns.h"
#include "input/formats/format_table.h"
#include "input/note_once.h"
#include "input/readers.h"
#include "input/site_gate.h"
#include "input/source_people.h"
#include "input/study_haplotypes.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/site_table.h"

namespace {

constexpr const char* file_words = "Panel 2 initial haplotypes file";

std::unique_ptr<phased_source> open_initial(const input_rooms& rooms) {
    const parameters& params = rooms.params;
    source_request request = request_for(params, rooms.plan, "-hap_init_g", params.hap_init_g_file, file_words);
    request.one_haplotype = params.haploid_g;
    announce(rooms.log, "-reading initial Panel 2 haplotypes from -hap_init_g file", request.file);
    return open_phased(rooms.log, request);
}

bool is_phased_allele(std::string_view field) {
    return field == "0" || field == "1";
}

// A genotype code in the labels of a site.
std::string spell_genotype(const panel_labels& labels, int code, bool haploid) {
    if (code == 0) return haploid ? labels.a0 : labels.a0 + labels.a0;
    if (code == 1) return haploid ? "X" : labels.a0 + labels.a1;
    if (code == 2) return haploid ? labels.a1 : labels.a1 + labels.a1;
    return "XX";
}

class initial_reader {
  public:
    initial_reader(const input_rooms& rooms, reading_context& context);
    void read();

  private:
    void settle_columns(const std::vector<bool>& exclude_flags);
    void read_site(const site_fields& site);
    // The entry that the site speaks of and whether its labels are crossed; nothing, with a warning, if there is none.
    snp* find_entry(const site_fields& site);
    void read_individuals(const site_fields& site, snp& entry);
    // Whether the genotype agrees with that of -g, or that one is missing.
    bool agrees(const site_fields& site, const snp& entry, int code, bool haploid, std::size_t individual);
    void report() const;

    const input_rooms& rooms_;
    const panel_data& study_;
    std::unique_ptr<phased_source> source_;
    site_gate gate_;
    std::vector<allele_pair> pairs_;                  // of all columns
    std::vector<std::optional<std::size_t>> places_;  // among the people of -g, by column
    bool swap_ = false;  // stands for the lines that follow when a line's labels fit in neither order
    std::size_t n_updated_ = 0, n_ignored_sites_ = 0, n_ignored_genotypes_ = 0;
    note_once skipped_;
};

initial_reader::initial_reader(const input_rooms& rooms, reading_context& context)
    : rooms_(rooms),
      study_(rooms.panels[2]),
      source_(open_initial(rooms)),
      gate_(rooms, context, *source_, 2, "-hap_init_g", site_gate::content::first_phase),
      pairs_(source_->n_columns()) {
    settle_columns(context.exclude_flags);
}

void initial_reader::settle_columns(const std::vector<bool>& exclude_flags) {
    const std::string& file = rooms_.params.hap_init_g_file;
    settle_contig(rooms_, *source_, file);
    places_ = map_people(rooms_, *source_, file);
    if (places_.empty()) {
        check_against_sample_file(rooms_.log, exclude_flags, pairs_.size(), "individuals", file_words);
        check_against_genotypes(rooms_.log, study_.n_ind, exclude_flags, pairs_.size(), file_words);
        std::size_t n_kept = 0;
        for (std::size_t column = 0; column < pairs_.size(); ++column) {
            places_.emplace_back();
            if (!is_dropped(exclude_flags, column)) places_.back() = n_kept++;
        }
    }
    check_ploidies(rooms_, *source_, file, places_);
}

void initial_reader::read() {
    site_fields site;
    while (gate_.next(site)) read_site(site);
    report();
}

void initial_reader::read_site(const site_fields& site) {
    if (!rooms_.sites.store.contains(site.position)) return;
    if (snp* const entry = find_entry(site)) {
        read_individuals(site, *entry);
        ++n_updated_;
        return;
    }
    rooms_.log.warn(concat("WARNING: The -hap_init_g alleles ", site.a0, site.a1,
                           " are not compatible with the -g alleles at position ", site.position,
                           "; the -hap_init_g info will be ignored at this SNP."));
    ++n_ignored_sites_;
}

snp* initial_reader::find_entry(const site_fields& site) {
    panel_labels own;
    own.a0 = site.a0;
    own.a1 = site.a1;
    const site_match match = find_compatible_snp(rooms_.log, rooms_.sites, site.position, own, 2);
    if (!match) return nullptr;
    snp& entry = (*match)->second;
    const label_order order = compare_labels(own.a0, own.a1, entry.labels[2].a0, entry.labels[2].a1);
    if (order != label_order::neither) swap_ = order == label_order::crossed;
    return entry.haps[2].size() == study_.n_hap ? &entry : nullptr;
}

// In text the place to write to moves on only when alleles are written, so that behind a skipped individual all others
// of the line land to the left of their own places.
void initial_reader::read_individuals(const site_fields& site, snp& entry) {
    const std::size_t n_pairs = source_->read_pairs(pairs_);
    allele_row alleles(study_.n_hap, missing_allele);
    std::vector<bool> init_flags(study_.n_ind, false);
    std::size_t next_hap = 0;
    for (std::size_t column = 0; column < std::min(n_pairs, pairs_.size()); ++column) {
        if (!places_[column]) continue;
        const allele_pair& pair = pairs_[column];
        const std::size_t individual = *places_[column];
        if (source_->keeps_places()) next_hap = study_.first_hap(individual);
        refuse_female_without_allele(rooms_.log, study_, pair, column, individual);
        const bool haploid = study_.is_haploid(individual);
        if (!is_phased_allele(pair.first) || (!haploid && !is_phased_allele(pair.second))) {
            if (!source_->keeps_places()) {
                skipped_.odd(*source_,
                             concat("Person ", column + 1, " has '", pair.first, " ", pair.second,
                                    "' in place of two alleles 0 or 1"),
                             "the person is skipped, and the alleles of those behind it stand one person further left");
            }
            continue;
        }
        const auto value = [this](std::string_view field) { return (field == "1") != swap_ ? 1 : 0; };
        const int a = value(pair.first);
        const int b = haploid ? a : value(pair.second);
        if (!rooms_.params.prob_g && !agrees(site, entry, a + b, haploid, individual)) continue;
        alleles.set(next_hap++, a);
        if (!haploid) alleles.set(next_hap++, b);
        init_flags[individual] = true;
    }
    check_pairs(*source_, n_pairs, pairs_.size());
    entry.haps[2] = std::move(alleles);
    entry.hap_init_flags = std::move(init_flags);
}

bool initial_reader::agrees(const site_fields& site, const snp& entry, int code, bool haploid, std::size_t individual) {
    const int given = entry.gtypes[2][individual];
    if (given == missing_genotype || given == code) return true;
    const panel_labels& labels = entry.labels[2];
    rooms_.log.warn(concat("WARNING: The -hap_init_g genotype ", spell_genotype(labels, code, haploid),
                           " is not compatible with the -g genotype ", spell_genotype(labels, given, false),
                           " for sample ", individual + 1, " (1-indexed) at SNP ", site.rs_id, " (position ",
                           site.position, "); the -hap_init_g info will be ignored at this genotype."));
    ++n_ignored_genotypes_;
    return false;
}

void initial_reader::report() const {
    report_read(rooms_.log, gate_.counts);
    const auto detail = [this](const char* verb, std::size_t n, const char* what) {
        if (n > 0) rooms_.log.line(concat(verb, n, what));
    };
    detail(" --updated ", n_updated_, " existing SNPs with initial haplotype info");
    detail("   --ignored ", n_ignored_sites_, " SNPs with incompatible alleles in -g file");
    detail("   --ignored ", n_ignored_genotypes_, " genotypes with incompatible values in -g file");
}

}  // namespace

void read_initial_haplotypes(const input_rooms& rooms, reading_context& context) {
    initial_reader(rooms, context).read();
}
