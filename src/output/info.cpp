#include "output/info.h"

#include "io/text.h"
#include "output/quality_figures.h"
#include "output/site_columns.h"
#include "output/site_quality.h"

namespace {

class info_writer {
  public:
    info_writer(const result_inputs& run, result_file& file)
        : run_(run), file_(file), quality_(run, run.params.snp_qc_info) {
        for (const quality_figure& figure : typed_figures()) {
            if (figure.is_there(run)) typed_.push_back(&figure);
        }
    }

    void write_head() {
        file_.text("snp_id rs_id position a0 a1 exp_freq_a1");
        for (const quality_figure& figure : site_figures()) add_column(figure.column);
        add_column("type");
        for (const quality_figure* figure : typed_) add_column(figure->column);
        file_.end_line();
    }

    void write(std::span<const std::size_t> block) {
        quality_.load(block);
        for (std::size_t j = 0; j < block.size(); ++j) write_line(block[j], quality_.measure(j));
    }

  private:
    void add_column(const char* name) {
        file_.character(' ');
        file_.text(name);
    }

    void add_figure(const quality_figure& figure, const site_quality& quality) {
        file_.character(' ');
        write_figure(file_, figure.value(quality));
    }

    void write_line(std::size_t s, const site_quality& quality) {
        write_site_columns(file_, run_, s);
        file_.character(' ');
        file_.fixed(quality.frequency, 3);
        for (const quality_figure& figure : site_figures()) add_figure(figure, quality);
        file_.character(' ');
        file_.integer(static_cast<long>(run_.sites.in_order[s]->type));
        for (const quality_figure* figure : typed_) add_figure(*figure, quality);
        file_.end_line();
    }

    const result_inputs& run_;
    result_file& file_;
    quality_block quality_;
    std::vector<const quality_figure*> typed_;
};

}  // namespace

void write_info(const result_inputs& run) {
    result_file file(run.log, run.params.i_file, false);
    info_writer writer(run, file);
    writer.write_head();
    const auto selected = select_sites(run.sites, run.output_interval(), [&run](const snp& site) {
        return type_is_output(run, site) && has_quality(run, site);
    });
    visit_blocks(selected, [&writer](std::span<const std::size_t> block) { writer.write(block); });
}
