#include "run/space_check.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <filesystem>
#include <map>
#include <optional>

#include "io/file_target.h"
#include "io/run_log.h"
#include "io/temporary_file.h"
#include "io/text.h"
#include "model/data.h"
#include "model/intervals.h"
#include "output/phased_haplotypes.h"
#include "output/result_inputs.h"
#include "output/variants/variant_format.h"
#include "reconcile/iteration_plan.h"
#include "reconcile/result_sums.h"

namespace {

// Bytes a genotype: "1 0 0 " in text, "0/0:0:1,0,0" in VCF; usual ones are those of the example data with 3 decimals.
constexpr file_room text_genotype{6.0, 9.0}, vcf_genotype{4.0, 20.0}, compressed_genotype{0.02, 2.0};
// Bytes a pair of alleles: " 0 1", a confidence of it, two probabilities, and two characters of a compressed line.
constexpr file_room text_pair{4.0, 4.0}, text_confidence{2.0, 6.0}, text_alleles{4.0, 12.0}, sampled_pair{0.01, 0.25};
// Three counts.
constexpr file_room text_counts{6.0, 8.0};
constexpr double bytes_a_site = 15.0;

class output_list {
  public:
    explicit output_list(const data& run, const result_inputs& results)
        : run_(run), p_(run.params), results_(results) {}

    std::vector<large_output> all() {
        if (!p_.suppress_imputation_output) add_results();
        add_files_of_iterations();
        add_sums();
        return std::move(files_);
    }

  private:
    // What compression leaves of text depends on what is in it.
    file_room as_written(const file_room& text) const { return p_.o_gz ? compressed_genotype : text; }

    // Under -haploid_g there is one allele in place of a pair.
    file_room of_alleles(const file_room& pair) const {
        const double share = p_.haploid_g ? 0.5 : 1.0;
        return as_written({share * pair.least, share * pair.usual});
    }

    void add(std::string name, const char* what, std::size_t n_files, double n_sites, double n_people,
             const file_room& one) {
        if (n_files == 0) return;
        const double n = static_cast<double>(n_files) * n_sites;
        files_.push_back(
            {std::move(name), what, n_files, {n * one.least * n_people, n * (bytes_a_site + one.usual * n_people)}});
    }

    file_room main_genotype() const {
        const std::optional<variant_format> format = variant_format_of(p_.o_file);
        if (!format) return as_written(text_genotype);
        return *format == variant_format::vcf ? vcf_genotype : compressed_genotype;
    }

    void add_results() {
        const auto n_study = static_cast<double>(run_.plan.n_study);
        const std::string gz = p_.o_gz ? ".gz" : "";
        const auto [first, last] = run_.sites.range(output_interval(p_, run_.plan));
        double n_sites = 0.0;
        for (std::size_t s = first; s < last; ++s)
            n_sites += run_.plan.output_types[run_.sites.in_order[s]->type] ? 1.0 : 0.0;
        add(p_.o_file + (run_.plan.variants ? "" : gz), "main output", 1, n_sites, n_study, main_genotype());
        const auto n_haps = static_cast<double>(p_.phase ? haplotype_sites(results_).size() : 0);
        const bool some_phased = p_.phase && !results_.all_have_known_haps();
        add(results_.name("_haps"), "phased haplotypes", p_.phase ? 1 : 0, n_haps, n_study, of_alleles(text_pair));
        add(results_.name("_haps_confidence"), "phase confidence", some_phased ? 1 : 0, n_haps, n_study,
            as_written(text_confidence));
        const bool alleles = p_.print_allele_probs && !p_.mc_impute && results_.any_has_known_haps();
        add(results_.name("_allele_probs"), "allele probabilities", alleles ? 1 : 0,
            p_.phase ? n_sites : count_sites(2), n_study, of_alleles(text_alleles));
    }

    double count_sites(std::size_t panel) const {
        const auto [first, last] = run_.sites.range(haps_interval(p_, run_.plan));
        double n = 0.0;
        for (std::size_t s = first; s < last; ++s) n += run_.sites.in_order[s]->in_panel(panel) ? 1.0 : 0.0;
        return n;
    }

    void add_sampled(const std::string& stem, std::size_t panel) {
        if (!is_given(stem)) return;
        add(stem + "_hapsamp1.gz", "sampled haplotypes", static_cast<std::size_t>(run_.plan.n_iterations),
            count_sites(panel), static_cast<double>(run_.panels[panel].n_hap) / 2.0, sampled_pair);
    }

    void add_files_of_iterations() {
        const std::vector<int>& stored = results_.plan.stored_iters;
        const std::size_t n_stored = stored.size();
        const int first_stored = stored.empty() ? 1 : stored.front() + 1;
        const auto n_study = static_cast<double>(run_.plan.n_study);
        const bool counts = p_.counts_per_iter || p_.counts_wt_per_iter;
        const auto [first, last] = run_.sites.range(output_interval(p_, run_.plan));
        if (counts && !is_given(p_.intermed_posns_file)) {
            const std::string name = concat(p_.counts_per_iter ? "_gtcounts_iter" : "_gtcounts_wt_iter", first_stored);
            add(results_.name(name), "genotype counts", n_stored, static_cast<double>(last - first), n_study,
                as_written(text_counts));
        }
        add_sampled(p_.hap_samp_out_g, 2);
        add_sampled(p_.hap_samp_out_g_ref, 1);
        add_sampled(p_.hap_samp_out_h, 0);
        if (run_.plan.tmp_haps) {
            add(concat(p_.mem_save_str, "_tmpsamp_iter", first_stored, ".gz"), "temporary haplotypes", n_stored,
                count_sites(2), n_study, sampled_pair);
        }
    }

    void add_sums() {
        const auto bytes = static_cast<double>(
            bytes_of_results(p_, results_.plan, run_.panels, run_.sites, haps_interval(p_, results_.plan)).files);
        if (bytes > 0.0)
            files_.push_back({temporary_directory() + "/orvide_XXXXXX", "sums of -mem_save_3", 2, {bytes, bytes}});
    }

    const data& run_;
    const parameters& p_;
    const result_inputs& results_;
    std::vector<large_output> files_;
};

struct available_room {
    double bytes;
    std::string where;
};

constexpr const char* advice =
    ". Please make room, or write compressed output (-o_gz, or an -o that ends in .vcf.gz or .bcf).";

// "[out] takes", or with the names of all "[out], phased haplotypes [out_haps] together take".
std::string subject(const std::vector<const large_output*>& files, const char* one, const char* several) {
    std::string text;
    for (const large_output* file : files) {
        text +=
            concat(text.empty() ? "The " : ", ", file->what, file->n_files > 1 ? " from" : "", " [", file->name, "]");
    }
    return concat(text, files.size() > 1 ? several : one);
}

// Ends the run, or notes it, where the room is too little for the files.
void compare_space(run_log& log, const std::vector<const large_output*>& files, const available_room& room) {
    file_room wanted;
    for (const large_output* file : files) {
        wanted.least += file->room.least;
        wanted.usual += file->room.usual;
    }
    const std::string place = concat(", there is room for ", megabytes(room.bytes), " ", room.where, advice);
    if (wanted.least > room.bytes) {
        log.fatal(concat("ERROR: ", subject(files, " takes", " together take"), " at least ", megabytes(wanted.least),
                         place));
    }
    if (wanted.usual > room.bytes) {
        log.note(
            concat("note: ", subject(files, " may take", " together may take"), " ", megabytes(wanted.usual), place));
    }
}

// The limit of a file's size, which each file has for itself.
void compare_with_file_limit(run_log& log, const large_output& file) {
    struct rlimit limit {};
    if (file.n_files > 1 || getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return;
    compare_space(log, {&file}, {static_cast<double>(limit.rlim_cur), "under the limit of a file's size (ulimit -f)"});
}

}  // namespace

std::vector<large_output> large_outputs(data& run) {
    run_plan plan = run.plan;
    plan_iterations(run.params, plan);
    return output_list(run, {run.params, plan, run.sites, run.panels, run.acc, run.log, run.workers}).all();
}

void require_space(data& run) {
    const std::vector<large_output> files = large_outputs(run);
    std::map<dev_t, std::vector<const large_output*>> by_disk;
    std::vector<std::pair<dev_t, std::string>> disks;  // in the order of the files
    for (const large_output& file : files) {
        const file_target target = target_of(file.name);
        if (target.is_stream) continue;
        compare_with_file_limit(run.log, file);
        const std::string directory = std::filesystem::path(target.path).parent_path();
        struct stat status {};
        if (stat(directory.c_str(), &status) != 0) continue;
        if (by_disk[status.st_dev].empty()) disks.emplace_back(status.st_dev, directory);
        by_disk[status.st_dev].push_back(&file);
    }
    for (const auto& [number, directory] : disks) {
        struct statvfs disk {};
        if (statvfs(directory.c_str(), &disk) != 0) continue;
        const double bytes = static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize);
        const auto& there = by_disk[number];
        compare_space(run.log, there, {bytes, there.size() > 1 ? "on their file system" : "on its file system"});
    }
}
