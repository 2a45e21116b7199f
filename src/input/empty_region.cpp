#include "input/empty_region.h"

#include "input/position_range.h"
#include "io/input_file.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

namespace {

std::string range_text(const std::string& name, const std::optional<position_range>& range) {
    const std::string file = concat("[", printable(name), "]");
    if (is_pipe(name)) return file + " came through a pipe";
    if (!range) return file + " has no site";
    return concat(file, " has positions ", range->first, " to ", range->last);
}

class range_list {
  public:
    explicit range_list(const input_rooms& rooms)
        : chromosome_(is_given(rooms.params.chr) ? rooms.params.chr : rooms.sites.contig.name) {}

    void add(const std::string& name, site_columns_of kind) {
        if (!is_given(name)) return;
        text_ += text_.empty() ? "" : ", ";
        text_ +=
            range_text(name, is_variant_file(name) ? variant_positions(name, chromosome_) : text_positions(name, kind));
    }
    const std::string& text() const { return text_; }

  private:
    const std::string chromosome_;
    std::string text_;
};

}  // namespace

std::string empty_region_text(const input_rooms& rooms) {
    const parameters& p = rooms.params;
    range_list files(rooms);
    for (std::size_t panel = 0; panel < p.h_files.size() && panel < p.l_files.size(); ++panel) {
        const bool has_legend = is_given(p.l_files[panel]);
        files.add(has_legend ? p.l_files[panel] : p.h_files[panel], site_columns_of::legend);
    }
    for (const std::string* const name : {&p.g_ref_file, &p.g_file, &p.known_haps_g_file}) {
        files.add(*name, site_columns_of::site_lines);
    }
    return concat("No SNP is left from ", rooms.plan.buffer_lower, " to ", rooms.plan.buffer_upper,
                  ", the -int interval with its -buffer, and there are no results: ", files.text(),
                  ". Please check -int", rooms.sites.from_variant_files ? ", -chr" : "", " and the lists of SNPs.");
}
