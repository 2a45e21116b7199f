#include "input/reader_common.h"

#include <sys/stat.h>

#include <algorithm>

#include "io/text.h"
#include "model/data.h"

bool file_exists(const std::string& name) {
    struct stat status {};
    return stat(name.c_str(), &status) == 0;
}

void require_file(run_log& log, const std::string& name, std::string_view message) {
    if (!file_exists(name)) log.fatal(message);
}

void print_file_name(run_log& log, const std::string& name) {
    log.line(concat(" --filename=[", name, "]"));
}

void announce(run_log& log, std::string_view stage, const std::string& name) {
    log.stage(stage);
    print_file_name(log, name);
}

region_test::region_test(const data& run) : lower_(run.plan.buffer_lower), upper_(run.plan.buffer_upper) {}

region_side region_test::of(const text_input& file, long position) {
    if (position < last_) {
        unsorted_.say(file,
                      "the positions are not in ascending order; lines behind the end of the region are not read");
    }
    last_ = position;
    if (position < lower_) return region_side::below;
    return position > upper_ ? region_side::above : region_side::inside;
}

site_line start_site_line(const text_input& file, std::string_view line) {
    field_scanner fields(line);
    site_line site;
    std::string_view position;
    fields.next(site.snp_id);
    fields.next(site.rs_id);
    if (!fields.next(position)) file.fail("There are fewer fields than a SNP needs");
    if (!parse_long(position, site.position)) file.fail(concat("The position '", position, "' is not a number"));
    site.rest = fields.rest();
    return site;
}

void take_alleles(const text_input& file, site_line& site) {
    field_scanner fields(site.rest);
    fields.next(site.a0);
    if (!fields.next(site.a1)) file.fail("There are fewer fields than a SNP needs");
    site.rest = fields.rest();
}

int count_columns_after_site(text_input& file) {
    std::string_view line;
    int n_fields = 0;
    if (file.next_filled_line(line)) n_fields = count_fields(line);
    file.rewind();
    return std::max(n_fields - 5, 0);
}

bool is_excluded(const data& run, const reading_context& context, int panel, std::string_view snp_id,
                 std::string_view rs_id, long position) {
    const auto is_on = [&](const id_set& list) {
        if (list.empty()) return false;
        return list.contains(snp_id) || list.contains(rs_id) || list.contains(std::to_string(position));
    };
    if (is_on(context.exclude_snps[static_cast<std::size_t>(panel)])) return true;
    return panel < 2 && !run.params.impute_excluded && is_on(context.exclude_snps[2]);
}

void apply_strand_map(reading_context& context, long position, panel_labels& labels) {
    if (context.strand_map.empty()) return;
    const std::string flipped0 = flip(labels.a0);
    const std::string flipped1 = flip(labels.a1);
    if (flipped0 == labels.a0 || flipped1 == labels.a1) return;
    const auto entry = context.strand_map.find(position);
    if (entry == context.strand_map.end()) return;
    ++context.strands.handled;
    if (entry->second != "-") {
        labels.strand = entry->second;
        return;
    }
    labels.a0 = flipped0;
    labels.a1 = flipped1;
    labels.strand = '+';
    ++context.strands.flipped;
}

std::string unopened_text(std::string_view what, const std::string& name) {
    return concat("ERROR: The ", what, " [", name, "] could not be opened.");
}

std::string bad_columns_text(std::string_view what, const std::string& name) {
    return concat("ERROR: The ", what, " [", name,
                  "] does not contain a valid number of columns. Please review the documentation and try again.");
}

void check_against_sample_file(run_log& log, const std::vector<bool>& exclude_flags, int n_columns,
                               const column_words& words) {
    if (exclude_flags.empty() || exclude_flags.size() == static_cast<std::size_t>(n_columns)) return;
    log.fatal(concat("ERROR: The number of ", words.unit, " in the ", words.file, " (", n_columns,
                     ") does not match the number of ", words.unit, " in the sample file (", exclude_flags.size(),
                     ")."));
}

int count_excluded(const std::vector<bool>& exclude_flags) {
    return static_cast<int>(std::count(exclude_flags.begin(), exclude_flags.end(), true));
}

void report_columns(run_log& log, int n_detected, int n_excluded, int n_left, const char* unit) {
    log.line(concat(" --detected ", n_detected, " ", unit));
    if (n_excluded > 0) log.line(concat(" --excluded ", n_excluded, " ", unit, ", leaving ", n_left, " for analysis"));
}

void report_read(run_log& log, const reading_counts& counts) {
    log.line(concat(" --read ", counts.read, " SNPs in the analysis interval+buffer region"));
}

void report_excluded(run_log& log, const reading_counts& counts) {
    if (counts.read <= counts.kept) return;
    log.line(concat(" --excluded ", counts.read - counts.kept, " SNPs, leaving ", counts.kept, " SNPs for analysis"));
    const auto detail = [&log](long n, const char* reason) {
        if (n > 0) log.line(concat("   --", n, " SNPs excluded ", reason));
    };
    detail(counts.on_list, "due to presence on exclusion list");
    detail(counts.no_data, "for having no data");
    detail(counts.filtered, "according to filters specified via -filt_rules_l");
}

bool warn_if_duplicate(data& run, long position) {
    if (!(run.params.panel0_given() || run.params.panel1_given()) || !run.sites.store.contains(position)) return false;
    run.log.warn(concat("WARNING: Position ", position,
                        " occurs multiple times in Panel 2. The first instance of this SNP will be used for inference, "
                        "while all subsequent instances will be ignored and omitted from output files."));
    return true;
}

bool warn_if_one_label(data& run, std::string_view option, const panel_labels& labels, long position) {
    if (labels.a0 != labels.a1) return false;
    run.log.warn(concat("WARNING: The SNP at position ", position, " in the ", option,
                        " file has only one unique allele (", labels.a0,
                        "); all reference SNPs must have two distinct alleles, so this SNP will be ignored."));
    return true;
}

void warn_no_genotypes(data& run, int panel, std::string_view option, const snp& site, long position) {
    run.log.warn(concat("WARNING: SNP ", site.rs_id, " at position ", position, " is missing all of its Panel ", panel,
                        " genotypes and will be treated as if it had not been included in the ", option, " file."));
}

bool keeps_triples(const data& run, int panel) {
    const parameters& params = run.params;
    if (panel == 1) return params.store_input_probs_ref || params.prob_g_ref;
    return params.store_input_probs[0] || params.store_input_probs[1] || params.prob_g;
}
