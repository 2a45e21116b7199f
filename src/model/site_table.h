#pragma once

// All variant sites of a run.

#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "model/contig_info.h"
#include "model/snp.h"

// What the walks ask of every site, kept apart from the records so that they need not be touched.
struct site_traits {
    std::uint8_t type = 0;
    std::uint8_t top_panel = 0;
    bool panel1_placeholder = false;
    bool ref_alleles_missing = false;
};

struct site_table {
    contig_info contig;
    bool from_variant_files = false;  // some of the input is VCF or BCF
    site_store store;                 // (snps) grows while the files are read
    // The store in order, fixed by pack_haplotypes, in data::setup: in_order[s]->index == s, positions[s] its position.
    std::vector<snp*> in_order;
    std::vector<long> positions;
    std::vector<site_traits> traits;
    std::set<long> multi_match_positions;  // where a reference SNP hit a study SNP that had a partner

    std::size_t size() const { return in_order.size(); }
    // The indices [first, second) of the sites in an interval of base pairs, both ends included.
    std::pair<std::size_t, std::size_t> range(std::pair<long, long> interval) const;
};
