#include "output/variants/variant_header.h"

#include <algorithm>
#include <unordered_set>

#include "io/text.h"
#include "model/program_version.h"
#include "output/quality_figures.h"

bool contig_is_unnamed(const result_inputs& run) {
    return run.sites.contig.name.empty() && !is_given(run.params.chr);
}

std::string contig_name(const result_inputs& run) {
    if (!run.sites.contig.name.empty()) return run.sites.contig.name;
    if (is_given(run.params.chr)) return run.params.chr;
    return run.params.chrX ? "X" : "0";
}

namespace {

bool all_differ(const std::vector<std::string>& names) {
    return std::unordered_set<std::string_view>(names.begin(), names.end()).size() == names.size();
}

std::vector<std::string> first_names(const std::vector<std::string>& names, std::size_t n) {
    return {names.begin(), names.begin() + static_cast<std::ptrdiff_t>(n)};
}

// Text of one line: control characters would end it.
std::string one_line(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return text;
}

// How many values a field by haplotype has.
const char* haplotype_number(const result_inputs& run) {
    const std::vector<char> haploid = run.haploid_study();
    const auto n = std::count(haploid.begin(), haploid.end(), 1);
    if (n == 0) return "2";
    return n == static_cast<std::ptrdiff_t>(haploid.size()) ? "1" : ".";
}

class header_lines {
  public:
    explicit header_lines(bcf_hdr_t* header) : header_(header) {}
    void add(const std::string& line) { good_ = bcf_hdr_append(header_, line.c_str()) == 0 && good_; }
    void add_field(const char* column, const char* id, const char* number, const char* type, const char* description) {
        add(concat("##", column, "=<ID=", id, ",Number=", number, ",Type=", type, ",Description=\"", description,
                   "\">"));
    }
    bool good() const { return good_; }

  private:
    bcf_hdr_t* header_;
    bool good_ = true;
};

void add_origin(const result_inputs& run, header_lines& lines) {
    lines.add(concat("##source=ORVIDE ", program_version));
    lines.add("##orvide_command=" + one_line(run.params.command_text));
    lines.add(concat("##orvide_seed=", run.params.seed));
    const long length = run.sites.contig.length;
    lines.add(concat("##contig=<ID=", contig_name(run), length > 0 ? concat(",length=", length) : "", ">"));
}

void add_info_fields(const result_inputs& run, header_lines& lines) {
    const auto add = [&lines](const char* id, const char* number, const char* type, const char* description) {
        lines.add_field("INFO", id, number, type, description);
    };
    add("AF", "A", "Float", "Expected frequency of the ALT allele: mean dosage an allele");
    for (const quality_figure& figure : site_figures()) add(figure.key, "1", "Float", figure.description);
    add("TYPE", "1", "Integer",
        "0: Panel 0 only, 1: Panel 1 but not the study, 2: study and references, 3: study only");
    add("IMP", "0", "Flag", "Imputed site");
    add("TYPED", "0", "Flag", "Typed site");
    for (const quality_figure& figure : typed_figures()) {
        if (figure.is_there(run)) add(figure.key, "1", "Float", figure.description);
    }
}

void add_format_fields(const result_inputs& run, header_lines& lines) {
    const variant_fields& fields = *run.plan.variants;
    const auto add = [&lines](bool wanted, const char* id, const char* number, const char* type, const char* text) {
        if (wanted) lines.add_field("FORMAT", id, number, type, text);
    };
    add(fields.gt, "GT", "1", "String", "Genotype");
    add(fields.ds, "DS", "1", "Float", "Dosage of the ALT allele");
    add(fields.gp, "GP", "G", "Float", "Genotype probabilities");
    add(fields.hds, "HDS", haplotype_number(run), "Float", "Dosage of the ALT allele by haplotype");
    add(fields.pq, "PQ", "1", "Integer", "Confidence of the phase relative to the heterozygote before, phred");
}

}  // namespace

std::vector<std::string> sample_names(const result_inputs& run) {
    const std::size_t n = run.n_study();
    const auto& ids = run.panels[2].sample_ids;
    std::vector<std::string> names;
    if (ids[0].size() < n || ids[1].size() < n || n == 0) {
        for (std::size_t i = 0; i < n; ++i) names.push_back(concat("id", i + 1));
        return names;
    }
    for (const std::size_t k : {1U, 0U}) {
        names = first_names(ids[k], n);
        if (all_differ(names)) return names;
    }
    for (std::size_t i = 0; i < n; ++i) names[i] += "_" + ids[1][i];
    return names;
}

hts_header make_variant_header(const result_inputs& run) {
    hts_header header(bcf_hdr_init("w"));
    if (!header || bcf_hdr_set_version(header.get(), "VCFv4.3") != 0) return nullptr;
    header_lines lines(header.get());
    add_origin(run, lines);
    add_info_fields(run, lines);
    add_format_fields(run, lines);
    bool good = lines.good();
    for (const std::string& name : sample_names(run))
        good = bcf_hdr_add_sample(header.get(), name.c_str()) == 0 && good;
    if (!good || bcf_hdr_sync(header.get()) != 0) return nullptr;
    return header;
}
