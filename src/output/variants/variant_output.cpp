#include "output/variants/variant_output.h"

#include <memory>
#include <string>
#include <vector>

#include "io/text.h"
#include "output/block_writing.h"
#include "output/site_columns.h"
#include "output/variants/bcf_encoder.h"
#include "output/variants/variant_format.h"
#include "output/variants/variant_header.h"
#include "output/variants/variant_records.h"
#include "output/variants/variant_result_file.h"
#include "output/variants/vcf_encoder.h"

namespace {

// Records as they stand in one of the formats.
struct encoded_records {
    struct line {
        std::size_t end;  // in text
        std::size_t site;
    };
    std::string text;  // of VCF
    std::vector<line> lines;
    std::vector<hts_record> records;  // of BCF; null where one could not be made
};

// Used by one thread.
class variant_formatter {
  public:
    variant_formatter(const result_inputs& run, const phase_confidences& confidences, variant_format format,
                      bcf_hdr_t* header)
        : block_(run, confidences), vcf_(run), bcf_(run, header), format_(format) {}

    void write(std::span<const std::size_t> sites, encoded_records& made) {
        block_.load(sites);
        for (std::size_t j = 0; j < sites.size(); ++j) {
            const variant_record record = block_.record(j);
            if (format_ == variant_format::bcf) {
                made.records.push_back(bcf_.encode(record));
            } else {
                vcf_.append(made.text, record);
                made.lines.push_back({made.text.size(), record.site});
            }
        }
    }

  private:
    variant_block block_;
    vcf_encoder vcf_;
    bcf_encoder bcf_;
    const variant_format format_;
};

void write_records(const result_inputs& run, const encoded_records& made, variant_result_file& file) {
    for (const hts_record& record : made.records) file.write_record(record.get());
    std::size_t begin = 0;
    for (const encoded_records::line& line : made.lines) {
        const snp& site = *run.sites.in_order[line.site];
        const std::size_t n_bases = output_labels(run.params, site, site.type).a0.size();
        file.write_line(std::string_view(made.text).substr(begin, line.end - begin), run.sites.positions[line.site],
                        n_bases);
        begin = line.end;
    }
}

}  // namespace

void write_variant_output(const result_inputs& run, const phase_confidences& confidences) {
    const auto format = variant_format_of(run.params.o_file);
    if (!format || run.plan.sporadic_haploid_imputation) return;
    const hts_header header = make_variant_header(run);
    if (!header) {
        run.log.fatal(concat("ERROR: The head of [", run.params.o_file, "] could not be made."));
    }
    variant_result_file file(run.log, run.workers, run.params.o_file, *format, header.get());
    make_blocks<encoded_records>(
        run, variant_sites(run),
        [&] { return std::make_unique<variant_formatter>(run, confidences, *format, header.get()); },
        [&](const encoded_records& made) { write_records(run, made, file); });
}
