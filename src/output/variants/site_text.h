#pragma once

// What both formats say of a site, in their words.

#include <string>
#include <string_view>
#include <vector>

#include "output/quality_figures.h"
#include "output/variants/variant_records.h"

// Whether a label can stand as REF: bases A, C, G, T and N, in either case.
bool is_sequence(std::string_view label);
// The ALT of a label: bases, "*" and "<...>" as they are, any other label L as the symbolic allele "<L>"; empty if it
// has a character that cannot stand there.
std::string alt_text(const std::string& label);
// The ID of a site, "." for none.
std::string id_text(const snp& site);

// Figures of the INFO column, in units of 10^-6; those that are not defined are left out.
constexpr int figure_decimals = 6;
struct info_figure {
    const char* key;
    long units;
};

class info_figures {
  public:
    explicit info_figures(const result_inputs& run);
    // The figures of a record in their order. Valid until the next call.
    const std::vector<info_figure>& of(const variant_record& record);

  private:
    void add(const char* key, std::optional<double> value);

    std::vector<const quality_figure*> wanted_;
    std::vector<info_figure> figures_;
};

// The flag of a type of sites.
constexpr const char* type_flag(std::size_t type) {
    return type < 2 ? "IMP" : "TYPED";
}
// Which fields the line of a record has.
variant_fields line_fields(const variant_record& record, variant_fields fields);
