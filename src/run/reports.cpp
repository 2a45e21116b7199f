// The reports of settings, files and parameters that stand before the iterations.

#include <array>

#include "io/text.h"
#include "output/variants/variant_format.h"
#include "run/presets.h"
#include "run/reports.h"

void print_nomenclature(run_log& log, const parameters& params) {
    const std::string rule = "---------------------------------";
    log.header(rule, " Nomenclature and data structure ");
    log.line("");
    if (!params.h_files.empty()) log.line("     Panel 0: phased reference haplotypes");
    if (params.h_files.size() >= 2) {
        log.line("     Panel 1: phased reference haplotypes");
    } else if (is_given(params.g_ref_file)) {
        log.line("     Panel 1: unphased reference genotypes");
    }
    const bool known = is_given(params.known_haps_g_file);
    if (is_given(params.g_file) ? params.haploid_g : known) {
        log.line("     Panel 2: phased study haplotypes");
    } else if (is_given(params.g_file)) {
        log.line(concat("     Panel 2: unphased study genotypes",
                        known ? " (some with known phase from -known_haps_g)" : ""));
    }
    log.line("");
    log.line(
        "For optimal results, each successive panel (0,1,2) should contain a subset of the SNPs in the previous panel. "
        "When the data structure deviates from this ideal configuration, ORVIDE2 tries to use as much of the available "
        "information as possible; see documentation for details.");
}

namespace {

struct file_row {
    bool shown;
    const char* label;
    std::string value;
};

std::string first_or_null(const std::vector<std::string>& names, std::size_t i) {
    return i < names.size() ? names[i] : "NULL";
}

std::vector<file_row> input_rows(const parameters& p) {
    const bool two_h = p.h_files.size() >= 2;
    const bool panel0_files = !p.h_files.empty() && !is_given(p.hap_samp_in_h);
    const std::string samples = "_hapsamp[iter][.gz]";
    const auto given = [](const char* label, const std::string& name) { return file_row{is_given(name), label, name}; };
    const auto sampled = [&samples](const char* label, const std::string& name) {
        return file_row{is_given(name), label, name + samples};
    };
    return {
        {panel0_files, "         Panel 0 haplotypes: ", first_or_null(p.h_files, 0)},
        {panel0_files, "         Panel 0 hap legend: ", first_or_null(p.l_files, 0)},
        given("      Panel 0 excluded SNPs: ", p.exclude_snps_h_file),
        given("        Panel 0 sample file: ", p.sample_h_file),
        given("   Panel 0 excluded samples: ", p.exclude_samples_h_file),
        sampled("       Panel 0 sampled haps: ", p.hap_samp_in_h),
        given("       Panel 0 initial haps: ", p.hap_init_h_file),
        {two_h, "         Panel 1 haplotypes: ", first_or_null(p.h_files, 1)},
        {two_h, "         Panel 1 hap legend: ", first_or_null(p.l_files, 1)},
        {!two_h && is_given(p.g_ref_file), "          Panel 1 genotypes: ", p.g_ref_file},
        given("        Panel 1 strand info: ", p.strand_g_ref_file),
        given("      Panel 1 excluded SNPs: ", p.exclude_snps_g_ref_file),
        given("        Panel 1 sample file: ", p.sample_g_ref_file),
        given("   Panel 1 excluded samples: ", p.exclude_samples_g_ref_file),
        sampled("       Panel 1 sampled haps: ", p.hap_samp_in_g_ref),
        given("       Panel 1 initial haps: ", p.hap_init_g_ref_file),
        given("          Panel 2 genotypes: ", p.g_file),
        given("        Panel 2 strand info: ", p.strand_g_file),
        given("      Panel 2 excluded SNPs: ", p.exclude_snps_g_file),
        given("        Panel 2 sample file: ", p.sample_g_file),
        given("   Panel 2 excluded samples: ", p.exclude_samples_g_file),
        sampled("       Panel 2 sampled haps: ", p.hap_samp_in_g),
        given("       Panel 2 initial haps: ", p.hap_init_g_file),
        given("         Panel 2 known haps: ", p.known_haps_g_file),
        given(" Panel 2 known haps samples: ", p.sample_known_haps_g_file),
        given("    included ref panel SNPs: ", p.include_snps_file),
        given("                genetic map: ", p.m_file),
    };
}

std::vector<file_row> output_rows(const parameters& p, bool panel0, bool panel1) {
    const std::string gz = p.o_gz ? ".gz" : "";
    const std::string& o = p.o_file;
    const std::string samples = "_hapsamp[iter].gz";
    const bool known = is_given(p.known_haps_g_file);
    return {
        {is_given(o), "                main output: ", variant_format_of(o) ? o : o + gz},
        {is_given(p.i_file), "                SNP QC info: ", p.i_file},
        {p.sample_qc_info, "             sample QC info: ", p.i_file + "_by_sample"},
        {is_given(p.r_file), "                run summary: ", p.r_file},
        {is_given(p.w_file), "                warning log: ", p.w_file},
        {is_given(p.sample_g_file), "   Panel 2 filtered samples: ", o + "_samples"},
        {p.phase, "        Panel 2 phased haps: ", o + "_haps" + gz},
        {p.phase && !p.use_prephased_g, "   Panel 2 phase confidence: ", o + "_haps_confidence" + gz},
        {is_given(p.hap_samp_out_h), "       Panel 0 sampled haps: ", p.hap_samp_out_h + samples},
        {is_given(p.hap_samp_out_g_ref), "       Panel 1 sampled haps: ", p.hap_samp_out_g_ref + samples},
        {is_given(p.hap_samp_out_g), "       Panel 2 sampled haps: ", p.hap_samp_out_g + samples},
        {p.show_diploid_copy_states,
         "       Panel 2 diploid copy states: ", o + "_diploid_copy_states_type2snps_iter[iter].gz"},
        {p.show_haploid_copy_states && panel1,
         "       Panel 2 haploid copy states at type 1 variants: ", o + "_haploid_copy_states_type1snps_iter[iter].gz"},
        {p.show_haploid_copy_states && panel0,
         "       Panel 2 haploid copy states at type 0 variants: ", o + "_haploid_copy_states_type0snps_iter[iter].gz"},
        {p.counts_per_iter, "       Panel 2 gtype counts: ", o + "_gtcounts_iter[iter]" + gz},
        {p.counts_wt_per_iter, "    Panel 2 wt gtype counts: ", o + "_gtcounts_wt_iter[iter]" + gz},
        {known && !p.use_prephased_g, " Panel 2 diplotype ordering: ", o + "_diplotype_ordering"},
        {p.print_allele_probs, "       Panel 2 allele probs: ", o + "_allele_probs"},
    };
}

void print_rows(run_log& log, const char* rule, const char* title, const std::vector<file_row>& rows) {
    log.header(rule, title);
    log.line("");
    for (const file_row& row : rows) {
        if (row.shown) log.line(row.label + row.value);
    }
}

}  // namespace

void print_files(run_log& log, const parameters& params) {
    print_rows(log, "-------------", " Input files ", input_rows(params));
    print_rows(log, "--------------", " Output files ",
               output_rows(params, params.panel0_given(), params.panel1_given()));
}

namespace {

// Whether there is somebody with two haplotypes that are not known.
bool phases_anybody(const panel_data& study) {
    for (std::size_t i = 0; i < study.n_ind; ++i) {
        if (!study.is_haploid(i) && !study.ordered[i]) return true;
    }
    return false;
}

// What a preset stands for, options given beside it being told by the lines that follow.
void print_preset(run_log& log, const parameters& params) {
    if (!is_given(params.preset)) return;
    std::string text = concat("                      preset: ", params.preset, ", which stands for");
    for (const std::string& word : preset_options(params.preset)) text += " " + word;
    log.line(text);
}

}  // namespace

void print_params(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                  const copying_models& models) {
    log.header("----------------", " Run parameters ");
    log.line("");
    const bool g_ref = is_given(params.g_ref_file);
    if (params.panel0_given()) {
        std::string text = concat("        reference haplotypes: ", panels[0].n_hap, " [Panel 0]");
        if (params.h_files.size() >= 2) text += concat("; ", panels[1].n_hap, " [Panel 1]");
        log.line(text);
    }
    if (g_ref) log.line(concat("        reference diplotypes: ", panels[1].n_ind, " [Panel 1]"));
    if (is_given(params.g_file) || is_given(params.known_haps_g_file)) {
        log.line(concat("           study individuals: ", panels[2].n_ind, " [Panel 2]"));
    }
    log.line(concat("           sequence interval: [", fixed_text(params.int_lower, 0), ",",
                    fixed_text(params.int_upper, 0), "]"));
    log.line(concat("                      buffer: ", default_text(params.buffer_kb), " kb"));
    log.line(concat("                          Ne: ", default_text(params.Ne)));
    if (params.switch_rate != 1.0) {
        log.line(concat("                 switch rate: ", default_text(params.switch_rate), " times that of the map"));
    }
    log.line(concat("           input call thresh: ", fixed_text(params.call_thresh, 3)));
    print_preset(log, params);
    log.line(concat("     burn-in MCMC iterations: ", plan.burnin));
    if (params.thin >= 2) log.line(concat("      MCMC thinning interval: ", params.thin));
    log.line(concat("       total MCMC iterations: ", plan.n_iterations, " (", plan.stored_iters.size(),
                    " used for inference)"));
    if (g_ref || is_given(params.g_file)) {
        std::string text = "      HMM states for phasing: ";
        if (g_ref) text += concat(models.k_states[1][1][1], " [Panel 1]; ");
        if (is_given(params.g_file)) text += concat(models.k_states[1][2][2], " [Panel 2]");
        if (params.local_states > 0) text += concat("; ", params.local_states, " % by local matches");
        if (plan.phases_once_more && phases_anybody(panels[2]))
            text += concat("; ", models.k_final, " in the final pass");
        log.line(text);
    }
    if (params.panel0_given() || g_ref) {
        std::string text = "   HMM states for imputation: ";
        if (!params.panel0_given()) {
            text += concat(models.k_states[0][2][1], " [Panel 1->2]");
        } else {
            text += concat(models.k_states[0][2][0], " [Panel 0->2]");
            if (params.panel1_given()) text += concat("; ", models.k_states[0][2][1], " [Panel 0+1->2]");
        }
        log.line(text);
    }
    if (plan.fill_holes) {
        const std::size_t to = *plan.hole_fill_to;
        const std::size_t from = *plan.hole_fill_from;
        log.line(
            concat(" HMM states for hole-filling: ", models.k_states[0][to][from], " [Panel ", from, "->", to, "]"));
    }
    if (!params.active_flags.empty()) {
        std::string text = "                active flags:";
        for (const std::string& flag : params.active_flags) text += concat(" <", flag, ">");
        log.line(text);
    }
}
