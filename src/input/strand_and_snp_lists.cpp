// Strand files, and lists of SNPs to exclude or include.

#include "input/panel_options.h"
#include "input/reader_common.h"
#include "input/readers.h"
#include "io/text.h"
#include "model/data.h"

namespace {

std::string strand_option(int panel) {
    return is_panel(panel) ? concat("-strand_", options_of_panel(panel).suffix) : "-strandX";
}

struct snp_list_words {
    std::string word;    // "exclusion" or "inclusion"
    std::string option;  // as in "-exclude_snps_g"
};

snp_list_words words_of_list(run_log& log, int list_code) {
    if (list_code == -1) return {"inclusion", "-include_snps"};
    if (!is_panel(list_code)) {
        log.fatal(concat("ERROR: Panel code [", list_code, "] for SNP exclusion file is not valid."));
    }
    return {"exclusion", concat("-exclude_snps_", options_of_panel(list_code).suffix)};
}

}  // namespace

void read_strand_file(data& run, const std::string& name, int panel, std::map<long, std::string>& strand_map) {
    const std::string option = strand_option(panel);
    announce(run.log, concat("-reading strand info for Panel ", panel, " from ", option, " file"), name);
    text_input file(run.log, name, concat("ERROR: The ", option, " file you specified does not exist."),
                    unopened_text("strand file", name));
    long n_lines = 0;
    note_once repeated;
    std::string_view line, position_field, strand;
    while (file.next_filled_line(line)) {
        field_scanner fields(line);
        fields.next(position_field);
        long position = 0;
        if (!parse_long(position_field, position)) {
            file.fail(concat("The position '", position_field, "' is not a number"));
        }
        if (!fields.next(strand)) file.fail("There is no strand");
        if (position < run.plan.buffer_lower || position > run.plan.buffer_upper) continue;
        if (!strand_map.emplace(position, strand).second) {
            repeated.say(file, "the position has a strand already; the first one stands");
        }
        ++n_lines;
    }
    run.log.line(concat(" --read strand info for ", n_lines, " SNPs in the analysis region"));
}

void align_study_to_strand_map(data& run, reading_context& context) {
    for (auto& [position, site] : run.sites.store) apply_strand_map(context, position, site.labels[2]);
}

void report_strand_use(data& run, const reading_context& context, int panel) {
    run.log.stage(concat("-using ", strand_option(panel), " file to align Panel ", panel, " allele labels"));
    run.log.line(
        concat(" --flipped strand at ", context.strands.flipped, " out of ", context.strands.handled, " SNPs"));
}

void read_snp_list(data& run, const std::string& name, id_set& ids, int list_code) {
    const snp_list_words words = words_of_list(run.log, list_code);
    announce(run.log,
             concat("-reading SNP ", words.word, " list for Panel ", list_code, " from ", words.option, " file"), name);
    text_input file(run.log, name, concat("ERROR: The ", words.option, " file you specified does not exist."),
                    unopened_text(concat("SNP ", words.word, " file"), name));
    ids.clear();
    std::string_view line, id;
    while (file.next_filled_line(line)) {
        field_scanner(line).next(id);
        ids.emplace(id);
    }
    run.log.line(concat(" --read ", ids.size(), " SNP IDs"));
}
