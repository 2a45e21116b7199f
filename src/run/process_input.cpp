// The checks on option combinations, in the order of their messages, and the flags that follow from the options.

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <utility>

#include "input/announce.h"
#include "io/input_file.h"
#include "io/text.h"
#include "output/variants/variant_format.h"
#include "run/presets.h"
#include "run/process_input.h"

namespace {

constexpr const char* region_too_long =
    "ERROR: The analysis interval you specified via the -int argument is longer than 7 Mb"
    " (including the buffer region that ORVIDE2 automatically appends to each side of the interval)."
    " By default, ORVIDE2 will not allow you to analyze a large genomic region in a single"
    " run because its model approximation becomes less effective over large distances, which"
    " can lead to less accurate results."
    "\n"
    "Instead of analyzing large regions (e.g., whole chromosomes) in a single ORVIDE2 run,"
    " we recommend that you break each chromosome into non-overlapping chunks of ~5 Mb for"
    " analysis. ORVIDE2 has a number of command-line options to make this more convenient,"
    " and we explain how to use them in the section called 'Analyzing whole chromosomes' on"
    " the ORVIDE2 website. Please contact the authors if you need help with this."
    "\n"
    "If you know what you are doing or have consulted with us, it is sometimes okay to use"
    " regions longer than 7 Mb. To do this, you should include the -allow_large_regions flag"
    " in your command-line call to ORVIDE2.";

constexpr int most_decimals = 1074;  // no number of double precision has more
constexpr double most_switch_rate = 100.0;

std::string last_piece(const std::string& path) {
    // As a split at "/" gives it: a trailing "/" leaves no empty piece.
    std::vector<std::string> pieces;
    strsplit(path, '/', pieces);
    return pieces.empty() ? std::string() : pieces.back();
}

class input_check {
  public:
    input_check(run_log& log, parameters& params, run_plan& plan, panel_array& panels)
        : log_(log), p_(params), plan_(plan), panels_(panels) {}

    void run_all() {
        panels_[2].all_haploid = p_.haploid_g;
        set_interval();
        move_panels();
        check_basic_combinations();
        take_earlier_stage_inputs();
        check_stages_and_merging();
        check_state_choice();
        name_stage_files();
        drop_filters_of_sampled_panels();
        settle_selfcheck_and_phasing();
        settle_panel1_and_holes();
        check_ploidy();
        check_pgs();
        set_output_types();
        set_run_flags();
        settle_temporaries();
        check_final_states();
        plan_.n_iterations = p_.iter;
        plan_.burnin = p_.burnin;
        plan_.fill_holes = p_.fill_holes;
    }

  private:
    bool study_given() const { return is_given(p_.g_file) || is_given(p_.known_haps_g_file); }
    bool two_reference_panels() const {
        return p_.h_files.size() >= 2 || (p_.h_files.size() == 1 && is_given(p_.g_ref_file));
    }
    bool reference_given() const { return !p_.h_files.empty() || is_given(p_.g_ref_file); }

    void set_interval() {
        constexpr double largest = 1e15;  // no chromosome is longer, and no position below overflows
        const auto valid = [](double position) { return position >= 0.0 && position <= largest; };
        if (!valid(p_.int_lower) || !valid(p_.int_upper) || !(std::abs(p_.buffer_kb) <= largest / 1000.0)) {
            log_.fatal("ERROR: You must specify a valid interval for imputation using the -int argument.");
        }
        const double buffer = p_.buffer_kb * 1000.0;
        plan_.buffer_lower = static_cast<long>(p_.int_lower - buffer);
        plan_.buffer_upper = static_cast<long>(p_.int_upper + buffer);
        plan_.int_lower_bp = static_cast<long>(p_.int_lower);
        plan_.int_upper_bp = static_cast<long>(p_.int_upper);
        if (p_.int_lower > p_.int_upper) log_.note("note: the -int interval ends before it begins");
        if (!p_.allow_large_regions && plan_.buffer_upper - plan_.buffer_lower > 7000001) log_.fatal(region_too_long);
    }

    static void move_name(std::string& from, std::string& to) {
        to = from;
        from = "NULL";
    }

    void move_panels() {
        if (!is_given(p_.g_file) && is_given(p_.known_haps_g_file)) {
            if (!is_given(p_.sample_known_haps_g_file)) p_.sample_known_haps_g_file = p_.sample_g_file;
            p_.sample_g_file = "NULL";
        }
        if (p_.stage_one && !study_given() && !is_given(p_.hap_samp_in_g) && is_given(p_.g_ref_file)) {
            move_name(p_.g_ref_file, p_.g_file);
            move_name(p_.strand_g_ref_file, p_.strand_g_file);
            move_name(p_.exclude_snps_g_ref_file, p_.exclude_snps_g_file);
            move_name(p_.hap_init_g_ref_file, p_.hap_init_g_file);
            move_name(p_.sample_g_ref_file, p_.sample_g_file);
            move_name(p_.exclude_samples_g_ref_file, p_.exclude_samples_g_file);
            move_name(p_.hap_samp_out_g_ref, p_.hap_samp_out_g);
            move_name(p_.hap_samp_in_g_ref, p_.hap_samp_in_g);
            p_.align_by_maf_g = std::exchange(p_.align_by_maf_g_ref, false);
            p_.prob_g = std::exchange(p_.prob_g_ref, false);
        }
        if (p_.h_files.size() >= 2) p_.g_ref_file = p_.known_haps_g_ref_file = "NULL";
    }

    void check_basic_combinations() {
        if (p_.print_allele_probs && !is_given(p_.known_haps_g_file)) {
            log_.fatal(
                "ERROR: The -print_allele_probs flag will not work unless you also specify a -known_haps_g file.");
        }
        if (is_given(p_.known_haps_g_file) && p_.phase) p_.print_allele_probs = true;
        match_legends();
        if (p_.counts_per_iter && p_.counts_wt_per_iter) {
            log_.fatal("ERROR: You cannot use the -counts_per_iter and -counts_wt_per_iter flags at the same time.");
        }
        if (p_.iter <= p_.burnin) {
            if (p_.iter != 0 || p_.burnin != 0) {
                log_.fatal(concat("ERROR: The total number of MCMC iterations (-iter=", p_.iter,
                                  ") must exceed the number of burn-in iterations (-burnin=", p_.burnin,
                                  ") since the burn-in iterations are included in the total count."));
            }
            log_.warn(
                "WARNING: You have set the number of MCMC iterations to zero. In this setting, the program will not "
                "perform any imputation, but it will apply filtering and strand alignment options to your input "
                "files.");
        }
        if (p_.thin < 1) log_.fatal("ERROR: The -thin value must be at least 1.");
        if (p_.outdp < 0 || p_.outdp > most_decimals) {
            log_.fatal(concat("ERROR: The -outdp value (", p_.outdp, ") must be from 0 to ", most_decimals, "."));
        }
        check_preset();
        check_switch_rate();
        check_local_states();
    }

    void check_preset() {
        if (!is_given(p_.preset) || !preset_options(p_.preset).empty()) return;
        log_.fatal(concat("ERROR: There is no -preset ", p_.preset, "; choose ", preset_names(), "."));
    }

    void check_switch_rate() {
        if (p_.switch_rate > 0.0 && p_.switch_rate <= most_switch_rate) return;
        log_.fatal(concat("ERROR: The -switch_rate value (", default_text(p_.switch_rate),
                          ") must be above 0 and at most ", default_text(most_switch_rate), "."));
    }

    void check_local_states() {
        if (p_.local_states < 0 || p_.local_states > 100) {
            log_.fatal(concat("ERROR: The -local_states value (", p_.local_states,
                              ") is a percentage: it must be from 0 to 100."));
        }
        if (p_.local_states == 0) return;
        if (p_.random_cond || is_given(p_.distances_file) || is_given(p_.distances_by_hap_file)) {
            log_.fatal(
                "ERROR: You cannot use -local_states together with -random_cond, -distances or -distances_by_hap: they "
                "choose the states in another way. Set -local_states 0 beside a -preset.");
        }
    }

    // A preset brings -final_states to runs that have no use for it, too.
    void check_final_states() {
        if (p_.final_rounds < 1) log_.fatal("ERROR: The -final_rounds value must be at least 1.");
        if (is_given(p_.preset)) return;
        if (p_.final_states == 0 && p_.final_rounds > 1) {
            log_.odd_input("-final_rounds has no effect: it needs -final_states.");
        }
        if (p_.final_states == 0 || (p_.sums_phase() && !p_.suppress_imputation_output)) return;
        log_.odd_input(
            "-final_states has no effect: it needs -local_states, and -phase or -prephase_g, without -prob_g and "
            "-suppress_imputation_output.");
    }

    // Files of a format that names its sites have no legend; in its place stands "NULL". What comes through a pipe
    // cannot be looked at yet: it is taken for such a file when there are too few legends.
    void match_legends() {
        std::size_t n_missing = p_.h_files.size() - std::min(p_.h_files.size(), p_.l_files.size());
        for (std::size_t i = 0; i < p_.h_files.size() && n_missing > 0; ++i) {
            const std::string& file = p_.h_files[i];
            if (!is_variant_file(file) && !is_pipe(file)) continue;
            p_.l_files.insert(p_.l_files.begin() + static_cast<std::ptrdiff_t>(std::min(i, p_.l_files.size())), "NULL");
            --n_missing;
        }
        if (p_.h_files.size() != p_.l_files.size()) {
            log_.fatal(
                "ERROR: The number of haplotypes (-h) files must match the number of legend (-l) files on the command "
                "line.");
        }
    }

    void take_earlier_stage_inputs() {
        if (is_given(p_.hap_samp_in_g)) {
            p_.g_file = p_.hap_samp_in_g;
            p_.known_haps_g_file = p_.sample_known_haps_g_file = "NULL";
        }
        if (is_given(p_.hap_samp_in_g_ref)) {
            if (p_.h_files.empty() && !is_given(p_.hap_samp_in_h)) {
                move_name(p_.hap_samp_in_g_ref, p_.hap_samp_in_h);
                p_.g_ref_file = "NULL";
            } else if (p_.h_files.size() < 2) {
                p_.g_ref_file = p_.hap_samp_in_g_ref;
            } else {
                p_.h_files[1] = p_.hap_samp_in_g_ref;
            }
            p_.known_haps_g_ref_file = p_.spare_file = "NULL";
        }
        if (is_given(p_.hap_samp_in_h)) {
            if (p_.h_files.empty()) {
                p_.h_files.push_back(p_.hap_samp_in_h);
            } else {
                p_.h_files[0] = p_.hap_samp_in_h;
            }
        }
        if (is_given(p_.hap_samp_dir)) {
            if (!file_exists(p_.hap_samp_dir)) {
                note_unopened(log_, p_.hap_samp_dir, errno);
                log_.fatal(concat("ERROR: The -hap_samp_dir you provided [", p_.hap_samp_dir,
                                  "] does not exist. Please check the name, create the directory if necessary, and "
                                  "try again."));
            }
            if (!p_.hap_samp_dir.ends_with('/')) p_.hap_samp_dir += '/';
        }
    }

    void check_stages_and_merging() {
        if (p_.stage_one && p_.stage_two) {
            log_.fatal("ERROR: You cannot use the -stage_one and -stage_two flags at the same time.");
        }
        const bool no_study = !study_given() && !is_given(p_.hap_samp_in_g);
        if (is_given(p_.merge_ref_panels_output_gen) || is_given(p_.merge_ref_panels_output_ref)) {
            p_.merge_ref_panels = true;
            if (no_study) p_.suppress_imputation_output = true;
        }
        if (p_.merge_ref_panels && !two_reference_panels()) {
            p_.merge_ref_panels = false;
            p_.merge_ref_panels_output_gen = p_.merge_ref_panels_output_ref = "NULL";
            log_.warn(
                "WARNING: It does not make sense to use -merge_ref_panels unless there are two reference panels, so "
                "this flag will be ignored.");
        }
        if (p_.merge_ref_panels) {
            p_.fill_holes = p_.keep_donut_snps = p_.use_panel1_for_type0_imputation = p_.keep_buffer_ref_snps = true;
        }
        if (no_study && !p_.suppress_imputation_output) {
            log_.fatal(
                "ERROR: You must supply Panel 2 data (-g file or -known_haps_g file) to run ORVIDE2 with the current "
                "command line options.");
        }
        if (p_.keep_donut_snps && p_.stage_one) {
            p_.keep_donut_snps = false;
            log_.warn(
                "WARNING: It does not make sense to use -keep_donut_snps when -stage_one is active, so "
                "-keep_donut_snps will be ignored.");
        }
        if (p_.keep_donut_snps && !two_reference_panels()) {
            p_.keep_donut_snps = false;
            log_.warn(
                "WARNING: It does not make sense to use -keep_donut_snps unless there are two reference panels, so "
                "this flag will be ignored.");
        }
    }

    void check_state_choice() {
        if (is_given(p_.distances_file) && is_given(p_.distances_by_hap_file)) {
            log_.fatal("ERROR: You cannot use the -distances and -distances_by_hap options at the same time.");
        }
        if (is_given(p_.distances_file) && reference_given()) {
            log_.fatal("ERROR: The -distances option is not designed to work with a reference panel.");
        }
        if (is_given(p_.distances_by_hap_file)) {
            if (!is_given(p_.known_haps_g_file)) {
                log_.fatal(
                    "ERROR: The -distances_by_hap option can only work in conjunction with a -known_haps_g file.");
            }
            p_.choose_haploid_family = true;
        }
        if (p_.show_diploid_copy_states && p_.show_haploid_copy_states) {
            log_.fatal(
                "ERROR: You cannot use -show_diploid_copy_states and -show_haploid_copy_states at the same time.");
        }
        if (p_.choose_states_from_scaffold && !is_given(p_.known_haps_g_file)) {
            log_.fatal(
                "ERROR: The -choose_states_from_scaffold option can only work in conjunction with a -known_haps_g "
                "file.");
        }
        if (p_.restrict_buffer_to_scaffold && !is_given(p_.known_haps_g_file)) {
            log_.fatal(
                "ERROR: The -restrict_buffer_to_scaffold option can only work in conjunction with a -known_haps_g "
                "file.");
        }
    }

    // The sampled-haplotype names that the two stages share: by the panel's input file and the interval.
    std::string stage_name(const std::string& input) const {
        const std::string stem = is_given(p_.hap_samp_dir) ? p_.hap_samp_dir + last_piece(input) : input;
        return concat(stem, "_pos", plan_.int_lower_bp, "-", plan_.int_upper_bp);
    }

    static std::string first_given(const std::string& a, const std::string& b, const std::string& c) {
        return is_given(a) ? a : is_given(b) ? b : c;
    }

    // Whether the first and the last iteration's file of a name exist, plain or compressed.
    bool sampled_files_exist(const std::string& name) const {
        const auto either = [&name](int iteration) {
            const std::string file = concat(name, "_hapsamp", iteration);
            return file_exists(file) || file_exists(file + ".gz");
        };
        return either(1) && either(p_.iter);
    }

    void name_stage_files() {
        const std::string second_h = p_.h_files.size() >= 2 ? p_.h_files[1] : "NULL";
        const std::array<std::string, 3> inputs{
            p_.h_files.empty() ? "NULL" : p_.h_files[0],
            p_.panel1_given() ? first_given(p_.g_ref_file, p_.known_haps_g_ref_file, second_h) : "NULL",
            first_given(p_.g_file, p_.known_haps_g_file, "NULL")};
        const std::array<std::string*, 3> outs{&p_.hap_samp_out_h, &p_.hap_samp_out_g_ref, &p_.hap_samp_out_g};
        const std::array<std::string*, 3> ins{&p_.hap_samp_in_h, &p_.hap_samp_in_g_ref, &p_.hap_samp_in_g};
        for (std::size_t panel = 0; panel < 3; ++panel) {
            if (!is_given(inputs[panel])) continue;
            const std::string name = stage_name(inputs[panel]);
            if (p_.stage_one && !is_given(*outs[panel])) *outs[panel] = name;
            if (p_.stage_two && !is_given(*ins[panel]) && sampled_files_exist(name)) *ins[panel] = name;
        }
    }

    void drop_file(const std::string& input_option, std::string& file, const std::string& start) {
        if (!is_given(file)) return;
        file = "NULL";
        warn_dropped(input_option, start);
    }

    void drop_flag(const std::string& input_option, bool& flag, const std::string& start) {
        if (!flag) return;
        flag = false;
        warn_dropped(input_option, start);
    }

    void warn_dropped(const std::string& input_option, const std::string& start) {
        log_.warn(concat("WARNING: By default, you cannot use ", start, " when using the ", input_option,
                         " option. If you really want to do this, you should use the -allow_hap_samp_in_filters "
                         "flag."));
    }

    void drop_filters_of_sampled_panels() {
        if (!p_.allow_hap_samp_in_filters) {
            if (is_given(p_.hap_samp_in_g)) {
                const std::string option = "-hap_samp_in_g";
                drop_file(option, p_.strand_g_file, "a strand file for Panel 2 (-strand_g)");
                drop_flag(option, p_.align_by_maf_g, "the -align_by_maf_g flag");
                drop_file(option, p_.exclude_snps_g_file, "a SNP exclusion file for Panel 2 (-exclude_snps_g)");
                drop_file(option, p_.sample_g_file, "a sample file for Panel 2 (-sample_g)");
                drop_file(option, p_.exclude_samples_g_file,
                          "a sample exclusion file for Panel 2 (-exclude_samples_g)");
            }
            if (is_given(p_.hap_samp_in_g_ref)) {
                const std::string option = "-hap_samp_in_g_ref";
                drop_file(option, p_.strand_g_ref_file, "a strand (-strand_g_ref) file for Panel 1");
                drop_flag(option, p_.align_by_maf_g_ref, "the -align_by_maf_g_ref flag");
                drop_file(option, p_.exclude_snps_g_ref_file, "a SNP exclusion file for Panel 1 (-exclude_snps_g_ref)");
                drop_file(option, p_.sample_g_ref_file, "a sample file for Panel 1 (-sample_g_ref)");
                drop_file(option, p_.exclude_samples_g_ref_file,
                          "a sample exclusion file for Panel 1 (-exclude_samples_g_ref)");
            }
            if (is_given(p_.hap_samp_in_h)) {
                const std::string option = "-hap_samp_in_h";
                drop_file(option, p_.exclude_snps_h_file, "a SNP exclusion file for Panel 0 (-exclude_snps_h)");
                drop_file(option, p_.sample_h_file, "a sample file for Panel 0 (-sample_h)");
                drop_file(option, p_.exclude_samples_h_file,
                          "a sample exclusion file for Panel 0 (-exclude_samples_h)");
            }
        }
        if (is_given(p_.hap_samp_in_g) || !is_given(p_.g_file)) p_.pgs = p_.pgs_prob = p_.prob_g = false;
        if (!is_given(p_.g_ref_file) || is_given(p_.hap_samp_in_g_ref)) p_.prob_g_ref = false;
    }

    void settle_selfcheck_and_phasing() {
        if (!reference_given() || p_.mc_impute || p_.prob_g) p_.selfcheck = 0.0;
        if (p_.use_prephased_g && p_.pgs) {
            if (p_.snp_qc_info) {
                log_.fatal(
                    "ERROR: The -pgs flag does not work with the -use_prephased_g flag when the self-check "
                    "functionality is turned off.");
            }
            log_.fatal(
                "ERROR: The -pgs flag does not currently work with the -use_prephased_g flag. Please see our online "
                "documentation on -pgs for suggested alternatives.");
        }
        if (p_.prephase_g) {
            p_.phase = true;
            if (!p_.include_buffer_in_output) p_.include_buffer_in_output_haps_only = true;
        }
    }

    void settle_panel1_and_holes() {
        if (!reference_given()) p_.fill_holes = false;
        const bool one_reference = reference_given() && !two_reference_panels();
        if (!two_reference_panels() && !(one_reference && p_.stage_one)) p_.use_panel1_for_type0_imputation = false;
        if (p_.use_panel1_for_type0_imputation && p_.stage_one) {
            p_.keep_buffer_ref_snps = true;
            if (!p_.include_buffer_in_output) p_.include_buffer_in_output_haps_only = true;
        }
        if (p_.include_buffer_in_output_haps_only) p_.include_buffer_in_output = true;
        if (p_.fill_holes) {
            if (is_given(p_.known_haps_g_file) && p_.h_files.empty()) {
                p_.fill_holes = false;
            } else if (p_.k_hap.size() == 1) {
                p_.k_hap.push_back(p_.k_hap[0]);
            }
        }
        if (p_.k_hap.empty()) log_.fatal("ERROR: No valid -k_hap value was supplied on the command line.");
        if (p_.k_hap.size() > 2) {
            log_.fatal(
                concat("ERROR: Too many -k_hap values (", p_.k_hap.size(), ") were supplied on the command line."));
        }
    }

    void check_ploidy() {
        if (p_.chrX && !p_.Xpar) {
            if (p_.prob_g || p_.prob_g_ref) {
                plan_.chrx_diploid = true;
                log_.warn(
                    "WARNING: You have activated -chrX in conjunction with -prob_g, -prob_g_ref, or both. In this "
                    "setting, ORVIDE2 will treat every individual in a _g or _g_ref file as diploid, even if that "
                    "individual is marked as 'male' in the sample file. Some kinds of chrX input files may not work "
                    "in this setting; please contact the authors if you have questions about this.");
            }
            plan_.chrx_haploid = !plan_.chrx_diploid;
            for (panel_data& panel : panels_) panel.sexes_differ = plan_.chrx_haploid;
            // The number of alleles tells the sexes where the format has it.
            const auto lacks_sexes = [](const std::string& file, const std::string& samples) {
                return is_given(file) && !is_given(samples) && !is_variant_file(file) && !is_pipe(file);
            };
            if (lacks_sexes(p_.g_file, p_.sample_g_file) ||
                lacks_sexes(p_.known_haps_g_file, p_.sample_known_haps_g_file) ||
                lacks_sexes(p_.g_ref_file, p_.sample_g_ref_file)) {
                log_.fatal(
                    "ERROR: When performing imputation on chromosome X, you must provide a sample file for each -g, "
                    "-g_ref, and/or -known_haps_g input file.");
            }
            if (p_.haploid_g) {
                log_.fatal(
                    "ERROR: You cannot use -haploid_g at the same time as -chrX. If you are using chrX data with all "
                    "males, you should supply a -sample_g file to specify this.");
            }
        }
        if (p_.prob_g && p_.haploid_g) log_.fatal("ERROR: You cannot use -prob_g and -haploid_g at the same time.");
    }

    void check_pgs() {
        if (p_.pgs_prob && !p_.prob_g) {
            log_.fatal("ERROR: You cannot use the -pgs_prob flag without also activating the -prob_g flag.");
        }
        if (p_.pgs && p_.pgs_miss) {
            p_.pgs_miss = false;
            log_.warn(
                "WARNING: You have invoked both the -pgs and -pgs_miss flags simultaneously, but ORVIDE can only use "
                "one of these options at a time. The program will now behave as if you had invoked only the -pgs flag "
                "(i.e., it will impute all genotypes at typed SNPs).");
        }
        if (p_.pgs_prob && (p_.pgs || p_.pgs_miss)) {
            log_.fatal(concat("ERROR: The -pgs_prob flag is not compatible with the", p_.pgs ? " -pgs" : " -pgs_miss",
                              " flag."));
        }
        if (p_.pgs_miss && p_.prob_g) {
            log_.fatal("ERROR: The -pgs_miss flag is not compatible with the -prob_g flag.");
        }
        if (p_.mc_impute && (p_.pgs || p_.pgs_prob)) {
            log_.fatal(
                concat("ERROR: You cannot use -mc_impute and ", p_.pgs ? "-pgs" : "-pgs_prob", " at the same time."));
        }
        if (p_.pgs_miss || p_.pgs_prob) p_.snp_qc_info = p_.sample_qc_info = false;
    }

    bool listed(int type) const { return std::find(p_.os_types.begin(), p_.os_types.end(), type) != p_.os_types.end(); }

    void set_output_types() {
        plan_.has_reference = reference_given();
        plan_.n_panels = plan_.has_reference ? 3 : 4;
        const std::size_t study_type = plan_.n_panels - 1;
        auto& types = plan_.output_types;
        for (int t = 0; t < 4; ++t) types[static_cast<std::size_t>(t)] = p_.os_types.empty() || listed(t);
        if (!p_.panel0_given()) types[0] = false;
        if (!p_.panel1_given()) types[1] = false;
        if (is_given(p_.g_file) && (p_.pgs || p_.pgs_miss || p_.pgs_prob)) types[study_type] = true;
        if (p_.prephase_g) {
            if (!listed(0)) types[0] = false;
            if (!listed(1)) types[1] = false;
            types[study_type] = true;
            if (plan_.n_panels == 3 && !listed(3)) types[3] = false;
        }
        p_.os_types.clear();
        for (int t = 0; t < 4; ++t) {
            if (types[static_cast<std::size_t>(t)]) p_.os_types.push_back(t);
        }
        if (!types[2]) p_.snp_qc_info = false;
    }

    void set_run_flags() {
        const auto& types = plan_.output_types;
        const bool study_written = types[plan_.n_panels - 1];
        plan_.sporadic_haploid_imputation =
            p_.pgs_miss && types[0] && p_.h_files.size() == 1 && !is_given(p_.g_ref_file) && !study_given();
        plan_.count_missing_only = p_.pgs_miss && study_written && study_given();
        const std::size_t study_bit = plan_.n_panels - 3;
        p_.store_input_probs[study_bit] = (study_written && !p_.pgs) || p_.prob_g;
        if (plan_.n_panels <= 3 && types[plan_.n_panels]) p_.store_input_probs[1] = true;
        p_.store_input_probs_ref = p_.prob_g_ref;
        plan_.variants = choose_variant_fields(log_, p_);
        note_compressed_name();
        plan_.known_hap_dosages =
            plan_.variants && (plan_.variants->gt || plan_.variants->hds) && is_given(p_.known_haps_g_file);
        plan_.store_sampled_haps =
            is_given(p_.hap_samp_out_g) || is_given(p_.hap_samp_out_g_ref) || is_given(p_.hap_samp_out_h);
    }

    void note_compressed_name() {
        if (plan_.variants || !is_gzipped(p_.o_file)) return;
        const std::string name = p_.o_file.substr(0, p_.o_file.size() - 3);
        log_.odd_input(concat("The name of the main output [", p_.o_file, "] ends in .gz, ",
                              p_.o_gz ? "and -o_gz adds another .gz to it" : "but without -o_gz it is plain text",
                              ". Please write -o ", name, " -o_gz for a compressed [", p_.o_file, "]."));
    }

    void settle_temporaries() {
        if (p_.mem_save) p_.mem_save_1 = p_.mem_save_2 = true;
        if (is_given(p_.mem_save_str) && !p_.mem_save_2) {
            p_.mem_save_2 = true;
            log_.warn(
                "WARNING: You supplied a -mem_save_str but not the -mem_save (or -mem_save_2) flag. The program will "
                "assume that you intended to turn on the memory-saving functionality, which decreases RAM usage at "
                "the expense of speed.");
        }
        plan_.tmp_haps = p_.mem_save_2 && p_.phase;
        if (is_given(p_.mem_save_str) && !plan_.tmp_haps) {
            p_.mem_save_str = "NULL";
            log_.warn(
                "WARNING: You supplied a -mem_save_str, but the program does not need this kind of file under the "
                "current command-line settings. This option will be ignored.");
        }
        if (is_given(p_.mem_save_str)) p_.remove_mem_save_dir = false;
    }

    run_log& log_;
    parameters& p_;
    run_plan& plan_;
    panel_array& panels_;
};

}  // namespace

void process_input(run_log& log, parameters& params, run_plan& plan, panel_array& panels) {
    input_check(log, params, plan, panels).run_all();
}
