// Reading a panel of 20,000 haplotypes as compressed text and as BCF, beside what the library's own decoding of the BCF
// costs. The counter is alleles a second.

#include <benchmark/benchmark.h>
#include <htslib/vcf.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "input/formats/format_table.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/allele_row.h"

namespace {

constexpr std::size_t n_people = 10000, n_haplotypes = 2 * n_people, n_sites = 1000;

// The same panel in both formats, as temporary files. Most alleles are rare, and carriers stand in runs as people of
// one population do.
class panel_files {
  public:
    panel_files() {
        std::filesystem::create_directories(folder_);
        write();
    }
    ~panel_files() { std::filesystem::remove_all(folder_); }
    panel_files(const panel_files&) = delete;
    panel_files& operator=(const panel_files&) = delete;
    std::string name(const std::string& ending) const { return (folder_ / ("panel." + ending)).string(); }

  private:
    void write() const {
        const gzFile haplotypes = gzopen(name("hap.gz").c_str(), "wb6");
        const gzFile legend = gzopen(name("legend.gz").c_str(), "wb6");
        htsFile* const variants = hts_open(name("bcf").c_str(), "wb");
        bcf_hdr_t* const header = bcf_hdr_init("w");
        bcf_hdr_append(header, "##contig=<ID=20>");
        bcf_hdr_append(header, "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Genotype\">");
        for (std::size_t i = 0; i < n_people; ++i) bcf_hdr_add_sample(header, concat("p", i).c_str());
        bcf_hdr_add_sample(header, nullptr);
        if (bcf_hdr_write(variants, header) != 0) throw std::runtime_error("cannot write");
        gzputs(legend, "id position a0 a1\n");
        bcf1_t* const record = bcf_init();
        std::mt19937_64 generator(1);
        std::string text(2 * n_haplotypes, ' ');
        text.back() = '\n';
        std::vector<std::int32_t> genotypes(n_haplotypes);
        for (std::size_t s = 0; s < n_sites; ++s) {
            const std::uint64_t rarity = 2 + generator() % 500;
            for (std::size_t h = 0; h < n_haplotypes; ++h) {
                const bool carrier = generator() % rarity == 0;
                text[2 * h] = carrier ? '1' : '0';
                genotypes[h] = bcf_gt_phased(carrier ? 1 : 0);
            }
            gzwrite(haplotypes, text.data(), static_cast<unsigned>(text.size()));
            gzputs(legend, concat("rs", s, " ", s + 1, " A G\n").c_str());
            bcf_clear(record);
            record->rid = 0;
            record->pos = static_cast<hts_pos_t>(s);
            bcf_update_id(header, record, concat("rs", s).c_str());
            bcf_update_alleles_str(header, record, "A,G");
            bcf_update_genotypes(header, record, genotypes.data(), static_cast<int>(n_haplotypes));
            if (bcf_write(variants, header, record) != 0) throw std::runtime_error("cannot write");
        }
        bcf_destroy(record);
        bcf_hdr_destroy(header);
        hts_close(variants);
        gzclose(legend);
        gzclose(haplotypes);
    }

    std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "orvide_bench_panel";
};

const panel_files& files() {
    static const panel_files made;
    return made;
}

void set_alleles(benchmark::State& state, std::size_t n_read) {
    if (n_read != n_sites) state.SkipWithError("sites are missing");
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n_sites * n_haplotypes));
}

void read_panel(benchmark::State& state, const source_request& request) {
    std::ostringstream terminal, notes;
    run_log log(terminal, notes);
    std::size_t n_read = 0;
    for (auto _ : state) {
        const std::unique_ptr<haplotype_source> source = open_haplotypes(log, request);
        source->start({});
        site_fields site;
        allele_row row;
        for (n_read = 0; source->next(site) && source->read_alleles(row);) ++n_read;
    }
    set_alleles(state, n_read);
}

void reading_text_panel(benchmark::State& state) {
    source_request request;
    request.file = files().name("hap.gz");
    request.legend = files().name("legend.gz");
    read_panel(state, request);
}
BENCHMARK(reading_text_panel)->Unit(benchmark::kMillisecond);

void reading_bcf_panel(benchmark::State& state) {
    source_request request;
    request.file = files().name("bcf");
    request.legend = "NULL";
    read_panel(state, request);
}
BENCHMARK(reading_bcf_panel)->Unit(benchmark::kMillisecond);

// Records as the library gives them, with no look at their genotypes.
void decoding_bcf_panel(benchmark::State& state) {
    std::size_t n_read = 0;
    for (auto _ : state) {
        htsFile* const file = hts_open(files().name("bcf").c_str(), "r");
        bcf_hdr_t* const header = bcf_hdr_read(file);
        bcf1_t* const record = bcf_init();
        for (n_read = 0; bcf_read(file, header, record) == 0;) ++n_read;
        bcf_destroy(record);
        bcf_hdr_destroy(header);
        hts_close(file);
    }
    set_alleles(state, n_read);
}
BENCHMARK(decoding_bcf_panel)->Unit(benchmark::kMillisecond);

}  // namespace
