// Haplotypes sampled by an earlier run, as they replace the panel's haplotypes in the later iterations.

#include <memory>

#include "input/formats/haplotype_row.h"
#include "input/panel_options.h"
#include "input/readers.h"
#include "input/sampled_files.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/site_table.h"

namespace {

// Sets alleles of 64 neighbouring sites at a time, so that a haplotype's word is visited once.
class block_writer {
  public:
    explicit block_writer(packed_haplotypes& haplotypes)
        : haplotypes_(haplotypes), n_words_(bits::words_for(haplotypes.n_hap())) {}
    // A row to fill with one bit a haplotype for a site; sites come in ascending order, one may come again.
    std::uint64_t* row(std::size_t site) {
        const std::size_t block = site / bits::word_bits;
        if (block != block_) write();
        block_ = block;
        if (sites_.empty() || sites_.back() != site) {
            sites_.push_back(site);
            rows_.resize(sites_.size() * n_words_);
        }
        return rows_.data() + (sites_.size() - 1) * n_words_;
    }
    void write() {
        for (std::size_t hap = 0; hap < haplotypes_.n_hap(); ++hap) {
            for (std::size_t i = 0; i < sites_.size(); ++i) {
                haplotypes_.set(hap, sites_[i], bits::get(rows_.data() + i * n_words_, hap) ? 1 : 0);
            }
        }
        sites_.clear();
        rows_.clear();
    }

  private:
    packed_haplotypes& haplotypes_;
    std::size_t n_words_;
    std::size_t block_ = 0;
    std::vector<std::size_t> sites_;
    std::vector<std::uint64_t> rows_;
};

// The alleles of one line for the panel's haplotypes; the string is indexed by haplotype.
void fill_row(const sampled_source& source, std::string_view characters, std::size_t n_hap, bool inverted,
              std::uint64_t* row) {
    if (characters.size() < n_hap) source.fail("There are fewer haplotypes than in the panel");
    pack_characters(characters.substr(0, n_hap), row);
    if (!inverted) return;
    for (std::size_t w = 0; w < bits::words_for(n_hap); ++w) row[w] = ~row[w];
}

}  // namespace

void read_sampled_haps(run_log& log, const parameters& params, const site_table& sites, panel_array& panels,
                       std::size_t iteration, std::size_t panel) {
    if (!is_panel(panel)) log.fatal("ERROR: Invalid panel idx supplied to read_sampled_haps().");
    source_request request = request_sampled(params, panel, iteration + 1);
    request.words = "hapsamp file";
    if (params.verbose) {
        log.terminal_line("");
        log.terminal_line(sampled_stage_text(panel));
        log.terminal_line(concat(" --filename=[", request.file, "]"));
    }
    const std::unique_ptr<sampled_source> source = open_sampled(log, request);
    if (sites.store.empty()) return;
    packed_haplotypes& haplotypes = panels[panel].haps;
    block_writer writer(haplotypes);
    auto entry = sites.store.cbegin();
    site_fields fields;
    while (source->next(fields)) {
        while (entry != sites.store.cend() && entry->first < fields.position) ++entry;
        if (entry == sites.store.cend()) break;
        const std::size_t site = entry->second.index;
        if (fields.position < entry->first || !haplotypes.holds(site)) continue;
        if (fields.a1.empty()) source->fail("There are fewer fields than a SNP needs");
        fill_row(*source, source->read_characters(), panels[panel].n_hap, entry->second.allele_flipped[panel],
                 writer.row(site));
    }
    writer.write();
}
