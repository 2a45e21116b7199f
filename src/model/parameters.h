#pragma once

// All settings of a run, as the command line gives them and as process_input completes them.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// A file name that was not given is the text "NULL".
inline bool is_given(const std::string& name) {
    return name != "NULL";
}

struct parameters {
    std::string command_text;  // the command line, blanks between its entries, by the program's name
    std::vector<std::string> active_flags;
    std::vector<std::string> filt_rules_l;          // -filt_rules_l (list)
    std::vector<std::string> h_files;               // -h (list)
    std::string g_file = "NULL";                    // -g
    std::string g_ref_file = "NULL";                // -g_ref
    std::string known_haps_g_file = "NULL";         // -known_haps_g
    std::string known_haps_g_ref_file = "NULL";     // -known_haps_g_ref
    std::string hap_init_g_file = "NULL";           // -hap_init_g
    std::string hap_init_g_ref_file = "NULL";       // -hap_init_g_ref
    std::string hap_init_h_file = "NULL";           // -hap_init_h
    std::string m_file = "NULL";                    // -m
    std::vector<std::string> l_files;               // -l (list)
    std::string strand_g_file = "NULL";             // -strand_g
    std::string strand_g_ref_file = "NULL";         // -strand_g_ref
    std::string strand_h_file = "NULL";             // -strand_h
    std::string o_file = "./test.orvide2";          // -o
    std::string format_fields = "NULL";             // -format_fields
    std::string preset = "NULL";                    // -preset
    std::string i_file = "NULL";                    // -i
    std::string r_file = "NULL";                    // -r
    std::string w_file = "NULL";                    // -w
    std::string sample_g_file = "NULL";             // -sample_g
    std::string sample_g_ref_file = "NULL";         // -sample_g_ref
    std::string sample_h_file = "NULL";             // -sample_h
    std::string sample_known_haps_g_file = "NULL";  // -sample_known_haps_g
    std::string spare_file = "NULL";
    std::string exclude_samples_g_file = "NULL";       // -exclude_samples_g
    std::string exclude_samples_g_ref_file = "NULL";   // -exclude_samples_g_ref
    std::string exclude_samples_h_file = "NULL";       // -exclude_samples_h
    std::string include_samples_g_file = "NULL";       // -include_samples_g
    std::string include_samples_g_ref_file = "NULL";   // -include_samples_g_ref
    std::string include_samples_h_file = "NULL";       // -include_samples_h
    std::string exclude_snps_g_file = "NULL";          // -exclude_snps_g
    std::string exclude_snps_g_ref_file = "NULL";      // -exclude_snps_g_ref
    std::string exclude_snps_h_file = "NULL";          // -exclude_snps_h
    std::string include_snps_file = "NULL";            // -include_snps
    std::string intermed_posns_file = "NULL";          // -intermed_posns
    std::string distances_file = "NULL";               // -distances
    std::string distances_by_hap_file = "NULL";        // -distances_by_hap
    std::string hap_samp_out_g = "NULL";               // -hap_samp_out_g
    std::string hap_samp_out_g_ref = "NULL";           // -hap_samp_out_g_ref
    std::string hap_samp_out_h = "NULL";               // -hap_samp_out_h
    std::string hap_samp_in_g = "NULL";                // -hap_samp_in_g
    std::string hap_samp_in_g_ref = "NULL";            // -hap_samp_in_g_ref
    std::string hap_samp_in_h = "NULL";                // -hap_samp_in_h
    std::string hap_samp_dir = "NULL";                 // -hap_samp_dir
    std::string mem_save_str = "NULL";                 // -mem_save_str
    std::string mem_save_dir = "NULL";                 // directory of the temporary files, when the program made it
    std::string merge_ref_panels_output_gen = "NULL";  // -merge_ref_panels_output_gen
    std::string merge_ref_panels_output_ref = "NULL";  // -merge_ref_panels_output_ref
    std::string chr = "NULL";                          // -chr
    double theta = -1.0;                               // -theta
    double int_lower = -1.0;                           // -int, first value (base pairs)
    double int_upper = -1.0;                           // -int, second value (base pairs)
    double buffer_kb = 250.0;                          // -buffer (kilobases)
    double Ne = 20000.0;                               // -Ne
    double switch_rate = 1.0;                          // -switch_rate (times what -Ne and the map tell)
    double call_thresh = 0.9;                          // -call_thresh
    double selfcheck = 0.2;                            // -selfcheck
    double prob_g_thresh = -1.0;                       // -prob_g_thresh
    std::int64_t seed = -1;                            // -seed
    int nind = 0;                                      // -nind
    int threads = 1;                                   // -threads; 0: all that may be used
    int model = 10;                                    // -model
    int outdp = 3;                                     // -outdp
    std::vector<int> os_types;                         // -os (list)
    int spare_count = 0;
    int iter = 30;                // -iter
    int burnin = 10;              // -burnin
    int informed_burnin = -1;     // -informed_burnin
    int thin = 1;                 // -thin
    int k = 80;                   // -k
    int local_states = 0;         // -local_states (percent)
    int final_states = 0;         // -final_states; 0: no final pass
    int final_rounds = 1;         // -final_rounds
    std::vector<int> k_hap{500};  // -k_hap (list)
    int weight_imputed_gt = -1;   // -weight_imputed_gt
    int weight_panel = -1;
    bool print_allele_probs = false;          // -print_allele_probs
    bool o_gz = false;                        // -o_gz
    bool align_by_maf_g = false;              // -align_by_maf_g
    bool align_by_maf_g_ref = false;          // -align_by_maf_g_ref
    bool align_by_label_g = false;            // -no_align_by_label_g writes false
    bool align_by_label_g_ref = false;        // -no_align_by_label_g_ref writes false
    bool remove_excluded = true;              // -no_remove clears
    bool impute_excluded = false;             // -impute_excluded
    bool pgs = false;                         // -pgs
    bool pgs_miss = false;                    // -pgs_miss
    bool pgs_prob = false;                    // -pgs_prob
    std::array<bool, 2> store_input_probs{};  // the study keeps its input probabilities: type 2, type 3 sites
    bool store_input_probs_ref = false;
    bool prob_g = false;                                 // -prob_g
    bool prob_g_ref = false;                             // -prob_g_ref
    bool prob_g_norm = true;                             // -no_prob_g_norm clears
    bool phase = false;                                  // -phase
    bool prephase_g = false;                             // -prephase_g
    bool use_prephased_g = false;                        // -use_prephased_g
    bool mem_save = false;                               // -mem_save
    bool mem_save_1 = false;                             // -mem_save_1
    bool mem_save_2 = false;                             // -mem_save_2
    bool mem_save_3 = false;                             // -mem_save_3
    bool remove_mem_save_dir = true;                     // -no_remove_mem_save_dir clears
    bool chrX = false;                                   // -chrX
    bool Xpar = false;                                   // -Xpar
    bool haploid_g = false;                              // -haploid_g
    bool counts_per_iter = false;                        // -counts_per_iter
    bool counts_wt_per_iter = false;                     // -counts_wt_per_iter
    bool warn = true;                                    // -no_warn clears
    bool mc_impute = false;                              // -mc_impute
    bool random_cond = false;                            // -random_cond
    bool post_samp = false;                              // -post_samp
    bool fill_holes = false;                             // -fill_holes
    bool snp_qc_info = true;                             // -no_snp_qc_info clears
    bool sample_qc_info = true;                          // -no_sample_qc_info clears
    bool show_diploid_copy_states = false;               // -show_diploid_copy_states
    bool show_haploid_copy_states = false;               // -show_haploid_copy_states
    bool show_ref_copy_probs = false;                    // -show_ref_copy_probs
    bool show_all_copy_probs = false;                    // -show_all_copy_probs
    bool stage_one = false;                              // -stage_one
    bool stage_two = false;                              // -stage_two
    bool allow_hap_samp_in_filters = true;               // -allow_hap_samp_in_filters writes true
    bool choose_haploid_family = true;                   // -choose_diploid_family clears
    bool use_panel1_for_type0_imputation = false;        // -use_panel1_for_type0_imputation
    bool keep_donut_snps = false;                        // -keep_donut_snps
    bool merge_ref_panels = false;                       // -merge_ref_panels
    bool suppress_imputation_output = false;             // -suppress_imputation_output
    bool include_buffer_in_output = false;               // -include_buffer_in_output
    bool include_buffer_in_output_haps_only = false;     // -include_buffer_in_output_haps_only
    bool include_unphased_sites_in_output_haps = false;  // -include_unphased_sites_in_output_haps
    bool debug_weighting = false;                        // -debug_weighting
    bool allow_large_regions = false;                    // -allow_large_regions
    bool choose_states_from_scaffold = false;            // -choose_states_from_scaffold
    bool restrict_buffer_to_scaffold = false;            // -restrict_buffer_to_scaffold
    bool keep_buffer_ref_snps = false;
    bool strict_allele_matching = false;    // -strict_allele_matching
    bool verbose = false;                   // -verbose
    bool strict = false;                    // -strict
    bool allow_unlike_frequencies = false;  // -allow_unlike_frequencies
    bool use_old_code = false;              // -use_old_code

    // What the iterations tell of phases is summed.
    bool sums_phase() const { return phase && local_states > 0 && !prob_g; }
    bool panel0_given() const { return !h_files.empty(); }
    bool panel1_given() const { return is_given(g_ref_file) || h_files.size() >= 2; }
};
