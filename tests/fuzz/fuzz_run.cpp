#include "fuzz/fuzz_run.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <map>
#include <sstream>
#include <system_error>

#include "chromosome/ligate_command.h"
#include "chromosome/plan_command.h"
#include "io/run_log.h"
#include "model/data.h"
#include "run/command_line.h"
#include "run/process_input.h"
#include "run/program.h"
#include "support/temporary_folder.h"

namespace {

// A file in memory, with a name to open it by.
class memory_file {
  public:
    explicit memory_file(std::span<const std::uint8_t> bytes) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = write(descriptor_, bytes.data() + done, bytes.size() - done);
            if (n <= 0) throw std::system_error(errno, std::generic_category(), "a file in memory");
            done += static_cast<std::size_t>(n);
        }
    }
    explicit memory_file(std::string_view text)
        : memory_file(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size())) {}
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;
    ~memory_file() { close(descriptor_); }
    std::string name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

  private:
    int descriptor_;
};

enum class program { orvide, ligate, plan, command_line };

struct kind {
    std::string_view name;
    std::string_view words;  // of the command line; {} is the file of the bytes, {map} and so on are those below
    program which = program::orvide;
};

constexpr std::array kinds{
    kind{"map", "-m {} -h {hap} -l {legend} -g {gen}"},
    kind{"panel", "-m {map} -h {} -l {legend} -g {gen}"},
    kind{"legend", "-m {map} -h {hap} -l {} -g {gen} -filt_rules_l id!=rs3 maf<0.1"},
    kind{"genotypes", "-m {map} -h {hap} -l {legend} -g {} -pgs_miss"},
    kind{"probabilities", "-m {map} -h {hap} -l {legend} -g {} -prob_g -pgs_prob"},
    kind{"reference_genotypes", "-m {map} -g_ref {} -g {gen}"},
    kind{"known_haplotypes", "-m {map} -h {hap} -l {legend} -g {gen} -known_haps_g {} -phase"},
    kind{"prephased", "-m {map} -h {hap} -l {legend} -known_haps_g {} -use_prephased_g"},
    kind{"initial_haplotypes", "-m {map} -h {hap} -l {legend} -g {gen} -hap_init_g {}"},
    kind{"samples", "-m {map} -h {hap} -l {legend} -g {gen} -sample_g {} -chrX"},
    kind{"snp_list", "-m {map} -h {hap} -l {legend} -g {gen} -exclude_snps_g {}"},
    kind{"sample_list", "-m {map} -h {hap} -l {legend} -g {gen} -sample_g {sample} -exclude_samples_g {}"},
    kind{"strand", "-m {map} -h {hap} -l {legend} -g {gen} -strand_g {}"},
    kind{"distances", "-m {map} -h {hap} -l {legend} -g {gen} -distances_by_hap {} -burnin 1 -iter 2"},
    kind{"variant_panel", "-m {map} -h {} -g {gen}"},
    kind{"variant_study", "-m {map} -h {hap} -l {legend} -g {} -phase"},
    kind{"variant_haplotypes", "-m {map} -h {hap} -l {legend} -known_haps_g {} -use_prephased_g"},
    kind{"sampled_haplotypes", "-m {map} -h {hap} -l {legend} -hap_samp_in_g {stem}"},
    kind{"sampled_reference", "-m {map} -g {gen} -hap_samp_in_h {stem}"},
    kind{"ligated_chunk", "-o {out} {chunk} {} -allow_gaps", program::ligate},
    kind{"planned_study", "-m {map} -h {hap} -l {legend} -g {}", program::plan},
    kind{"planned_legend", "-m {map} -h {hap} -l {} -g {gen}", program::plan},
    kind{"command_line", "", program::command_line},
};

constexpr std::string_view settings =
    "-int 1000 4500 -buffer 1 -iter 1 -burnin 0 -k 4 -k_hap 4 -seed 1 -o /dev/null -i /dev/null -r /dev/null -no_warn "
    "-no_sample_qc_info";

// The other inputs, by the names that stand for them.
const std::map<std::string_view, memory_file>& good_files() {
    static const auto* const files = [] {
        auto* const made = new std::map<std::string_view, memory_file>;  // lives as long as the process
        made->emplace("{map}", "position rate cM\n900 1 0.0\n2000 1 0.001\n3000 1 0.002\n9000 1 0.008\n");
        made->emplace("{hap}", "0 1 0 1 0 0\n1 1 0 0 0 1\n0 0 1 0 1 1\n0 1 1 0 0 1\n1 0 0 1 0 1\n");
        made->emplace("{legend}",
                      "id position a0 a1\nrs1 1000 A G\nrs2 2000 C T\nrs3 3000 A C\nrs4 4000 G T\nrs5 5000 T C\n");
        made->emplace(
            "{gen}",
            "S1 rs1 1000 A G 1 0 0 0 1 0 0 0 1\nS2 rs2 2000 C T 0 1 0 0 1 0 1 0 0\nS4 rs4 4000 G T 0 0 1 0 0 0 0 1 "
            "0\n");
        made->emplace("{chunk}",
                      "##fileformat=VCFv4.2\n##contig=<ID=7>\n"
                      "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"genotype\">\n"
                      "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\ta\tb\n"
                      "7\t1000\t.\tA\tG\t.\t.\t.\tGT\t0|1\t0|1\n7\t2000\t.\tC\tT\t.\t.\t.\tGT\t1|0\t0|1\n"
                      "7\t3000\t.\tA\tC\t.\t.\t.\tGT\t0|1\t0|0\n");
        made->emplace("{sample}", "ID_1 ID_2 missing sex\n0 0 0 D\nF1 P1 0 2\nF2 P2 0 2\nF3 P3 0 2\n");
        return made;
    }();
    return *files;
}

// Names that only files of a folder can have: {stem} of sampled haplotypes, of which those of the first iteration are
// the bytes, and {out} of a VCF that goes nowhere.
class links {
  public:
    explicit links(const std::string& fuzzed) {
        std::filesystem::create_symlink(fuzzed, folder_.name("stem_hapsamp1"));
        std::filesystem::create_symlink("/dev/null", folder_.name("out.vcf"));
    }
    std::string named(const std::string& word) const {
        return word == "{stem}" ? folder_.name("stem") : word == "{out}" ? folder_.name("out.vcf") : word;
    }

  private:
    temporary_folder folder_;
};

std::vector<std::string> command_words(std::string_view text, const std::string& fuzzed,
                                       const std::optional<links>& in_folder) {
    std::vector<std::string> words;
    std::istringstream in{std::string(text)};
    for (std::string word; in >> word;) {
        const auto good = good_files().find(word);
        if (in_folder) word = in_folder->named(word);
        words.push_back(word == "{}" ? fuzzed : good != good_files().end() ? good->second.name() : word);
    }
    return words;
}

// Of one of the programs on words of its command line; what it says goes to the two streams.
int status_of(program which, const std::vector<std::string>& words, std::ostream& terminal, std::ostream& notes) {
    if (which == program::ligate) return run_ligate_command(words, terminal, notes);
    if (which == program::plan) return run_plan_command(words, terminal, notes);
    std::vector<std::string> entries{"orvide"};
    entries.insert(entries.end(), words.begin(), words.end());
    std::istringstream more{std::string(settings)};
    for (std::string word; more >> word;) entries.push_back(word);
    return run_program(entries, terminal, notes);
}

std::optional<std::string> whole_run(const kind& row, std::span<const std::uint8_t> bytes) {
    const memory_file file(bytes);
    std::optional<links> in_folder;
    const bool needs_folder = row.words.find("{stem}") != row.words.npos || row.words.find("{out}") != row.words.npos;
    if (needs_folder) in_folder.emplace(file.name());
    std::ostringstream terminal, notes;
    const int status = status_of(row.which, command_words(row.words, file.name(), in_folder), terminal, notes);
    const std::string said = terminal.str();
    if (status == 0) return std::nullopt;
    if (status != 1) return "status " + std::to_string(status);
    // What the program foresees it says in words of its own. No byte of an input begins a line.
    constexpr std::string_view unforeseen = "\nERROR: The run failed: ";
    if (said.find(unforeseen) != std::string::npos) return said.substr(said.find(unforeseen));
    if (said.find("\nERROR: The memory is exhausted.") != std::string::npos) return "memory";
    if (notes.str().empty() && said.find("ERROR: ") == std::string::npos &&
        said.find(" must be ") == std::string::npos) {
        return "status 1 without an error: " + said.substr(said.size() - std::min<std::size_t>(said.size(), 300));
    }
    return std::nullopt;
}

// Words, one a line, up to where a run would open its files.
std::optional<std::string> command_line_run(std::span<const std::uint8_t> bytes) {
    std::vector<std::string> words{"orvide"};
    std::istringstream in(std::string(bytes.begin(), bytes.end()));
    for (std::string word; std::getline(in, word);) words.push_back(word);
    std::ostringstream terminal, notes;
    data run(terminal, notes);
    try {
        run.params = read_command_line(words).params;
        process_input(run.log, run.params, run.plan, run.panels);
    } catch (const run_end& end) {
        if (end.status != 0 && end.status != 1) return "status " + std::to_string(end.status);
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return std::nullopt;
}

}  // namespace

std::vector<std::string_view> fuzz_kinds() {
    std::vector<std::string_view> names;
    for (const kind& row : kinds) names.push_back(row.name);
    return names;
}

std::optional<std::string> fuzz_run(std::string_view name, std::span<const std::uint8_t> bytes) {
    for (const kind& row : kinds) {
        if (row.name != name) continue;
        return row.which == program::command_line ? command_line_run(bytes) : whole_run(row, bytes);
    }
    return "there is no kind " + std::string(name);
}
