// Sample files, and lists of samples.

#include <cstdlib>
#include <memory>

#include "input/panel_options.h"
#include "input/reader_common.h"
#include "input/readers.h"
#include "io/result_file.h"
#include "io/text.h"
#include "model/data.h"

namespace {

constexpr int male = 1;
constexpr int female = 2;

std::string sample_option(run_log& log, int panel, bool is_known_haps) {
    if (!is_panel(panel)) log.fatal(concat("ERROR: Panel code [", panel, "] for sample file is not valid."));
    if (panel == 2 && is_known_haps) return "-sample_known_haps_g";
    return concat("-sample_", options_of_panel(panel).suffix);
}

void check_header(run_log& log, const std::string& name, const std::vector<std::string>& header) {
    if (header.size() >= 2 && header[0] == "ID_1" && header[1] == "ID_2") return;
    log.fatal(concat("ERROR: The sample file [", name,
                     "] does not contain the correct header format. Please consult the online documentation and try "
                     "again."));
}

std::size_t find_sex_column(run_log& log, const std::vector<std::string>& header) {
    for (std::size_t i = 0; i < header.size(); ++i) {
        if (header[i] == "sex") return i;
    }
    log.fatal("ERROR: There is no column named 'sex' in the sample file.");
}

void check_sex_type(run_log& log, const std::vector<std::string>& types, std::size_t sex_column) {
    if (sex_column < types.size() && types[sex_column] == "D") return;
    log.fatal("ERROR: The sample file column named 'sex' must have variable type 'D', for 'discrete covariate'.");
}

int read_sex(run_log& log, const text_input& file, const std::vector<std::string>& person, std::size_t sex_column) {
    if (sex_column >= person.size()) file.fail("There is no sex");
    const int sex = std::atoi(person[sex_column].c_str());
    if (sex != male && sex != female) log.fatal("All sex indicators must be either '1' (male) or '2' (female).");
    return sex;
}

// Sexes of a panel's individuals and where their haplotypes begin.
class sex_table {
  public:
    // Panel 0 has none; the table then stays unused.
    sex_table(data& run, int panel) : run_(run), p_(static_cast<std::size_t>(panel)) {}
    void add(int sex) {
        ++(sex == male ? run_.panels[p_].n_males : run_.panels[p_].n_females);
        run_.panels[p_].ploidy.push_back(sex);
        run_.panels[p_].first_haps.push_back(n_haplotypes_);
        n_haplotypes_ += sex;  // one haplotype for a male, coded 1, two for a female, coded 2
    }
    std::string text() const {
        return concat(" (", run_.panels[p_].n_females, " females, ", run_.panels[p_].n_males, " males)");
    }

  private:
    data& run_;
    std::size_t p_;
    int n_haplotypes_ = 0;
};

// The copy of the study's sample file: its head and the people that results hold. Nothing when no copy is wanted.
class filtered_copy {
  public:
    // The first most_people of them (-nind); everybody when it is 0 or less.
    void open(run_log& log, const std::string& name, int most_people) {
        name_ = name;
        file_ = std::make_unique<result_file>(log, name, false);
        most_people_ = most_people;
    }
    void add_line(std::string_view line) {
        if (!file_) return;
        file_->text(line);
        file_->end_line();
    }
    void add_person(std::string_view line) {
        if (most_people_ <= 0 || n_people_++ < most_people_) add_line(line);
    }
    void close(run_log& log) {
        if (!file_) return;
        file_->close();
        log.line(concat(" --wrote filtered sample file [", name_, "]"));
    }

  private:
    std::string name_;
    std::unique_ptr<result_file> file_;
    int most_people_ = 0;
    int n_people_ = 0;
};

// Reads the two lines of names and types; the column of the sexes, if they are needed, else 0.
std::size_t read_headers(run_log& log, text_input& file, filtered_copy& copy, bool sex_needed) {
    const auto next_fields = [&]() -> std::vector<std::string> {
        std::string_view line;
        if (!file.next_filled_line(line)) return {};
        copy.add_line(line);
        return split_fields(line);
    };
    const std::vector<std::string> names = next_fields();
    check_header(log, file.name(), names);
    const std::size_t sex_column = sex_needed ? find_sex_column(log, names) : 0;
    const std::vector<std::string> types = next_fields();
    if (sex_needed) check_sex_type(log, types, sex_column);
    return sex_column;
}

}  // namespace

void read_sample_inclusion_exclusion_list(data& run, const std::string& file, std::set<std::string>& ids, int panel,
                                          bool is_inclusion) {
    const std::string word = is_inclusion ? "in" : "ex";
    if (!is_panel(panel)) {
        run.log.fatal(concat("ERROR: Panel code [", panel, "] for sample ", word, "clusion file is not valid."));
    }
    const std::string option = concat("-", word, "clude_samples_", options_of_panel(panel).suffix);
    announce(run.log, concat("-reading sample ", word, "clusion list for Panel ", panel, " from ", option, " file"),
             file);
    text_input input(run.log, file, concat("ERROR: The ", option, " file you specified does not exist."),
                     unopened_text(concat("sample ", word, "clusion file"), file));
    ids.clear();
    std::string_view line, id;
    while (input.next_filled_line(line)) {
        field_scanner(line).next(id);
        ids.emplace(id);
    }
    run.log.line(concat(" --read ", ids.size(), " sample IDs"));
}

// The inclusion list is read and reported, but keeps nobody out: it has no say here.
void read_sample_file(data& run, const std::string& file, const std::set<std::string>& exclude_ids,
                      const std::set<std::string>& /*include_ids*/, std::vector<bool>& exclude_flags, int panel,
                      bool is_known_haps, bool is_main_diploid) {
    if (panel <= 0 && is_main_diploid) {
        run.log.fatal(
            concat("ERROR: Panel code [", panel, "] should not be used with 'is_main_diploid' in read_sample_file()."));
    }
    exclude_flags.clear();
    const std::string option = sample_option(run.log, panel, is_known_haps);
    filtered_copy copy;
    if (panel == 2 && is_main_diploid) copy.open(run.log, run.params.o_file + "_samples", run.params.nind);
    announce(run.log, concat("-reading sample list for Panel ", panel, " from ", option, " file"), file);
    text_input input(run.log, file, concat("ERROR: The ", option, " file you specified does not exist."),
                     unopened_text("sample file", file));
    const bool sex_needed = is_main_diploid && (run.plan.chrx_haploid || run.plan.chrx_diploid);
    const std::size_t sex_column = read_headers(run.log, input, copy, sex_needed);

    sex_table sexes(run, panel);
    auto& kept_ids = is_known_haps ? run.sample_ids_known_haps : run.panels[2].sample_ids;
    long n_stored = 0;
    std::string_view line;
    while (input.next_filled_line(line)) {
        const std::vector<std::string> person = split_fields(line);
        if (person.size() < 2) input.fail("There is no second ID");
        exclude_flags.push_back(exclude_ids.contains(person[0]) || exclude_ids.contains(person[1]));
        if (exclude_flags.back()) continue;
        if (panel == 2) {
            copy.add_person(line);
            kept_ids[0].push_back(person[0]);
            kept_ids[1].push_back(person[1]);
        }
        ++n_stored;
        if (sex_needed) sexes.add(read_sex(run.log, input, person, sex_column));
    }
    if (sex_needed && exclude_flags.empty()) input.fail("There is nobody in the sample file");
    run.log.line(concat(" --read ", exclude_flags.size(), " sample IDs", sex_needed ? sexes.text() : ""));
    run.log.line(concat(" --stored ", n_stored, "/", exclude_flags.size(), " sample IDs"));
    copy.close(run.log);
}
