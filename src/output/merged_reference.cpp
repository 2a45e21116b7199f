#include "output/merged_reference.h"

#include "io/text.h"
#include "output/site_alleles.h"
#include "output/site_columns.h"

namespace {

// The haplotypes of the individuals of Panel 1.
struct panel1_member {
    std::size_t first_hap;
    bool haploid;
};

std::vector<panel1_member> panel1_members(const result_inputs& run) {
    if (run.panels[1].n_ind == 0 && run.panels[1].n_hap > 0) {
        run.log.note(
            "note: the merged reference panel holds Panel 0 alone, since Panel 1 has no individuals when it is read "
            "from a second -h file");
    }
    std::vector<panel1_member> members;
    members.reserve(run.panels[1].n_ind);
    for (std::size_t i = 0; i < run.panels[1].n_ind; ++i) {
        members.push_back({run.panels[1].first_hap(i), run.panels[1].is_haploid(i)});
    }
    return members;
}

std::vector<std::size_t> merged_sites(const result_inputs& run) {
    return select_sites(run.sites, run.haps_interval(),
                        [&run](const snp& site) { return site.type != run.plan.n_panels; });
}

void write_haplotype_line(result_file& file, std::size_t n_hap0, const std::uint64_t* panel0,
                          const std::uint64_t* panel1, const std::vector<panel1_member>& members) {
    bool first = true;
    const auto write = [&](char c) {
        if (!first) file.character(' ');
        file.character(c);
        first = false;
    };
    for (std::size_t h = 0; h < n_hap0; ++h) write(allele_digit(panel0, h));
    for (const panel1_member& member : members) {
        write(allele_digit(panel1, member.first_hap));
        write(member.haploid ? '-' : allele_digit(panel1, member.first_hap + 1));
    }
    file.end_line();
}

// The probabilities of the genotype that two alleles make.
void write_pair(result_file& file, bool a, bool b) {
    file.text(a != b ? " 0 1 0" : a ? " 0 0 1" : " 1 0 0");
}

}  // namespace

void write_merged_haplotypes(const result_inputs& run) {
    const std::string gz = run.params.o_gz ? ".gz" : "";
    result_file hap_file(run.log, concat(run.params.merge_ref_panels_output_ref, ".hap", gz), run.params.o_gz);
    result_file legend_file(run.log, concat(run.params.merge_ref_panels_output_ref, ".legend", gz), run.params.o_gz);
    legend_file.text("id position a0 a1");
    legend_file.end_line();
    const std::vector<panel1_member> members = panel1_members(run);
    site_alleles panel0(run.panels[0].haps);
    site_alleles panel1(run.panels[1].haps);
    for (const std::size_t s : merged_sites(run)) {
        const panel_labels& labels = run.sites.in_order[s]->labels[0];
        legend_file.text(
            concat(run.sites.in_order[s]->rs_id, " ", run.sites.positions[s], " ", labels.a0, " ", labels.a1));
        legend_file.end_line();
        write_haplotype_line(hap_file, run.panels[0].haps.n_hap(), panel0.row(s), panel1.row(s), members);
    }
}

void write_merged_genotypes(const result_inputs& run) {
    if (run.panels[0].n_hap % 2 != 0) {
        run.log.warn(
            concat("WARNING: The -merge_ref_panels_output_gen option cannot produce a .gen file for the merged "
                   "reference panel when Panel 0 contains an odd number of haplotypes (",
                   run.panels[0].n_hap, ")"));
        return;
    }
    result_file file(run.log, run.params.merge_ref_panels_output_gen + ".gen", false);
    const std::vector<panel1_member> members = panel1_members(run);
    site_alleles panel0(run.panels[0].haps);
    site_alleles panel1(run.panels[1].haps);
    for (const std::size_t s : merged_sites(run)) {
        write_site_columns(file, *run.sites.in_order[s], run.sites.positions[s], run.sites.in_order[s]->labels[0]);
        const std::uint64_t* alleles0 = panel0.row(s);
        const std::uint64_t* alleles1 = panel1.row(s);
        for (std::size_t h = 0; h < run.panels[0].haps.n_hap(); h += 2)
            write_pair(file, bits::get(alleles0, h), bits::get(alleles0, h + 1));
        for (const panel1_member& member : members) {
            const bool a = bits::get(alleles1, member.first_hap);
            // One allele counts as its homozygote, as in a genotype file of males.
            write_pair(file, a, member.haploid ? a : bits::get(alleles1, member.first_hap + 1));
        }
        file.end_line();
    }
}
