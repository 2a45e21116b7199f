// One reference panel made of two, from the haplotypes as the last iteration left them.

#include "model/text.h"
#include "output/output_common.h"

namespace {

// The haplotypes of the individuals of Panel 1.
struct panel1_member {
    std::size_t first_hap;
    bool haploid;
};

std::vector<panel1_member> panel1_members(data& run) {
    if (run.n_ind[1] == 0 && run.n_hap[1] > 0) {
        run.log.note(
            "note: the merged reference panel holds Panel 0 alone, since Panel 1 has no individuals when it is read "
            "from a second -h file");
    }
    std::vector<panel1_member> members;
    members.reserve(static_cast<std::size_t>(run.n_ind[1]));
    for (int i = 0; i < run.n_ind[1]; ++i) {
        members.push_back({static_cast<std::size_t>(run.first_hap(1, i)), run.is_haploid(1, i)});
    }
    return members;
}

std::vector<std::size_t> merged_sites(const data& run) {
    return select_sites(run, run.haps_interval(), [&run](const snp& site) { return site.type != run.n_panels; });
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

void data::output_merged_ref() {
    const std::string gz = params.o_gz ? ".gz" : "";
    result_file hap_file(log, concat(params.merge_ref_panels_output_ref, ".hap", gz), params.o_gz);
    result_file legend_file(log, concat(params.merge_ref_panels_output_ref, ".legend", gz), params.o_gz);
    legend_file.text("id position a0 a1");
    legend_file.end_line();
    const std::vector<panel1_member> members = panel1_members(*this);
    site_alleles panel0(haps[0]);
    site_alleles panel1(haps[1]);
    for (const std::size_t s : merged_sites(*this)) {
        const panel_labels& labels = sites[s]->labels[0];
        legend_file.text(concat(sites[s]->rs_id, " ", positions[s], " ", labels.a0, " ", labels.a1));
        legend_file.end_line();
        write_haplotype_line(hap_file, haps[0].n_hap(), panel0.row(s), panel1.row(s), members);
    }
}

void data::output_merged_gen() {
    if (n_hap[0] % 2 != 0) {
        log.warn(
            concat("WARNING: The -merge_ref_panels_output_gen option cannot produce a .gen file for the merged "
                   "reference panel when Panel 0 contains an odd number of haplotypes (",
                   n_hap[0], ")"));
        return;
    }
    result_file file(log, params.merge_ref_panels_output_gen + ".gen", false);
    const std::vector<panel1_member> members = panel1_members(*this);
    site_alleles panel0(haps[0]);
    site_alleles panel1(haps[1]);
    for (const std::size_t s : merged_sites(*this)) {
        write_site_columns(file, *sites[s], positions[s], sites[s]->labels[0]);
        const std::uint64_t* alleles0 = panel0.row(s);
        const std::uint64_t* alleles1 = panel1.row(s);
        for (std::size_t h = 0; h < haps[0].n_hap(); h += 2)
            write_pair(file, bits::get(alleles0, h), bits::get(alleles0, h + 1));
        for (const panel1_member& member : members) {
            const bool a = bits::get(alleles1, member.first_hap);
            // One allele counts as its homozygote, as in a genotype file of males.
            write_pair(file, a, member.haploid ? a : bits::get(alleles1, member.first_hap + 1));
        }
        file.end_line();
    }
}
