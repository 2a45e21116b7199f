#include "run/option_table.h"

#include <array>

namespace {

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
// One that changes no byte of what is written, and is not told there.
constexpr option quiet_flag(std::string_view name, bool parameters::*target, std::string_view help) {
    return {name, option_kind::flag, target, true, {}, help};
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
    real("-switch_rate", &p::switch_rate, "F  times as many switches of what is copied as -Ne and the map tell [1]"),
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
    integer("-final_states", &p::final_states, "N  states of a last pass of phasing beside local matches; 0: none [0]"),
    integer("-final_rounds", &p::final_rounds, "N  rounds of that pass [1]"),
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
    quiet_flag("-mem_save_3", &p::mem_save_3, "keep the sums of results in temporary files"),
};

}  // namespace

std::span<const option> all_options() {
    return option_table;
}

const option* find_option(std::string_view entry) {
    for (const option& row : option_table) {
        if (row.kind != option_kind::heading && row.name == entry) return &row;
    }
    return nullptr;
}
