#include "output/info.h"

#include <array>

#include "io/text.h"
#include "output/site_columns.h"
#include "output/site_quality.h"

namespace {

// What the columns of a line are made of.
struct info_line {
    const snp& site;
    long position;
    const panel_labels& labels;
    site_quality quality;
};

struct info_column {
    const char* name;
    bool (*is_there)(const result_inputs& run);
    void (*write)(result_file& file, const info_line& line);
};

bool always(const result_inputs& /*run*/) {
    return true;
}
bool with_posteriors(const result_inputs& run) {
    return run.params.snp_qc_info && run.params.pgs;
}
bool with_set_1(const result_inputs& run) {
    return run.params.snp_qc_info && is_selfchecked(run, 1);
}
bool with_set_0(const result_inputs& run) {
    return run.params.snp_qc_info && is_selfchecked(run, 0);
}

using file_ref = result_file&;
using line_ref = const info_line&;

// The columns in their order: name, when it is there, value.
constexpr std::array columns{
    info_column{"snp_id", always, [](file_ref file, line_ref line) { file.text(line.site.snp_id); }},
    info_column{"rs_id", always, [](file_ref file, line_ref line) { file.text(line.site.rs_id); }},
    info_column{"position", always, [](file_ref file, line_ref line) { file.integer(line.position); }},
    info_column{"a0", always, [](file_ref file, line_ref line) { file.text(line.labels.a0); }},
    info_column{"a1", always, [](file_ref file, line_ref line) { file.text(line.labels.a1); }},
    info_column{"exp_freq_a1", always, [](file_ref file, line_ref line) { file.fixed(line.quality.frequency, 3); }},
    info_column{"info", always, [](file_ref file, line_ref line) { file.fixed(line.quality.info, 3); }},
    info_column{"certainty", always, [](file_ref file, line_ref line) { file.fixed(line.quality.certainty, 3); }},
    info_column{"type", always, [](file_ref file, line_ref line) { file.integer(line.site.type); }},
    info_column{"concord_type2", with_posteriors,
                [](file_ref file, line_ref line) { write_figure(file, line.quality.posterior.concordance); }},
    info_column{"r2_type2", with_posteriors,
                [](file_ref file, line_ref line) { write_figure(file, line.quality.posterior.r2); }},
    info_column{"info_type1", with_set_1,
                [](file_ref file, line_ref line) { write_figure(file, line.quality.masked_info[1]); }},
    info_column{"concord_type1", with_set_1,
                [](file_ref file, line_ref line) { write_figure(file, line.quality.masked[1].concordance); }},
    info_column{"r2_type1", with_set_1,
                [](file_ref file, line_ref line) { write_figure(file, line.quality.masked[1].r2); }},
    info_column{"info_type0", with_set_0,
                [](file_ref file, line_ref line) { write_figure(file, line.quality.masked_info[0]); }},
    info_column{"concord_type0", with_set_0,
                [](file_ref file, line_ref line) { write_figure(file, line.quality.masked[0].concordance); }},
    info_column{"r2_type0", with_set_0,
                [](file_ref file, line_ref line) { write_figure(file, line.quality.masked[0].r2); }},
};

class info_writer {
  public:
    info_writer(const result_inputs& run, result_file& file)
        : run_(run), file_(file), quality_(run, run.params.snp_qc_info) {
        for (const info_column& column : columns) {
            if (column.is_there(run)) columns_.push_back(&column);
        }
    }

    void write_head() {
        write_fields([this](const info_column& column) { file_.text(column.name); });
    }

    void write(std::span<const std::size_t> block) {
        quality_.load(block);
        for (std::size_t j = 0; j < block.size(); ++j) {
            const snp& site = *run_.sites.in_order[block[j]];
            const info_line line{site, run_.sites.positions[block[j]], output_labels(run_.params, site, site.type),
                                 quality_.measure(j)};
            write_fields([&](const info_column& column) { column.write(file_, line); });
        }
    }

  private:
    template <typename Field>
    void write_fields(Field field) {
        for (const info_column* column : columns_) {
            if (column != columns_.front()) file_.character(' ');
            field(*column);
        }
        file_.end_line();
    }

    const result_inputs& run_;
    result_file& file_;
    quality_block quality_;
    std::vector<const info_column*> columns_;
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
