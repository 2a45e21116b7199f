#include "output/variants/vcf_encoder.h"

#include <array>
#include <charconv>

#include "output/site_columns.h"
#include "output/variants/variant_header.h"

namespace {

void append_integer(std::string& text, long value) {
    std::array<char, 24> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text.append(digits.data(), result.ptr);
}

void append_alleles(std::string& line, const variant_genotype& g) {
    const auto digit = [](int allele) { return allele < 0 ? '.' : static_cast<char>('0' + allele); };
    line += digit(g.alleles[0]);
    if (g.haploid) return;
    line += g.phased ? '|' : '/';
    line += digit(g.alleles[1]);
}

}  // namespace

void append_units(std::string& text, long units, int decimals) {
    if (units < 0) {
        text += '-';
        units = -units;
    }
    std::array<char, 24> digits{};
    char* const end = digits.data() + digits.size();
    char* first = end;
    for (int k = 0; k < decimals; ++k, units /= 10) *--first = static_cast<char>('0' + units % 10);
    char* last = end;
    while (last != first && last[-1] == '0') --last;
    append_integer(text, units);
    if (last == first) return;
    text += '.';
    text.append(first, last);
}

vcf_encoder::vcf_encoder(const result_inputs& run)
    : run_(run), contig_(contig_name(run)), decimals_(variant_decimals(run.params)), figures_(run) {}

void vcf_encoder::append(std::string& line, const variant_record& record) {
    const variant_fields fields = fields_of(record, *run_.plan.variants);
    append_site(line, record);
    line += '\t';
    const std::size_t format = line.size();
    for (const auto& [wanted, name] :
         {std::pair(fields.gt, "GT"), std::pair(fields.ds, "DS"), std::pair(fields.gp, "GP"),
          std::pair(fields.hds, "HDS"), std::pair(fields.pq, "PQ")}) {
        if (!wanted) continue;
        if (line.size() != format) line += ':';
        line += name;
    }
    for (const variant_genotype& g : record.genotypes) append_genotype(line, g, fields);
    line += '\n';
}

void vcf_encoder::append_site(std::string& line, const variant_record& record) {
    const snp& site = *run_.sites.in_order[record.site];
    const panel_labels& labels = output_labels(run_.params, site, site.type);
    line += contig_;
    line += '\t';
    append_integer(line, run_.sites.positions[record.site]);
    for (const std::string& text : {id_text(site), labels.a0, alt_text(labels.a1)}) (line += '\t') += text;
    line += "\t.\t.\t";
    for (const info_figure& figure : figures_.of(record)) {
        (line += figure.key) += '=';
        append_units(line, figure.units, figure_decimals);
        line += ';';
    }
    line += "TYPE=";
    append_integer(line, static_cast<long>(site.type));
    (line += ';') += type_flag(site.type);
}

void vcf_encoder::append_genotype(std::string& line, const variant_genotype& g, const variant_fields& fields) const {
    char between = '\t';
    const auto begin = [&line, &between] {
        line += between;
        between = ':';
    };
    if (fields.gt) {
        begin();
        append_alleles(line, g);
    }
    if (fields.ds) {
        begin();
        g.has_probs ? append_units(line, g.dosage, decimals_) : line.push_back('.');
    }
    if (fields.gp) {
        begin();
        append_probs(line, g);
    }
    if (fields.hds) {
        begin();
        append_haps(line, g);
    }
    if (fields.pq) {
        begin();
        g.confidence >= 0 ? append_integer(line, g.confidence) : line.push_back('.');
    }
}

void vcf_encoder::append_probs(std::string& line, const variant_genotype& g) const {
    if (!g.has_probs) {
        line += '.';
        return;
    }
    append_units(line, g.probs[0], decimals_);
    line += ',';
    if (!g.haploid) {
        append_units(line, g.probs[1], decimals_);
        line += ',';
    }
    append_units(line, g.probs[2], decimals_);
}

void vcf_encoder::append_haps(std::string& line, const variant_genotype& g) const {
    if (g.haps[0] < 0) {
        line += '.';
        return;
    }
    append_units(line, g.haps[0], decimals_);
    if (g.haploid) return;
    line += ',';
    append_units(line, g.haps[1], decimals_);
}
