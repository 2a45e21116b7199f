#include "run/command_line.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <variant>

#include "io/input_file.h"
#include "io/text.h"
#include "run/presets.h"

namespace {

// What an option does with the entries that follow it.
enum class option_kind {
    text,          // one value, kept as text
    real,          // one value, a double
    integer,       // one value, an int
    interval,      // two values, the analysis interval
    texts,         // all values up to the next entry that begins with "-", appended
    integers,      // likewise, integers
    state_counts,  // likewise; the first one replaces element 0
    seed,          // one value, the seed
    flag,          // no value
    heading,       // no option, but the title of those that follow
};

struct option {
    std::string_view name;
    option_kind kind;
    // Where the value goes; a flag writes flag_value.
    std::variant<std::monostate, std::string parameters::*, double parameters::*, int parameters::*, bool parameters::*,
                 std::vector<std::string> parameters::*, std::vector<int> parameters::*>
        target;
    bool flag_value;
    std::string_view echo;  // appended to active_flags; empty for none
    std::string_view help;
};

constexpr option heading(std::string_view title) {
    return {{}, option_kind::heading, {}, false, {}, title};
}
constexpr option text(std::string_view name, std::string parameters::*target, std::string_view help) {
    return {name, option_kind::text, target, false, {}, help};
}
constexpr option echoed_text(std::string_view name, std::string parameters::*target, std::string_view help) {
    return {name, option_kind::text, target, false, name, help};
}
constexpr option real(std::string_view name, double parameters::*target, std::string_view help) {
    return {name, option_kind::real, target, false, {}, help};
}
constexpr option integer(std::string_view name, int parameters::*target, std::string_view help) {
    return {name, option_kind::integer, target, false, {}, help};
}
constexpr option texts(std::string_view name, std::vector<std::string> parameters::*target, std::string_view help) {
    return {name, option_kind::texts, target, false, {}, help};
}
constexpr option flag(std::string_view name, bool parameters::*target, std::string_view help) {
    return {name, option_kind::flag, target, true, name, help};
}
constexpr option clearing_flag(std::string_view name, bool parameters::*target, std::string_view help) {
    return {name, option_kind::flag, target, false, name, help};
}

using p = parameters;

constexpr std::array option_table{
    heading("The region and the map"),
    option{"-int", option_kind::interval, {}, false, {}, "LOWER UPPER  analysis interval in base pairs"},
    text("-chr", &p::chr, "NAME  chromosome, in files that hold several"),
    real("-buffer", &p::buffer_kb, "KB  buffer region on both sides of the interval [250]"),
    text("-m", &p::m_file, "FILE  fine-scale genetic map"),
    real("-Ne", &p::Ne, "N  effective population size [20000]"),
    flag("-allow_large_regions", &p::allow_large_regions, "allow regions longer than 7 Mb"),
    heading("Reference panels"),
    texts("-h", &p::h_files, "FILE [FILE]  reference haplotypes: Panel 0, Panel 1"),
    texts("-l", &p::l_files, "FILE [FILE]  legends of the -h files"),
    text("-g_ref", &p::g_ref_file, "FILE  reference genotypes: Panel 1"),
    texts("-filt_rules_l", &p::filt_rules_l, "RULE ...  rules that drop lines of the Panel 0 legend"),
    text("-hap_init_h", &p::hap_init_h_file, "FILE  accepted without effect"),
    text("-hap_init_g_ref", &p::hap_init_g_ref_file, "FILE  accepted without effect"),
    text("-known_haps_g_ref", &p::known_haps_g_ref_file, "FILE  accepted; no file is read"),
    heading("Study data"),
    text("-g", &p::g_file, "FILE  study genotypes: Panel 2"),
    text("-known_haps_g", &p::known_haps_g_file, "FILE  study haplotypes of known phase"),
    text("-hap_init_g", &p::hap_init_g_file, "FILE  starting phase of study genotypes"),
    real("-call_thresh", &p::call_thresh, "P  probability from which an input genotype is called [0.9]"),
    flag("-prob_g", &p::prob_g, "use study genotypes as probabilities"),
    flag("-prob_g_ref", &p::prob_g_ref, "use -g_ref genotypes as probabilities"),
    real("-prob_g_thresh", &p::prob_g_thresh, "P  threshold of -prob_g for allele frequencies [-1]"),
    clearing_flag("-no_prob_g_norm", &p::prob_g_norm, "do not normalise input probabilities"),
    integer("-nind", &p::nind, "N  use the first N study individuals only [0: all]"),
    flag("-use_prephased_g", &p::use_prephased_g, "the study is completely phased"),
    flag("-haploid_g", &p::haploid_g, "the study is haploid"),
    flag("-chrX", &p::chrX, "the region lies on chromosome X"),
    flag("-Xpar", &p::Xpar, "the chromosome X region is pseudoautosomal"),
    heading("Samples and SNP lists"),
    text("-sample_g", &p::sample_g_file, "FILE  sample file of Panel 2"),
    text("-sample_known_haps_g", &p::sample_known_haps_g_file, "FILE  sample file of -known_haps_g"),
    text("-sample_g_ref", &p::sample_g_ref_file, "FILE  sample file of Panel 1"),
    text("-sample_h", &p::sample_h_file, "FILE  sample file of Panel 0"),
    text("-exclude_samples_g", &p::exclude_samples_g_file, "FILE  people to leave out of Panel 2"),
    text("-exclude_samples_g_ref", &p::exclude_samples_g_ref_file, "FILE  people to leave out of Panel 1"),
    text("-exclude_samples_h", &p::exclude_samples_h_file, "FILE  haplotypes to leave out of Panel 0"),
    text("-include_samples_g", &p::include_samples_g_file, "FILE  read and counted, without effect"),
    text("-include_samples_g_ref", &p::include_samples_g_ref_file, "FILE  read and counted, without effect"),
    text("-include_samples_h", &p::include_samples_h_file, "FILE  read and counted, without effect"),
    text("-exclude_snps_g", &p::exclude_snps_g_file, "FILE  SNPs to leave out of Panel 2"),
    text("-exclude_snps_g_ref", &p::exclude_snps_g_ref_file, "FILE  SNPs to leave out of Panel 1"),
    text("-exclude_snps_h", &p::exclude_snps_h_file, "FILE  SNPs to leave out of Panel 0"),
    text("-include_snps", &p::include_snps_file, "FILE  the only reference SNPs to impute"),
    flag("-impute_excluded", &p::impute_excluded, "impute SNPs that -exclude_snps_g names"),
    heading("Strand and allele alignment"),
    text("-strand_g", &p::strand_g_file, "FILE  strands of Panel 2"),
    text("-strand_g_ref", &p::strand_g_ref_file, "FILE  strands of Panel 1"),
    text("-strand_h", &p::strand_h_file, "FILE  strands of Panel 0"),
    flag("-align_by_maf_g", &p::align_by_maf_g, "align A/T and C/G SNPs of Panel 2 by allele frequency"),
    flag("-align_by_maf_g_ref", &p::align_by_maf_g_ref, "align A/T and C/G SNPs of Panel 1 by allele frequency"),
    clearing_flag("-no_align_by_label_g", &p::align_by_label_g, "accepted without effect"),
    clearing_flag("-no_align_by_label_g_ref", &p::align_by_label_g_ref, "accepted without effect"),
    clearing_flag("-no_remove", &p::remove_excluded, "keep SNPs whose alleles do not agree"),
    flag("-strict_allele_matching", &p::strict_allele_matching, "accepted without effect"),
    heading("The Markov chain"),
    text("-preset", &p::preset, "NAME  settings for fast, balanced or accurate work [none]"),
    integer("-iter", &p::iter, "N  iterations [30]"),
    integer("-burnin", &p::burnin, "N  iterations before results count [10]"),
    integer("-informed_burnin", &p::informed_burnin, "N  burn-in iterations with informed states [2/3 of -burnin]"),
    integer("-thin", &p::thin, "N  use every N-th iteration [1]"),
    integer("-k", &p::k, "N  states for phasing [80]"),
    integer("-local_states", &p::local_states, "P  percent of the states for phasing chosen by local matches [0]"),
    option{"-k_hap", option_kind::state_counts, &p::k_hap, false, {}, "N [N]  states for imputation [500]"},
    option{"-seed", option_kind::seed, {}, false, {}, "N  seed of the random numbers [from the time]"},
    flag("-random_cond", &p::random_cond, "choose conditioning states at random"),
    flag("-choose_states_from_scaffold", &p::choose_states_from_scaffold, "compare haplotypes at -known_haps_g sites"),
    flag("-restrict_buffer_to_scaffold", &p::restrict_buffer_to_scaffold,
         "keep -known_haps_g sites in the buffer only"),
    clearing_flag("-choose_diploid_family", &p::choose_haploid_family, "one set of imputation states an individual"),
    text("-distances", &p::distances_file, "FILE  distances of individuals, to choose states by"),
    text("-distances_by_hap", &p::distances_by_hap_file, "FILE  distances of haplotypes, to choose states by"),
    flag("-mc_impute", &p::mc_impute, "impute by sampled alleles"),
    flag("-use_old_code", &p::use_old_code, "use the older whole-sweep routines"),
    real("-selfcheck", &p::selfcheck, "P  share of the used iterations that mask genotypes [0.2]"),
    real("-theta", &p::theta, "X  accepted without effect"),
    integer("-model", &p::model, "N  accepted without effect"),
    option{"-post_samp", option_kind::flag, &p::post_samp, true, "-post_samp [NOT FULLY IMPLEMENTED]",
           "accepted without effect"},
    heading("What is imputed and phased"),
    option{"-os", option_kind::integers, &p::os_types, false, {}, "T ...  SNP types of the output [0 1 2 3]"},
    flag("-pgs", &p::pgs, "replace study genotypes by imputed ones"),
    flag("-pgs_miss", &p::pgs_miss, "impute missing study genotypes"),
    flag("-pgs_prob", &p::pgs_prob, "refine study genotype probabilities"),
    flag("-phase", &p::phase, "phase the study"),
    flag("-prephase_g", &p::prephase_g, "phase the study to impute from later"),
    flag("-fill_holes", &p::fill_holes, "fill sites that a reference panel lacks"),
    flag("-use_panel1_for_type0_imputation", &p::use_panel1_for_type0_imputation,
         "impute Panel 0 sites through Panel 1"),
    flag("-keep_donut_snps", &p::keep_donut_snps, "keep study SNPs that only Panel 1 lacks"),
    flag("-merge_ref_panels", &p::merge_ref_panels, "merge two reference panels"),
    echoed_text("-merge_ref_panels_output_ref", &p::merge_ref_panels_output_ref, "NAME  write the merged haplotypes"),
    echoed_text("-merge_ref_panels_output_gen", &p::merge_ref_panels_output_gen, "NAME  write the merged genotypes"),
    flag("-stage_one", &p::stage_one, "first of two runs: sample haplotypes"),
    flag("-stage_two", &p::stage_two, "second of two runs: impute from sampled haplotypes"),
    heading("Output files"),
    text("-o", &p::o_file, "FILE  main output [./test.orvide2]"),
    text("-format_fields", &p::format_fields, "LIST  fields of a genotype in VCF or BCF output: GT,DS,GP,HDS,PQ"),
    text("-i", &p::i_file, "FILE  SNP quality [-o name + _info]"),
    text("-r", &p::r_file, "FILE  run summary [-o name + _summary]"),
    text("-w", &p::w_file, "FILE  warnings [-o name + _warnings]"),
    flag("-o_gz", &p::o_gz, "compress output files"),
    integer("-outdp", &p::outdp, "N  decimals of probabilities [3]"),
    clearing_flag("-no_snp_qc_info", &p::snp_qc_info, "leave the comparison columns out of the quality file"),
    clearing_flag("-no_sample_qc_info", &p::sample_qc_info, "no quality file by sample"),
    clearing_flag("-no_warn", &p::warn, "no warnings"),
    flag("-verbose", &p::verbose, "print progress"),
    flag("-allow_unlike_frequencies", &p::allow_unlike_frequencies,
         "go on when allele frequencies of study and reference do not go together"),
    flag("-strict", &p::strict, "end with an error where odd input would be noted"),
    flag("-suppress_imputation_output", &p::suppress_imputation_output, "no imputation results"),
    flag("-include_buffer_in_output", &p::include_buffer_in_output, "write the buffer region too"),
    flag("-include_buffer_in_output_haps_only", &p::include_buffer_in_output_haps_only,
         "write the buffer region to haplotype files only"),
    flag("-include_unphased_sites_in_output_haps", &p::include_unphased_sites_in_output_haps,
         "write sites without phase to the haplotype file"),
    flag("-print_allele_probs", &p::print_allele_probs, "write allele probabilities of known haplotypes"),
    text("-hap_samp_out_g", &p::hap_samp_out_g, "NAME  write sampled haplotypes of Panel 2"),
    text("-hap_samp_out_g_ref", &p::hap_samp_out_g_ref, "NAME  write sampled haplotypes of Panel 1"),
    text("-hap_samp_out_h", &p::hap_samp_out_h, "NAME  write sampled haplotypes of Panel 0"),
    text("-hap_samp_in_g", &p::hap_samp_in_g, "NAME  read sampled haplotypes of Panel 2"),
    text("-hap_samp_in_g_ref", &p::hap_samp_in_g_ref, "NAME  read sampled haplotypes of Panel 1"),
    text("-hap_samp_in_h", &p::hap_samp_in_h, "NAME  read sampled haplotypes of Panel 0"),
    text("-hap_samp_dir", &p::hap_samp_dir, "DIR  where the two stages keep sampled haplotypes"),
    flag("-allow_hap_samp_in_filters", &p::allow_hap_samp_in_filters, "accepted without effect"),
    flag("-counts_per_iter", &p::counts_per_iter, "write genotype counts of every used iteration"),
    flag("-counts_wt_per_iter", &p::counts_wt_per_iter, "write weighted genotype counts of every used iteration"),
    text("-intermed_posns", &p::intermed_posns_file, "FILE  positions of the count files"),
    integer("-weight_imputed_gt", &p::weight_imputed_gt, "0..3  weight iterations by likelihood"),
    flag("-debug_weighting", &p::debug_weighting, "write the likelihoods of the weights"),
    flag("-show_diploid_copy_states", &p::show_diploid_copy_states, "write the states of phasing updates"),
    flag("-show_haploid_copy_states", &p::show_haploid_copy_states, "write the states of imputation updates"),
    flag("-show_ref_copy_probs", &p::show_ref_copy_probs, "write copying probabilities of reference haplotypes"),
    flag("-show_all_copy_probs", &p::show_all_copy_probs, "write copying probabilities of all haplotypes"),
    heading("Time and memory"),
    integer("-threads", &p::threads, "N  threads; 0: as many as the process may use [1]"),
    flag("-mem_save", &p::mem_save, "both of the following"),
    flag("-mem_save_1", &p::mem_save_1, "keep fewer forward values, compute the others again"),
    flag("-mem_save_2", &p::mem_save_2, "keep sampled haplotypes in temporary files"),
    text("-mem_save_str", &p::mem_save_str, "NAME  beginning of the temporary files' names"),
    clearing_flag("-no_remove_mem_save_dir", &p::remove_mem_save_dir, "remove temporary files one by one"),
};

// As atoi and atof read: the number at the start of the text, 0 if there is none.
int to_int(const std::string& value) {
    return static_cast<int>(std::strtol(value.c_str(), nullptr, 10));
}
double to_double(const std::string& value) {
    return std::strtod(value.c_str(), nullptr);
}

const option* find_option(const std::string& entry) {
    for (const option& row : option_table) {
        if (row.name == entry) return &row;
    }
    return nullptr;
}

// Whether a lone dash is the file, or one of the files, of the option before it.
bool stands_for_file(const std::vector<std::string>& entries, std::size_t i) {
    if (!is_standard_input(entries[i])) return false;
    std::size_t at = i;
    while (at > 0 && (at == i || is_standard_input(entries[at]) || !entries[at].starts_with('-'))) --at;
    const option* const row = find_option(entries[at]);
    if (row == nullptr) return false;
    return row->kind == option_kind::texts || (row->kind == option_kind::text && at + 1 == i);
}

class scan {
  public:
    scan(const std::vector<std::string>& entries, command_line& result) : entries_(entries), result_(result) {}

    void take(std::size_t i) {
        const option* row = find_option(entries_[i]);
        if (row == nullptr) {
            result_.unknown.push_back(entries_[i]);
            return;
        }
        if (!row->echo.empty()) result_.params.active_flags.emplace_back(row->echo);
        store(*row, i);
    }

  private:
    // The n-th value after entry i; null, and the option noted, if the line ends before it.
    const std::string* value(std::size_t i, std::size_t n = 1) {
        if (i + n < entries_.size()) return &entries_[i + n];
        result_.valueless.push_back(entries_[i]);
        return nullptr;
    }

    std::vector<std::string> list(std::size_t i) const {
        std::vector<std::string> values;
        for (++i; i < entries_.size() && (!entries_[i].starts_with('-') || stands_for_file(entries_, i)); ++i) {
            values.push_back(entries_[i]);
        }
        return values;
    }

    void store_list(const option& row, std::size_t i) {
        const std::vector<std::string> values = list(i);
        if (row.kind == option_kind::texts) {
            auto& target = result_.params.*std::get<std::vector<std::string> parameters::*>(row.target);
            target.insert(target.end(), values.begin(), values.end());
            return;
        }
        auto& target = result_.params.*std::get<std::vector<int> parameters::*>(row.target);
        for (std::size_t j = 0; j < values.size(); ++j) {
            if (j == 0 && row.kind == option_kind::state_counts) {
                target[0] = to_int(values[j]);
            } else {
                target.push_back(to_int(values[j]));
            }
        }
    }

    void store(const option& row, std::size_t i) {
        parameters& params = result_.params;
        switch (row.kind) {
            case option_kind::text:
                if (const auto* v = value(i)) params.*std::get<std::string parameters::*>(row.target) = *v;
                break;
            case option_kind::real:
                if (const auto* v = value(i)) params.*std::get<double parameters::*>(row.target) = to_double(*v);
                break;
            case option_kind::integer:
                if (const auto* v = value(i)) params.*std::get<int parameters::*>(row.target) = to_int(*v);
                break;
            case option_kind::seed:
                if (const auto* v = value(i)) result_.seed = to_int(*v);
                break;
            case option_kind::interval:
                if (const auto* upper = value(i, 2)) {
                    params.int_lower = to_double(entries_[i + 1]);
                    params.int_upper = to_double(*upper);
                }
                break;
            case option_kind::texts:
            case option_kind::integers:
            case option_kind::state_counts:
                store_list(row, i);
                break;
            case option_kind::flag:
                params.*std::get<bool parameters::*>(row.target) = row.flag_value;
                break;
            case option_kind::heading:
                break;
        }
    }

    const std::vector<std::string>& entries_;
    command_line& result_;
};

// Takes the options that a preset stands for, so that those of the command line can replace them; the last one counts.
void take_preset(const std::vector<std::string>& entries, command_line& result) {
    std::vector<std::string> words;
    for (std::size_t i = 0; i + 1 < entries.size(); ++i) {
        if (entries[i] == "-preset") words = preset_options(entries[i + 1]);
    }
    scan pass(words, result);
    for (std::size_t i = 0; i < words.size(); i += 2) pass.take(i);
}

}  // namespace

command_line read_command_line(const std::vector<std::string>& entries) {
    command_line result;
    result.echo_text = "Command-line input:";
    result.params.command_text = "orvide";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        result.echo_text += " " + entries[i];
        if (i > 0) result.params.command_text += " " + entries[i];
    }
    take_preset(entries, result);
    scan pass(entries, result);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i] == "--help") {
            result.wants_help = true;
            result.wants_all_help = i + 1 < entries.size() && entries[i + 1] == "all";
        } else if (entries[i] == "--version") {
            result.wants_version = true;
        } else if (stands_for_file(entries, i)) {
            continue;
        } else if (entries[i].starts_with('-')) {
            pass.take(i);
        }
    }
    return result;
}

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
    for (const option& row : option_table) {
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
