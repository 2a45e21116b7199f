#include "input/source_people.h"

#include <algorithm>
#include <string>

#include "input/columns.h"
#include "input/panel_options.h"
#include "input/readers.h"
#include "input/sex_table.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

namespace {

// Whether the name in a header is that of a line of a sample file.
bool names_person(const std::array<std::string, 2>& row, const std::string& id) {
    return id == row[0] || id == row[1] || id == row[0] + "_" + row[1];
}

class people_check {
  public:
    people_check(const input_rooms& rooms, reading_context& context, const site_source& source, std::size_t panel,
                 std::string_view file_name)
        : rooms_(rooms),
          context_(context),
          ids_(source.sample_ids()),
          ploidies_(source.ploidies()),
          panel_(panel),
          file_name_(file_name) {}

    void run() {
        if (context_.sample_rows.empty()) {
            exclude_by_name();
        } else if (!has_haplotypes()) {
            check_names();
        }
        if (!has_haplotypes()) settle_ploidies();
        if (panel_ == 2) {
            keep_study_ids();
        } else {
            warn_of_shared_people();
        }
    }

  private:
    bool is_kept(std::size_t i) const { return !is_dropped(context_.exclude_flags, i); }
    // In place of individuals.
    bool has_haplotypes() const { return panel_ == 0 || (panel_ == 1 && rooms_.params.h_files.size() >= 2); }

    // Reference haplotypes are dropped two by two.
    void exclude_by_name() {
        id_set& list = context_.exclude_samples[panel_];
        context_.exclude_flags.clear();
        for (const std::string& id : ids_) context_.include_samples[panel_].contains(id);
        if (list.empty()) return;
        for (const std::string& id : ids_) {
            context_.exclude_flags.insert(context_.exclude_flags.end(), has_haplotypes() ? 2 : 1, list.contains(id));
        }
    }

    void check_names() const {
        if (context_.sample_rows.size() != ids_.size()) return;  // counted elsewhere
        for (std::size_t i = 0; i < ids_.size(); ++i) {
            if (names_person(context_.sample_rows[i], ids_[i])) continue;
            rooms_.log.fatal(concat("ERROR: Person ", i + 1, " is ", context_.sample_rows[i][0], " ",
                                    context_.sample_rows[i][1], " in the sample file and ", ids_[i], " in the file [",
                                    file_name_, "]; both must name the same people in the same order."));
        }
    }

    void settle_ploidies() {
        panel_data& panel = rooms_.panels[panel_];
        if (rooms_.plan.chrx_haploid || rooms_.plan.chrx_diploid) {
            if (context_.sample_rows.empty()) {
                tell_sexes(panel);
            } else {
                compare_sexes(panel);
            }
            return;
        }
        const std::uint8_t wanted = panel.all_haploid ? 1 : 2;
        const auto other = std::find_if(ploidies_.begin(), ploidies_.end(),
                                        [wanted](std::uint8_t ploidy) { return ploidy != wanted; });
        if (other == ploidies_.end()) return;
        const std::string& id = ids_[static_cast<std::size_t>(other - ploidies_.begin())];
        rooms_.log.fatal(
            wanted == 1
                ? concat("ERROR: Under -haploid_g everybody must have one allele; ", id, " of the file [", file_name_,
                         "] has two.")
                : concat("ERROR: The sample ", id, " of the file [", file_name_,
                         "] has one allele a site. Males on chromosome X need -chrX, a study of haploids -haploid_g."));
    }

    void tell_sexes(panel_data& panel) {
        sex_table sexes(panel);
        for (std::size_t i = 0; i < ids_.size(); ++i) {
            if (is_kept(i)) sexes.add(ploidies_[i] == 1 ? male : female);
        }
        rooms_.log.line(concat(" --told the sexes by the number of alleles", sexes.text()));
    }

    void compare_sexes(const panel_data& panel) const {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < ids_.size(); ++i) {
            if (!is_kept(i)) continue;
            const int sex = panel.ploidy[kept++];
            if ((sex == male) == (ploidies_[i] == 1)) continue;
            if (sex == male && rooms_.plan.chrx_diploid) continue;  // males count as diploid then
            rooms_.log.fatal(concat("ERROR: The sample ", ids_[i], " is marked as ", sex == male ? "male" : "female",
                                    " in the sample file and has ", ploidies_[i] == 1 ? "one allele" : "two alleles",
                                    " a site in the file [", file_name_, "]."));
        }
    }

    // A sample file has told the IDs already.
    void keep_study_ids() {
        auto& kept = rooms_.panels[2].sample_ids;
        const bool told = !kept[0].empty();
        for (std::size_t i = 0; i < ids_.size(); ++i) {
            if (!is_kept(i)) continue;
            context_.study_ids.insert(ids_[i]);
            if (told) continue;
            kept[0].push_back(ids_[i]);
            kept[1].push_back(ids_[i]);
        }
    }

    void warn_of_shared_people() const {
        auto study = context_.study_ids;
        for (const auto& ids : rooms_.panels[2].sample_ids) study.insert(ids.begin(), ids.end());
        const std::size_t columns_each = has_haplotypes() ? 2 : 1;
        std::size_t n = 0;
        for (std::size_t i = 0; i < ids_.size(); ++i) n += is_kept(columns_each * i) && study.contains(ids_[i]) ? 1 : 0;
        if (n == 0) return;
        const std::string text =
            concat(n, n == 1 ? " person" : " people", " of the study ", n == 1 ? "is" : "are", " in Panel ", panel_,
                   " too, by ID; this makes the accuracy look better than it is. -exclude_samples_",
                   options_of_panel(panel_).suffix, " takes them out of the panel.");
        rooms_.log.warn("WARNING: " + text);
        rooms_.log.note("note: " + text);
    }

    const input_rooms& rooms_;
    reading_context& context_;
    const std::vector<std::string>& ids_;
    const std::vector<std::uint8_t>& ploidies_;
    std::size_t panel_;
    std::string_view file_name_;
};

}  // namespace

void settle_contig(const input_rooms& rooms, const site_source& source, std::string_view file_name) {
    if (source.sample_ids().empty()) return;
    rooms.sites.from_variant_files = true;
    const contig_info found = source.contig();
    if (found.name.empty()) return;
    contig_info& known = rooms.sites.contig;
    if (known.name.empty()) known.name = is_given(rooms.params.chr) ? rooms.params.chr : found.name;
    if (known.length == 0) known.length = found.length;
    if (known.name == found.name) return;
    if (!is_same_contig(known.name, found.name)) {
        rooms.log.fatal(concat("ERROR: The file [", file_name, "] has chromosome ", found.name,
                               " in the region, the run is of chromosome ", known.name, ". Choose one by -chr."));
    }
    rooms.log.note(concat("note: [", file_name, "]: the chromosome ", found.name, " is taken for ", known.name));
}

void settle_people(const input_rooms& rooms, reading_context& context, const site_source& source, std::size_t panel,
                   std::string_view file_name) {
    if (!source.sample_ids().empty()) people_check(rooms, context, source, panel, file_name).run();
}

std::vector<std::optional<std::size_t>> map_people(const input_rooms& rooms, const site_source& source,
                                                   std::string_view file_name) {
    const std::vector<std::string>& ids = source.sample_ids();
    const auto& study = rooms.panels[2].sample_ids;
    if (ids.empty() || study[0].empty()) return {};
    std::vector<std::optional<std::size_t>> map = map_known_haps_to_gtypes({ids, ids}, study);
    const auto n = std::count_if(map.begin(), map.end(), [](const auto& place) { return place.has_value(); });
    rooms.log.line(concat(" --found ", n, " of ", ids.size(), " people among those of -g by their IDs"));
    if (n == 0) rooms.log.fatal(concat("ERROR: Nobody of the file [", file_name, "] is among the people of -g."));
    return map;
}

void check_ploidies(const input_rooms& rooms, const site_source& source, std::string_view file_name,
                    const std::vector<std::optional<std::size_t>>& places) {
    const std::vector<std::uint8_t>& ploidies = source.ploidies();
    for (std::size_t column = 0; column < ploidies.size(); ++column) {
        if (!places[column] || ploidies[column] == (rooms.panels[2].is_haploid(*places[column]) ? 1 : 2)) continue;
        rooms.log.fatal(concat("ERROR: The sample ", source.sample_ids()[column], " has ",
                               ploidies[column] == 1 ? "one allele" : "two alleles", " a site in the file [", file_name,
                               "] and ", ploidies[column] == 1 ? "two" : "one", " in the study."));
    }
}

void report_remarks(run_log& log, const site_source& source) {
    for (const std::string& line : source.remarks()) log.line(line);
}
