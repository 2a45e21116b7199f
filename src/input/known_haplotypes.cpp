// -known_haps_g: haplotypes that stand, for people of -g or, without it, for the whole study.

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <utility>

#include "input/announce.h"
#include "input/columns.h"
#include "input/formats/format_table.h"
#include "input/genotype_calls.h"
#include "input/readers.h"
#include "input/site_gate.h"
#include "input/site_placement.h"
#include "input/source_people.h"
#include "input/study_haplotypes.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/site_table.h"

namespace {

constexpr const char* known_file_words = "Panel 2 haplotypes file";

// Either ID suffices, so that members of a family who share one may all meet the same person.
void note_shared_places(const input_rooms& rooms, const reading_context& context) {
    std::vector<std::optional<std::size_t>> known_by_place(rooms.panels[2].sample_ids[0].size());
    const auto name = [](const sample_id_pairs& ids, std::size_t i) { return concat(ids[0][i], " ", ids[1][i]); };
    for (std::size_t i = 0; i < context.known_hap_index_map.size(); ++i) {
        const std::optional<std::size_t> place = context.known_hap_index_map[i];
        if (!place) continue;
        if (const auto other = std::exchange(known_by_place[*place], i)) {
            return rooms.log.odd_input(
                concat("The people ", name(context.known_haps_ids, *other), " and ", name(context.known_haps_ids, i),
                       " of -sample_known_haps_g share an ID with ", name(rooms.panels[2].sample_ids, *place),
                       " of -sample_g: both are taken for that person, and the last one stands."));
        }
    }
}

// Reads the sample file of the known haplotypes and ties its people to those of -g.
void read_known_samples(const input_rooms& rooms, reading_context& context) {
    const parameters& params = rooms.params;
    if (!is_given(params.sample_known_haps_g_file)) return;
    // By a sample file, or by the file of -g itself.
    const bool g_has_samples =
        is_given(params.g_file) && (is_given(params.sample_g_file) || !rooms.panels[2].sample_ids[0].empty());
    // Exclusions act on the columns of -g; known haplotypes of an excluded person find no partner there.
    id_set applied;
    if (g_has_samples) std::swap(applied, context.exclude_samples[2]);
    read_sample_file(rooms, context, params.sample_known_haps_g_file, 2, true, !g_has_samples);
    if (g_has_samples) std::swap(applied, context.exclude_samples[2]);
    if (!is_given(params.g_file)) rooms.panels[2].sample_ids = context.known_haps_ids;
    if (g_has_samples) {
        context.known_hap_index_map = map_known_haps_to_gtypes(context.known_haps_ids, rooms.panels[2].sample_ids);
        note_shared_places(rooms, context);
    }
}

std::unique_ptr<phased_source> open_known(const input_rooms& rooms) {
    const parameters& params = rooms.params;
    source_request request =
        request_for(params, rooms.plan, "-known_haps_g", params.known_haps_g_file, known_file_words);
    request.one_haplotype = params.haploid_g;
    announce(rooms.log, "-reading Panel 2 haplotypes from -known_haps_g file", request.file);
    return open_phased(rooms.log, request);
}

bool is_allele_text(std::string_view field) {
    return field == "0" || field == "1" || field == "0*" || field == "1*" || field == "?";
}

// One individual's alleles as the file codes them; b is a copy of a for a carrier of one haplotype.
struct known_alleles {
    int a = 0, b = 0;
    bool missing = false;
    bool phased = false;
};

// What one site of the file says of the study, in the coding of its entry.
struct site_content {
    panel_site site;    // the match is the entry that it updates
    bool swap = false;  // the labels stand in the other order there
    std::vector<std::uint8_t> codes;
    allele_row haps;
    std::vector<bool> phase_flags, haps_flags;
};

class known_reader {
  public:
    known_reader(const input_rooms& rooms, reading_context& context);
    void read();

  private:
    void settle_columns();
    void settle_places();
    // Finds the entry that the site updates; none when it becomes a new one, in whose way an entry may have been
    // erased.
    void settle_entry(site_content& content);
    void read_individuals(site_content& content);
    known_alleles read_alleles(const allele_pair& pair, std::size_t column, bool haploid, long position);
    [[noreturn]] void refuse_format(const allele_pair& pair, long position);
    void store_missing(std::size_t individual, site_content& content);
    void store_alleles(const known_alleles& known, std::size_t individual, site_content& content);
    // Whether the starting alleles of -hap_init_g stay; says so where they give way.
    bool keeps_initial(const known_alleles& known, snp& entry, std::size_t individual, const site_content& content);
    void update(snp& entry, site_content&& content);
    void update_genotypes(snp& entry, const std::vector<std::uint8_t>& codes, allele_sums& sums);
    void update_triples(snp& entry, const std::vector<std::uint8_t>& codes, allele_sums& sums);
    void add_new(site_content&& content);
    void report();

    const input_rooms& rooms_;
    reading_context& context_;
    panel_data& study_;
    std::unique_ptr<phased_source> source_;
    site_gate gate_;
    genotype_rules rules_;
    std::vector<allele_pair> pairs_;                  // of all columns
    std::vector<std::optional<std::size_t>> places_;  // among the people of the study, by column
    std::vector<bool> haploid_;                       // by individual of the study
    std::size_t n_updated_ = 0, n_added_ = 0, n_replaced_ = 0;
};

known_reader::known_reader(const input_rooms& rooms, reading_context& context)
    : rooms_(rooms),
      context_(context),
      study_(rooms.panels[2]),
      source_(open_known(rooms)),
      gate_(rooms, context, *source_, 2, "-known_haps_g", site_gate::content::known_phase),
      pairs_(source_->n_columns()) {
    rules_.probabilistic = rooms.params.prob_g;
    rules_.normalise = rooms.params.prob_g_norm;
    rules_.probability_threshold = rooms.params.prob_g_thresh;
    settle_columns();
    settle_places();
    for (std::size_t i = 0; i < study_.n_ind; ++i) haploid_.push_back(study_.is_haploid(i));
}

void known_reader::settle_columns() {
    const std::string& file = rooms_.params.known_haps_g_file;
    const bool alone = !is_given(rooms_.params.g_file);
    settle_contig(rooms_, *source_, file);
    if (alone) {
        settle_people(rooms_, context_, *source_, 2, file);
    } else if (context_.known_hap_index_map.empty()) {
        context_.known_hap_index_map = map_people(rooms_, *source_, file);
        if (!context_.known_hap_index_map.empty()) return context_.exclude_flags.clear();
    }
    const std::vector<bool>& exclude_flags = context_.exclude_flags;
    check_against_sample_file(rooms_.log, exclude_flags, pairs_.size(), "individuals", known_file_words);
    if (alone) {
        settle_individuals(rooms_.log, study_, pairs_.size(), exclude_flags);
    } else if (context_.known_hap_index_map.empty()) {
        check_against_genotypes(rooms_.log, study_.n_ind, exclude_flags, pairs_.size(), known_file_words);
    }
}

void known_reader::settle_places() {
    const std::vector<std::optional<std::size_t>>& map = context_.known_hap_index_map;
    std::size_t n_kept = 0;
    for (std::size_t column = 0; column < pairs_.size(); ++column) {
        places_.emplace_back();
        if (is_dropped(context_.exclude_flags, column)) continue;
        places_.back() = map.empty() ? n_kept : map[n_kept];
        ++n_kept;
    }
    check_ploidies(rooms_, *source_, rooms_.params.known_haps_g_file, places_);
}

void known_reader::read() {
    site_fields fields;
    while (gate_.next(fields)) {
        site_content content;
        content.site.position = fields.position;
        content.site.record = make_record(fields, 2);
        settle_entry(content);
        read_individuals(content);
        if (content.site.match) {
            update((*content.site.match)->second, std::move(content));
        } else {
            add_new(std::move(content));
        }
    }
    report();
}

void known_reader::settle_entry(site_content& content) {
    site_store& store = rooms_.sites.store;
    const long position = content.site.position;
    const auto range = store.equal_range(position);
    if (range.first == range.second) return;
    const panel_labels& own = content.site.record.labels[2];
    if (const site_match match = find_compatible_snp(rooms_.log, rooms_.sites, position, own, 2)) {
        const panel_labels& labels = (*match)->second.labels[2];
        const label_order order = compare_labels(own.a0, own.a1, labels.a0, labels.a1);
        content.swap = order == label_order::crossed;
        if (order != label_order::neither) {
            content.site.match = match;
            return;
        }
    }
    if (!rooms_.params.panel0_given() && !rooms_.params.panel1_given()) {
        rooms_.log.warn(concat("WARNING: The -known_haps_g alleles ", own.a0, own.a1,
                               " do not match the -g alleles for the variant(s) at position ", position,
                               "; the -known_haps_g data will be treated as a separate variant."));
        return;
    }
    const panel_labels& old = range.first->second.labels[2];
    rooms_.log.warn(concat("WARNING: The -known_haps_g alleles ", own.a0, own.a1, " do not match the -g alleles ",
                           old.a0, old.a1, " at position ", position, "; the -g data will be ignored at this SNP."));
    store.erase(range.first);
    ++n_replaced_;
    if (store.contains(position)) {
        rooms_.log.fatal(concat("ERROR: Found an unexpected duplicate site (", position, ") in Panel 2."));
    }
}

void known_reader::read_individuals(site_content& content) {
    const std::size_t n_pairs = source_->read_pairs(pairs_);
    content.codes.assign(study_.n_ind, missing_genotype);
    content.haps.assign(study_.n_hap, missing_allele);
    content.phase_flags.assign(study_.n_ind, false);
    content.haps_flags.assign(study_.n_ind, false);
    for (std::size_t column = 0; column < std::min(n_pairs, pairs_.size()); ++column) {
        if (!places_[column]) continue;
        const std::size_t individual = *places_[column];
        refuse_female_without_allele(rooms_.log, study_, pairs_[column], column, individual);
        const known_alleles known = read_alleles(pairs_[column], column, haploid_[individual], content.site.position);
        content.haps_flags[individual] = true;
        if (known.missing) {
            store_missing(individual, content);
        } else {
            store_alleles(known, individual, content);
        }
    }
    check_pairs(*source_, n_pairs, pairs_.size());
}

known_alleles known_reader::read_alleles(const allele_pair& pair, std::size_t column, bool haploid, long position) {
    const std::string_view first = pair.first;
    const std::string_view second = haploid ? first : pair.second;
    if (!is_allele_text(first) || !is_allele_text(second)) {
        rooms_.log.fatal(concat("ERROR: Individual ", column + 1, " (1-indexed) has invalid alleles '", first,
                                pair.second, "' at position ", position, "."));
    }
    known_alleles known;
    known.missing = first == "?" || second == "?";
    if (known.missing) return known;
    if (first.size() != second.size()) refuse_format(pair, position);
    known.a = first[0] - '0';
    known.b = second[0] - '0';
    const bool starred = first.size() == 2;
    known.phased = !starred || haploid;
    if (starred && haploid) {
        rooms_.log.warn(concat("WARNING: Detected 'unphased' allele ", first, " for haploid individual ", column + 1,
                               " (1-indexed) at position ", position, "; this allele will be treated as 'phased'."));
    }
    return known;
}

void known_reader::refuse_format(const allele_pair& pair, long position) {
    rooms_.log.fatal(concat("ERROR: The alleles (", pair.first, ",", pair.second, ") at position ", position,
                            " are not in a valid format. Allowed characters are '0', '1', '?', '0*', and '1*', and the "
                            "'?'s and '0*/1*'s must come in pairs."));
}

bool has_initial(const snp& entry, std::size_t individual) {
    return !entry.hap_init_flags.empty() && entry.hap_init_flags[individual];
}

void known_reader::store_missing(std::size_t individual, site_content& content) {
    content.phase_flags[individual] = false;
    if (!content.site.match) return;
    const snp& entry = (*content.site.match)->second;
    if (!has_initial(entry, individual)) return;
    const std::size_t h = study_.first_hap(individual);
    content.haps.set(h, entry.haps[2][h]);
    if (!haploid_[individual]) content.haps.set(h + 1, entry.haps[2][h + 1]);
}

void known_reader::store_alleles(const known_alleles& known, std::size_t individual, site_content& content) {
    const bool swap = content.swap, haploid = haploid_[individual];
    content.phase_flags[individual] = known.phased;
    content.codes[individual] = static_cast<std::uint8_t>(swap ? 2 - known.a - known.b : known.a + known.b);
    const std::size_t h = study_.first_hap(individual);
    int first = swap ? 1 - known.a : known.a;
    int second = swap ? 1 - known.b : known.b;
    if (content.site.match) {
        snp& entry = (*content.site.match)->second;
        if (has_initial(entry, individual) && keeps_initial(known, entry, individual, content)) {
            first = entry.haps[2][h];
            if (!haploid) second = entry.haps[2][h + 1];
        }
    }
    content.haps.set(h, first);
    if (!haploid) content.haps.set(h + 1, second);
}

// Genotypes and phases are compared as the two files code them.
bool known_reader::keeps_initial(const known_alleles& known, snp& entry, std::size_t individual,
                                 const site_content& content) {
    const std::string& rs_id = content.site.record.rs_id;
    const long position = content.site.position;
    const std::size_t h = study_.first_hap(individual);
    const int initial_a = entry.haps[2][h];
    const int initial_b = haploid_[individual] ? initial_a : entry.haps[2][h + 1];
    const int initial = initial_a + initial_b;
    const int genotype = known.a + known.b;
    if (initial != genotype) {
        entry.hap_init_flags[individual] = false;
        rooms_.log.warn(concat("WARNING: A -hap_init_g genotype (", initial,
                               ") does not match the corresponding -known_haps_g genotype (", genotype, ") at SNP ",
                               rs_id, " (position ", position, "); the -known_haps_g genotype will take precedence."));
        return false;
    }
    // The alleles of crossed homozygotes would not be those of the genotype that is stored.
    if (!known.phased) return !content.swap || genotype == 1;
    if (initial_a != known.a || initial_b != known.b) {
        entry.hap_init_flags[individual] = false;
        rooms_.log.warn(concat("WARNING: A phase call in the -hap_init_g file (", initial_a, "|", initial_b,
                               ") does not match the corresponding call in the -known_haps_g file (", known.a, "|",
                               known.b, ") at SNP ", rs_id, " (position ", position,
                               "); the -known_haps_g phasing will take precedence."));
    }
    return false;
}

void known_reader::update_genotypes(snp& entry, const std::vector<std::uint8_t>& codes, allele_sums& sums) {
    std::vector<std::uint8_t>& stored = entry.gtypes[2];
    for (std::size_t k = 0; k < codes.size(); ++k) {
        if (codes[k] != missing_genotype) stored[k] = codes[k];
        if (stored[k] != missing_genotype) sums.add_genotype(stored[k], haploid_[k]);
    }
}

void known_reader::update_triples(snp& entry, const std::vector<std::uint8_t>& codes, allele_sums& sums) {
    std::vector<float>& stored = entry.gtype_probs[2];
    for (std::size_t k = 0; k < codes.size(); ++k) {
        probability_triple triple{stored[3 * k], stored[3 * k + 1], stored[3 * k + 2]};
        if (codes[k] != missing_genotype) {
            triple = one_hot_triple(codes[k]);
            sums.add_genotype(codes[k], haploid_[k]);
        } else {
            add_uncertain(triple, rules_, haploid_[k], sums);
        }
        std::copy(triple.begin(), triple.end(), stored.begin() + static_cast<std::ptrdiff_t>(3 * k));
    }
}

// The sums are those of all individuals, known or not, so that nobody counts twice.
void known_reader::update(snp& entry, site_content&& content) {
    allele_sums sums;
    if (rules_.probabilistic) {
        update_triples(entry, content.codes, sums);
    } else {
        update_genotypes(entry, content.codes, sums);
    }
    const bool by_em = rules_.probabilistic && rules_.probability_threshold < 0.0;
    entry.labels[2].freq = by_em ? calculate_allele_freq_via_em(rooms_.log, entry.gtype_probs[2]) : sums.frequency();
    entry.haps[2] = std::move(content.haps);
    entry.known_phase_flags = std::move(content.phase_flags);
    entry.known_haps_flags = std::move(content.haps_flags);
    if (!is_usable_frequency(entry.labels[2].freq)) {
        rooms_.log.fatal(
            concat("ERROR: There was an unexpected problem integrating the genotypes and the known haplotypes at SNP ",
                   content.site.record.rs_id, " (position ", content.site.position,
                   "). Please contact the developers for assistance."));
    }
    ++n_updated_;
}

void known_reader::add_new(site_content&& content) {
    allele_sums sums;
    for (std::size_t k = 0; k < content.codes.size(); ++k) {
        if (content.codes[k] != missing_genotype) sums.add_genotype(content.codes[k], haploid_[k]);
    }
    snp& record = content.site.record;
    record.labels[2].freq = sums.frequency();
    if (!is_usable_frequency(record.labels[2].freq) && !rooms_.params.counts_per_iter) {
        rooms_.log.warn(concat("WARNING: SNP ", record.rs_id, " at position ", content.site.position,
                               " is missing all of its Panel 2 haplotype alleles and will be treated as if it had not "
                               "been included in the -known_haps_g file."));
        ++gate_.counts.no_data;
        return;
    }
    if (keeps_triples(rooms_.params, 2)) {
        for (std::size_t k = 0; k < content.codes.size(); ++k) {
            const int code = content.codes[k];
            append_triple(record.gtype_probs[2],
                          code == missing_genotype ? uniform_triple(haploid_[k]) : one_hot_triple(code));
        }
    }
    record.gtypes[2] = std::move(content.codes);
    record.haps[2] = std::move(content.haps);
    record.known_phase_flags = std::move(content.phase_flags);
    record.known_haps_flags = std::move(content.haps_flags);
    add_study_site(rooms_, std::move(content.site));
    ++n_added_;
}

void known_reader::report() {
    report_remarks(rooms_.log, *source_);
    report_read(rooms_.log, gate_.counts);
    if (n_updated_ > 0) {
        rooms_.log.line(concat(" --updated ", n_updated_, " existing SNPs with known haplotype info"));
    }
    if (n_added_ > 0) rooms_.log.line(concat(" --added ", n_added_, " new SNPs based on known haplotypes"));
    if (n_replaced_ > 0) {
        rooms_.log.line(concat("   --", n_replaced_, " of these replace existing SNPs with incompatible alleles"));
    }
    gate_.counts.kept = n_updated_ + n_added_;
    report_excluded(rooms_.log, gate_.counts);
}

// The first place of each ID.
std::unordered_map<std::string_view, std::size_t> index_ids(const std::vector<std::string>& ids) {
    std::unordered_map<std::string_view, std::size_t> index;
    for (std::size_t i = 0; i < ids.size(); ++i) index.emplace(ids[i], i);
    return index;
}

}  // namespace

// A person is the first one of -g that shares either ID.
std::vector<std::optional<std::size_t>> map_known_haps_to_gtypes(const sample_id_pairs& known,
                                                                 const sample_id_pairs& study) {
    const auto by_id_1 = index_ids(study[0]);
    const auto by_id_2 = index_ids(study[1]);
    const std::size_t nobody = study[0].size();
    const auto place = [nobody](const auto& index, const std::string& id) {
        const auto found = index.find(id);
        return found == index.end() ? nobody : found->second;
    };
    std::vector<std::optional<std::size_t>> map(known[0].size());
    for (std::size_t i = 0; i < map.size(); ++i) {
        const std::size_t first = std::min(place(by_id_1, known[0][i]), place(by_id_2, known[1][i]));
        if (first != nobody) map[i] = first;
    }
    return map;
}

void read_known_haplotypes(const input_rooms& rooms, reading_context& context) {
    read_known_samples(rooms, context);
    known_reader(rooms, context).read();
}
