#pragma once

// The sites of a VCF or BCF file: each record gives one for each of its ALT alleles, that allele against all others.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "input/formats/variant_calls.h"
#include "input/formats/variant_info.h"
#include "input/formats/variant_input.h"
#include "input/note_once.h"
#include "input/site_source.h"

class variant_sites {
  public:
    // Reads on until the first called genotypes have told how many alleles each person has.
    variant_sites(run_log& log, const source_request& request, input_file&& file);

    bool next(site_fields& site);
    bcf1_t* record() const { return record_.get(); }
    // Which allele of the record is allele 1 of the site.
    int allele() const { return allele_; }
    const bcf_hdr_t* header() const { return file_.header(); }
    const std::vector<std::string>& samples() const { return file_.samples(); }
    const std::vector<std::uint8_t>& ploidies() const { return ploidies_; }
    const contig_info& contig() const { return contig_; }
    // The called genotypes of the record in hand, by sample; ends the run where there are none, or where a person has
    // another number of alleles than before. A genotype of which one allele only is known is missing and is counted.
    std::span<const variant_call> calls();

    const std::vector<std::string>& info_names() const { return info_.names(); }
    std::vector<std::string> info_values() const { return info_.values(file_.header(), record_.get(), allele_); }

    [[noreturn]] void fail(std::string_view what) const { file_.fail(record_.get(), what); }
    void note(std::string_view what) const { file_.note(record_.get(), what); }
    void odd(std::string_view what, std::string_view taken) const { file_.odd(record_.get(), what, taken); }
    // Ends the run over the genotype of one sample.
    [[noreturn]] void fail_at(std::size_t sample, std::string_view what) const;
    // What was left out, a line each.
    std::vector<std::string> remarks() const;

  private:
    bool next_record();
    // Whether the record in hand lies behind the interval and a boundary of a pseudoautosomal region, where people have
    // another number of alleles.
    bool leaves_region_of_x();
    bool take_allele(site_fields& site);
    bool is_repeated(std::string_view ref, std::string_view alt);
    void settle_ploidies();
    bool ploidies_are_settled(long position) const;
    // Takes the ploidies of the records that were read ahead, from the last one back; the first one that may stay.
    std::size_t merge_ploidies();
    void learn(std::span<const variant_call> calls);
    bool agrees(std::span<const variant_call> calls) const;
    void check_ploidies();
    [[noreturn]] void refuse_change(std::size_t sample, int ploidy);

    run_log& log_;
    source_request request_;
    variant_input file_;
    variant_info info_;
    contig_info contig_;            // from the first record of the region on
    std::deque<hts_record> ahead_;  // records that were read before their turn
    hts_record record_;
    int allele_ = 0;
    std::string id_;
    std::vector<std::uint8_t> ploidies_;
    std::vector<variant_call> calls_;
    bool have_calls_ = false;
    long position_ = 0;
    std::set<std::pair<std::string, std::string>> at_position_;  // REF and ALT of the sites at this position
    std::size_t n_half_ = 0, n_without_alt_ = 0, n_repeated_ = 0;
};

// What all sources of this format share.
template <typename Kind>
class variant_source : public Kind {
  public:
    variant_source(run_log& log, const source_request& request, input_file&& file)
        : sites_(log, request, std::move(file)) {}

    bool next(site_fields& site) override { return sites_.next(site); }
    [[noreturn]] void fail(std::string_view what) const override { sites_.fail(what); }
    void note(std::string_view what) const override { sites_.note(what); }
    void odd(std::string_view what, std::string_view taken) const override { sites_.odd(what, taken); }
    const std::vector<std::string>& value_names() const override { return sites_.info_names(); }
    std::vector<std::string> values() override { return sites_.info_values(); }
    const std::vector<std::string>& sample_ids() const override { return sites_.samples(); }
    const std::vector<std::uint8_t>& ploidies() const override { return sites_.ploidies(); }
    contig_info contig() const override { return sites_.contig(); }
    std::vector<std::string> remarks() const override { return sites_.remarks(); }

  protected:
    std::size_t n_samples() const { return sites_.samples().size(); }

    variant_sites sites_;
};
