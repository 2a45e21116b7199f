#pragma once

// Genotypes of individuals as probabilities, from VCF or BCF.

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "input/formats/variant_sites.h"

class variant_genotypes final : public variant_source<genotype_source> {
  public:
    variant_genotypes(run_log& log, const source_request& request, input_file&& file);
    std::size_t n_columns() const override { return n_samples(); }
    void read_triples(std::span<probability_triple> triples) override;
    // Which fields the genotypes came from, before the remarks of all sources.
    std::vector<std::string> remarks() const override;

  private:
    // In the order in which they are looked for: probabilities, log10 likelihoods, phred-scaled likelihoods, calls.
    enum class field { gp, gl, pl, gt };

    void check_type(const char* name) const;
    bool fetch(field which);
    void take_calls(std::span<probability_triple> triples);
    void take_values(field which, std::span<probability_triple> triples);
    // The triple of one sample from n values, one for each of its possible genotypes; none where there are no values.
    std::optional<probability_triple> triple_of(field which, std::size_t sample);
    std::size_t count_values(const float* values) const;
    // The values as probabilities that sum to 1.
    void make_probabilities(field which, std::size_t sample, std::size_t n, const float* values);

    std::string option_;
    std::vector<field> fields_;  // those that are looked for
    std::array<std::size_t, 4> n_sites_{};
    std::vector<float> values_;  // [sample * n_values_ + genotype] of the record in hand
    std::size_t n_values_ = 0;
    std::vector<double> probabilities_;
    bool has_gt_ = false;
    note_once phased_note_;
};
