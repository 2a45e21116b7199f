#include "run/file_names.h"

#include <algorithm>
#include <array>
#include <utility>

#include "input/announce.h"
#include "io/hts_objects.h"
#include "io/text.h"
#include "output/variants/variant_format.h"

namespace {

struct named_file {
    const char* option;
    std::string parameters::*file;
};

constexpr std::array named_inputs{
    named_file{"-g", &parameters::g_file},
    named_file{"-g_ref", &parameters::g_ref_file},
    named_file{"-known_haps_g", &parameters::known_haps_g_file},
    named_file{"-known_haps_g_ref", &parameters::known_haps_g_ref_file},
    named_file{"-hap_init_g", &parameters::hap_init_g_file},
    named_file{"-hap_init_g_ref", &parameters::hap_init_g_ref_file},
    named_file{"-hap_init_h", &parameters::hap_init_h_file},
    named_file{"-m", &parameters::m_file},
    named_file{"-strand_g", &parameters::strand_g_file},
    named_file{"-strand_g_ref", &parameters::strand_g_ref_file},
    named_file{"-strand_h", &parameters::strand_h_file},
    named_file{"-sample_g", &parameters::sample_g_file},
    named_file{"-sample_g_ref", &parameters::sample_g_ref_file},
    named_file{"-sample_h", &parameters::sample_h_file},
    named_file{"-sample_known_haps_g", &parameters::sample_known_haps_g_file},
    named_file{"-exclude_samples_g", &parameters::exclude_samples_g_file},
    named_file{"-exclude_samples_g_ref", &parameters::exclude_samples_g_ref_file},
    named_file{"-exclude_samples_h", &parameters::exclude_samples_h_file},
    named_file{"-include_samples_g", &parameters::include_samples_g_file},
    named_file{"-include_samples_g_ref", &parameters::include_samples_g_ref_file},
    named_file{"-include_samples_h", &parameters::include_samples_h_file},
    named_file{"-exclude_snps_g", &parameters::exclude_snps_g_file},
    named_file{"-exclude_snps_g_ref", &parameters::exclude_snps_g_ref_file},
    named_file{"-exclude_snps_h", &parameters::exclude_snps_h_file},
    named_file{"-include_snps", &parameters::include_snps_file},
    named_file{"-intermed_posns", &parameters::intermed_posns_file},
    named_file{"-distances", &parameters::distances_file},
    named_file{"-distances_by_hap", &parameters::distances_by_hap_file},
};

constexpr std::array sampled_inputs{
    named_file{"-hap_samp_in_g", &parameters::hap_samp_in_g},
    named_file{"-hap_samp_in_g_ref", &parameters::hap_samp_in_g_ref},
    named_file{"-hap_samp_in_h", &parameters::hap_samp_in_h},
};

constexpr std::array named_outputs{
    named_file{"-o", &parameters::o_file},
    named_file{"-i", &parameters::i_file},
    named_file{"-r", &parameters::r_file},
    named_file{"-w", &parameters::w_file},
    named_file{"-hap_samp_out_g", &parameters::hap_samp_out_g},
    named_file{"-hap_samp_out_g_ref", &parameters::hap_samp_out_g_ref},
    named_file{"-hap_samp_out_h", &parameters::hap_samp_out_h},
    named_file{"-merge_ref_panels_output_ref", &parameters::merge_ref_panels_output_ref},
    named_file{"-merge_ref_panels_output_gen", &parameters::merge_ref_panels_output_gen},
    named_file{"-mem_save_str", &parameters::mem_save_str},
};

class input_table {
  public:
    explicit input_table(const parameters& params) : p_(params) {}
    void add(const std::string& name, const char* option) {
        if (!is_given(name) || is_sampled_stem(name)) return;
        files_.push_back({name, "", option});
        for (const char* ending : index_endings) add_existing(name + ending, option);
    }
    void add_sampled(const named_file& input) {
        const std::string& stem = p_.*input.file;
        if (!is_given(stem)) return;
        for (int it = 1; it <= p_.iter; ++it) {
            const std::string name = concat(stem, "_hapsamp", it);
            add_existing(name, input.option);
            add_existing(name + ".gz", input.option);
        }
    }
    std::vector<run_file> take() { return std::move(files_); }

  private:
    void add_existing(const std::string& name, const char* option) {
        if (file_exists(name)) files_.push_back({name, "", option});
    }
    // process_input lets it stand for the file that the sampled haplotypes replace.
    bool is_sampled_stem(const std::string& name) const {
        return std::any_of(sampled_inputs.begin(), sampled_inputs.end(),
                           [&](const named_file& input) { return p_.*input.file == name; });
    }

    const parameters& p_;
    std::vector<run_file> files_;
};

class output_table {
  public:
    output_table(const parameters& params, const run_plan& plan)
        : p_(params), plan_(plan), gz_(params.o_gz ? ".gz" : "") {}

    std::vector<run_file> all() {
        files_ = log_files(p_);
        if (is_given(p_.sample_g_file) || is_given(p_.sample_known_haps_g_file)) {
            add_beside_output("_samples", "list of people");
        }
        return results();
    }

    std::vector<run_file> results() {
        add_sampled();
        for (int it = 1; it <= p_.iter; ++it) add_iteration(it);
        if (p_.suppress_imputation_output) {
            add_merged_panels();
        } else {
            add_results();
        }
        return std::move(files_);
    }

  private:
    void add(const std::string& name, const char* what, const char* option) { files_.push_back({name, what, option}); }
    void add_beside_output(const std::string& ending, const char* what) { add(p_.o_file + ending, what, "-o"); }

    void add_results() {
        if (plan_.variants) {
            add(p_.o_file, "main output", "-o");
            // One of them is written, what is there of the other is removed.
            for (const char* ending : index_endings) add_beside_output(ending, "index of the main output");
        } else {
            add(p_.o_file + gz_, "main output", "-o");
        }
        add(p_.i_file, "SNP quality", "-i");
        if (p_.sample_qc_info) add(p_.i_file + "_by_sample", "sample quality", "-i");
        if (is_given(p_.known_haps_g_file) && p_.warn && !p_.use_prephased_g) {
            add_beside_output("_diplotype_ordering", "diplotype ordering");
        }
        if (p_.phase) {
            add_beside_output("_haps" + gz_, "phased haplotypes");
            add_beside_output("_haps_confidence" + gz_, "phase confidence");
        }
        if (p_.print_allele_probs) add_beside_output("_allele_probs" + gz_, "allele probabilities");
    }

    void add_merged_panels() {
        const std::string& ref = p_.merge_ref_panels_output_ref;
        if (is_given(ref)) {
            add(ref + ".hap" + gz_, "merged haplotypes", "-merge_ref_panels_output_ref");
            add(ref + ".legend" + gz_, "merged legend", "-merge_ref_panels_output_ref");
        } else if (is_given(p_.merge_ref_panels_output_gen)) {
            add(p_.merge_ref_panels_output_gen + ".gen", "merged genotypes", "-merge_ref_panels_output_gen");
        }
    }

    void add_sampled() {
        add_sampled(p_.hap_samp_out_g, "-hap_samp_out_g");
        add_sampled(p_.hap_samp_out_g_ref, "-hap_samp_out_g_ref");
        add_sampled(p_.hap_samp_out_h, "-hap_samp_out_h");
    }
    void add_sampled(const std::string& stem, const char* option) {
        if (!is_given(stem)) return;
        for (int it = p_.iter == 0 ? 0 : 1; it <= p_.iter; ++it) {
            add(concat(stem, "_hapsamp", it, ".gz"), "sampled haplotypes", option);
        }
    }

    void add_iteration(int it) {
        const auto add_if = [this, it](bool written, const char* ending, const std::string& gz, const char* what) {
            if (written) add_beside_output(concat(ending, it, gz), what);
        };
        add_if(p_.counts_per_iter, "_gtcounts_iter", gz_, "genotype counts");
        add_if(p_.counts_wt_per_iter, "_gtcounts_wt_iter", gz_, "weighted genotype counts");
        add_if(p_.show_diploid_copy_states, "_diploid_copy_states_type2snps_iter", ".gz", "copy states");
        add_if(p_.show_haploid_copy_states, "_haploid_copy_states_type1snps_iter", ".gz", "copy states");
        add_if(p_.show_haploid_copy_states, "_haploid_copy_states_type0snps_iter", ".gz", "copy states");
        add_if(p_.debug_weighting, "_debug_wt_diploid_iter", ".gz", "likelihoods");
        add_if(p_.debug_weighting, "_debug_wt_haploid_iter", ".gz", "likelihoods");
        add_if(p_.show_all_copy_probs, "_all_copy_probs_iter", ".gz", "copying probabilities");
        add_if(p_.show_ref_copy_probs, "_ref_copy_probs_iter", ".gz", "copying probabilities");
        if (plan_.tmp_haps && is_given(p_.mem_save_str)) {
            add(concat(p_.mem_save_str, "_tmpsamp_iter", it, ".gz"), "temporary haplotypes", "-mem_save_str");
        }
    }

    const parameters& p_;
    const run_plan& plan_;
    const std::string gz_;
    std::vector<run_file> files_;
};

}  // namespace

std::vector<run_file> input_files(const parameters& params) {
    input_table table(params);
    for (const std::string& name : params.h_files) table.add(name, "-h");
    for (const std::string& name : params.l_files) table.add(name, "-l");
    for (const named_file& input : named_inputs) table.add(params.*input.file, input.option);
    for (const named_file& input : sampled_inputs) table.add_sampled(input);
    return table.take();
}

std::vector<run_file> log_files(const parameters& params) {
    std::vector<run_file> files{{params.r_file, "run summary", "-r"}};
    if (is_given(params.w_file)) files.push_back({params.w_file, "warnings", "-w"});
    return files;
}

std::vector<run_file> locked_names(const parameters& params) {
    std::vector<run_file> names;
    for (const named_file& output : named_outputs) {
        if (is_given(params.*output.file)) names.push_back({params.*output.file, "", output.option});
    }
    return names;
}

std::vector<run_file> output_files(const parameters& params, const run_plan& plan) {
    return output_table(params, plan).all();
}

std::vector<run_file> result_files(const parameters& params, const run_plan& plan) {
    return output_table(params, plan).results();
}
