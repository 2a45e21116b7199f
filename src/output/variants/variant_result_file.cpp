#include "output/variants/variant_result_file.h"

#include <fcntl.h>
#include <htslib/bgzf.h>
#include <htslib/hfile.h>
#include <htslib/kstring.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <utility>

#include "io/run_log.h"
#include "io/signals.h"
#include "io/text.h"

namespace {

constexpr int csi_min_shift = 14;  // bits of the smallest bin of an index, as is usual

std::string error_text() {
    return std::strerror(errno != 0 ? errno : EIO);
}

const char* open_mode(variant_format format) {
    switch (format) {
        case variant_format::vcf:
            return "w";
        case variant_format::vcf_gz:
            return "wz";
        case variant_format::bcf:
            return "wb";
    }
    return "w";
}

}  // namespace

variant_result_file::variant_result_file(run_log& log, worker_pool& workers, std::string name, variant_format format,
                                         bcf_hdr_t* header)
    : log_(log),
      workers_(workers),
      name_(std::move(name)),
      format_(format),
      header_(header),
      pending_(name_),
      n_exceptions_(std::uncaught_exceptions()) {
    hts_set_log_level(HTS_LOG_OFF);  // messages are our own
    if (pending_.error() != 0) {
        failed(concat("cannot write [", name_, "]: ", std::strerror(pending_.error())));
        return;
    }
    open();
}

variant_result_file::~variant_result_file() {
    if (std::uncaught_exceptions() > n_exceptions_) failed_ = true;
    close();
    ks_free(&line_);
}

void variant_result_file::open() {
    errno = 0;
    hFILE* const stream = hdopen(pending_.descriptor(), "w");
    file_.reset(stream == nullptr ? nullptr : hts_hopen(stream, name_.c_str(), open_mode(format_)));
    if (!file_) {
        const std::string error = error_text();
        if (stream == nullptr) {
            ::close(pending_.descriptor());
        } else {
            hclose_abruptly(stream);
        }
        failed(concat("cannot write [", name_, "]: ", error));
        return;
    }
    if (format_ != variant_format::bcf) file_->format.format = vcf;
    if (bcf_hdr_write(file_.get(), header_) != 0)
        failed(concat("cannot write [", name_, "] to its end: ", error_text()));
    if (format_ == variant_format::vcf) return;
    if (format_ == variant_format::vcf_gz) open_index(name_ + ".tbi", 0);
    if (format_ == variant_format::bcf) open_index(name_ + ".csi", csi_min_shift);
    blocks_.emplace(file_->fp.bgzf, workers_);  // behind the index, which begins behind the header
}

// min_shift: bits of the smallest bin; 0 for an index of the kind .tbi.
void variant_result_file::open_index(std::string name, int min_shift) {
    index_name_ = std::move(name);
    pending_index_.emplace(index_name_);
    if (pending_index_->error() != 0) {
        failed(concat("cannot write [", index_name_, "]: ", std::strerror(pending_index_->error())));
        return;
    }
    ::close(pending_index_->descriptor());  // htslib opens it by its name
    errno = 0;
    if (bcf_idx_init(file_.get(), header_, min_shift, pending_index_->path().c_str()) != 0) {
        failed(concat("cannot write [", index_name_, "]: ", error_text()));
    }
}

void variant_result_file::failed(std::string_view what) {
    if (!failed_) log_.result_failed(what);
    failed_ = true;
}

bool variant_result_file::write_text(std::string_view text) {
    if (blocks_) return blocks_->write(text);
    return hwrite(file_->fp.hfile, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

bool variant_result_file::add_to_index(int contig, hts_pos_t first, hts_pos_t last) {
    if (file_->idx == nullptr) return true;
    // An index of the kind .tbi has names of its own.
    if (format_ == variant_format::vcf_gz) {
        contig = hts_idx_tbi_name(file_->idx, contig, bcf_hdr_id2name(header_, contig));
    }
    return contig >= 0 && blocks_->mark([this, contig, first, last](std::uint64_t place) {
        return hts_idx_push(file_->idx, contig, first, last, place, 1) == 0;
    });
}

void variant_result_file::write_line(std::string_view line, long position, std::size_t n_bases) {
    if (failed_) return;
    errno = 0;
    const hts_pos_t first = position - 1;
    if (!write_text(line) || !add_to_index(0, first, first + static_cast<hts_pos_t>(n_bases))) {
        failed(concat("cannot write [", name_, "] to its end: ", error_text()));
    }
}

// The fixed fields as they stand in the file, then the two parts as they lie in memory.
bool variant_result_file::write_parts(const bcf1_t& record) {
    const auto word = [](auto value) { return std::bit_cast<std::uint32_t>(value); };
    const std::array<std::uint32_t, 8> fixed{static_cast<std::uint32_t>(record.shared.l + 24),
                                             static_cast<std::uint32_t>(record.indiv.l),
                                             word(record.rid),
                                             static_cast<std::uint32_t>(record.pos),
                                             static_cast<std::uint32_t>(record.rlen),
                                             word(record.qual),
                                             std::uint32_t{record.n_allele} << 16U | record.n_info,
                                             std::uint32_t{record.n_fmt} << 24U | record.n_sample};
    return blocks_->write({reinterpret_cast<const char*>(fixed.data()), sizeof(fixed)}) &&
           blocks_->write({record.shared.s, record.shared.l}) && blocks_->write({record.indiv.s, record.indiv.l});
}

bool variant_result_file::write_as_text(bcf1_t* record) {
    line_.l = 0;
    return vcf_format1(header_, record, &line_) == 0 && write_text({line_.s, line_.l});
}

void variant_result_file::write_record(bcf1_t* record) {
    if (failed_) return;
    errno = 0;
    bool good =
        record != nullptr && record->errcode == 0 && static_cast<int>(record->n_sample) == bcf_hdr_nsamples(header_);
    hts_record whole;
    if (good && (record->d.shared_dirty != 0 || record->d.indiv_dirty != 0)) {
        whole.reset(bcf_dup(record));  // which puts together what was changed
        record = whole.get();
        good = record != nullptr;
    }
    good = good && (format_ == variant_format::bcf ? write_parts(*record) : write_as_text(record));
    if (!good || !add_to_index(record->rid, record->pos, record->pos + record->rlen)) {
        failed(concat("cannot write [", name_, "] to its end: ", error_text()));
    }
}

void variant_result_file::close() {
    if (!file_) return;
    errno = 0;
    if (!failed_ && blocks_ && !blocks_->finish()) {
        failed(concat("cannot write [", name_, "] to its end: ", error_text()));
    }
    blocks_.reset();
    errno = 0;
    const bool index_good = failed_ || index_name_.empty() || bcf_idx_save(file_.get()) == 0;
    const std::string index_error = error_text();
    errno = 0;
    if (hts_close(file_.release()) != 0) {
        failed(concat("cannot write [", name_, "] to its end: ", error_text()));
    } else if (!index_good) {
        failed(concat("cannot write [", index_name_, "]: ", index_error));
    }
    if (!failed_) make_durable();
    if (failed_) {
        pending_index_.reset();
        return;
    }
    const signals_held hold;  // none shall find the one without the other
    publish();
}

// Before signals are held, since it may take long.
void variant_result_file::make_durable() {
    if (const int error = pending_.make_durable(); error != 0) {
        failed(concat("cannot write [", name_, "] to its end: ", std::strerror(error)));
    }
    const int error = pending_index_ ? pending_index_->make_durable() : 0;
    if (error != 0) failed(concat("cannot write [", index_name_, "] to its end: ", std::strerror(error)));
}

void variant_result_file::publish() {
    const int error = pending_.publish();
    if (error != 0) {
        failed(concat("cannot write [", name_, "]: ", std::strerror(error)));
        return;
    }
    const int index_error = pending_index_ ? pending_index_->publish() : 0;
    if (index_error != 0) failed(concat("cannot write [", index_name_, "]: ", std::strerror(index_error)));
    remove_other_indexes();
    if (failed_ || index_name_.empty()) return;
    utimensat(AT_FDCWD, index_name_.c_str(), nullptr, 0);  // not older than the file that was closed after it
}

// An index that an earlier file left would be taken for the one of this file.
void variant_result_file::remove_other_indexes() {
    for (const char* ending : index_endings) {
        const std::string name = name_ + ending;
        if (failed_ || name != index_name_) std::remove(name.c_str());
    }
}
