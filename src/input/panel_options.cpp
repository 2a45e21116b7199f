#include "input/panel_options.h"

#include <array>

const panel_options& options_of_panel(std::size_t panel) {
    static const std::array<panel_options, 3> options{{
        {"h", &parameters::strand_h_file, &parameters::exclude_snps_h_file, &parameters::exclude_samples_h_file,
         &parameters::include_samples_h_file, &parameters::sample_h_file, &parameters::hap_samp_in_h},
        {"g_ref", &parameters::strand_g_ref_file, &parameters::exclude_snps_g_ref_file,
         &parameters::exclude_samples_g_ref_file, &parameters::include_samples_g_ref_file,
         &parameters::sample_g_ref_file, &parameters::hap_samp_in_g_ref},
        {"g", &parameters::strand_g_file, &parameters::exclude_snps_g_file, &parameters::exclude_samples_g_file,
         &parameters::include_samples_g_file, &parameters::sample_g_file, &parameters::hap_samp_in_g},
    }};
    return options[panel];
}
