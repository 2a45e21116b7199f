#include "output/temporary_haplotypes.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "io/removal_list.h"
#include "io/temporary_file.h"
#include "io/text.h"
#include "io/text_input.h"
#include "output/haplotype_strings.h"
#include "output/site_columns.h"

namespace {

std::string tmp_name(const result_inputs& run, int iter) {
    return concat(run.params.mem_save_str, "_tmpsamp_iter", iter + 1, ".gz");
}

// The sites whose sampled alleles the phasing output will ask for.
std::vector<std::size_t> tmp_sites(const result_inputs& run) {
    const bool imputed_too = run.params.include_unphased_sites_in_output_haps || run.params.mc_impute;
    return select_sites(run.sites, run.haps_interval(), [&](const snp& site) {
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

void check_tmp_line(const result_inputs& run, const std::string& name, const tmp_fields& f, std::size_t s) {
    const snp& site = *run.sites.in_order[s];
    const panel_labels& labels = panel_labels_of(run, site, 2);
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

std::vector<bit_place> bit_places(const result_inputs& run) {
    std::vector<bit_place> places;
    std::size_t character = 0;
    std::size_t slot = 0;
    for (std::size_t i = 0; i < run.n_study(); ++i) {
        const bool kept = run.params.mc_impute || !run.panels[2].ordered[i];
        if (kept) places.push_back({character, slot, 0});
        if (kept && !run.panels[2].is_haploid(i)) places.push_back({character + 1, slot, 1});
        character += run.params.haploid_g ? 1 : 2;
        if (kept) ++slot;
    }
    return places;
}

void allocate_samples(const result_inputs& run, const std::vector<std::size_t>& selected, sample_bits& samples) {
    if (selected.empty() || samples.has(selected.front())) return;
    std::vector<int> column(run.sites.size(), -1);
    for (std::size_t k = 0; k < selected.size(); ++k) column[selected[k]] = static_cast<int>(k);
    const std::size_t n_unknown = run.panels[2].ordered.size() - run.n_with_known_haps();
    const std::size_t n_slots = run.params.mc_impute ? run.n_study() : n_unknown;
    samples.allocate(n_slots, column, selected.size(), run.plan.stored_iters.size());
}

// Whether the files stand in a directory that the program made for them.
bool has_own_directory(const result_inputs& run) {
    return is_given(run.params.mem_save_dir);
}

void remove_directory(const result_inputs& run) {
    const std::string& directory = run.params.mem_save_dir;
    for (const int iter : run.plan.stored_iters) unlink(tmp_name(run, iter).c_str());
    if (rmdir(directory.c_str()) == 0) return;
    run.log.warn(concat("WARNING: The temporary sampled haplotypes directory could not be deleted: [", directory, "]"));
}

void remove_tmp_file(const result_inputs& run, const std::string& name) {
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

void load_temporary_haplotypes(const result_inputs& run, sample_bits& samples) {
    const std::vector<std::size_t> selected = tmp_sites(run);
    if (selected.empty() || samples.has(selected.front())) return;
    if (run.plan.n_iterations == 0) {  // no iteration, no file
        allocate_samples(run, selected, samples);
        return;
    }
    for (const int iter : run.plan.stored_iters) read_temporary_haplotypes(run, iter, samples);
}

void place_temporary_haplotypes(run_log& log, parameters& params) {
    if (is_given(params.mem_save_str)) return;
    const std::string pattern = temporary_directory() + "/orvide_XXXXXX";
    std::string directory = pattern;
    if (mkdtemp(directory.data()) == nullptr) {
        log.fatal(concat("ERROR: Failed to create -mem_save directory [", pattern, "]."));
    }
    removal_list::add(directory);
    params.mem_save_dir = directory + "/";
    params.mem_save_str = params.mem_save_dir + "sampled_haps";
}

void write_temporary_haplotypes(const result_inputs& run, int iter) {
    if (has_own_directory(run)) removal_list::add(tmp_name(run, iter));
    write_haplotype_strings(run, tmp_name(run, iter), 2, tmp_sites(run), false, file_life::temporary);
}

void read_temporary_haplotypes(const result_inputs& run, int iter, sample_bits& samples) {
    const std::string name = tmp_name(run, iter);
    const std::string unopened =
        concat("ERROR: The Panel 2 tmp sampled haplotypes file [", name, "] could not be opened.");
    text_input input(run.log, name, unopened, unopened);
    const std::vector<std::size_t> selected = tmp_sites(run);
    allocate_samples(run, selected, samples);
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
            samples.set(place.slot, place.h, s, stored, fields.alleles[place.character] == '1');
        }
    }
}

void remove_temporary_haplotypes(const result_inputs& run) {
    run.log.stage("-deleting temporary files used to reduce memory requirements");
    if (run.params.remove_mem_save_dir) {
        remove_directory(run);
        return;
    }
    for (const int iter : run.plan.stored_iters) remove_tmp_file(run, tmp_name(run, iter));
}
