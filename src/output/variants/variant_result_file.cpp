#include "output/variants/variant_result_file.h"

#include <fcntl.h>
#include <htslib/bgzf.h>
#include <htslib/hfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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

variant_result_file::variant_result_file(run_log& log, std::string name, variant_format format, bcf_hdr_t* header)
    : log_(log),
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
    if (format_ == variant_format::vcf_gz) open_index(name_ + ".tbi", 0);
    if (format_ == variant_format::bcf) open_index(name_ + ".csi", csi_min_shift);
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
    const auto n = static_cast<ssize_t>(text.size());
    if (format_ == variant_format::vcf_gz) return bgzf_write(file_->fp.bgzf, text.data(), text.size()) == n;
    return hwrite(file_->fp.hfile, text.data(), text.size()) == n;
}

void variant_result_file::write_line(std::string_view line, long position, std::size_t n_bases) {
    if (failed_) return;
    errno = 0;
    bool good = write_text(line);
    if (good && file_->idx != nullptr) {
        const int contig = hts_idx_tbi_name(file_->idx, 0, bcf_hdr_id2name(header_, 0));
        const hts_pos_t first = position - 1;
        good = contig >= 0 && hts_idx_push(file_->idx, contig, first, first + static_cast<hts_pos_t>(n_bases),
                                           static_cast<std::uint64_t>(bgzf_tell(file_->fp.bgzf)), 1) == 0;
    }
    if (!good) failed(concat("cannot write [", name_, "] to its end: ", error_text()));
}

void variant_result_file::write_record(bcf1_t* record) {
    if (failed_) return;
    errno = 0;
    if (record == nullptr || bcf_write(file_.get(), header_, record) != 0) {
        failed(concat("cannot write [", name_, "] to its end: ", error_text()));
    }
}

void variant_result_file::close() {
    if (!file_) return;
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
