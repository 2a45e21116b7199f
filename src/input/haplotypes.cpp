// Reference haplotypes with their legend: the first pair of -h and -l is Panel 0, a second pair Panel 1.

#include <optional>
#include <utility>

#include "input/haplotype_row.h"
#include "input/legend_filters.h"
#include "input/reader_common.h"
#include "input/readers.h"
#include "input/site_placement.h"
#include "io/text.h"
#include "model/data.h"

namespace {

// What differs between the panels.
struct panel_rules {
    int panel;
    std::size_t pair;       // index of the two files in the lists of -h and -l
    bool question_missing;  // "?" is a missing allele
    bool exact_header;      // the legend has its four columns and no others
};

constexpr panel_rules rules_of_panel0{0, 0, true, false};
constexpr panel_rules rules_of_panel1{1, 1, false, true};

struct haplotype_columns {
    int n_columns = 0;
    bool any_absent = false;  // a "-": the haplotype of the column does not exist
    std::vector<bool> absent;
};

haplotype_columns scan_first_line(text_input& file) {
    haplotype_columns columns;
    std::string_view line, field;
    if (file.next_filled_line(line)) {
        field_scanner fields(line);
        while (fields.next(field)) {
            columns.absent.push_back(field == "-");
            columns.any_absent = columns.any_absent || field == "-";
        }
    }
    columns.n_columns = static_cast<int>(columns.absent.size());
    file.rewind();
    return columns;
}

// Counts the haplotypes of the panel and settles which columns are dropped.
haplotype_columns count_columns(data& run, reading_context& context, int panel, text_input& file) {
    haplotype_columns columns = scan_first_line(file);
    check_against_sample_file(run.log, context.exclude_flags, columns.n_columns,
                              {"haplotypes", concat("Panel ", panel, " haplotypes file")});
    if (columns.any_absent) {
        context.exclude_flags.resize(columns.absent.size(), false);
        for (std::size_t i = 0; i < columns.absent.size(); ++i) {
            if (columns.absent[i]) context.exclude_flags[i] = true;
        }
    }
    const int n_excluded = count_excluded(context.exclude_flags);
    const auto p = static_cast<std::size_t>(panel);
    run.panels[p].n_hap = columns.n_columns - n_excluded;
    run.panels[p].n_ind = 0;
    report_columns(run.log, columns.n_columns, n_excluded, run.panels[p].n_hap, "haplotypes");
    return columns;
}

// Reads the header of the legend; true if there are filter rules to apply to its lines.
bool read_legend_header(data& run, const panel_rules& rules, text_input& legend) {
    std::string_view line;
    std::vector<std::string> header;
    if (legend.next_filled_line(line)) header = split_fields(line);
    const auto legend_words = concat("ERROR: The Panel ", rules.panel, " legend file [", legend.name(), "] ");
    if (rules.exact_header) {
        if (header.size() == 4) return false;
        run.log.fatal(concat(legend_words,
                             "does not conform to the required four-column format. Please review the documentation and "
                             "try again."));
    }
    if (header.size() < 4) {
        run.log.fatal(
            concat(legend_words, "must contain at least four columns. Please review the documentation and try again."));
    }
    run.legend_cols.assign(header.begin() + 4, header.end());
    if (run.legend_cols.empty() || run.params.filt_rules_l.empty()) return false;
    parse_legend_filters(run);
    return true;
}

// A line of the legend; the views live as long as the line.
struct legend_line {
    std::string_view rs_id, a0, a1;
    long position = 0;
    std::string_view rest;
};

legend_line start_legend_line(const text_input& file, std::string_view line) {
    field_scanner fields(line);
    legend_line site;
    std::string_view position;
    fields.next(site.rs_id);
    if (!fields.next(position)) file.fail("There are fewer fields than a SNP needs");
    if (!parse_long(position, site.position)) file.fail(concat("The position '", position, "' is not a number"));
    site.rest = fields.rest();
    return site;
}

void take_alleles(const text_input& file, legend_line& site) {
    field_scanner fields(site.rest);
    fields.next(site.a0);
    if (!fields.next(site.a1)) file.fail("There are fewer fields than a SNP needs");
    site.rest = fields.rest();
}

class haplotype_reader {
  public:
    haplotype_reader(data& run, reading_context& context, const panel_rules& rules);
    void read();

  private:
    enum class next_step { go_on, stop };
    next_step read_site(std::string_view line);
    // Whether a filter rule drops the line.
    bool is_filtered(const legend_line& site);
    // Takes the next line of the haplotype file without looking into it.
    bool next_haplotypes(std::string_view& line);
    void skip_haplotypes() {
        std::string_view line;
        next_haplotypes(line);
    }
    // False at the end of the haplotype file.
    bool read_alleles(snp& site, bool& all_missing);
    void place(snp&& site, long position, const site_match& match, bool all_missing);
    void drop_without_data(const snp& site, long position);
    void note_surplus();

    data& run_;
    reading_context& context_;
    panel_rules rules_;
    text_input haplotypes_;
    std::optional<text_input> legend_;
    std::optional<haplotype_row_reader> rows_;
    std::optional<region_test> region_;
    bool filters_on_ = false;
    reading_counts counts_;
    note_once short_file_, question_;
};

text_input open_haplotypes(data& run, const panel_rules& rules) {
    const std::string& h_file = run.params.h_files[rules.pair];
    const std::string& l_file = run.params.l_files[rules.pair];
    announce(run.log, concat("-reading Panel ", rules.panel, " haplotypes from -h and -l files"), h_file);
    print_file_name(run.log, l_file);
    require_file(run.log, h_file, "ERROR: The -h file you specified does not exist.");
    require_file(run.log, l_file, "ERROR: The -l file you specified does not exist.");
    return text_input(run.log, h_file, "ERROR: The -h file you specified does not exist.",
                      unopened_text(concat("Panel ", rules.panel, " haplotypes file"), h_file));
}

haplotype_reader::haplotype_reader(data& run, reading_context& context, const panel_rules& rules)
    : run_(run), context_(context), rules_(rules), haplotypes_(open_haplotypes(run, rules)) {
    const haplotype_columns columns = count_columns(run, context, rules.panel, haplotypes_);
    const std::string& l_file = run.params.l_files[rules.pair];
    legend_.emplace(run.log, l_file, "ERROR: The -l file you specified does not exist.",
                    unopened_text(concat("Panel ", rules.panel, " legend file"), l_file));
    filters_on_ = read_legend_header(run, rules, *legend_);
    rows_.emplace(static_cast<std::size_t>(columns.n_columns), context.exclude_flags, rules.question_missing);
    region_.emplace(run);
}

void haplotype_reader::read() {
    std::string_view line;
    bool at_end = true;
    while (legend_->next_filled_line(line)) {
        if (read_site(line) == next_step::stop) {
            at_end = false;
            break;
        }
    }
    if (at_end) note_surplus();
    report_read(run_.log, counts_);
    report_excluded(run_.log, counts_);
}

haplotype_reader::next_step haplotype_reader::read_site(std::string_view line) {
    legend_line fields = start_legend_line(*legend_, line);
    const long position = fields.position;
    const region_side side = region_->of(*legend_, position);
    if (side == region_side::above) return next_step::stop;
    if (side == region_side::below) {
        skip_haplotypes();
        return next_step::go_on;
    }
    ++counts_.read;
    if (is_excluded(run_, context_, rules_.panel, "---", fields.rs_id, position)) {
        ++counts_.on_list;
        skip_haplotypes();
        return next_step::go_on;
    }
    take_alleles(*legend_, fields);
    snp site;
    site.rs_id = fields.rs_id;
    site.snp_id = "---";
    panel_labels& labels = site.labels[static_cast<std::size_t>(rules_.panel)];
    labels.a0 = fields.a0;
    labels.a1 = fields.a1;
    if (warn_if_one_label(run_, concat("Panel ", rules_.panel, " -l"), labels, position)) {
        skip_haplotypes();
        return next_step::go_on;
    }
    if (filters_on_ && is_filtered(fields)) {
        ++counts_.filtered;
        skip_haplotypes();
        return next_step::go_on;
    }
    apply_strand_map(context_, position, labels);
    const site_match match = find_site(run_, position, site, rules_.panel);
    bool all_missing = false;
    if (!read_alleles(site, all_missing)) return next_step::stop;
    place(std::move(site), position, match, all_missing);
    return next_step::go_on;
}

bool haplotype_reader::is_filtered(const legend_line& site) {
    const std::vector<std::string> columns = split_fields(site.rest);
    if (columns.size() < run_.legend_cols.size()) legend_->fail("There are fewer columns than in the header");
    if (run_.has_num_filters && filter_legend_snp_by_num(run_, columns, site.position)) return true;
    return run_.has_str_filters && filter_legend_snp_by_str(run_, columns);
}

bool haplotype_reader::next_haplotypes(std::string_view& line) {
    if (haplotypes_.next_filled_line(line)) return true;
    short_file_.say(haplotypes_, "the file ends before its legend does");
    return false;
}

bool haplotype_reader::read_alleles(snp& site, bool& all_missing) {
    using outcome = haplotype_row_reader::outcome;
    std::string_view line;
    if (!next_haplotypes(line)) return false;
    allele_row& row = site.haps[static_cast<std::size_t>(rules_.panel)];
    switch (rows_->read(line, row)) {
        case outcome::too_few:
            haplotypes_.fail("There are fewer haplotypes than in the first line");
        case outcome::too_many:
            haplotypes_.fail("There are more haplotypes than in the first line");
        case outcome::bad_allele:
            haplotypes_.fail(
                concat("The allele '", rows_->bad_field(), "' in column ", rows_->bad_column(), " is not valid"));
        case outcome::good:
            break;
    }
    if (rows_->question_seen()) question_.say(haplotypes_, "'?' reads as allele 0 in this panel");
    const std::size_t n_missing = count_ones(row.missing());
    all_missing = rules_.question_missing && n_missing == row.size();
    if (row.size() > n_missing) {
        site.labels[static_cast<std::size_t>(rules_.panel)].freq =
            static_cast<double>(count_ones(row.ones())) / static_cast<double>(row.size() - n_missing);
    }
    return true;
}

void haplotype_reader::drop_without_data(const snp& site, long position) {
    run_.log.warn(concat("WARNING: SNP ", site.rs_id, " at position ", position, " is missing all of its Panel ",
                         rules_.panel, " alleles and will be treated as if it had not been included in the -h file."));
    ++counts_.no_data;
}

void haplotype_reader::place(snp&& site, long position, const site_match& match, bool all_missing) {
    if (all_missing && !run_.params.fill_holes) return drop_without_data(site, position);
    const auto bit = static_cast<std::size_t>(rules_.panel);  // the type that a site of this panel alone has
    if (!match && !run_.plan.output_types[bit]) return;
    if (rules_.panel == 1) {
        place_panel1_site(run_, position, std::move(site), match);
    } else if (match) {
        join_panel0_site(run_, (*match)->second, std::move(site), all_missing);
    } else if (all_missing) {
        return drop_without_data(site, position);
    } else {
        add_panel0_site(run_, position, std::move(site));
    }
    ++counts_.kept;
}

void haplotype_reader::note_surplus() {
    std::string_view line;
    if (haplotypes_.next_filled_line(line)) {
        haplotypes_.note("the file goes on behind the last line of its legend; the rest is not read");
    }
}

}  // namespace

void read_haplotypes(data& run, reading_context& context, int panel) {
    haplotype_reader(run, context, panel == 0 ? rules_of_panel0 : rules_of_panel1).read();
}
