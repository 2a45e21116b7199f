#include "output/haplotype_strings.h"

#include "io/result_file.h"
#include "output/site_alleles.h"
#include "output/site_columns.h"

std::vector<std::optional<std::size_t>> string_layout(const result_inputs& run, std::size_t panel) {
    std::vector<std::optional<std::size_t>> layout;
    const panel_data& members = run.panels[panel];
    const bool haploid_panel = panel == 2 && run.params.haploid_g;
    if (panel == 0 || members.n_ind == 0 || haploid_panel) {
        for (std::size_t h = 0; h < members.n_hap; ++h) layout.emplace_back(h);
        return layout;
    }
    for (std::size_t i = 0; i < members.n_ind; ++i) {
        const std::size_t first = members.first_hap(i);
        layout.emplace_back(first);
        layout.push_back(members.is_haploid(i) ? std::nullopt : std::optional(first + 1));
    }
    return layout;
}

const panel_labels& panel_labels_of(const result_inputs& run, const snp& site, std::size_t panel) {
    return site.in_panel(panel) ? site.labels[panel] : output_labels(run.params, site, site.type);
}

void write_haplotype_strings(const result_inputs& run, const std::string& name, std::size_t panel,
                             const std::vector<std::size_t>& sites, bool invert_equal_labels, file_life life) {
    result_file file(run.log, name, true, life);
    site_alleles alleles(run.panels[panel].haps);
    const std::vector<std::optional<std::size_t>> layout = string_layout(run, panel);
    std::string text(layout.size(), '-');
    for (const std::size_t s : sites) {
        const snp& site = *run.sites.in_order[s];
        const panel_labels& labels = panel_labels_of(run, site, panel);
        // The reader will invert them again.
        const bool inverted = invert_equal_labels && site.allele_flipped[panel] && labels.a0 == labels.a1;
        const std::uint64_t* row = alleles.row(s);
        for (std::size_t k = 0; k < layout.size(); ++k) {
            if (layout[k]) text[k] = bits::get(row, *layout[k]) != inverted ? '1' : '0';
        }
        write_site_columns(file, site, run.sites.positions[s], labels);
        file.character(' ');
        file.text(text);
        file.end_line();
    }
}
