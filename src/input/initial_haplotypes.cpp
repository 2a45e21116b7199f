// -hap_init_g: a starting phase for genotypes of -g.

#include <utility>

#include "input/haplotype_columns.h"
#include "input/reader_common.h"
#include "input/readers.h"
#include "input/site_placement.h"
#include "io/text.h"
#include "model/data.h"
#include "reconcile/match.h"

namespace {

const std::string file_words = "Panel 2 initial haplotypes file";

text_input open_initial(data& run) {
    const std::string& name = run.params.hap_init_g_file;
    announce(run.log, "-reading initial Panel 2 haplotypes from -hap_init_g file", name);
    return text_input(run.log, name, "ERROR: The -hap_init_g file you specified does not exist.",
                      unopened_text(file_words, name));
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
    initial_reader(data& run, const reading_context& context);
    void read();

  private:
    struct site_in_hand {
        std::string_view rs_id;
        long position;
        snp& entry;
    };
    bool read_site(std::string_view line);
    void read_individuals(std::string_view fields, const site_in_hand& site);
    // Whether the genotype agrees with that of -g, or that one is missing.
    bool agrees(const site_in_hand& site, int code, bool haploid, std::size_t individual);

    data& run_;
    const reading_context& context_;
    text_input file_;
    region_test region_;
    std::size_t n_columns_ = 0;
    bool swap_ = false;  // stands for the lines that follow when a line's labels fit in neither order
    long n_read_ = 0, n_updated_ = 0, n_ignored_sites_ = 0, n_ignored_genotypes_ = 0;
    note_once skipped_;
};

initial_reader::initial_reader(data& run, const reading_context& context)
    : run_(run), context_(context), file_(open_initial(run)), region_(run) {
    const int n_columns = count_individuals(run, context.exclude_flags, file_, file_words);
    check_against_genotypes(run, context.exclude_flags, n_columns, file_words);
    n_columns_ = static_cast<std::size_t>(n_columns);
}

void initial_reader::read() {
    std::string_view line;
    while (file_.next_filled_line(line)) {
        if (!read_site(line)) break;
    }
    run_.log.line(concat(" --read ", n_read_, " SNPs in the analysis interval+buffer region"));
    if (n_updated_ > 0) {
        run_.log.line(concat(" --updated ", n_updated_, " existing SNPs with initial haplotype info"));
    }
    if (n_ignored_sites_ > 0) {
        run_.log.line(concat("   --ignored ", n_ignored_sites_, " SNPs with incompatible alleles in -g file"));
    }
    if (n_ignored_genotypes_ > 0) {
        run_.log.line(concat("   --ignored ", n_ignored_genotypes_, " genotypes with incompatible values in -g file"));
    }
}

bool initial_reader::read_site(std::string_view line) {
    site_line fields = start_site_line(file_, line);
    const long position = fields.position;
    const region_side side = region_.of(file_, position);
    if (side != region_side::inside) return side == region_side::below;
    take_alleles(file_, fields);
    ++n_read_;
    const store_range range = run_.sites.store.equal_range(position);
    if (range.first == range.second) return true;
    site_store::iterator match;
    const bool found = find_compatible_snp(run_, std::string(fields.a0), std::string(fields.a1), 2, match, range);
    if (found) {
        const panel_labels& labels = match->second.labels[2];
        const label_order order = compare_labels(fields.a0, fields.a1, labels.a0, labels.a1);
        if (order != label_order::neither) swap_ = order == label_order::crossed;
    }
    if (!found || match->second.haps[2].size() != static_cast<std::size_t>(run_.panels[2].n_hap)) {
        run_.log.warn(concat("WARNING: The -hap_init_g alleles ", fields.a0, fields.a1,
                             " are not compatible with the -g alleles at position ", position,
                             "; the -hap_init_g info will be ignored at this SNP."));
        ++n_ignored_sites_;
        return true;
    }
    read_individuals(fields.rest, {fields.rs_id, position, match->second});
    ++n_updated_;
    return true;
}

// The place to write to moves on only when alleles are written, so that behind a skipped individual all others of the
// line land to the left of their own places.
void initial_reader::read_individuals(std::string_view text, const site_in_hand& site) {
    allele_field_scanner scanner(file_, text, run_.params.haploid_g);
    allele_row alleles(static_cast<std::size_t>(run_.panels[2].n_hap), missing_allele);
    std::vector<bool> init_flags(static_cast<std::size_t>(run_.panels[2].n_ind), false);
    std::size_t next_hap = 0;
    std::size_t k = 0;  // index among the kept individuals
    for (std::size_t column = 0; column < n_columns_; ++column) {
        const allele_fields fields = scanner.next();
        if (is_dropped(context_.exclude_flags, column)) continue;
        const std::size_t individual = k++;
        refuse_female_without_allele(run_, fields, column, individual);
        const bool haploid = run_.panels[2].is_haploid(static_cast<int>(individual));
        if (!is_phased_allele(fields.first) || (!haploid && !is_phased_allele(fields.second))) {
            skipped_.say(file_, "an individual without two alleles 0 or 1 is skipped; those behind it move up");
            continue;
        }
        const auto value = [this](std::string_view field) { return (field == "1") != swap_ ? 1 : 0; };
        const int a = value(fields.first);
        const int b = haploid ? a : value(fields.second);
        if (!run_.params.prob_g && !agrees(site, a + b, haploid, individual)) continue;
        alleles.set(next_hap++, a);
        if (!haploid) alleles.set(next_hap++, b);
        init_flags[individual] = true;
    }
    scanner.finish();
    site.entry.haps[2] = std::move(alleles);
    site.entry.hap_init_flags = std::move(init_flags);
}

bool initial_reader::agrees(const site_in_hand& site, int code, bool haploid, std::size_t individual) {
    const int given = site.entry.gtypes[2][individual];
    if (given == missing_genotype || given == code) return true;
    const panel_labels& labels = site.entry.labels[2];
    run_.log.warn(concat("WARNING: The -hap_init_g genotype ", spell_genotype(labels, code, haploid),
                         " is not compatible with the -g genotype ", spell_genotype(labels, given, false),
                         " for sample ", individual + 1, " (1-indexed) at SNP ", site.rs_id, " (position ",
                         site.position, "); the -hap_init_g info will be ignored at this genotype."));
    ++n_ignored_genotypes_;
    return false;
}

}  // namespace

void read_initial_haplotypes(data& run, const reading_context& context) {
    initial_reader(run, context).read();
}
