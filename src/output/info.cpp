#include "output/info.h"

#include "io/text.h"
#include "output/block_writing.h"
#include "output/quality_figures.h"
#include "output/site_columns.h"
#include "output/site_quality.h"

namespace {

class info_formatter {
  public:
    explicit info_formatter(const result_inputs& run) : run_(run), quality_(run, run.params.snp_qc_info) {
        for (const quality_figure& figure : typed_figures()) {
            if (figure.is_there(run)) typed_.push_back(&figure);
        }
    }

    void write_head(result_text& out) const {
        out.text("snp_id rs_id position a0 a1 exp_freq_a1");
        for (const quality_figure& figure : site_figures()) add_column(figure.column, out);
        add_column("type", out);
        for (const quality_figure* figure : typed_) add_column(figure->column, out);
        out.end_line();
    }

    void write(std::span<const std::size_t> block, result_text& lines) {
        quality_.load(block);
        for (std::size_t j = 0; j < block.size(); ++j) write_line(block[j], quality_.measure(j), lines);
    }

  private:
    static void add_column(const char* name, result_text& out) {
        out.character(' ');
        out.text(name);
    }

    static void add_figure(const quality_figure& figure, const site_quality& quality, result_text& out) {
        out.character(' ');
        write_figure(out, figure.value(quality));
    }

    void write_line(std::size_t s, const site_quality& quality, result_text& out) const {
        write_site_columns(out, run_, s);
        out.character(' ');
        out.fixed(quality.frequency, 3);
        for (const quality_figure& figure : site_figures()) add_figure(figure, quality, out);
        out.character(' ');
        out.integer(static_cast<long>(run_.sites.in_order[s]->type));
        for (const quality_figure* figure : typed_) add_figure(*figure, quality, out);
        out.end_line();
    }

    const result_inputs& run_;
    quality_block quality_;
    std::vector<const quality_figure*> typed_;
};

}  // namespace

void write_info(const result_inputs& run) {
    result_file file(run.log, run.params.i_file, false);
    info_formatter(run).write_head(file);
    const auto selected = select_sites(run.sites, run.output_interval(), [&run](const snp& site) {
        return type_is_output(run, site) && has_quality(run, site);
    });
    write_blocks<info_formatter>(run, file, selected);
}
