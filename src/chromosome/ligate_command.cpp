#include "chromosome/ligate_command.h"

#include <ostream>

#include "chromosome/ligation.h"
#include "chromosome/output_check.h"
#include "chromosome/word_options.h"
#include "io/run_log.h"
#include "io/text.h"

namespace {

constexpr std::string_view ligate_help =
    "orvide-ligate -o FILE [-allow_gaps] CHUNK CHUNK ...\n"
    "\n"
    "Joins phased VCF or BCF files of neighbouring chunks that overlap, in the order of their positions, to one file:\n"
    ".vcf.gz or .bcf with an index, or .vcf. Where two of them do not agree how a heterozygote stands relative to the "
    "one\n"
    "before, the one that is more confident (PQ) is followed.\n"
    "\n"
    "  -o FILE      the joined file\n"
    "  -allow_gaps  joins files that do not overlap, too, as on both sides of a centromere; the phase across is "
    "arbitrary\n"
    "  --help       prints this help\n"
    "\n"
    "Prints a line a seam: the two files, first and last position of the overlap, its sites, the heterozygotes that "
    "told,\n"
    "how many of them agree, people who were turned, and people for whom nothing tells.\n";

const std::vector<word_option> ligate_options{{"-o", 1}, {"-allow_gaps", 0}, {"--help", 0}};

void print_seam(std::ostream& seams, const seam& place) {
    seams << place.before << '\t' << place.after << '\t' << place.lower << '\t' << place.upper << '\t' << place.n_sites
          << '\t' << place.n_counted << '\t' << place.n_agreeing << '\t' << place.n_turned << '\t' << place.n_undecided
          << std::endl;
}

void check(run_log& log, const word_options& options) {
    if (!options.has("-o")) log.fatal("ERROR: The option -o FILE is needed.");
    if (!variant_format_of(options.value("-o"))) {
        log.fatal(concat("ERROR: The name [", options.value("-o"), "] must end in .vcf.gz, .bcf or .vcf."));
    }
    if (options.loose().empty()) log.fatal("ERROR: Files to be joined are needed.");
    refuse_to_overwrite_input(log, options.value("-o"), options.loose());
}

}  // namespace

int run_ligate_command(const std::vector<std::string>& words, std::ostream& seams, std::ostream& notes) {
    run_log log(notes, notes);
    try {
        const word_options options(log, words, ligate_options);
        if (options.has("--help")) {
            seams << ligate_help;
            return 0;
        }
        check(log, options);
        const std::string output = options.value("-o");
        seams << "before\tafter\tlower\tupper\tsites\thets\tagreeing\tturned\tundecided\n";
        ligate(log, options.loose(), output, {*variant_format_of(output), options.has("-allow_gaps")},
               [&seams](const seam& place) { print_seam(seams, place); });
    } catch (const run_end& end) {
        return end.status;
    }
    return log.any_result_failed() ? 1 : 0;
}
