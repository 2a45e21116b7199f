#pragma once

// The result files of a run, each by one call.

#include <array>
#include <vector>

struct copy_state_record;
struct data;

void output_mcmc(data& run);
void check_genotype_probs(data& run, const std::array<double, 3>& probs, long position, double low, double high);
void mcmc_info(data& run);
void mcmc_info_by_sample(data& run);
void mcmc_accuracy(data& run);
void phase_fixed(data& run);
void phase_pairwise(data& run);
void output_pairwise_certainties(data& run);
void output_phased_haps(data& run);
void output_allele_probs(data& run);
void output_current_gtype_counts(data& run, int iter, int count);
void output_current_gtype_counts_wt(data& run, int iter, int count);
void output_current_haps_to_tmp(data& run, int iter);
void read_current_haps_from_tmp(data& run, int iter);
void remove_tmp_sampled_haps(data& run);
void output_current_haps(data& run, int iter);
void output_current_copy_states(data& run, std::vector<copy_state_record>& records, int iter, int diploid,
                                int updated_panel, int cond_panel);
void print_diplotype_ordering_states(data& run);
void output_merged_ref(data& run);
void output_merged_gen(data& run);
