// Reference haplotypes with their legend: the first pair of -h and -l is Panel 0, a second pair Panel 1.

#include <algorithm>
#include <memory>
#include <utility>

#include "input/announce.h"
#include "input/columns.h"
#include "input/formats/format_table.h"
#include "input/genotype_calls.h"
#include "input/readers.h"
#include "input/site_gate.h"
#include "input/site_placement.h"
#include "input/source_people.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/run_plan.h"

namespace {

std::string words_of_haplotypes(std::size_t panel) {
    return concat("Panel ", panel, " haplotypes file");
}

std::unique_ptr<haplotype_source> open_panel(const input_rooms& rooms, std::size_t panel) {
    const parameters& params = rooms.params;
    run_log& log = rooms.log;
    // The files stand in the order of their panels.
    source_request request = request_for(params, rooms.plan, "-h", params.h_files[panel], words_of_haplotypes(panel));
    request.legend = params.l_files[panel];
    request.legend_words = concat("Panel ", panel, " legend file");
    request.legend_missing_text = missing_text("-l");
    request.question_is_missing = request.further_values = panel == 0;
    const bool with_legend = is_given(request.legend);
    announce(log, concat("-reading Panel ", panel, " haplotypes from ", with_legend ? "-h and -l files" : "-h file"),
             request.file);
    if (with_legend) {
        print_file_name(log, request.legend);
        require_file(log, request.file, request.missing_text);
        require_file(log, request.legend, request.legend_missing_text);
    }
    return open_haplotypes(log, request);
}

class haplotype_reader {
  public:
    haplotype_reader(const input_rooms& rooms, reading_context& context, std::size_t panel);
    void read();

  private:
    // Counts the haplotypes of the panel and settles which columns are dropped.
    void settle_columns();
    void place(panel_site& site);

    const input_rooms& rooms_;
    reading_context& context_;
    std::size_t panel_;
    std::unique_ptr<haplotype_source> source_;
    site_gate gate_;
};

haplotype_reader::haplotype_reader(const input_rooms& rooms, reading_context& context, std::size_t panel)
    : rooms_(rooms),
      context_(context),
      panel_(panel),
      source_(open_panel(rooms, panel)),
      gate_(rooms, context, *source_, panel, concat("Panel ", panel, " -l")) {
    settle_columns();
    source_->start(context_.exclude_flags);
    const std::vector<std::string>& rules = rooms.params.filt_rules_l;
    const std::vector<std::string>& names = source_->value_names();
    // A text legend without further columns leaves the rules alone.
    const bool has_values = !names.empty() || !source_->sample_ids().empty();
    if (panel == 0 && has_values && !rules.empty()) gate_.set_filter(legend_filter(rooms.log, rules, names));
}

void haplotype_reader::settle_columns() {
    const std::size_t n_columns = source_->n_columns();
    settle_contig(rooms_, *source_, rooms_.params.h_files[panel_]);
    settle_people(rooms_, context_, *source_, panel_, rooms_.params.h_files[panel_]);
    check_against_sample_file(rooms_.log, context_.exclude_flags, n_columns, "haplotypes", words_of_haplotypes(panel_));
    const std::vector<bool>& absent = source_->absent_columns();
    if (!absent.empty()) context_.exclude_flags.resize(n_columns, false);
    for (std::size_t column = 0; column < absent.size(); ++column) {
        if (absent[column]) context_.exclude_flags[column] = true;
    }
    const std::size_t n_excluded = count_excluded(context_.exclude_flags);
    rooms_.panels[panel_].n_hap = n_columns - n_excluded;
    rooms_.panels[panel_].n_ind = 0;
    report_columns(rooms_.log, n_columns, n_excluded, "haplotypes");
}

void haplotype_reader::read() {
    panel_site site;
    while (gate_.next(site)) {
        allele_row& row = site.record.haps[panel_];
        if (!source_->read_alleles(row)) break;
        site.record.labels[panel_].freq = allele_frequency(row);
        place(site);
    }
    report_remarks(rooms_.log, *source_);
    report_read(rooms_.log, gate_.counts);
    report_excluded(rooms_.log, gate_.counts);
}

void haplotype_reader::place(panel_site& site) {
    if (panel_ == 1) {
        if (!site.match && !rooms_.plan.output_types[1]) return;
        place_panel1_site(rooms_, std::move(site));
        ++gate_.counts.kept;
        return;
    }
    const bool all_missing = !is_usable_frequency(site.record.labels[0].freq);
    switch (place_panel0_site(rooms_, site, all_missing)) {
        case placement::kept:
            ++gate_.counts.kept;
            break;
        case placement::dropped:
            break;
        case placement::without_data:
            rooms_.log.warn(
                concat("WARNING: SNP ", site.record.rs_id, " at position ", site.position,
                       " is missing all of its Panel 0 alleles and will be treated as if it had not been included in "
                       "the -h file."));
            ++gate_.counts.no_data;
            break;
    }
}

}  // namespace

void read_haplotypes(const input_rooms& rooms, reading_context& context, std::size_t panel) {
    haplotype_reader(rooms, context, panel).read();
}
