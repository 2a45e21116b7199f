// Strand files, and lists of SNPs to exclude or include.

#include "input/announce.h"
#include "input/note_once.h"
#include "input/panel_options.h"
#include "input/readers.h"
#include "input/site_gate.h"
#include "io/run_log.h"
#include "io/text.h"
#include "io/text_input.h"
#include "model/run_plan.h"
#include "model/site_table.h"

namespace {

std::string strand_option(std::size_t panel) {
    return is_panel(panel) ? concat("-strand_", options_of_panel(panel).suffix) : "-strandX";
}

struct snp_list_words {
    std::string word;    // "exclusion" or "inclusion"
    std::string option;  // as in "-exclude_snps_g"
};

snp_list_words words_of_list(run_log& log, std::optional<std::size_t> panel) {
    if (!panel) return {"inclusion", "-include_snps"};
    if (!is_panel(*panel)) {
        log.fatal(concat("ERROR: Panel code [", *panel, "] for SNP exclusion file is not valid."));
    }
    return {"exclusion", concat("-exclude_snps_", options_of_panel(*panel).suffix)};
}

}  // namespace

std::map<long, std::string> read_strand_file(run_log& log, const run_plan& plan, const std::string& name,
                                             std::size_t panel) {
    const std::string option = strand_option(panel);
    announce(log, concat("-reading strand info for Panel ", panel, " from ", option, " file"), name);
    text_input file(log, name, missing_text(option), unopened_text("strand file", name));
    std::map<long, std::string> strand_map;
    std::size_t n_lines = 0;
    note_once repeated, strange;
    std::string_view line, position_field, strand;
    while (file.next_filled_line(line)) {
        field_scanner fields(line);
        fields.next(position_field);
        long position = 0;
        if (!parse_long(position_field, position)) {
            file.fail(concat("The position '", position_field, "' is not a number"));
        }
        if (!fields.next(strand)) file.fail("There is no strand");
        if (strand != "+" && strand != "-") {
            strange.odd(file, concat("The strand '", strand, "' is neither + nor -"),
                        "alleles there stand as they are, and so at all such lines");
        }
        if (position < plan.buffer_lower || position > plan.buffer_upper) continue;
        if (!strand_map.emplace(position, strand).second) {
            repeated.odd(file, concat("The position ", position, " has a strand already"), "the first one stands");
        }
        ++n_lines;
    }
    log.line(concat(" --read strand info for ", n_lines, " SNPs in the analysis region"));
    return strand_map;
}

void align_study_to_strand_map(reading_context& context, site_table& sites) {
    for (auto& [position, site] : sites.store) apply_strand_map(context, position, site.labels[2]);
}

void report_strand_use(run_log& log, const reading_context& context, std::size_t panel) {
    log.stage(concat("-using ", strand_option(panel), " file to align Panel ", panel, " allele labels"));
    log.line(concat(" --flipped strand at ", context.strands.flipped, " out of ", context.strands.handled, " SNPs"));
}

id_set read_snp_list(run_log& log, const std::string& name, std::optional<std::size_t> panel) {
    const snp_list_words words = words_of_list(log, panel);
    const std::string code = panel ? std::to_string(*panel) : "-1";  // what the stage line calls the inclusion list
    announce(log, concat("-reading SNP ", words.word, " list for Panel ", code, " from ", words.option, " file"), name);
    text_input file(log, name, missing_text(words.option), unopened_text(concat("SNP ", words.word, " file"), name));
    id_set ids = read_first_fields(file);
    log.line(concat(" --read ", ids.size(), " SNP IDs"));
    return ids;
}
