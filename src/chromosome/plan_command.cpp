#include "chromosome/plan_command.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <ostream>
#include <sstream>

#include "chromosome/chunk_plan.h"
#include "chromosome/output_check.h"
#include "chromosome/run_cost.h"
#include "chromosome/site_positions.h"
#include "chromosome/word_options.h"
#include "input/readers.h"
#include "io/result_file.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/run_plan.h"

namespace {

constexpr std::string_view plan_help =
    "orvide-plan -m MAP (-g FILE | -known_haps_g FILE) [options]\n"
    "\n"
    "Parts a chromosome into chunks for one run of orvide each, and prints them as a table.\n"
    "\n"
    "  -m FILE             genetic map\n"
    "  -g FILE             genotypes of the study, text, VCF or BCF\n"
    "  -known_haps_g FILE  haplotypes of the study in place of genotypes\n"
    "  -h FILE             reference haplotypes, for the estimates of time and memory\n"
    "  -l FILE             their legend, when they are text\n"
    "  -chr NAME           the chromosome, of files that hold several\n"
    "  -max_kb N           longest chunk in kilobases (5000); the outermost ones reach a twentieth of it beyond their\n"
    "                      typed sites\n"
    "  -min_typed N        typed sites that a chunk should have (100)\n"
    "  -gap_kb N           a longer stretch without typed sites, such as a centromere, is not crossed (1000)\n"
    "  -buffer KB          buffer of the runs, for the estimates (250)\n"
    "  -o FILE             where the table is written (standard output)\n"
    "  --help              prints this help\n"
    "\n"
    "Columns: chr, chunk (from 1), arm (from 1; a gap lies between two arms), lower, upper, typed, panel_sites, cM, "
    "and\n"
    "for a run on one core seconds and MB of phasing and of imputation from known haplotypes ('.' without -h).\n";

const std::vector<word_option> plan_options{
    {"-m", 1},      {"-g", 1},         {"-known_haps_g", 1}, {"-h", 1},      {"-l", 1}, {"-chr", 1},
    {"-max_kb", 1}, {"-min_typed", 1}, {"-gap_kb", 1},       {"-buffer", 1}, {"-o", 1}, {"--help", 0}};

struct plan_inputs {
    site_positions typed;
    std::optional<site_positions> panel;
    std::size_t n_haplotypes = 0;
    genetic_map map;
    long buffer = 0;
    plan_limits limits;
};

std::size_t count_between(const std::vector<long>& positions, long lower, long upper) {
    const auto from = std::ranges::lower_bound(positions, lower);
    return static_cast<std::size_t>(std::ranges::upper_bound(positions, upper) - from);
}

std::vector<std::string> filled_lines(const std::string& text) {
    std::vector<std::string> lines;
    strsplit(text, "\n", lines, false);
    return lines;
}

// The map in centimorgans.
genetic_map read_map(run_log& log, const std::string& name) {
    std::ostringstream said;
    run_log own(said, said);  // only what is wrong is of interest
    parameters params;
    params.m_file = name;
    params.Ne = 25.0;  // its unit is 4 Ne Morgans
    run_plan whole;
    whole.buffer_lower = 0;
    whole.buffer_upper = std::numeric_limits<long>::max();
    try {
        genetic_map map = read_genetic_map(own, params, whole).map;
        if (!std::ranges::is_sorted(map.positions) || !std::ranges::is_sorted(map.scaled)) {
            log.fatal(concat("ERROR: The genetic map [", name, "] is not sorted by position."));
        }
        return map;
    } catch (const run_end&) {
        const std::vector<std::string> lines = filled_lines(said.str());
        const std::string& text = lines.back();  // the reason
        log.fatal(text.starts_with("ERROR:") ? text : concat("ERROR: ", text));
    }
}

void read_panel(run_log& log, const word_options& options, plan_inputs& inputs) {
    const std::string& chromosome = inputs.typed.chromosome;
    if (options.has("-l")) {
        inputs.panel = read_positions(log, options.value("-l"), chromosome, site_text::legend);
        inputs.n_haplotypes = count_columns(log, options.value("-h"));
    } else {
        inputs.panel = read_positions(log, options.value("-h"), chromosome, site_text::haplotypes);
        inputs.n_haplotypes = 2 * inputs.panel->n_individuals;
    }
}

plan_inputs read_inputs(run_log& log, const word_options& options) {
    if (!options.loose().empty()) log.fatal(concat("ERROR: The word [", options.loose().front(), "] is no option."));
    if (!options.has("-m")) log.fatal("ERROR: A genetic map is needed (-m).");
    if (options.has("-g") == options.has("-known_haps_g")) {
        log.fatal("ERROR: Typed sites are needed, from one of -g and -known_haps_g.");
    }
    if (options.has("-l") && !options.has("-h")) log.fatal("ERROR: The option -l needs -h.");
    plan_inputs inputs;
    inputs.limits.longest = 1000 * options.number(log, "-max_kb", 5000, 1);
    inputs.limits.edge = inputs.limits.longest / 20;
    inputs.limits.min_typed = static_cast<std::size_t>(options.number(log, "-min_typed", 100, 1));
    inputs.limits.gap = 1000 * options.number(log, "-gap_kb", 1000, 1);
    inputs.buffer = 1000 * options.number(log, "-buffer", 250, 0);
    const bool phased = !options.has("-g");
    inputs.typed = read_positions(log, options.value(phased ? "-known_haps_g" : "-g"), options.value("-chr"),
                                  phased ? site_text::haplotypes : site_text::genotypes);
    if (options.has("-h")) read_panel(log, options, inputs);
    inputs.map = read_map(log, options.value("-m"));
    return inputs;
}

void print_costs(std::ostream& out, const plan_inputs& inputs, const chunk& part) {
    if (!inputs.panel) {
        out << "\t.\t.\t.\t.";
        return;
    }
    const long lower = part.lower - inputs.buffer;
    const long upper = part.upper + inputs.buffer;
    const run_size size{inputs.n_haplotypes, count_between(inputs.panel->positions, lower, upper),
                        count_between(inputs.typed.positions, lower, upper), inputs.typed.n_individuals};
    for (const run_cost& cost : {phasing_cost(size), imputation_cost(size)}) {
        out << '\t' << fixed_text(cost.seconds, 0) << '\t' << fixed_text(cost.megabytes, 0);
    }
}

void print_table(run_log& log, const plan_inputs& inputs, std::ostream& out) {
    const std::vector<chunk> chunks = plan_chunks(inputs.typed.positions, inputs.limits);
    out << "chr\tchunk\tarm\tlower\tupper\ttyped\tpanel_sites\tcM\tphase_seconds\tphase_MB\timpute_seconds\timpute_"
           "MB\n";
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        const chunk& part = chunks[i];
        if (part.n_typed < inputs.limits.min_typed) {
            log.note(concat("chunk ", i + 1, " (", part.lower, " to ", part.upper, ") has ", part.n_typed,
                            " typed sites, fewer than ", inputs.limits.min_typed));
        }
        out << (inputs.typed.chromosome.empty() ? "." : inputs.typed.chromosome) << '\t' << i + 1 << '\t'
            << part.arm + 1 << '\t' << part.lower << '\t' << part.upper << '\t' << part.n_typed << '\t'
            << (inputs.panel ? concat(count_between(inputs.panel->positions, part.lower, part.upper)) : ".") << '\t'
            << fixed_text(inputs.map.at(part.upper) - inputs.map.at(part.lower), 3);
        print_costs(out, inputs, part);
        out << '\n';
    }
}

void refuse_to_overwrite_input(run_log& log, const word_options& options) {
    std::vector<std::string> inputs;
    for (const char* name : {"-m", "-g", "-known_haps_g", "-h", "-l"}) {
        if (options.has(name)) inputs.push_back(options.value(name));
    }
    refuse_to_overwrite_input(log, options.value("-o"), inputs);
}

void plan(run_log& log, const word_options& options, std::ostream& table) {
    if (options.has("-o")) refuse_to_overwrite_input(log, options);
    const plan_inputs inputs = read_inputs(log, options);
    std::ostringstream text;
    print_table(log, inputs, text);
    if (options.has("-o")) {
        result_file file(log, options.value("-o"), false);
        file.append(text.view());
    } else {
        table << text.view() << std::flush;
    }
}

}  // namespace

int run_plan_command(const std::vector<std::string>& words, std::ostream& table, std::ostream& notes) {
    run_log log(notes, notes);
    try {
        const word_options options(log, words, plan_options);
        if (options.has("--help")) {
            table << plan_help;
            return 0;
        }
        plan(log, options, table);
    } catch (const run_end& end) {
        return end.status;
    }
    return log.any_result_failed() ? 1 : 0;
}
