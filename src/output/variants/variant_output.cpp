#include "output/variants/variant_output.h"

#include "io/text.h"
#include "output/site_columns.h"
#include "output/variants/bcf_encoder.h"
#include "output/variants/variant_format.h"
#include "output/variants/variant_header.h"
#include "output/variants/variant_records.h"
#include "output/variants/variant_result_file.h"
#include "output/variants/vcf_encoder.h"

namespace {

// Writes the records of a block in one of the formats.
class variant_writer {
  public:
    variant_writer(const result_inputs& run, const phase_confidences& confidences, variant_format format,
                   variant_result_file& file, bcf_hdr_t* header)
        : run_(run), file_(file), block_(run, confidences), vcf_(run), bcf_(run, header), format_(format) {}

    void write(std::span<const std::size_t> sites) {
        block_.load(sites);
        for (std::size_t j = 0; j < sites.size(); ++j) write_record(block_.record(j));
    }

  private:
    void write_record(const variant_record& record) {
        if (format_ == variant_format::bcf) {
            file_.write_record(bcf_.encode(record));
            return;
        }
        line_.clear();
        vcf_.append(line_, record);
        const snp& site = *run_.sites.in_order[record.site];
        const std::size_t n_bases = output_labels(run_.params, site, site.type).a0.size();
        file_.write_line(line_, run_.sites.positions[record.site], n_bases);
    }

    const result_inputs& run_;
    variant_result_file& file_;
    variant_block block_;
    vcf_encoder vcf_;
    bcf_encoder bcf_;
    const variant_format format_;
    std::string line_;
};

}  // namespace

void write_variant_output(const result_inputs& run, const phase_confidences& confidences) {
    const auto format = variant_format_of(run.params.o_file);
    if (!format || run.plan.sporadic_haploid_imputation) return;
    const hts_header header = make_variant_header(run);
    if (!header) {
        run.log.fatal(concat("ERROR: The head of [", run.params.o_file, "] could not be made."));
    }
    variant_result_file file(run.log, run.params.o_file, *format, header.get());
    variant_writer writer(run, confidences, *format, file, header.get());
    visit_blocks(variant_sites(run), [&writer](std::span<const std::size_t> block) { writer.write(block); });
}
