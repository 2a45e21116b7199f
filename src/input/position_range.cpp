#include "input/position_range.h"

#include <htslib/kstring.h>

#include <algorithm>
#include <limits>
#include <ostream>
#include <string_view>

#include "io/hts_objects.h"
#include "io/input_file.h"
#include "io/run_log.h"
#include "io/text.h"
#include "io/text_input.h"
#include "model/contig_info.h"

namespace {

void include(std::optional<position_range>& range, long position) {
    if (!range) range = {position, position};
    range->first = std::min(range->first, position);
    range->last = std::max(range->last, position);
}

void read_text(text_input& file, site_columns_of kind, std::optional<position_range>& range) {
    std::string_view line, field;
    if (kind == site_columns_of::legend) file.next_filled_line(line);
    while (file.next_filled_line(line)) {
        field_scanner fields(line);
        fields.skip(kind == site_columns_of::legend ? 1 : 2);
        long position = 0;
        if (fields.next(field) && parse_long(field, position)) include(range, position);
    }
}

class variant_scan {
  public:
    explicit variant_scan(const std::string& name)
        : file_(hts_open(name.c_str(), "r")),
          header_(file_ ? bcf_hdr_read(file_.get()) : nullptr),
          record_(bcf_init()) {
        if (!header_ || bcf_hdr_set_samples(header_.get(), nullptr, 0) != 0) return;  // no genotypes are decoded
        is_readable_ = true;
        if (file_->format.compression != bgzf) return;
        if (file_->format.format == bcf) {
            bcf_index_.reset(bcf_index_load3(name.c_str(), nullptr, HTS_IDX_SILENT_FAIL));
        } else {
            vcf_index_.reset(tbx_index_load3(name.c_str(), nullptr, HTS_IDX_SILENT_FAIL));
        }
    }
    ~variant_scan() { ks_free(&line_); }
    variant_scan(const variant_scan&) = delete;
    variant_scan& operator=(const variant_scan&) = delete;

    std::optional<position_range> range(const std::string& chromosome) {
        if (!is_readable_) return std::nullopt;
        const bool indexed = bcf_index_ || vcf_index_;
        return indexed && !chromosome.empty() ? by_index(chromosome) : by_reading(chromosome);
    }

  private:
    std::optional<position_range> by_reading(std::string chromosome) {
        std::optional<position_range> found;
        while (bcf_read(file_.get(), header_.get(), record_.get()) == 0) {
            const std::string name = bcf_hdr_id2name(header_.get(), record_->rid);
            if (chromosome.empty()) chromosome = name;
            if (is_same_contig(name, chromosome)) {
                include(found, static_cast<long>(record_->pos) + 1);
            } else if (found) {
                break;  // behind it
            }
        }
        return found;
    }

    // The last record is where none is found behind it.
    std::optional<position_range> by_index(const std::string& chromosome) {
        const int id = bcf_index_ ? bcf_hdr_name2id(header_.get(), chromosome.c_str())
                                  : tbx_name2id(vcf_index_.get(), chromosome.c_str());
        const std::optional<long> first = id < 0 ? std::nullopt : first_from(id, 1);
        if (!first) return std::nullopt;
        position_range found{*first, *first};
        for (long beyond = std::numeric_limits<int>::max(); beyond - found.last > 1;) {
            const long middle = found.last + (beyond - found.last) / 2;
            if (const std::optional<long> position = first_from(id, middle)) {
                found.last = *position;
            } else {
                beyond = middle;
            }
        }
        return found;
    }

    // The first record that begins at a position or behind it.
    std::optional<long> first_from(int id, long position) {
        const hts_pos_t begin = position - 1, end = std::numeric_limits<int>::max();
        const hts_iterator iterator(bcf_index_ ? bcf_itr_queryi(bcf_index_.get(), id, begin, end)
                                               : tbx_itr_queryi(vcf_index_.get(), id, begin, end));
        long found = 0;
        while (iterator && next(iterator.get(), found)) {
            if (found >= position) return found;  // others reach into it
        }
        return std::nullopt;
    }

    bool next(hts_itr_t* iterator, long& position) {
        if (bcf_index_) {
            if (bcf_itr_next(file_.get(), iterator, record_.get()) < 0) return false;
            position = static_cast<long>(record_->pos) + 1;
            return true;
        }
        std::string_view field;
        if (tbx_itr_next(file_.get(), vcf_index_.get(), iterator, &line_) < 0) return false;
        field_scanner fields(std::string_view(line_.s, line_.l));
        fields.skip(1);
        return fields.next(field) && parse_long(field, position);
    }

    hts_file file_;
    hts_header header_;
    hts_record record_;
    hts_index bcf_index_;
    tabix_index vcf_index_;
    bool is_readable_ = false;
    kstring_t line_ = KS_INITIALIZE;
};

}  // namespace

std::optional<position_range> text_positions(const std::string& name, site_columns_of kind) {
    if (is_pipe(name)) return std::nullopt;
    std::ostream nowhere(nullptr);
    run_log silent(nowhere, nowhere);
    std::optional<position_range> range;
    try {
        text_input file(silent, name, "", "");
        read_text(file, kind, range);
    } catch (const run_end&) {
        return range;  // as far as it could be read
    }
    return range;
}

std::optional<position_range> variant_positions(const std::string& name, const std::string& chromosome) {
    hts_set_log_level(HTS_LOG_OFF);  // what is wrong in the file is told elsewhere
    return variant_scan(name).range(chromosome);
}
