// -known_haps_g: haplotypes that stand, for people of -g or, without it, for the whole study.

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "input/genotype_calls.h"
#include "input/haplotype_columns.h"
#include "input/panel_options.h"
#include "input/reader_common.h"
#include "input/readers.h"
#include "input/site_placement.h"
#include "io/text.h"
#include "model/data.h"

namespace {

const std::string file_words = "Panel 2 haplotypes file";

// Reads the sample file of the known haplotypes and ties its people to those of -g.
void read_known_samples(data& run, reading_context& context) {
    const parameters& params = run.params;
    if (!is_given(params.sample_known_haps_g_file)) return;
    const bool g_has_samples = is_given(params.g_file) && is_given(params.sample_g_file);
    // Exclusions act on the columns of -g; known haplotypes of an excluded person find no partner there.
    if (g_has_samples) run.exclude_samples_g.clear();
    read_sample_file(run, params.sample_known_haps_g_file, run.exclude_samples_g, run.include_samples_g,
                     context.exclude_flags, 2, true, !is_given(params.sample_g_file));
    if (g_has_samples) map_known_haps_to_gtypes(run, context.known_hap_index_map);
}

text_input open_known(data& run) {
    const std::string& name = run.params.known_haps_g_file;
    announce(run.log, "-reading Panel 2 haplotypes from -known_haps_g file", name);
    return text_input(run.log, name, "ERROR: The -known_haps_g file you specified does not exist.",
                      unopened_text(file_words, name));
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

// What one line says of the study, in the coding of its entry.
struct line_content {
    snp site;
    std::vector<std::uint8_t> codes;
    allele_row haps;
    std::vector<bool> phase_flags, haps_flags;
};

class known_reader {
  public:
    known_reader(data& run, reading_context& context);
    void read();

  private:
    void count_columns();
    bool read_site(std::string_view line);
    // The entry that the line updates; nothing when it becomes a new one, in whose way an entry may have been erased.
    site_match settle_entry(const snp& site, long position, bool& swap);
    void read_individuals(std::string_view fields, long position, snp* entry, bool swap, line_content& content);
    known_alleles read_alleles(const allele_fields& fields, std::size_t column, bool haploid, long position);
    [[noreturn]] void refuse_format(const allele_fields& fields, long position);
    void store_missing(snp* entry, std::size_t individual, bool haploid, line_content& content);
    void store_alleles(const known_alleles& known, snp* entry, std::size_t individual, bool haploid, bool swap,
                       long position, line_content& content);
    // Whether the starting alleles of -hap_init_g stay; says so where they give way.
    bool keeps_initial(const known_alleles& known, snp& entry, std::size_t individual, bool haploid, bool swap,
                       std::string_view rs_id, long position);
    void update(snp& entry, long position, line_content&& content);
    void update_genotypes(snp& entry, const std::vector<std::uint8_t>& codes, allele_sums& sums);
    void update_triples(snp& entry, const std::vector<std::uint8_t>& codes, allele_sums& sums);
    void add_new(long position, line_content&& content);
    void report();

    data& run_;
    reading_context& context_;
    text_input file_;
    region_test region_;
    genotype_rules rules_;
    std::size_t n_columns_ = 0;
    std::vector<bool> haploid_;  // by individual of the study
    reading_counts counts_;
    long n_updated_ = 0, n_added_ = 0, n_replaced_ = 0;
};

known_reader::known_reader(data& run, reading_context& context)
    : run_(run), context_(context), file_(open_known(run)), region_(run) {
    rules_.probabilistic = run.params.prob_g;
    rules_.normalise = run.params.prob_g_norm;
    rules_.probability_threshold = run.params.prob_g_thresh;
    count_columns();
    for (int i = 0; i < run.panels[2].n_ind; ++i) haploid_.push_back(run.panels[2].is_haploid(i));
}

void known_reader::count_columns() {
    const int n_columns = count_individuals(run_, context_.exclude_flags, file_, file_words);
    n_columns_ = static_cast<std::size_t>(n_columns);
    if (is_given(run_.params.g_file)) {
        if (context_.known_hap_index_map.empty()) {
            check_against_genotypes(run_, context_.exclude_flags, n_columns, file_words);
        }
        return;
    }
    const int n_excluded = count_excluded(context_.exclude_flags);
    run_.panels[2].n_ind = n_columns - n_excluded;
    run_.panels[2].n_hap = run_.panels[2].count_haplotypes(run_.panels[2].n_ind);
    report_columns(run_.log, n_columns, n_excluded, run_.panels[2].n_ind, "individuals");
}

void known_reader::read() {
    std::string_view line;
    while (file_.next_filled_line(line)) {
        if (!read_site(line)) break;
    }
    report();
}

bool known_reader::read_site(std::string_view line) {
    site_line fields = start_site_line(file_, line);
    const long position = fields.position;
    const region_side side = region_.of(file_, position);
    if (side != region_side::inside) return side == region_side::below;
    ++counts_.read;
    if (is_excluded(run_, context_, 2, fields.snp_id, fields.rs_id, position)) {
        ++counts_.on_list;
        return true;
    }
    take_alleles(file_, fields);
    line_content content;
    content.site.snp_id = fields.snp_id;
    content.site.rs_id = fields.rs_id;
    content.site.labels[2].a0 = fields.a0;
    content.site.labels[2].a1 = fields.a1;
    bool swap = false;
    const site_match match = settle_entry(content.site, position, swap);
    snp* const entry = match ? &(*match)->second : nullptr;
    read_individuals(fields.rest, position, entry, swap, content);
    if (entry != nullptr) {
        update(*entry, position, std::move(content));
    } else {
        add_new(position, std::move(content));
    }
    return true;
}

site_match known_reader::settle_entry(const snp& site, long position, bool& swap) {
    const auto range = run_.sites.store.equal_range(position);
    if (range.first == range.second) return {};
    const panel_labels& own = site.labels[2];
    if (const site_match match = find_site(run_, position, site, 2)) {
        const panel_labels& labels = (*match)->second.labels[2];
        const label_order order = compare_labels(own.a0, own.a1, labels.a0, labels.a1);
        swap = order == label_order::crossed;
        if (order != label_order::neither) return match;
    }
    if (!run_.params.panel0_given() && !run_.params.panel1_given()) {
        run_.log.warn(concat("WARNING: The -known_haps_g alleles ", own.a0, own.a1,
                             " do not match the -g alleles for the variant(s) at position ", position,
                             "; the -known_haps_g data will be treated as a separate variant."));
        return {};
    }
    const panel_labels& old = range.first->second.labels[2];
    run_.log.warn(concat("WARNING: The -known_haps_g alleles ", own.a0, own.a1, " do not match the -g alleles ", old.a0,
                         old.a1, " at position ", position, "; the -g data will be ignored at this SNP."));
    run_.sites.store.erase(range.first);
    ++n_replaced_;
    if (run_.sites.store.contains(position)) {
        run_.log.fatal(concat("ERROR: Found an unexpected duplicate site (", position, ") in Panel 2."));
    }
    return {};
}

void known_reader::read_individuals(std::string_view text, long position, snp* entry, bool swap,
                                    line_content& content) {
    const auto n = static_cast<std::size_t>(run_.panels[2].n_ind);
    content.codes.assign(n, missing_genotype);
    content.haps.assign(static_cast<std::size_t>(run_.panels[2].n_hap), missing_allele);
    content.phase_flags.assign(n, false);
    content.haps_flags.assign(n, false);
    const std::vector<int>& map = context_.known_hap_index_map;
    allele_field_scanner scanner(file_, text, run_.params.haploid_g);
    std::size_t n_kept = 0;
    for (std::size_t column = 0; column < n_columns_; ++column) {
        const allele_fields fields = scanner.next();
        if (is_dropped(context_.exclude_flags, column)) continue;
        const std::size_t kept = n_kept++;
        if (!map.empty() && map[kept] < 0) continue;
        const std::size_t individual = map.empty() ? kept : static_cast<std::size_t>(map[kept]);
        refuse_female_without_allele(run_, fields, column, individual);
        const bool haploid = haploid_[individual];
        const known_alleles known = read_alleles(fields, column, haploid, position);
        content.haps_flags[individual] = true;
        if (known.missing) {
            store_missing(entry, individual, haploid, content);
        } else {
            store_alleles(known, entry, individual, haploid, swap, position, content);
        }
    }
    scanner.finish();
}

known_alleles known_reader::read_alleles(const allele_fields& fields, std::size_t column, bool haploid, long position) {
    const std::string_view first = fields.first;
    const std::string_view second = haploid ? first : fields.second;
    if (!is_allele_text(first) || !is_allele_text(second)) {
        run_.log.fatal(concat("ERROR: Individual ", column + 1, " (1-indexed) has invalid alleles '", first,
                              fields.second, "' at position ", position, "."));
    }
    known_alleles known;
    known.missing = first == "?" || second == "?";
    if (known.missing) return known;
    if (first.size() != second.size()) refuse_format(fields, position);
    known.a = first[0] - '0';
    known.b = second[0] - '0';
    const bool starred = first.size() == 2;
    known.phased = !starred || haploid;
    if (starred && haploid) {
        run_.log.warn(concat("WARNING: Detected 'unphased' allele ", first, " for haploid individual ", column + 1,
                             " (1-indexed) at position ", position, "; this allele will be treated as 'phased'."));
    }
    return known;
}

void known_reader::refuse_format(const allele_fields& fields, long position) {
    run_.log.fatal(concat("ERROR: The alleles (", fields.first, ",", fields.second, ") at position ", position,
                          " are not in a valid format. Allowed characters are '0', '1', '?', '0*', and '1*', and the "
                          "'?'s and '0*/1*'s must come in pairs."));
}

bool has_initial(const snp* entry, std::size_t individual) {
    return entry != nullptr && !entry->hap_init_flags.empty() && entry->hap_init_flags[individual];
}

void known_reader::store_missing(snp* entry, std::size_t individual, bool haploid, line_content& content) {
    content.phase_flags[individual] = false;
    if (!has_initial(entry, individual)) return;
    const auto h = static_cast<std::size_t>(run_.panels[2].first_hap(static_cast<int>(individual)));
    content.haps.set(h, entry->haps[2][h]);
    if (!haploid) content.haps.set(h + 1, entry->haps[2][h + 1]);
}

void known_reader::store_alleles(const known_alleles& known, snp* entry, std::size_t individual, bool haploid,
                                 bool swap, long position, line_content& content) {
    content.phase_flags[individual] = known.phased;
    content.codes[individual] = static_cast<std::uint8_t>(swap ? 2 - known.a - known.b : known.a + known.b);
    const auto h = static_cast<std::size_t>(run_.panels[2].first_hap(static_cast<int>(individual)));
    int first = swap ? 1 - known.a : known.a;
    int second = swap ? 1 - known.b : known.b;
    if (has_initial(entry, individual) &&
        keeps_initial(known, *entry, individual, haploid, swap, content.site.rs_id, position)) {
        first = entry->haps[2][h];
        if (!haploid) second = entry->haps[2][h + 1];
    }
    content.haps.set(h, first);
    if (!haploid) content.haps.set(h + 1, second);
}

// Genotypes and phases are compared as the two files code them.
bool known_reader::keeps_initial(const known_alleles& known, snp& entry, std::size_t individual, bool haploid,
                                 bool swap, std::string_view rs_id, long position) {
    const auto h = static_cast<std::size_t>(run_.panels[2].first_hap(static_cast<int>(individual)));
    const int initial_a = entry.haps[2][h];
    const int initial_b = haploid ? initial_a : entry.haps[2][h + 1];
    const int initial = initial_a + initial_b;
    const int genotype = known.a + known.b;
    if (initial != genotype) {
        entry.hap_init_flags[individual] = false;
        run_.log.warn(concat("WARNING: A -hap_init_g genotype (", initial,
                             ") does not match the corresponding -known_haps_g genotype (", genotype, ") at SNP ",
                             rs_id, " (position ", position, "); the -known_haps_g genotype will take precedence."));
        return false;
    }
    // The alleles of crossed homozygotes would not be those of the genotype that is stored.
    if (!known.phased) return !swap || genotype == 1;
    if (initial_a != known.a || initial_b != known.b) {
        entry.hap_init_flags[individual] = false;
        run_.log.warn(concat("WARNING: A phase call in the -hap_init_g file (", initial_a, "|", initial_b,
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
            if (rules_.normalise) normalise(triple);
            add_uncertain(triple, rules_, haploid_[k], sums);
        }
        std::copy(triple.begin(), triple.end(), stored.begin() + static_cast<std::ptrdiff_t>(3 * k));
    }
}

// The sums are those of all individuals, known or not, so that nobody counts twice.
void known_reader::update(snp& entry, long position, line_content&& content) {
    allele_sums sums;
    if (rules_.probabilistic) {
        update_triples(entry, content.codes, sums);
    } else {
        update_genotypes(entry, content.codes, sums);
    }
    const bool by_em = rules_.probabilistic && rules_.probability_threshold < 0.0;
    entry.labels[2].freq = by_em ? calculate_allele_freq_via_em(run_, entry.gtype_probs[2]) : sums.frequency();
    entry.haps[2] = std::move(content.haps);
    entry.known_phase_flags = std::move(content.phase_flags);
    entry.known_haps_flags = std::move(content.haps_flags);
    if (!is_usable_frequency(entry.labels[2].freq)) {
        run_.log.fatal(
            concat("ERROR: There was an unexpected problem integrating the genotypes and the known haplotypes at SNP ",
                   content.site.rs_id, " (position ", position, "). Please contact the developers for assistance."));
    }
    ++n_updated_;
}

void known_reader::add_new(long position, line_content&& content) {
    allele_sums sums;
    for (std::size_t k = 0; k < content.codes.size(); ++k) {
        if (content.codes[k] != missing_genotype) sums.add_genotype(content.codes[k], haploid_[k]);
    }
    snp& site = content.site;
    site.labels[2].freq = sums.frequency();
    if (!is_usable_frequency(site.labels[2].freq) && !run_.params.counts_per_iter) {
        run_.log.warn(concat("WARNING: SNP ", site.rs_id, " at position ", position,
                             " is missing all of its Panel 2 haplotype alleles and will be treated as if it had not "
                             "been included in the -known_haps_g file."));
        ++counts_.no_data;
        return;
    }
    if (keeps_triples(run_, 2)) {
        for (std::size_t k = 0; k < content.codes.size(); ++k) {
            const int code = content.codes[k];
            append_triple(site.gtype_probs[2],
                          code == missing_genotype ? uniform_triple(haploid_[k]) : one_hot_triple(code));
        }
    }
    site.gtypes[2] = std::move(content.codes);
    site.haps[2] = std::move(content.haps);
    site.known_phase_flags = std::move(content.phase_flags);
    site.known_haps_flags = std::move(content.haps_flags);
    add_study_site(run_, position, std::move(site));
    ++n_added_;
}

void known_reader::report() {
    report_read(run_.log, counts_);
    if (n_updated_ > 0) {
        run_.log.line(concat(" --updated ", n_updated_, " existing SNPs with known haplotype info"));
    }
    if (n_added_ > 0) run_.log.line(concat(" --added ", n_added_, " new SNPs based on known haplotypes"));
    if (n_replaced_ > 0) {
        run_.log.line(concat("   --", n_replaced_, " of these replace existing SNPs with incompatible alleles"));
    }
    counts_.kept = n_updated_ + n_added_;
    report_excluded(run_.log, counts_);
}

// The first place of each ID.
std::unordered_map<std::string_view, int> index_ids(const std::vector<std::string>& ids) {
    std::unordered_map<std::string_view, int> index;
    for (std::size_t i = 0; i < ids.size(); ++i) index.emplace(ids[i], static_cast<int>(i));
    return index;
}

}  // namespace

// A person is the first one of -g that shares either ID.
void map_known_haps_to_gtypes(data& run, std::vector<int>& map) {
    const auto by_id_1 = index_ids(run.panels[2].sample_ids[0]);
    const auto by_id_2 = index_ids(run.panels[2].sample_ids[1]);
    const int nobody = static_cast<int>(run.panels[2].sample_ids[0].size());
    const auto place = [nobody](const std::unordered_map<std::string_view, int>& index, const std::string& id) {
        const auto found = index.find(id);
        return found == index.end() ? nobody : found->second;
    };
    for (std::size_t i = 0; i < run.sample_ids_known_haps[0].size(); ++i) {
        const int first =
            std::min(place(by_id_1, run.sample_ids_known_haps[0][i]), place(by_id_2, run.sample_ids_known_haps[1][i]));
        map.push_back(first == nobody ? -1 : first);
    }
}

void read_known_haplotypes(data& run, reading_context& context) {
    read_known_samples(run, context);
    known_reader(run, context).read();
}
