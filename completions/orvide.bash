# Completion of orvide for bash. Made by scripts/make_completions.py.
_orvide() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "-int -chr -buffer -m -Ne -switch_rate -allow_large_regions -h -l -g_ref -filt_rules_l -hap_init_h -hap_init_g_ref -known_haps_g_ref -g -known_haps_g -hap_init_g -call_thresh -prob_g -prob_g_ref -prob_g_thresh -no_prob_g_norm -nind -use_prephased_g -haploid_g -chrX -Xpar -sample_g -sample_known_haps_g -sample_g_ref -sample_h -exclude_samples_g -exclude_samples_g_ref -exclude_samples_h -include_samples_g -include_samples_g_ref -include_samples_h -exclude_snps_g -exclude_snps_g_ref -exclude_snps_h -include_snps -impute_excluded -strand_g -strand_g_ref -strand_h -align_by_maf_g -align_by_maf_g_ref -no_align_by_label_g -no_align_by_label_g_ref -no_remove -strict_allele_matching -preset -iter -burnin -informed_burnin -thin -k -local_states -final_states -final_rounds -k_hap -seed -random_cond -choose_states_from_scaffold -restrict_buffer_to_scaffold -choose_diploid_family -distances -distances_by_hap -mc_impute -use_old_code -selfcheck -theta -model -post_samp -os -pgs -pgs_miss -pgs_prob -phase -prephase_g -fill_holes -use_panel1_for_type0_imputation -keep_donut_snps -merge_ref_panels -merge_ref_panels_output_ref -merge_ref_panels_output_gen -stage_one -stage_two -o -format_fields -i -r -w -o_gz -outdp -no_snp_qc_info -no_sample_qc_info -no_warn -verbose -allow_unlike_frequencies -strict -suppress_imputation_output -include_buffer_in_output -include_buffer_in_output_haps_only -include_unphased_sites_in_output_haps -print_allele_probs -hap_samp_out_g -hap_samp_out_g_ref -hap_samp_out_h -hap_samp_in_g -hap_samp_in_g_ref -hap_samp_in_h -hap_samp_dir -allow_hap_samp_in_filters -counts_per_iter -counts_wt_per_iter -intermed_posns -weight_imputed_gt -debug_weighting -show_diploid_copy_states -show_haploid_copy_states -show_ref_copy_probs -show_all_copy_probs -threads -mem_save -mem_save_1 -mem_save_2 -mem_save_str -no_remove_mem_save_dir -mem_save_3 --help --version" -- "$word") ;;
    *)
        case $before in
        -int|-chr|-buffer|-Ne|-switch_rate|-filt_rules_l|-call_thresh|-prob_g_thresh|-nind|-iter|-burnin|-informed_burnin|-thin|-k|-local_states|-final_states|-final_rounds|-k_hap|-seed|-selfcheck|-theta|-model|-os|-format_fields|-outdp|-threads) ;;
        *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        esac
        ;;
    esac
}
complete -o filenames -F _orvide orvide
