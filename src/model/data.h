#pragma once

// The run: it owns the settings, the sites, the panels and the sums; its member functions are the phases of a run. The
// numeric work is done by free functions that take spans and plain structs.

#include <array>
#include <iosfwd>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "model/accumulators.h"
#include "model/hmm_model.h"
#include "model/packed_haplotypes.h"
#include "model/parameters.h"
#include "model/run_log.h"
#include "model/snp.h"

// A table by [mode][panel][cond_panel]; mode 0 is the haploid, mode 1 the diploid model.
template <typename T>
using model_table = std::array<std::array<std::array<T, 3>, 3>, 2>;

// Emission tables of one model. Haploid: row = copied allele 0, 1; column = observed allele 0, 1, or 2 for missing.
// Diploid: row = allele 1 count of the copied pair; column = genotype 0, 1, 2, or 3 for missing.
using emission_table = std::array<std::array<double, 4>, 3>;

// The states of the update in hand, by panel and by haplotype index in that panel.
struct conditioning_states {
    std::vector<int> panel;
    std::vector<int> hap;
    std::size_t size() const { return panel.size(); }
    void clear() {
        panel.clear();
        hap.clear();
    }
    void add(int p, int h) {
        panel.push_back(p);
        hap.push_back(h);
    }
};

// What the walks ask of every site, kept apart from the records so that they need not be touched.
struct site_traits {
    std::int8_t type = 0;
    std::int8_t top_panel = 0;
    bool panel1_placeholder = false;
    bool ref_alleles_missing = false;
};

// The conditioning states recorded for the copy-state files: one line of the file each.
struct copy_state_record {
    std::vector<int> panel;   // copy_state_panels
    std::vector<int> hap;     // copy_state_haps
    std::vector<int> dist_a;  // copy_state_dist_a
    std::vector<int> dist_b;  // copy_state_dist_b, diploid records only
};

// The working tables of the sweeps.
struct sweep_workspace;
class result_file;

class data {
  public:
    // terminal: standard output; notes: standard error.
    data(std::ostream& terminal, std::ostream& notes);
    ~data();
    data(const data&) = delete;
    data& operator=(const data&) = delete;

    // Runs everything. Ends the run by throwing run_end on any error.
    void impute();

    // --- run/ -------------------------------------------------------------------------------------------------------
    void process_input();
    void print_nomenclature();
    void print_files();
    void print_params();

    // --- input/ -----------------------------------------------------------------------------------------------------
    void read_data();
    void read_genetic_map();
    // Position on the scaled genetic map, in units of 4 Ne Morgans; 1 cM per Mb outside the map.
    double phys2gen(long position) const;
    void read_sample_inclusion_exclusion_list(const std::string& file, std::set<std::string>& ids, int panel,
                                              bool is_inclusion);
    void read_sample_file(const std::string& file, const std::set<std::string>& exclude_ids,
                          const std::set<std::string>& include_ids, std::vector<bool>& exclude_flags, int panel,
                          bool is_known_haps, bool is_main_diploid);
    double calculate_allele_freq_via_em(const std::vector<float>& triples);
    // For each person of the known-haplotypes sample file the index among the -g individuals, or -1.
    void map_known_haps_to_gtypes(std::vector<int>& map);
    void parse_legend_filters();
    bool filter_legend_snp_by_num(const std::vector<std::string>& tokens, long position);
    bool filter_legend_snp_by_str(const std::vector<std::string>& tokens) const;
    // Replaces the panel's haplotypes by those of the file of an iteration (from 0).
    void read_sampled_haps(int iteration, int panel);
    void read_distances_file(bool by_hap);

    // --- reconcile/ -------------------------------------------------------------------------------------------------
    using store_range = std::pair<site_store::iterator, site_store::iterator>;
    bool find_compatible_snp(const std::string& a0, const std::string& a1, int panel, site_store::iterator& match,
                             const store_range& range);
    static void copy_snp(const snp& from, snp& to, const std::set<int>& panels, bool has_panel0);
    void initialize_missing_ref_panel_snp_info();
    void setup();

    // --- params/ ----------------------------------------------------------------------------------------------------
    void set_state_counts();
    void set_theta_panel(bool full);
    void set_mutation_matrix(bool full);
    void set_switch_rates(bool full);
    void set_switch_rates_for_hole_filling(bool full);

    // --- inference/ -------------------------------------------------------------------------------------------------
    void choose_random_conditioning_states(int hap, int ploidy, int panel, int cond_panel);
    void choose_informed_conditioning_states(int hap, int ploidy, int panel, int cond_panel, bool single);
    void choose_conditioning_states_from_dist_matrix(int hap, int ploidy, int panel, int cond_panel, bool single);
    void store_counts_or_haps(int ind, int hap, int diploid, int update_panel, int stored_count, bool selfcheck_iter,
                              int known_index, int unknown_index, bool known);

    // --- output/ ----------------------------------------------------------------------------------------------------
    void output_mcmc();
    void check_genotype_probs(const std::array<double, 3>& probs, long position, double low, double high);
    void mcmc_info();
    void mcmc_info_by_sample();
    void mcmc_accuracy();
    void phase_fixed();
    void phase_pairwise();
    void output_pairwise_certainties();
    void output_phased_haps();
    void output_allele_probs();
    void output_current_gtype_counts(int iter, int count);
    void output_current_gtype_counts_wt(int iter, int count);
    void output_current_haps_to_tmp(int iter);
    void read_current_haps_from_tmp(int iter);
    void remove_tmp_sampled_haps();
    void output_current_haps(int iter);
    void output_current_copy_states(int iter, int diploid, int update_panel, int cond_panel);
    void print_diplotype_ordering_states();
    void output_merged_ref();
    void output_merged_gen();

    // --- settings and channels --------------------------------------------------------------------------------------
    parameters params;
    run_log log;

    // --- sites ------------------------------------------------------------------------------------------------------
    site_store snps;
    // The store in order, fixed from the end of data::setup on: sites[s]->index == s, positions[s] its position.
    std::vector<snp*> sites;
    std::vector<long> positions;
    std::vector<site_traits> traits;
    // The genetic map, kept around the region: base pairs, and units of 4 Ne Morgans.
    std::vector<long> map_phys_pos;
    std::vector<double> map_gen_pos;
    long buffer_lower = -1, buffer_upper = -1;  // the analysis interval with its buffer
    long int_lower_bp = -1, int_upper_bp = -1;  // the interval itself
    std::set<long> multi_match_positions;       // where a reference SNP hit a study SNP that had a partner
    std::vector<long> intermed_posns;           // positions of -intermed_posns, empty without

    // --- counts -----------------------------------------------------------------------------------------------------
    std::array<int, 3> n_hap{};  // n_hap0, n_hap1, n_hap2: haplotypes by panel
    std::array<int, 3> n_ind{};  // -, n_ind1, n_ind2: individuals by panel (n_ind[0] stays 0; 0 for a second -h file)
    int n_panels = 4;            // 3 with a reference panel, 4 without; a site of this type takes no part in the models
    bool has_reference = false;
    bool chrx_haploid = false;  // males are haploid
    bool chrx_diploid = false;  // everybody is diploid, as -prob_g wants it
    // By panel minus 1.
    std::array<int, 2> n_males{}, n_females{};
    std::array<std::vector<int>, 2> ploidy_by_panel;     // 1 or 2 by individual
    std::array<std::vector<int>, 2> first_hap_by_panel;  // index of the individual's first haplotype

    bool panel0_given() const { return !params.h_files.empty(); }
    bool panel1_given() const { return is_given(params.g_ref_file) || params.h_files.size() >= 2; }
    // Whether an individual of Panel 1 or 2 is a haploid male of a chrX run.
    bool is_haploid_male(int panel, int ind) const {
        return chrx_haploid && ploidy_by_panel[static_cast<std::size_t>(panel - 1)][static_cast<std::size_t>(ind)] == 1;
    }
    // Whether an individual has one haplotype only: such a male, or anybody of a haploid panel.
    bool is_haploid(int panel, int ind) const {
        return (panel == 2 ? params.haploid_g : params.haploid_ref) || is_haploid_male(panel, ind);
    }
    // Index of an individual's first haplotype; the second one follows it.
    int first_hap(int panel, int ind) const {
        if (panel == 2 ? params.haploid_g : params.haploid_ref) return ind;
        if (chrx_haploid) {
            return first_hap_by_panel[static_cast<std::size_t>(panel - 1)][static_cast<std::size_t>(ind)];
        }
        return 2 * ind;
    }

    // Whether a haploid model of the study, or of Panel 1, is used.
    bool haploid_study() const { return params.haploid_g || (chrx_haploid && n_males[1] >= 1); }
    bool haploid_panel1() const { return chrx_haploid && is_given(params.g_ref_file) && n_males[0] >= 1; }

    // --- schedule and flags -----------------------------------------------------------------------------------------
    std::vector<int> stored_iters;     // iterations (from 0) whose results count
    std::vector<int> selfcheck_iters;  // those of them that mask typed genotypes
    int informed_start_iter = -1;      // first iteration with informed states; -1 under -random_cond
    bool store_sampled_haps = false, tmp_haps = false, count_missing_only = false, sporadic_haploid_imputation = false;
    std::array<bool, 4> output_types{};  // by SNP type
    // By panel (update_panel0, update_panel1, update_panel2): somebody needs sampling.
    std::array<bool, 3> update_panel{};
    std::array<bool, 3> phase_panel{};  // -, phase_panel1, phase_panel2: somebody has a heterozygote without phase
    int hole_fill_from = -1, hole_fill_to = -1;
    std::vector<bool> update_hap0;                   // by Panel 0 haplotype
    std::vector<bool> update_indiv1, update_indiv2;  // by individual
    std::vector<bool> het_indiv1, het_indiv2;
    std::vector<bool> ordered_ref, has_known_haps;  // the individual is modelled by ordered haplotypes
    // Whether the observed alleles of a model are all that count: false for the panel whose holes are being filled.
    bool full_sites(int panel, int cond_panel) const {
        return !(params.fill_holes && panel == cond_panel && panel == hole_fill_to);
    }
    // The interval of the main output and of the count files.
    std::pair<long, long> output_interval() const;
    // The interval of accumulation and of the haplotype files.
    std::pair<long, long> haps_interval() const;
    // The indices [first, second) of the sites in an interval.
    std::pair<std::size_t, std::size_t> site_range(std::pair<long, long> interval) const;

    // --- model tables -----------------------------------------------------------------------------------------------
    model_table<int> k_states{};       // states of the model
    model_table<int> k_states_full{};  // the same without the limits of -k and -k_hap
    model_table<double> theta_panel{};
    model_table<emission_table> mutation_matrix{};
    // [panel - 1][a1][a2]: chance of the ordered observed alleles given the copied ones.
    using pair_table = std::array<std::array<std::array<double, 2>, 2>, 2>;
    pair_table pr_alleles_00{}, pr_alleles_01{}, pr_alleles_10{}, pr_alleles_11{};
    std::uint64_t switch_rates_version = 0;  // grows whenever gaps of the models are set
    model_table<hmm_model> models;
    model_table<hmm_model> hole_models;  // the hole-filling models, mode 0 only

    // --- haplotypes and states --------------------------------------------------------------------------------------
    std::array<packed_haplotypes, 3> haps;  // current alleles by panel, from the end of data::setup on
    packed_haplotypes ref_missing;          // set where a Panel 0 allele was missing; empty when none was
    conditioning_states cond_states;
    std::vector<std::vector<double>> dist_matrix;
    bool record_copy_states = false;
    model_table<std::vector<copy_state_record>> copy_states;
    std::unique_ptr<sweep_workspace> work;

    // --- results ----------------------------------------------------------------------------------------------------
    accumulators acc;
    std::vector<std::vector<double>> pairwise_certainty;  // [site][slot], -1.0 for no phase call
    long dip_stay_count = 0, dip_switch_count = 0, hap_stay_count = 0, hap_switch_count = 0;

    // --- samples and filters ----------------------------------------------------------------------------------------
    std::set<std::string> exclude_samples_g, exclude_samples_g_ref, exclude_samples_h;
    std::set<std::string> include_samples_g, include_samples_g_ref, include_samples_h;
    std::array<std::vector<std::string>, 2> sample_ids_g;           // [ID_1, ID_2] of the kept people
    std::array<std::vector<std::string>, 2> sample_ids_known_haps;  // the same for -sample_known_haps_g
    std::vector<std::string> legend_cols;                           // names of the fifth legend column and on
    std::vector<std::string> filt_fields, filt_ops, filt_str_values;
    std::vector<double> filt_num_values;
    std::vector<bool> filt_is_numeric;
    bool has_num_filters = false, has_str_filters = false;

    // --- diagnostic streams of one iteration ------------------------------------------------------------------------
    std::unique_ptr<result_file> debug_wt_out, ref_copy_out, all_copy_out;
};
