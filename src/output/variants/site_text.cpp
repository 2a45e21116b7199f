#include "output/variants/site_text.h"

#include <algorithm>
#include <cmath>

bool is_sequence(std::string_view label) {
    return !label.empty() && label.find_first_not_of("ACGTNacgtn") == std::string_view::npos;
}

std::string alt_text(const std::string& label) {
    if (is_sequence(label) || label == "*") return label;
    const bool symbolic = label.size() > 2 && label.front() == '<' && label.back() == '>';
    const std::string name = symbolic ? label.substr(1, label.size() - 2) : label;
    const bool allowed = !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return c > ' ' && c <= '~' && std::string_view("<>,;=\"").find(c) == std::string_view::npos;
    });
    return allowed ? "<" + name + ">" : "";
}

std::string id_text(const snp& site) {
    return site.rs_id.empty() ? "." : site.rs_id;
}

info_figures::info_figures(const result_inputs& run) {
    for (const auto figures : {site_figures(), typed_figures()}) {
        for (const quality_figure& figure : figures) {
            if (figure.is_there(run)) wanted_.push_back(&figure);
        }
    }
}

const std::vector<info_figure>& info_figures::of(const variant_record& record) {
    figures_.clear();
    add("AF", record.frequency);
    if (!record.quality) return figures_;
    for (const quality_figure* figure : wanted_) {
        const std::optional<double> value = figure->value(*record.quality);
        const bool constant = std::string_view(figure->key).starts_with("R2_") && value == -1.0;
        if (!constant) add(figure->key, value);
    }
    return figures_;
}

void info_figures::add(const char* key, std::optional<double> value) {
    if (!value || !std::isfinite(*value)) return;
    figures_.push_back({key, std::lround(*value * 1e6)});
}

variant_fields line_fields(const variant_record& record, variant_fields fields) {
    if (fields.listed) return fields;
    fields.hds = fields.hds && record.any_haps;
    fields.pq = fields.pq && record.any_confidence;
    return fields;
}
