#pragma once

// The fields of a site at the beginning of a line of text, and the source whose lines all begin so.

#include <string_view>
#include <utility>

#include "input/announce.h"
#include "input/formats/format_table.h"
#include "input/site_source.h"
#include "io/text_input.h"

// Takes SNP ID (where with_snp_id is set), rsID, position and labels; rest is what stands behind them. Ends the run
// when there is no position or when it is no number.
site_fields take_site(const text_input& file, std::string_view line, bool with_snp_id, std::string_view& rest);

// site_source::next_behind for lines of text that begin so.
bool next_site_behind(text_input& file, bool with_snp_id, site_fields& site);

// The number of fields behind those of the site.
std::size_t count_content_fields(std::string_view line);

// A text file whose lines are SNP ID, rsID, position, two labels, and the content.
template <typename Kind>
class site_line_file : public Kind {
  public:
    site_line_file(run_log& log, const source_request& request, input_file&& file)
        : file_(log, std::move(file), unopened_text(request.words, request.file), request.read_ahead) {}

    bool next(site_fields& site) override {
        std::string_view line;
        if (!file_.next_filled_line(line)) return false;
        site = take_site(file_, line, true, content_);
        return true;
    }
    bool next_behind(site_fields& site) override { return next_site_behind(file_, true, site); }
    [[noreturn]] void fail(std::string_view what) const override { file_.fail(what); }
    void note(std::string_view what) const override { file_.note(what); }
    void odd(std::string_view what, std::string_view taken) const override { file_.odd(what, taken); }

  protected:
    // The line that next will take; empty when there is none.
    std::string_view first_line() {
        std::string_view line;
        if (!file_.next_filled_line(line)) return {};
        file_.hold_line();
        return line;
    }
    // What stands behind the site's fields.
    std::string_view content() const { return content_; }

  private:
    text_input file_;
    std::string_view content_;
};
