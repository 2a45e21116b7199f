// Reading haplotypes of a reference panel and writing the lines of the main result. The counter is bytes of plain text
// a second.

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "input/formats/haplotype_row.h"
#include "io/result_file.h"
#include "io/run_log.h"
#include "io/text_input.h"
#include "model/allele_row.h"

namespace {

constexpr std::size_t n_haplotypes = 5000, n_sites = 2000;

// A temporary haplotype file; most alleles are rare, as in a sequenced panel.
class haplotype_file {
  public:
    explicit haplotype_file(bool gzipped)
        : name_((std::filesystem::temp_directory_path() / (gzipped ? "orvide_bench.hap.gz" : "orvide_bench.hap"))
                    .string()) {
        std::mt19937_64 generator(1);
        std::string text;
        for (std::size_t s = 0; s < n_sites; ++s) {
            const std::uint64_t rarity = 2 + generator() % 500;
            for (std::size_t h = 0; h < n_haplotypes; ++h) {
                text += generator() % rarity == 0 ? '1' : '0';
                text += h + 1 < n_haplotypes ? ' ' : '\n';
            }
        }
        size_ = text.size();
        if (gzipped) {
            const gzFile file = gzopen(name_.c_str(), "wb6");
            gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
            gzclose(file);
        } else {
            std::ofstream(name_, std::ios::binary) << text;
        }
    }
    ~haplotype_file() { std::filesystem::remove(name_); }
    haplotype_file(const haplotype_file&) = delete;
    haplotype_file& operator=(const haplotype_file&) = delete;
    const std::string& name() const { return name_; }
    std::size_t size() const { return size_; }

  private:
    std::string name_;
    std::size_t size_ = 0;
};

void set_bytes(benchmark::State& state, std::size_t bytes_per_pass) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes_per_pass));
}

// Argument: whether the file is compressed.
void reading_haplotypes(benchmark::State& state) {
    const haplotype_file file(state.range(0) == 1);
    std::ostringstream terminal, notes;
    run_log log(terminal, notes);
    for (auto _ : state) {
        text_input input(log, file.name(), "missing", "unopened");
        haplotype_row_reader reader(n_haplotypes, {}, false);
        allele_row row;
        std::string_view line;
        std::size_t n_rows = 0;
        while (input.next_filled_line(line)) {
            if (reader.read(line, row) == haplotype_row_reader::outcome::good) ++n_rows;
        }
        if (n_rows != n_sites) state.SkipWithError("rows are missing");
    }
    set_bytes(state, file.size());
}
BENCHMARK(reading_haplotypes)->Arg(0)->Arg(1);

// What decompression alone costs.
void inflating_haplotypes(benchmark::State& state) {
    const haplotype_file file(true);
    std::vector<char> buffer(1U << 17U);
    for (auto _ : state) {
        const gzFile in = gzopen(file.name().c_str(), "rb");
        std::size_t n = 0;
        for (int got = 0; (got = gzread(in, buffer.data(), static_cast<unsigned>(buffer.size()))) > 0;) {
            n += static_cast<std::size_t>(got);
        }
        gzclose(in);
        if (n != file.size()) state.SkipWithError("bytes are missing");
    }
    set_bytes(state, file.size());
}
BENCHMARK(inflating_haplotypes);

// Lines of 1,000 people. Argument: how many of ten genotypes are uncertain.
void writing_genotypes(benchmark::State& state) {
    constexpr std::size_t n_people = 1000, n_lines = 1000;
    std::mt19937_64 generator(1);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::vector<double> chances;
    for (std::size_t i = 0; i < n_people; ++i) {
        const bool uncertain = generator() % 10 < static_cast<std::uint64_t>(state.range(0));
        const double heterozygous = uncertain ? uniform(generator) : 0.0;
        chances.insert(chances.end(), {1.0 - heterozygous, heterozygous, 0.0});
    }
    const std::string name = (std::filesystem::temp_directory_path() / "orvide_bench.out").string();
    std::ostringstream terminal, notes;
    run_log log(terminal, notes);
    std::size_t size = 0;
    for (auto _ : state) {
        result_file out(log, name, false);
        for (std::size_t i = 0; i < n_lines; ++i) {
            out.text("--- rs1 ");
            out.integer(1000000);
            out.text(" A G");
            out.probabilities(chances, 3, 1e-3);
            out.end_line();
        }
        out.close();
        size = std::filesystem::file_size(name);
    }
    std::filesystem::remove(name);
    set_bytes(state, size);
}
BENCHMARK(writing_genotypes)->Arg(0)->Arg(1)->Arg(5)->Arg(10);

}  // namespace
