#pragma once

// The rules by which sites of a source are taken or passed over, whatever its format: region and its early stop,
// exclusion lists, duplicates, equal labels, filters, strand; and the counts of the closing report.

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "input/input_rooms.h"
#include "input/legend_filter.h"
#include "input/note_once.h"
#include "input/reading_context.h"
#include "input/site_matching.h"
#include "input/site_source.h"
#include "model/snp.h"

// Where a position lies relative to the analysis interval with its buffer. A position below the one before is odd
// input.
enum class region_side { below, inside, above };
class region_test {
  public:
    explicit region_test(const run_plan& plan);
    region_side of(const site_source& source, long position);

  private:
    long lower_;
    long upper_;
    long last_ = std::numeric_limits<long>::min();
    note_once disorder_;
};

// Whether one of the three names of a SNP is on the panel's exclusion list; for a reference panel also on that of the
// study, unless impute_excluded (-impute_excluded). The lists remember what they met.
bool is_excluded(reading_context& context, bool impute_excluded, std::size_t panel, const site_fields& site);

// Flips the panel's two labels if the strand map says so, and sets their strand; counts what was done.
void apply_strand_map(reading_context& context, long position, panel_labels& labels);

// Sites of a data file in the interval plus buffer.
struct reading_counts {
    std::size_t read = 0, kept = 0;
    std::size_t on_list = 0, no_data = 0, filtered = 0;
};
void report_read(run_log& log, const reading_counts& counts);
// What is missing in kept, and why.
void report_excluded(run_log& log, const reading_counts& counts);

// A site of a panel's data that is to be read: a record with names and with the panel's labels, on the strand that the
// strand file says, and the entry of the store that it belongs to. Nothing is looked for when the panel is the study.
struct panel_site {
    snp record;
    long position = 0;
    site_match match;
};
// A record with names and with the labels of a panel.
snp make_record(const site_fields& site, std::size_t panel);

// Sites of one source, for one panel.
class site_gate {
  public:
    // Which rules hold.
    enum class content {
        panel_data,   // the sites are those of the panel
        known_phase,  // -known_haps_g: sites of the store or new ones; no rule looks into the store
        first_phase,  // -hap_init_g: the same, and without exclusion lists
    };
    // option: how messages name the file, as in "-g_ref".
    site_gate(const input_rooms& rooms, reading_context& context, site_source& source, std::size_t panel,
              std::string option, content kind = content::panel_data);

    // The next site that is inside the region and on no list; false behind the end of the region or of the source.
    // Behind the region positions alone are read, and one that lies in the region again is odd input.
    bool next(site_fields& site);
    // The same for panel data, with all rules applied.
    bool next(panel_site& site);
    // Rules on further values, which hold from now on.
    void set_filter(legend_filter filter) { filter_.emplace(std::move(filter)); }

    // A site of Panel 1 or 2 that nobody has a genotype at is dropped, with a warning.
    void drop_without_genotypes(const panel_site& site);

    reading_counts counts;

  private:
    bool is_on_list(const site_fields& site);
    void look_behind(long first_behind);
    bool is_duplicate(const site_fields& site);
    bool has_one_label(const panel_labels& labels, long position);

    const input_rooms& rooms_;
    reading_context& context_;
    site_source& source_;
    std::size_t panel_;
    std::string option_;
    content kind_;
    region_test region_;
    std::optional<legend_filter> filter_;
};
