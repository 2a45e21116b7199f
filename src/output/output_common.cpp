#include "output/output_common.h"

#include <cmath>
#include <limits>

#include "io/text.h"

std::string output_name(const data& run, const std::string& ending) {
    return concat(run.params.o_file, ending, run.params.o_gz ? ".gz" : "");
}

double smallest_printed(int outdp) {
    return std::pow(10.0, -outdp);
}

const panel_labels& output_labels(const data& run, const snp& site, int type) {
    if (type == 3) return site.labels[2];
    if (type == 0 || run.params.panel0_given()) return site.labels[0];
    const bool study_only = type == 2 && !is_given(run.params.g_ref_file);
    return site.labels[study_only ? 2 : 1];
}

void write_site_columns(result_file& file, const snp& site, long position, const panel_labels& labels) {
    file.text(site.snp_id);
    file.character(' ');
    file.text(site.rs_id);
    file.character(' ');
    file.integer(position);
    file.character(' ');
    file.text(labels.a0);
    file.character(' ');
    file.text(labels.a1);
}

std::vector<char> haploid_individuals(const data& run, int panel) {
    std::vector<char> haploid(panel == 2 ? n_study(run)
                                         : static_cast<std::size_t>(run.panels[static_cast<std::size_t>(panel)].n_ind));
    for (std::size_t i = 0; i < haploid.size(); ++i)
        haploid[i] = run.panels[panel].is_haploid(static_cast<int>(i)) ? 1 : 0;
    return haploid;
}

bool all_have_known_haps(const data& run) {
    return std::find(run.panels[2].ordered.begin(), run.panels[2].ordered.end(), false) == run.panels[2].ordered.end();
}

bool any_has_known_haps(const data& run) {
    return std::find(run.panels[2].ordered.begin(), run.panels[2].ordered.end(), true) != run.panels[2].ordered.end();
}

genotype_triple input_triple(const snp& site, std::size_t individual) {
    const std::vector<float>& probs = site.gtype_probs[2];
    if (probs.empty()) return {0.0, 0.0, 0.0};
    const float* p = probs.data() + individual * 3;
    return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

bool tallies_by_missing(const data& run, const snp& site) {
    return run.plan.count_missing_only && site.type == run.plan.n_panels - 1;
}

int tally_entry(const data& run, const snp& site, std::size_t individual) {
    if (!tallies_by_missing(run, site)) return static_cast<int>(individual);
    if (study_genotype(site, individual) != missing_genotype) return -1;
    const auto first = site.gtypes[2].begin();
    return static_cast<int>(std::count(first, first + static_cast<std::ptrdiff_t>(individual), missing_genotype));
}

namespace {

double tally_count(const std::vector<int>& counts, int entry) {
    const bool held = entry >= 0 && static_cast<std::size_t>(entry) < counts.size();
    return held ? counts[static_cast<std::size_t>(entry)] : 0.0;
}

}  // namespace

std::array<double, 2> genotype_sums(const data& run, std::size_t site, std::size_t individual) {
    if (!run.params.mc_impute) {
        return {run.acc.gtype_acc[0].get(individual, site), run.acc.gtype_acc[1].get(individual, site)};
    }
    if (site >= run.acc.tallies.size()) return {0.0, 0.0};
    const auto& counts = run.acc.tallies[site].miss_counts;
    const int entry = tally_entry(run, *run.sites.in_order[site], individual);
    return {tally_count(counts[0], entry), tally_count(counts[1], entry)};
}

void sum_block::gather(const std::array<sum_table, 2>& tables, std::size_t n_rows, std::span<const std::size_t> sites) {
    n_rows_ = n_rows;
    for (std::size_t g = 0; g < 2; ++g) {
        values_[g].resize(max_sites * n_rows);
        std::array<int, max_sites> column{};
        bool all_held = true;
        for (std::size_t j = 0; j < sites.size(); ++j) {
            column[j] = tables[g].column(sites[j]);
            all_held = all_held && column[j] >= 0;
        }
        if (!all_held) std::fill(values_[g].begin(), values_[g].end(), 0.0);
        double* const to = values_[g].data();
        const int first_column = std::max(0, column[0]);
        constexpr std::size_t look_ahead = 16;  // rows lie far apart, where no hardware fetches ahead
        for (std::size_t row = 0; row < n_rows; ++row) {
            const double* const from = tables[g].row(row);
            if (row + look_ahead < n_rows) __builtin_prefetch(tables[g].row(row + look_ahead) + first_column);
            for (std::size_t j = 0; j < sites.size(); ++j) {
                if (column[j] >= 0) to[j * n_rows + row] = from[column[j]];
            }
        }
    }
}

void sum_block::gather(const data& run, std::span<const std::size_t> sites) {
    if (!run.params.mc_impute) {
        gather(run.acc.gtype_acc, n_study(run), sites);
        return;
    }
    n_rows_ = n_study(run);
    for (auto& values : values_) values.assign(max_sites * n_rows_, 0.0);
    for (std::size_t j = 0; j < sites.size(); ++j) {
        if (sites[j] >= run.acc.tallies.size()) continue;
        const auto& counts = run.acc.tallies[sites[j]].miss_counts;
        const snp& site = *run.sites.in_order[sites[j]];
        const bool by_missing = tallies_by_missing(run, site);
        int next_entry = 0;
        for (std::size_t i = 0; i < n_rows_; ++i) {
            if (by_missing && study_genotype(site, i) != missing_genotype) continue;
            for (std::size_t g = 0; g < 2; ++g) values_[g][j * n_rows_ + i] = tally_count(counts[g], next_entry);
            ++next_entry;
        }
    }
}

sum_divisor::sum_divisor(const data& run, const snp& site, bool imputed)
    : count_(static_cast<double>(run.plan.stored_iters.size())) {
    if (imputed && run.params.weight_imputed_gt >= 0 && !run.params.mc_impute) {
        weights_ = &run.acc.weight_sum[static_cast<std::size_t>(site.top_panel)];
    }
}

void comparison::add(const genotype_triple& imputed, std::uint8_t genotype, bool haploid) {
    if (genotype == missing_genotype) return;
    const int truth = haploid ? genotype / 2 : genotype;
    if (called_genotype(imputed, haploid) == truth) ++n_concordant_;
    dosages_.push_back(dosage(imputed, haploid));
    truths_.push_back(truth);
}

void comparison::clear() {
    n_concordant_ = 0;
    dosages_.clear();
    truths_.clear();
}

double comparison::concordance() const {
    return static_cast<double>(n_concordant_) / static_cast<double>(compared());
}

namespace {

constexpr double tolerance = 1e-10;

bool constant(const std::vector<double>& values) {
    return std::all_of(values.begin(), values.end(),
                       [&values](double value) { return std::abs(value - values.front()) < tolerance; });
}

double mean_of(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) sum += value;
    return sum / static_cast<double>(values.size());
}

double deviation_of(const std::vector<double>& values, double mean) {
    double squares = 0.0;
    for (const double value : values) squares += (value - mean) * (value - mean);
    return std::sqrt(squares / static_cast<double>(values.size() - 1));
}

}  // namespace

double comparison::r2() const {
    if (constant(dosages_) || constant(truths_)) return -1.0;
    const double mean_x = mean_of(dosages_);
    const double mean_t = mean_of(truths_);
    const double sd_x = deviation_of(dosages_, mean_x);
    const double sd_t = deviation_of(truths_, mean_t);
    double sum = 0.0;
    for (std::size_t i = 0; i < dosages_.size(); ++i) {
        sum += ((dosages_[i] - mean_x) / sd_x) * ((truths_[i] - mean_t) / sd_t);
    }
    const double r = sum / static_cast<double>(dosages_.size() - 1);
    return r * r;
}

void comparison::write(result_file& file, bool first_on_line) const {
    if (!first_on_line) file.character(' ');
    if (compared() == 0) {
        file.text("-1 -1");
        return;
    }
    file.fixed(concordance(), 3);
    file.character(' ');
    file.fixed(r2(), 3);
}

site_alleles::site_alleles(const packed_haplotypes& haps)
    : haps_(haps),
      hap_words_(bits::words_for(haps.n_hap())),
      loaded_word_(std::numeric_limits<std::size_t>::max()),
      rows_(bits::word_bits * hap_words_) {}

const std::uint64_t* site_alleles::row(std::size_t site) {
    if (site / bits::word_bits != loaded_word_) load(site / bits::word_bits);
    return rows_.data() + (site % bits::word_bits) * hap_words_;
}

void site_alleles::load(std::size_t site_word) {
    std::array<std::uint64_t, bits::word_bits> block{};
    for (std::size_t w = 0; w < hap_words_; ++w) {
        const std::size_t first_hap = w * bits::word_bits;
        const std::size_t n = std::min(bits::word_bits, haps_.n_hap() - first_hap);
        block.fill(0);
        for (std::size_t h = 0; h < n; ++h) block[h] = haps_.row(first_hap + h)[site_word];
        transpose_bits(block.data());
        for (std::size_t j = 0; j < bits::word_bits; ++j) rows_[j * hap_words_ + w] = block[j];
    }
    loaded_word_ = site_word;
}
