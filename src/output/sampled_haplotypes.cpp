// Sampled haplotypes of one iteration: the files of -hap_samp_out_*, and the temporary files of -mem_save_2.

#include "output/sampled_haplotypes.h"

#include <filesystem>

#include "io/text.h"
#include "io/text_input.h"
#include "output/output_common.h"
#include "output/results.h"

namespace {

constexpr int absent_allele = -1;  // the place of the second allele of a haploid

// For each character of a haplotype string the haplotype that it stands for: two an individual, one in a haploid panel.
std::vector<int> string_layout(const data& run, int panel) {
    std::vector<int> layout;
    const auto p = static_cast<std::size_t>(panel);
    const bool haploid_panel = panel == 2 && run.params.haploid_g;
    if (panel == 0 || run.panels[p].n_ind == 0 || haploid_panel) {
        for (int h = 0; h < run.panels[p].n_hap; ++h) layout.push_back(h);
        return layout;
    }
    for (int i = 0; i < run.panels[p].n_ind; ++i) {
        const int first = run.panels[panel].first_hap(i);
        layout.push_back(first);
        layout.push_back(run.panels[panel].is_haploid(i) ? absent_allele : first + 1);
    }
    return layout;
}

// The alleles of a site as one string; inverted: 0 for 1 and 1 for 0.
void write_haplotype_string(result_file& file, const std::uint64_t* alleles, const std::vector<int>& layout,
                            bool inverted, std::string& text) {
    text.resize(layout.size());
    for (std::size_t k = 0; k < layout.size(); ++k) {
        if (layout[k] == absent_allele) {
            text[k] = '-';
        } else {
            text[k] = bits::get(alleles, static_cast<std::size_t>(layout[k])) != inverted ? '1' : '0';
        }
    }
    file.text(text);
}

void write_haplotypes(data& run, const std::string& name, int panel, const std::vector<std::size_t>& selected,
                      bool in_panel_coding) {
    const auto p = static_cast<std::size_t>(panel);
    result_file file(run.log, name, true);
    site_alleles alleles(run.panels[p].haps);
    const std::vector<int> layout = string_layout(run, panel);
    std::string text;
    for (const std::size_t s : selected) {
        const snp& site = *run.sites.in_order[s];
        const panel_labels& labels = site.in_panel(panel) ? site.labels[p] : output_labels(run, site, site.type);
        // Two equal labels do not show that the panel's coding was inverted; the reader will invert them again.
        const bool inverted = in_panel_coding && site.allele_flipped[p] && labels.a0 == labels.a1;
        write_site_columns(file, site, run.sites.positions[s], labels);
        file.character(' ');
        write_haplotype_string(file, alleles.row(s), layout, inverted, text);
        file.end_line();
    }
}

// The sites of a panel's file. In the first of two stages the study's alleles at reference sites are a result too.
std::vector<std::size_t> panel_sites(const data& run, int panel) {
    const bool imputed_too = panel == 2 && run.params.use_panel1_for_type0_imputation && run.params.stage_one;
    return select_sites(run, run.haps_interval(), [&](const snp& site) {
        const auto s = static_cast<std::size_t>(site.index);
        return site.type != run.plan.n_panels && run.panels[static_cast<std::size_t>(panel)].haps.holds(s) &&
               (site.in_panel(panel) || (imputed_too && site.type == 0)) && !(panel == 1 && site.panel1_placeholder);
    });
}

// --- temporary files
// --------------------------------------------------------------------------------------------------

std::string tmp_name(const data& run, int iter) {
    return concat(run.params.mem_save_str, "_tmpsamp_iter", iter + 1, ".gz");
}

// The sites whose sampled alleles the phasing output will ask for.
std::vector<std::size_t> tmp_sites(const data& run) {
    const bool imputed_too = run.params.include_unphased_sites_in_output_haps || run.params.mc_impute;
    return select_sites(run, run.haps_interval(), [&](const snp& site) {
        return site.type == run.plan.n_panels - 1 || (imputed_too && site.type < 2);
    });
}

struct tmp_fields {
    std::string_view snp_id, rs_id, position, a0, a1, alleles;
};

std::string joined(std::string_view snp_id, std::string_view rs_id, std::string_view position, std::string_view a0,
                   std::string_view a1) {
    return concat("|", snp_id, "|", rs_id, "|", position, "|", a0, "|", a1, "|");
}

tmp_fields read_tmp_line(text_input& input, std::string_view line) {
    tmp_fields f;
    field_scanner scanner(line);
    for (std::string_view* field : {&f.snp_id, &f.rs_id, &f.position, &f.a0, &f.a1, &f.alleles}) {
        if (!scanner.next(*field)) input.fail("Too few fields");
    }
    return f;
}

void check_tmp_line(data& run, const std::string& name, const tmp_fields& f, std::size_t s) {
    const snp& site = *run.sites.in_order[s];
    const panel_labels& labels = site.in_panel(2) ? site.labels[2] : output_labels(run, site, site.type);
    const std::string position = std::to_string(run.sites.positions[s]);
    if (f.position == position && f.a0 == labels.a0 && f.a1 == labels.a1) return;
    run.log.fatal(
        concat("ERROR: Incompatibility found between stored information and Panel 2 tmp sampled haplotypes file [",
               name, "]. See below for details, and please contact the authors for assistance.\nDETAILS: ",
               joined(site.snp_id, site.rs_id, position, labels.a0, labels.a1),
               " != ", joined(f.snp_id, f.rs_id, f.position, f.a0, f.a1)));
}

// Where the characters of a haplotype string go: slot and haplotype in the store of sampled alleles.
struct bit_place {
    std::size_t character;
    std::size_t slot;
    int h;
};

std::vector<bit_place> bit_places(const data& run) {
    std::vector<bit_place> places;
    std::size_t character = 0;
    std::size_t slot = 0;
    for (std::size_t i = 0; i < n_study(run); ++i) {
        const bool kept = run.params.mc_impute || !run.panels[2].ordered[i];
        const int n_alleles = run.panels[2].is_haploid(static_cast<int>(i)) ? 1 : 2;
        for (int h = 0; kept && h < n_alleles; ++h) {
            places.push_back({character + static_cast<std::size_t>(h), slot, h});
        }
        character += run.params.haploid_g ? 1 : 2;
        if (kept) ++slot;
    }
    return places;
}

void allocate_bits(data& run, const std::vector<std::size_t>& selected) {
    if (selected.empty() || run.acc.mcmc_bits.has(selected.front())) return;
    std::vector<int> column(run.sites.in_order.size(), -1);
    for (std::size_t k = 0; k < selected.size(); ++k) column[selected[k]] = static_cast<int>(k);
    const auto n_unknown = std::count(run.panels[2].ordered.begin(), run.panels[2].ordered.end(), false);
    const std::size_t n_slots = run.params.mc_impute ? n_study(run) : static_cast<std::size_t>(n_unknown);
    run.acc.mcmc_bits.allocate(n_slots, column, selected.size(), run.plan.stored_iters.size());
}

void remove_directory(data& run) {
    const std::string& directory = run.params.mem_save_dir;
    std::error_code error;
    std::filesystem::remove_all(directory, error);
    if (std::filesystem::exists(directory, error)) {
        run.log.warn(
            concat("WARNING: The temporary sampled haplotypes directory could not be deleted: [", directory, "]"));
    }
}

void remove_tmp_file(data& run, const std::string& name) {
    std::error_code error;
    if (!std::filesystem::exists(name, error)) {
        run.log.warn(
            concat("WARNING: Could not find the following temporary sampled haplotypes file for automatic "
                   "deletion: [",
                   name, "]"));
        return;
    }
    std::filesystem::remove(name, error);
    if (std::filesystem::exists(name, error)) {
        run.log.warn(
            concat("WARNING: The following temporary sampled haplotypes file could not be deleted: [", name, "]"));
    }
}

}  // namespace

void load_tmp_haps(data& run) {
    const std::vector<std::size_t> selected = tmp_sites(run);
    if (selected.empty() || run.acc.mcmc_bits.has(selected.front())) return;
    if (run.params.iter == 0) {  // no iteration, no file
        allocate_bits(run, selected);
        return;
    }
    for (const int iter : run.plan.stored_iters) read_current_haps_from_tmp(run, iter);
}

void output_current_haps(data& run, int iter) {
    const std::array<const std::string*, 3> stems{&run.params.hap_samp_out_h, &run.params.hap_samp_out_g_ref,
                                                  &run.params.hap_samp_out_g};
    for (int panel = 0; panel < 3; ++panel) {
        const std::string& stem = *stems[static_cast<std::size_t>(panel)];
        if (!is_given(stem)) continue;
        write_haplotypes(run, concat(stem, "_hapsamp", iter + 1, ".gz"), panel, panel_sites(run, panel), true);
    }
}

void output_current_haps_to_tmp(data& run, int iter) {
    write_haplotypes(run, tmp_name(run, iter), 2, tmp_sites(run), false);
}

void read_current_haps_from_tmp(data& run, int iter) {
    const std::string name = tmp_name(run, iter);
    const std::string unopened =
        concat("ERROR: The Panel 2 tmp sampled haplotypes file [", name, "] could not be opened.");
    text_input input(run.log, name, unopened, unopened);
    const std::vector<std::size_t> selected = tmp_sites(run);
    allocate_bits(run, selected);
    const std::vector<bit_place> places = bit_places(run);
    const auto stored = static_cast<std::size_t>(
        std::find(run.plan.stored_iters.begin(), run.plan.stored_iters.end(), iter) - run.plan.stored_iters.begin());
    const std::size_t n_characters = string_layout(run, 2).size();
    std::string_view line;
    for (const std::size_t s : selected) {
        if (!input.next_filled_line(line)) input.fail("There are fewer SNPs than the run has");
        const tmp_fields fields = read_tmp_line(input, line);
        check_tmp_line(run, name, fields, s);
        if (fields.alleles.size() != n_characters) input.fail("The haplotype string has another length");
        for (const bit_place& place : places) {
            run.acc.mcmc_bits.set(place.slot, place.h, s, stored, fields.alleles[place.character] == '1');
        }
    }
}

void remove_tmp_sampled_haps(data& run) {
    run.log.stage("-deleting temporary files used to reduce memory requirements");
    if (run.params.remove_mem_save_dir) {
        remove_directory(run);
        return;
    }
    for (const int iter : run.plan.stored_iters) remove_tmp_file(run, tmp_name(run, iter));
}
