#pragma once

// Sources of sites: what a data file yields, whatever its format. A source knows its format and where it stands; it
// knows no panels, regions or lists. The rules that all sources share are in the site gate and in the readers.
//
// A reader learns the columns, then takes site by site: next, and, for a site that it wants, the content once. There is
// one virtual call a site or a row of it, none a genotype. What next or the content functions have given lives until
// the next call of next. A fault of the file ends the run with a message that names file and place.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "input/genotype_calls.h"
#include "model/allele_row.h"
#include "model/contig_info.h"

// What names a site. A record of a file may give several sites; each is one of these.
struct site_fields {
    std::string_view snp_id;  // "---" where the format has none
    std::string_view rs_id;
    long position = 0;        // base pairs
    std::string_view a0, a1;  // labels of alleles 0 and 1; empty where the record ends before them
};

class site_source {
  public:
    site_source() = default;
    virtual ~site_source() = default;
    site_source(const site_source&) = delete;
    site_source& operator=(const site_source&) = delete;

    // The next site; false at the end. Content of the site before that was not taken is passed over, unread.
    virtual bool next(site_fields& site) = 0;

    // Behind the region: what names the next site, without content; lines without a position are passed over. False at
    // the end. From the first call on nothing else is asked for. Formats that end with the region themselves give none.
    virtual bool next_behind(site_fields& /*site*/) { return false; }

    // Ends the run: "ERROR: " what, and where the source stands.
    [[noreturn]] virtual void fail(std::string_view what) const = 0;
    // One line on standard error: what, and where the source stands.
    virtual void note(std::string_view what) const = 0;
    // Odd input (run_log::odd_input): what, where the source stands, and for what it is taken.
    virtual void odd(std::string_view what, std::string_view taken) const = 0;

    // Names of the further values that a site has (legend_cols), by which filter rules may drop it.
    virtual const std::vector<std::string>& value_names() const {
        static const std::vector<std::string> none;
        return none;
    }
    // These values of the site in hand, at least as many as names.
    virtual std::vector<std::string> values() { return {}; }

    // What some formats know of the people and of the chromosome; the others leave it empty.
    // The names of the people; a panel of haplotypes has two columns for each of them.
    virtual const std::vector<std::string>& sample_ids() const {
        static const std::vector<std::string> none;
        return none;
    }
    // By person: 1 or 2 alleles.
    virtual const std::vector<std::uint8_t>& ploidies() const {
        static const std::vector<std::uint8_t> none;
        return none;
    }
    virtual contig_info contig() const { return {}; }
    // What is worth a line of the log behind the last site.
    virtual std::vector<std::string> remarks() const { return {}; }
};

// Genotypes of individuals, a column each, as probabilities.
class genotype_source : public site_source {
  public:
    virtual std::size_t n_columns() const = 0;
    // Fills the triples of all columns as the file has them: chances of no, one and two copies of allele 1, which need
    // not sum to 1; zeros where nothing is known. The reader completes them by ploidy.
    virtual void read_triples(std::span<probability_triple> triples) = 0;
};

// Haplotypes of a panel, a column each.
class haplotype_source : public site_source {
  public:
    virtual std::size_t n_columns() const = 0;
    // Flag set: the haplotype of the column does not exist, as the second one of a male. Empty when all exist.
    virtual const std::vector<bool>& absent_columns() const = 0;
    // Settles which columns read_alleles drops (empty flags keep all), and makes value_names known. Called once, before
    // the first site.
    virtual void start(const std::vector<bool>& dropped) = 0;
    // Fills the row with the alleles of the kept columns; false when the data end before the sites do.
    virtual bool read_alleles(allele_row& row) = 0;
};

// The two alleles of one individual as texts: "0", "1"; "0*", "1*" for alleles whose phase is not known; "?" for a
// missing allele; "-" for one that does not exist. Where people carry one haplotype the second is ".".
struct allele_pair {
    std::string_view first, second;
};

// Alleles of individuals, a column each, with marks of what is known of their phase.
class phased_source : public site_source {
  public:
    virtual std::size_t n_columns() const = 0;
    // Fills the pairs from the first column on and returns how many the site has: fewer than columns where it is short,
    // one more than columns where it goes on.
    virtual std::size_t read_pairs(std::span<allele_pair> pairs) = 0;
    // Whether a person without alleles leaves the places of those behind as they are (-hap_init_g).
    virtual bool keeps_places() const { return false; }
};

// Haplotypes as an earlier run sampled them, a character each.
class sampled_source : public site_source {
  public:
    // The characters of the first site, without taking it; empty when there is no site.
    virtual std::string_view first_characters() = 0;
    // The characters of the site in hand.
    virtual std::string_view read_characters() = 0;
};
