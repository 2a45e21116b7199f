// Sample files, and lists of samples.

#include <array>
#include <cstdlib>
#include <map>
#include <memory>
#include <utility>

#include "input/announce.h"
#include "input/panel_options.h"
#include "input/readers.h"
#include "input/sex_table.h"
#include "io/result_file.h"
#include "io/run_log.h"
#include "io/text.h"
#include "io/text_input.h"
#include "model/parameters.h"
#include "model/run_plan.h"

namespace {

std::string sample_option(run_log& log, std::size_t panel, bool is_known_haps) {
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

// Line by the two IDs of a person.
using person_lines = std::map<std::pair<std::string, std::string>, long>;

void note_repeated(const text_input& file, person_lines& lines, const std::vector<std::string>& person) {
    const auto [entry, is_new] = lines.emplace(std::pair(person[0], person[1]), file.line_number());
    if (is_new) return;
    file.odd(concat("The person ", person[0], " ", person[1], " stands in line ", entry->second, " already"),
             "both are kept, as two people");
}

// The copy of the study's sample file: its head and the people that results hold. Nothing when no copy is wanted.
class filtered_copy {
  public:
    // The first most_people of them (-nind); everybody when it is 0 or less.
    void open(run_log& log, const std::string& name, int most_people) {
        name_ = name;
        file_ = std::make_unique<result_file>(log, name, false);
        file_->keep_beginning();  // at a fault of the sample file it shows how far reading came
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

id_set read_sample_list(run_log& log, const std::string& file, std::size_t panel, bool is_inclusion) {
    const std::string word = is_inclusion ? "in" : "ex";
    if (!is_panel(panel)) {
        log.fatal(concat("ERROR: Panel code [", panel, "] for sample ", word, "clusion file is not valid."));
    }
    const std::string option = concat("-", word, "clude_samples_", options_of_panel(panel).suffix);
    announce(log, concat("-reading sample ", word, "clusion list for Panel ", panel, " from ", option, " file"), file);
    text_input input(log, file, missing_text(option), unopened_text(concat("sample ", word, "clusion file"), file));
    id_set ids = read_first_fields(input);
    log.line(concat(" --read ", ids.size(), " sample IDs"));
    return ids;
}

void read_sample_file(const input_rooms& rooms, reading_context& context, const std::string& file, std::size_t panel,
                      bool is_known_haps, bool is_main_diploid) {
    run_log& log = rooms.log;
    if (panel == 0 && is_main_diploid) {
        log.fatal(
            concat("ERROR: Panel code [", panel, "] should not be used with 'is_main_diploid' in read_sample_file()."));
    }
    const std::string option = sample_option(log, panel, is_known_haps);
    filtered_copy copy;
    if (panel == 2 && is_main_diploid) copy.open(log, rooms.params.o_file + "_samples", rooms.params.nind);
    announce(log, concat("-reading sample list for Panel ", panel, " from ", option, " file"), file);
    text_input input(log, file, missing_text(option), unopened_text("sample file", file));
    const bool sex_needed = is_main_diploid && (rooms.plan.chrx_haploid || rooms.plan.chrx_diploid);
    const std::size_t sex_column = read_headers(log, input, copy, sex_needed);

    id_set& exclude_ids = context.exclude_samples[panel];
    std::vector<bool>& exclude_flags = context.exclude_flags;
    exclude_flags.clear();
    context.sample_rows.clear();
    sex_table sexes(rooms.panels[panel]);
    auto& kept_ids = is_known_haps ? context.known_haps_ids : rooms.panels[2].sample_ids;
    std::size_t n_stored = 0;
    person_lines lines_by_person;
    std::string_view line;
    while (input.next_filled_line(line)) {
        const std::vector<std::string> person = split_fields(line);
        if (person.size() < 2) input.fail("There is no second ID");
        if (panel != 0) note_repeated(input, lines_by_person, person);
        // Each ID is looked up, so that the lists know which ones there are.
        const std::array<bool, 2> excluded{exclude_ids.contains(person[0]), exclude_ids.contains(person[1])};
        exclude_flags.push_back(excluded[0] || excluded[1]);
        for (const std::size_t i : {0U, 1U}) context.include_samples[panel].contains(person[i]);
        context.sample_rows.push_back({person[0], person[1]});
        if (exclude_flags.back()) continue;
        if (panel == 2) {
            copy.add_person(line);
            kept_ids[0].push_back(person[0]);
            kept_ids[1].push_back(person[1]);
        }
        ++n_stored;
        if (sex_needed) sexes.add(read_sex(log, input, person, sex_column));
    }
    if (sex_needed && exclude_flags.empty()) input.fail("There is nobody in the sample file");
    log.line(concat(" --read ", exclude_flags.size(), " sample IDs", sex_needed ? sexes.text() : ""));
    log.line(concat(" --stored ", n_stored, "/", exclude_flags.size(), " sample IDs"));
    copy.close(log);
}
