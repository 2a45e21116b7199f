#include "run/help.h"

#include <algorithm>

#include "io/text.h"
#include "run/option_table.h"

std::string help_text() {
    return "Usage: orvide -h PANEL -g STUDY -m MAP -int LOWER UPPER -o OUTPUT [options]\n"
           "\n"
           "Imputes genotypes of a study from phased reference haplotypes, for one stretch\n"
           "of a chromosome; phases the study; checks its own accuracy.\n"
           "\n"
           "Reference  -h FILE [FILE]       VCF, BCF, or text with its legend: -l FILE\n"
           "           -g_ref FILE          a second panel, without phase\n"
           "Study      -g FILE              genotypes: VCF, BCF or text\n"
           "           -known_haps_g FILE   haplotypes; -use_prephased_g when all is phased\n"
           "           -sample_g FILE       people, for text; -exclude_samples_g FILE\n"
           "           -exclude_snps_g FILE, -strand_g FILE, -align_by_maf_g\n"
           "           -call_thresh P [0.9], -prob_g, -chrX, -haploid_g\n"
           "Region     -int LOWER UPPER     base pairs; -chr NAME, -m MAP\n"
           "           -buffer KB           on each side [250]\n"
           "Task       -phase, -prephase_g, -pgs, -os TYPE ...\n"
           "Model      -k N [80], -k_hap N [500], -iter N [30], -burnin N [10]\n"
           "Output     -o FILE              VCF or BCF by its name, else text; -o_gz\n"
           "           -outdp N [3], -seed N, -threads N [1]\n"
           "\n"
           "orvide --help all tells all options, orvide --version the version.\n";
}

std::string full_help_text() {
    std::string text = "Usage: orvide -h PANEL -g STUDY -m MAP -int LOWER UPPER -o OUTPUT [options]\n";
    constexpr std::size_t name_width = 42;
    for (const option& row : all_options()) {
        if (row.kind == option_kind::heading) {
            text += concat("\n", row.help, " ([default])\n");
            continue;
        }
        std::string line = "  " + std::string(row.name);
        line.resize(std::max(line.size() + 1, name_width), ' ');
        text += line + std::string(row.help) + "\n";
    }
    text +=
        "\nHelp\n"
        "  --help                                  the main options; --help all: this text\n"
        "  --version                               print the version\n";
    return text;
}
