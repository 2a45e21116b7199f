#pragma once

// What the readers share: status lines, tests of files, columns, positions and exclusion lists, closing reports.

#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "input/reading_context.h"
#include "io/text_input.h"

struct data;
class run_log;
struct panel_labels;
struct snp;

bool file_exists(const std::string& name);
// Ends the run with the message when there is no such file.
void require_file(run_log& log, const std::string& name, std::string_view message);
// " --filename=[name]"
void print_file_name(run_log& log, const std::string& name);
// A stage line and the file name.
void announce(run_log& log, std::string_view stage, const std::string& name);

// A note that goes out only the first time.
class note_once {
  public:
    void say(const text_input& file, std::string_view text) {
        if (!said_) file.note(text);
        said_ = true;
    }

  private:
    bool said_ = false;
};

// Where a position lies relative to the analysis interval with its buffer. Notes, once, a file that is not in order.
enum class region_side { below, inside, above };
class region_test {
  public:
    explicit region_test(const data& run);
    region_side of(const text_input& file, long position);

  private:
    long lower_;
    long upper_;
    long last_ = std::numeric_limits<long>::min();
    note_once unsorted_;
};

// The leading fields of a line that begins with SNP ID, rsID, position and two alleles. The views live as long as the
// line.
struct site_line {
    std::string_view snp_id, rs_id, a0, a1;
    long position = 0;
    std::string_view rest;  // what has not been taken yet
};
// Takes IDs and position; ends the run when they are not there.
site_line start_site_line(const text_input& file, std::string_view line);
// Takes the two alleles; ends the run when they are not there.
void take_alleles(const text_input& file, site_line& site);
// The number of fields behind the first five of the file's first line; the file starts again at its first line.
int count_columns_after_site(text_input& file);

// Whether one of the three names of a SNP is on the panel's exclusion list; for a reference panel also on that of the
// study, unless -impute_excluded is on.
bool is_excluded(const data& run, const reading_context& context, int panel, std::string_view snp_id,
                 std::string_view rs_id, long position);

// Flips the panel's two labels if the strand map says so, and sets their strand; counts what was done.
void apply_strand_map(reading_context& context, long position, panel_labels& labels);

// The words for the columns of a data file.
struct column_words {
    const char* unit;  // "individuals" or "haplotypes"
    std::string file;  // as in "Panel 2 genotypes file"
};
// "ERROR: The " what " [" name "] could not be opened."
std::string unopened_text(std::string_view what, const std::string& name);
// "ERROR: The " what " [" name "] does not contain a valid number of columns. ..."
std::string bad_columns_text(std::string_view what, const std::string& name);
// Ends the run when there are flags and their number is not n_columns.
void check_against_sample_file(run_log& log, const std::vector<bool>& exclude_flags, int n_columns,
                               const column_words& words);
int count_excluded(const std::vector<bool>& exclude_flags);
inline bool is_dropped(const std::vector<bool>& exclude_flags, std::size_t column) {
    return !exclude_flags.empty() && exclude_flags[column];
}
// " --detected ..." and, if any are excluded, " --excluded ..."
void report_columns(run_log& log, int n_detected, int n_excluded, int n_left, const char* unit);

// Lines of a data file in the interval plus buffer.
struct reading_counts {
    long read = 0, kept = 0;
    long on_list = 0, no_data = 0, filtered = 0;
};
void report_read(run_log& log, const reading_counts& counts);
// What is missing in kept, and why.
void report_excluded(run_log& log, const reading_counts& counts);

// The warning texts that two readers share. Each says whether, or that, the line is dropped.

// A position that the store holds already, in a run with reference data: the line is dropped.
bool warn_if_duplicate(data& run, long position);
// A reference SNP of the option's file whose two labels are one: it is dropped.
bool warn_if_one_label(data& run, std::string_view option, const panel_labels& labels, long position);
// A SNP of Panel 1 or 2 without one known genotype is dropped.
void warn_no_genotypes(data& run, int panel, std::string_view option, const snp& site, long position);

// Whether the run keeps input probabilities of Panel 1 or 2.
bool keeps_triples(const data& run, int panel);
