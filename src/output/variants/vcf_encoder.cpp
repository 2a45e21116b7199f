#include "output/variants/vcf_encoder.h"

#include <array>
#include <charconv>

#include "output/site_columns.h"
#include "output/variants/variant_header.h"

namespace {

constexpr std::size_t longest_genotype = 64;  // tab, 3 characters, six numbers of 8, 2, and 7 between

void append_integer(std::string& text, long value) {
    std::array<char, 24> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text.append(digits.data(), result.ptr);
}

char* put_alleles(char* to, const variant_genotype& g) {
    const auto digit = [](int allele) { return allele < 0 ? '.' : static_cast<char>('0' + allele); };
    *to++ = digit(g.alleles[0]);
    if (g.haploid) return to;
    *to++ = g.phased ? '|' : '/';
    *to++ = digit(g.alleles[1]);
    return to;
}

char* put_small_integer(char* to, int value) {
    return std::to_chars(to, to + 4, value).ptr;
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
    : run_(run),
      contig_(contig_name(run)),
      decimals_(variant_decimals(run.params)),
      one_(variant_unit(run.params)),
      figures_(run) {}

void vcf_encoder::append(std::string& line, const variant_record& record) {
    const variant_fields fields = line_fields(record, *run_.plan.variants);
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
    std::array<char, longest_genotype> text;  // NOLINT: written before it is read
    for (const variant_genotype& g : record.genotypes) {
        line.append(text.data(), put_genotype(text.data(), g, fields));
    }
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

char* vcf_encoder::put_genotype(char* to, const variant_genotype& g, const variant_fields& fields) const {
    *to = '\t';  // and ':' before the other fields
    char* const first = to++;
    const auto next = [&] {
        if (to != first + 1) *to++ = ':';
    };
    if (fields.gt) to = put_alleles(to, g);
    if (fields.ds) {
        next();
        to = put_units(to, g.has_probs ? g.dosage : variant_genotype::none);
    }
    if (fields.gp) {
        next();
        to = put_probs(to, g);
    }
    if (fields.hds) {
        next();
        to = put_haps(to, g);
    }
    if (fields.pq) {
        next();
        to = g.confidence < 0 ? put_units(to, variant_genotype::none) : put_small_integer(to, g.confidence);
    }
    return to;
}

// A point for none.
char* vcf_encoder::put_units(char* to, int units) const {
    if (units < 0) {
        *to++ = '.';
        return to;
    }
    int fraction = units % one_;
    *to++ = static_cast<char>('0' + units / one_);
    if (fraction == 0) return to;
    *to++ = '.';
    int n_digits = decimals_;
    for (; fraction % 10 == 0; fraction /= 10) --n_digits;
    for (char* digit = to + n_digits; digit != to; fraction /= 10) *--digit = static_cast<char>('0' + fraction % 10);
    return to + n_digits;
}

char* vcf_encoder::put_probs(char* to, const variant_genotype& g) const {
    if (!g.has_probs) return put_units(to, variant_genotype::none);
    to = put_units(to, g.probs[0]);
    *to++ = ',';
    if (!g.haploid) {
        to = put_units(to, g.probs[1]);
        *to++ = ',';
    }
    return put_units(to, g.probs[2]);
}

char* vcf_encoder::put_haps(char* to, const variant_genotype& g) const {
    to = put_units(to, g.haps[0]);
    if (g.haploid || g.haps[0] < 0) return to;
    *to++ = ',';
    return put_units(to, g.haps[1]);
}
