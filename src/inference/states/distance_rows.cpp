#include "inference/states/distance_rows.h"

#include <algorithm>
#include <utility>

#include "inference/kernels/kernels.h"

void distance_rows::set_sites(std::vector<std::size_t> counted) {
    sites_ = std::move(counted);
    words_ = (bits::words_for(sites_.size()) + 7) / 8 * 8;
    ready_ = true;
}

void distance_rows::refresh_row(const packed_haplotypes& full, cut_panel& cut, std::size_t hap) {
    if (cut.version[hap] == full.version(hap) + 1) return;
    cut.version[hap] = full.version(hap) + 1;
    const std::uint64_t* from = full.row(hap);
    std::uint64_t* to = cut.rows.data() + hap * words_;
    for (std::size_t w = 0; w < words_; ++w) {
        const std::size_t first = w * bits::word_bits;
        const std::size_t n = std::min(bits::word_bits, sites_.size() - std::min(first, sites_.size()));
        std::uint64_t word = 0;
        for (std::size_t j = 0; j < n; ++j) {
            const std::size_t site = sites_[first + j];
            word |= ((from[site / bits::word_bits] >> (site % bits::word_bits)) & 1U) << j;
        }
        to[w] = word;
    }
}

void distance_rows::refresh(const packed_haplotypes& full, cut_panel& cut) {
    if (cut.version.size() != full.n_hap()) {
        cut.version.assign(full.n_hap(), 0);
        cut.n_changes = 0;
        cut.rows.assign(full.n_hap() * words_, 0);
    }
    if (cut.n_changes == full.n_changes() + 1) return;
    cut.n_changes = full.n_changes() + 1;
    for (std::size_t h = 0; h < full.n_hap(); ++h) refresh_row(full, cut, h);
}

void distance_rows::distances(const haplotypes_by_panel& haps, std::size_t panel, std::size_t hap,
                              std::size_t other_panel, std::vector<int>& counts) {
    refresh(*haps[panel], panels_[panel]);
    refresh(*haps[other_panel], panels_[other_panel]);
    counts.resize(haps[other_panel]->n_hap());
    kernels::active().distances(words_, panels_[panel].rows.data() + hap * words_, counts.size(),
                                panels_[other_panel].rows.data(), counts.data());
}
